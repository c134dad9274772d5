#include "repo/authsession.h"

#include "repo/usersrepository.h"

QPointer<AuthSession> AuthSession::s_instance;

AuthSession::AuthSession(QObject *parent)
    : QObject(parent)
    , m_users(UsersRepository::getInstance())
{
    if (m_users)
        connect(m_users, &UsersRepository::userChanged, this, &AuthSession::onUserChanged);
}

void AuthSession::init(QObject *parent)
{
    if (!s_instance)
        s_instance = new AuthSession(parent);
}

AuthSession *AuthSession::getInstance()
{
    return s_instance.data();
}

void AuthSession::setuserInfo(const UserInfo &userInfo)
{
    m_userInfo = userInfo;
}

UserInfo AuthSession::getUserInfo() const
{
    return m_userInfo;
}

void AuthSession::setSettings(const ApiChatSettings &settings)
{
    m_settings = settings;
}

ApiChatSettings AuthSession::getSettings() const
{
    return m_settings;
}

void AuthSession::setOnlineVisitorEnabled(bool enabled)
{
    m_onlineVisitorEnabled = enabled;
}

bool AuthSession::isOnlineVisitorEnabled() const
{
    return m_onlineVisitorEnabled;
}

void AuthSession::setUserId(const QString &userKey)
{
    m_userId = userKey;
    m_name = shortNameOf(userKey);
    emit initialized();
}

QString AuthSession::getUserId() const
{
    return m_userId;
}

QString AuthSession::getName() const
{
    return m_name;
}

void AuthSession::onUserChanged(const QString &userKey)
{
    if (userKey == m_userId)
        m_name = shortNameOf(userKey);
}

QList<ApiUserToSite> AuthSession::getUserToSites(qint64 siteId) const
{
    return m_settings.getUsersToSites().value(QString::number(siteId));
}

ApiWidget AuthSession::getWidgetById(qint64 widgetId) const
{
    const QList<ApiWidget> widgets = m_settings.getWidgets();
    for (const ApiWidget &widget : widgets) {
        if (widget.getId() == widgetId)
            return widget;
    }
    return ApiWidget();
}

QList<qint64> AuthSession::getWidgetList() const
{
    QList<qint64> widgetIds;
    const quint64 operatorId = quint64(m_userInfo.getId());
    const QMap<QString, QList<ApiUserToSite>> sites = m_settings.getUsersToSites();
    for (const QList<ApiUserToSite> &assignments : sites) {
        for (const ApiUserToSite &assignment : assignments) {
            const qint64 widgetId = qint64(assignment.getChatWidgetId());
            if (assignment.getUserId() == operatorId && !widgetIds.contains(widgetId))
                widgetIds.append(widgetId);
        }
    }
    return widgetIds;
}

QHash<qint64, ApiChatWidget> AuthSession::getApiChatWidgets() const
{
    return m_settings.getChatWidgets();
}

QString AuthSession::getNotificationSoundForWidget(qint64 widgetId) const
{
    const QString sound = getWidgetById(widgetId).getSound();
    return sound.isEmpty() ? m_settings.getDefaultWidgetSettings().getSound() : sound;
}

bool AuthSession::isPaidAccount() const
{
    return m_settings.getTariff().getIsPaidChat() > 0;
}

// The part of the realtime name before the first blank: "Anna Maria Petrova" reads "Anna".
QString AuthSession::shortNameOf(const QString &userKey) const
{
    if (!m_users)
        return QString();
    const QString name = m_users->getUserById(userKey).getName();
    const int blank = name.indexOf(QLatin1Char(' '));
    return blank < 0 ? name : name.left(blank);
}
