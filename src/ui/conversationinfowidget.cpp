#include "ui/conversationinfowidget.h"

#include "repo/authsession.h"
#include "repo/chatsrepository.h"
#include "repo/usersrepository.h"
#include "ui/chatavatar.h"
#include "ui_conversationinfowidget.h"
#include "util/util.h"

#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QStyle>
#include <QToolTip>
#include <QUrl>

#include <algorithm>

namespace {

QString link(const QString &url)
{
    const QUrl parsed = QUrl::fromUserInput(url);
    QString shown = parsed.host() + parsed.path();
    if (shown.isEmpty())
        shown = url;
    // The panel is narrow: the address is cut, the link keeps it whole.
    if (shown.size() > 32)
        shown = shown.left(31) + QChar(0x2026);
    return QStringLiteral("<a href=\"%1\" style=\"color: #2f6bff; text-decoration: none\">%2</a>")
        .arg(parsed.toString().toHtmlEscaped(), shown.toHtmlEscaped());
}

QString pairs(const QHash<QString, QString> &values, bool withUtm = true)
{
    QStringList keys = values.keys();
    // The site's parameters repeat the UTM marks, which have their own section.
    if (!withUtm)
        keys = keys.filter(QRegularExpression(QStringLiteral("^(?!utm_)")));
    keys.sort();
    QStringList lines;
    for (const QString &key : qAsConst(keys)) {
        if (!values.value(key).isEmpty())
            lines << key + QStringLiteral(": ") + values.value(key);
    }
    return lines.join(QLatin1Char('\n'));
}

} // namespace

ConversationInfoWidget::ConversationInfoWidget(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ConversationInfoWidget>())
{
    m_ui->setupUi(this);
    for (QGridLayout *grid :
         {m_ui->gridLayout_conversationInfo_visit, m_ui->gridLayout_conversationInfo_chat})
        grid->setColumnStretch(1, 1);
    // Long values wrap or are cut inside the panel instead of widening it.
    for (QLabel *label : m_ui->widget_conversationInfo_content->findChildren<QLabel *>()) {
        if (!label->objectName().endsWith(QLatin1String("Caption")))
            label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    }
    m_ui->label_conversationInfo_email->installEventFilter(this);
    m_ui->label_conversationInfo_phone->installEventFilter(this);
    auto *invite = new QMenu(m_ui->toolButton_conversationInfo_invite);
    invite->setObjectName(QStringLiteral("menu_conversationInfo_invite"));
    m_ui->toolButton_conversationInfo_invite->setMenu(invite);
    connect(invite, &QMenu::aboutToShow, this, &ConversationInfoWidget::fillInviteMenu);
    connect(m_ui->pushButton_conversationInfo_noNeedAnswer,
            &QPushButton::clicked,
            this,
            &ConversationInfoWidget::noNeedAnswer);
    connect(m_ui->pushButton_conversationInfo_crm, &QPushButton::clicked, this, [this] {
        m_ui->label_conversationInfo_result->hide();
        emit sendToCrm();
    });
    connect(m_ui->pushButton_conversationInfo_leave,
            &QPushButton::clicked,
            this,
            &ConversationInfoWidget::exitChat);
    connect(m_ui->pushButton_conversationInfo_end,
            &QPushButton::clicked,
            this,
            &ConversationInfoWidget::endChat);
    connect(m_ui->pushButton_conversationInfo_block,
            &QPushButton::clicked,
            this,
            &ConversationInfoWidget::ignoreUser);
    connect(m_ui->pushButton_conversationInfo_blockIp,
            &QPushButton::clicked,
            this,
            &ConversationInfoWidget::ignoreIpUser);
    connect(m_ui->pushButton_conversationInfo_unblock,
            &QPushButton::clicked,
            this,
            &ConversationInfoWidget::resetIgnoreUser);
    if (ChatsRepository *chats = ChatsRepository::getInstance()) {
        connect(chats, &ChatsRepository::chatChanged, this, [this](const QString &chatId) {
            if (chatId == m_chatId)
                updateCard();
        });
    }
    m_ui->label_conversationInfo_result->hide();
    updateCard();
}

ConversationInfoWidget::~ConversationInfoWidget() = default;

void ConversationInfoWidget::setChatId(const QString &chatId)
{
    m_chatId = chatId;
    m_info = ApiChatInfo();
    m_ui->label_conversationInfo_result->hide();
    updateCard();
    if (!chatId.isEmpty())
        emit needChatInfo(chatId);
}

void ConversationInfoWidget::setConnectedState(bool connected)
{
    m_connected = connected;
    updateActions();
}

void ConversationInfoWidget::setVisitorBlocked(bool blocked)
{
    m_blocked = blocked;
    updateActions();
}

void ConversationInfoWidget::setMessageCount(qint64 count)
{
    m_messageCount = count;
    updateCard();
}

void ConversationInfoWidget::setChatInfo(const ApiChatInfo &info)
{
    m_info = info;
    updateCard();
}

void ConversationInfoWidget::setCrmResult(bool sent, const QString &message)
{
    QLabel *label = m_ui->label_conversationInfo_result;
    label->setProperty("failed", !sent);
    label->setText(sent ? (message.isEmpty() ? tr("Диалог отправлен в CRM") : message)
                        : (message.isEmpty() ? tr("Не удалось отправить диалог в CRM") : message));
    // The style keys the colour on the property; it must be re-read.
    label->style()->unpolish(label);
    label->style()->polish(label);
    label->show();
}

void ConversationInfoWidget::showField(QLabel *caption, QLabel *value, const QString &text)
{
    value->setText(text);
    caption->setVisible(!text.isEmpty());
    value->setVisible(!text.isEmpty());
}

void ConversationInfoWidget::updateCard()
{
    const FirebaseChat chat = ChatsRepository::getInstance()
                                  ? ChatsRepository::getInstance()->getChatById(m_chatId)
                                  : FirebaseChat();
    UsersRepository *users = UsersRepository::getInstance();
    const FirebaseUser visitor = users && !m_chatId.isEmpty()
                                     ? users->getUserById(chat.getVisitor())
                                     : FirebaseUser();
    const ApiChatVisitInfo visit = m_info.getVisit();
    QString name = visit.getName();
    if (name.isEmpty())
        name = visitor.getName();
    if (name.isEmpty() && !m_chatId.isEmpty())
        name = tr("Посетитель");
    m_ui->label_conversationInfo_name->setText(name);
    m_ui->label_conversationInfo_avatar->setPixmap(
        name.isEmpty()
            ? QPixmap()
            : ChatAvatar::paint(name, QImage(), 64, visitor.getOnline(), devicePixelRatioF()));
    m_ui->label_conversationInfo_place->setText(visit.getIpPlace());
    m_ui->label_conversationInfo_place->setVisible(!visit.getIpPlace().isEmpty());

    const auto f = [this](const char *key) {
        const QString caption = QStringLiteral("label_conversationInfo_%1Caption")
                                    .arg(QLatin1String(key));
        const QString value = QStringLiteral("label_conversationInfo_%1").arg(QLatin1String(key));
        return std::make_pair(findChild<QLabel *>(caption), findChild<QLabel *>(value));
    };
    const auto show = [&](const char *key, const QString &text) {
        const auto labels = f(key);
        showField(labels.first, labels.second, text);
    };
    show("email", visit.getEmail());
    show("phone", visit.getPhone());
    show("location", QString());
    show("page", visit.getLastUrl().isEmpty() ? QString() : link(visit.getLastUrl()));
    show("referrer", visit.getReferrer().isEmpty() ? QString() : link(visit.getReferrer()));
    show("ip", visit.getIp());
    show("visits", visit.getVisitQuant() > 0 ? QString::number(visit.getVisitQuant()) : QString());
    show("firstVisit",
         visit.getCreatedAt().isValid() ? Util::getStrDate(visit.getCreatedAt().toLocalTime())
                                        : QString());
    show("social", visit.getUrl().isEmpty() ? QString() : link(visit.getUrl()));
    m_ui->label_conversationInfo_pageCaption->setText(tr("Находится на странице:"));

    const QString utm = pairs(visit.getUtmMarks());
    m_ui->label_conversationInfo_utm->setText(utm);
    m_ui->label_conversationInfo_utm->setVisible(!utm.isEmpty());
    m_ui->label_conversationInfo_utmTitle->setVisible(!utm.isEmpty());
    const QString params = pairs(visit.getCustomParams(), false);
    m_ui->label_conversationInfo_params->setText(params);
    m_ui->label_conversationInfo_params->setVisible(!params.isEmpty());
    m_ui->label_conversationInfo_paramsTitle->setVisible(!params.isEmpty());

    QString site;
    if (AuthSession *session = AuthSession::getInstance()) {
        const ApiChatWidget widget = session->getApiChatWidgets().value(chat.getWidgetId());
        QStringList parts;
        if (!widget.getSiteName().isEmpty())
            parts << widget.getSiteName();
        if (!widget.getName().isEmpty())
            parts << tr("виджет «%1»").arg(widget.getName());
        site = parts.join(QStringLiteral(", "));
    }
    if (site.isEmpty())
        site = visit.getSite();
    show("site", site);
    QDateTime started = chat.getStartedAt();
    if (!started.isValid())
        started = m_info.getCreatedAt();
    show("started", started.isValid() ? Util::getStrDate(started.toLocalTime()) : QString());
    const qint64 count = m_messageCount > 0 ? m_messageCount : chat.getMessageCount();
    show("messages", count > 0 ? QString::number(count) : QString());
    QStringList operators;
    if (users) {
        for (const QString &key : chat.getOperators()) {
            const FirebaseUser user = users->getUserById(key);
            const QString alias = user.getAliasForWidget(chat.getWidgetId()).getName();
            operators << (alias.isEmpty() ? user.getName() : alias);
        }
    }
    operators.removeAll(QString());
    show("operators", operators.join(QStringLiteral(", ")));
    m_ui->label_conversationInfo_chatTitle->setVisible(!m_chatId.isEmpty());
    m_ui->frame_conversationInfo_actions->setVisible(!m_chatId.isEmpty());
    updateActions();
}

void ConversationInfoWidget::updateActions()
{
    const bool chat = !m_chatId.isEmpty();
    const bool blocked = m_blocked || m_info.getVisit().getBlocked() != 0;
    // Each action with the reason it does not apply now, or an empty reason.
    const QString noChat = tr("Диалог не выбран");
    const QString notIn = tr("Вы не участвуете в этом диалоге");
    QString invite = !chat ? noChat : !m_connected ? notIn : QString();
    if (invite.isEmpty()) {
        bool colleagues = false;
        if (UsersRepository *users = UsersRepository::getInstance()) {
            const FirebaseChat current = ChatsRepository::getInstance()->getChatById(m_chatId);
            for (const FirebaseUser &user : users->getOperators())
                colleagues = colleagues || !current.getOperators().contains(user.getId());
        }
        if (!colleagues)
            invite = tr("Все операторы уже в диалоге");
    }
    const QList<std::pair<QWidget *, QString>> actions{
        {m_ui->toolButton_conversationInfo_invite, invite},
        {m_ui->pushButton_conversationInfo_noNeedAnswer,
         !chat          ? noChat
         : !m_connected ? notIn
                        : QString()},
        {m_ui->pushButton_conversationInfo_leave,
         !chat          ? noChat
         : !m_connected ? notIn
                        : QString()},
        {m_ui->pushButton_conversationInfo_end,
         !chat          ? noChat
         : !m_connected ? notIn
                        : QString()},
        {m_ui->pushButton_conversationInfo_crm, !chat ? noChat : QString()},
        {m_ui->pushButton_conversationInfo_block,
         !chat     ? noChat
         : blocked ? tr("Посетитель уже заблокирован")
                   : QString()},
        {m_ui->pushButton_conversationInfo_blockIp,
         !chat     ? noChat
         : blocked ? tr("Посетитель уже заблокирован")
         : m_info.getVisit().getIp().isEmpty() ? tr("IP-адрес посетителя ещё неизвестен")
                                               : QString()},
        {m_ui->pushButton_conversationInfo_unblock,
         !chat      ? noChat
         : !blocked ? tr("Посетитель не заблокирован")
                    : QString()},
    };
    const QHash<QWidget *, QString> tips{
        {m_ui->toolButton_conversationInfo_invite, tr("Пригласить коллегу в диалог")},
        {m_ui->pushButton_conversationInfo_noNeedAnswer, tr("Отметить, что диалог не ждёт ответа")},
        {m_ui->pushButton_conversationInfo_leave, tr("Выйти из диалога, не завершая его")},
        {m_ui->pushButton_conversationInfo_end, tr("Завершить диалог для всех")},
        {m_ui->pushButton_conversationInfo_crm, tr("Отправить диалог в CRM")},
        {m_ui->pushButton_conversationInfo_block, tr("Заблокировать посетителя")},
        {m_ui->pushButton_conversationInfo_blockIp, tr("Заблокировать IP-адрес посетителя")},
        {m_ui->pushButton_conversationInfo_unblock, tr("Снять блокировку")},
    };
    for (const auto &action : actions) {
        action.first->setEnabled(action.second.isEmpty());
        action.first->setToolTip(action.second.isEmpty() ? tips.value(action.first) : action.second);
    }
}

void ConversationInfoWidget::fillInviteMenu()
{
    QMenu *menu = m_ui->toolButton_conversationInfo_invite->menu();
    menu->clear();
    UsersRepository *users = UsersRepository::getInstance();
    ChatsRepository *chats = ChatsRepository::getInstance();
    if (!users || !chats)
        return;
    const FirebaseChat chat = chats->getChatById(m_chatId);
    QList<FirebaseUser> operators;
    for (const FirebaseUser &user : users->getOperators()) {
        if (!chat.getOperators().contains(user.getId()))
            operators << user;
    }
    // Those who can answer now come first.
    std::stable_sort(operators.begin(),
                     operators.end(),
                     [](const FirebaseUser &a, const FirebaseUser &b) {
                         if (a.getOnline() != b.getOnline())
                             return a.getOnline();
                         return a.getName().localeAwareCompare(b.getName()) < 0;
                     });
    for (const FirebaseUser &user : qAsConst(operators)) {
        const QString alias = user.getAliasForWidget(chat.getWidgetId()).getName();
        QString text = user.getName();
        if (!alias.isEmpty() && alias != user.getName())
            text += QStringLiteral(" (%1)").arg(alias);
        QAction *action = menu->addAction(QIcon(
                                              QStringLiteral(":/resources/images/icons/%1.svg")
                                                  .arg(user.getOnline()
                                                           ? QStringLiteral("circle-user-online")
                                                           : QStringLiteral("circle-user-muted"))),
                                          user.getOnline() ? text : tr("%1 — не в сети").arg(text));
        const QString key = user.getId();
        connect(action, &QAction::triggered, this, [this, key] { emit operatorInvited(key); });
    }
    if (operators.isEmpty())
        menu->addAction(tr("Некого пригласить"))->setEnabled(false);
}

bool ConversationInfoWidget::eventFilter(QObject *watched, QEvent *event)
{
    auto *label = qobject_cast<QLabel *>(watched);
    if (label && event->type() == QEvent::MouseButtonRelease && !label->text().isEmpty()) {
        QApplication::clipboard()->setText(label->text());
        QToolTip::showText(static_cast<QMouseEvent *>(event)->globalPos(), tr("Скопировано"), label);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}
