#pragma once

#include "records/apichatsettings.h"
#include "records/apichatwidget.h"
#include "records/apiusertosite.h"
#include "records/apiwidget.h"
#include "records/userinfo.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class UsersRepository;

// Who is signed in: the sign-in profile, the account's chat settings, the operator's key in the
// realtime database and the short name shown for it. Filled on each sign-in, never cleared:
// the next sign-in overwrites every field.
class AuthSession : public QObject
{
    Q_OBJECT

public:
    // Creates the process-wide instance; later calls keep the one that exists. Takes the users
    // repository that exists at that moment, so UsersRepository::init comes first.
    static void init(QObject *parent);
    static AuthSession *getInstance();

    void setuserInfo(const UserInfo &userInfo);
    UserInfo getUserInfo() const;
    void setSettings(const ApiChatSettings &settings);
    ApiChatSettings getSettings() const;
    void setOnlineVisitorEnabled(bool enabled);
    bool isOnlineVisitorEnabled() const;

    // Stores the operator's database key, takes the short name from the users repository and
    // emits initialized().
    void setUserId(const QString &userKey);
    QString getUserId() const;
    QString getName() const;

    // Operator assignments of the site with that id.
    QList<ApiUserToSite> getUserToSites(qint64 siteId) const;
    // The widget's settings; an empty record with the id 0 when the account has no such widget.
    ApiWidget getWidgetById(qint64 widgetId) const;
    // The chat widgets the signed-in operator is assigned to, in site order, each once.
    QList<qint64> getWidgetList() const;
    QHash<qint64, ApiChatWidget> getApiChatWidgets() const;
    // Base name of the sound a new chat from the widget plays ("chat7"): the widget's own sound,
    // else the account's default; empty (silence) when neither names one.
    QString getNotificationSoundForWidget(qint64 widgetId) const;
    bool isPaidAccount() const;

public slots:
    void onUserChanged(const QString &userKey);

signals:
    void initialized();

private:
    explicit AuthSession(QObject *parent);

    QString shortNameOf(const QString &userKey) const;

    static QPointer<AuthSession> s_instance;

    QPointer<UsersRepository> m_users;
    QString m_userId;
    QString m_name;
    UserInfo m_userInfo;
    ApiChatSettings m_settings;
    bool m_onlineVisitorEnabled = false;
};
