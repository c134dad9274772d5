#include "app/appcontroller.h"

#include "app/appsettings.h"
#include "app/notificationbuilder.h"
#include "app/passwordstore.h"
#include "controller/chatcontroller.h"
#include "controller/chathistorycontroller.h"
#include "controller/chathistorymessagescontroller.h"
#include "controller/conversationinfocontroller.h"
#include "controller/conversationlistcontroller.h"
#include "controller/offlinemessagescontroller.h"
#include "controller/openchatscontroller.h"
#include "controller/visitorsonlinecontroller.h"
#include "repo/authsession.h"
#include "repo/chatrepository.h"
#include "repo/chatsrepository.h"
#include "repo/quickanswersrepository.h"
#include "repo/resourcemanager.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"
#include "ui/chathistorymessageswidget.h"
#include "ui/chathistorywidget.h"
#include "ui/chatwidget.h"
#include "ui/conversationinfowidget.h"
#include "ui/conversationlistwidget.h"
#include "ui/mainwindow.h"
#include "ui/messageboxprompts.h"
#include "ui/notificationwindow.h"
#include "ui/offlinemessageswidget.h"
#include "ui/openchatsstrip.h"
#include "ui/visitorsonlinewidget.h"
#include "util/util.h"

#include <QApplication>
#include <QDebug>
#include <QSettings>
#include <QSystemTrayIcon>

QPointer<AppController> AppController::s_instance;

namespace {

const QString kLogin = QStringLiteral("login");
const QString kSaveCreds = QStringLiteral("saveCreds");
const QString kFranchise = QStringLiteral("franchise");

QSettings &store()
{
    return AppSettings::instance()->settings();
}

} // namespace

AppController::AppController(QObject *parent)
    : QObject(parent)
{
    if (!s_instance)
        s_instance = this;
    m_unreadTimer.setInterval(UnreadReminderMs);
    connect(&m_unreadTimer, &QTimer::timeout, this, &AppController::onNotifyUnreadMessagesCount);
}

AppController::~AppController() = default;

AppController *AppController::instance()
{
    return s_instance;
}

void AppController::Init()
{
    // 1. The users and chats repositories.
    UsersRepository::init(this);
    ChatsRepository::init(this);
    m_usersRepository = UsersRepository::getInstance();
    m_chatsRepository = ChatsRepository::getInstance();
    connect(m_chatsRepository,
            &ChatsRepository::initialized,
            this,
            &AppController::onChatsInitialized);
    connect(m_chatsRepository, &ChatsRepository::chatChanged, this, &AppController::onChatChanged);
    connect(m_chatsRepository, &ChatsRepository::chatAdded, this, &AppController::onChatAdded);
    connect(m_usersRepository,
            &UsersRepository::userAdded,
            m_chatsRepository,
            &ChatsRepository::onUserChanged);
    connect(m_usersRepository,
            &UsersRepository::userChanged,
            m_chatsRepository,
            &ChatsRepository::onUserChanged);
    connect(m_usersRepository, &UsersRepository::checkReauth, this, &AppController::checkReauth);
    connect(m_usersRepository,
            &UsersRepository::userRemoved,
            m_chatsRepository,
            &ChatsRepository::onUserDeleted);

    // 2. The other repositories, the session and the service client.
    ChatRepository::init(this);
    QuickAnswersRepository::init(this);
    VisitorsRepository::init(this);
    ResourceManager::init(this);
    AuthSession::init(this);
    m_session = AuthSession::getInstance();
    m_networkManager = new NetworkManager(this);

    // 3. Sign-in.
    connect(m_networkManager,
            &NetworkManager::authenticateSuccess,
            this,
            &AppController::onAuthenticateSuccess);
    connect(m_networkManager,
            &NetworkManager::authenticateError,
            this,
            &AppController::onAuthenticateError);
    connect(m_networkManager,
            &NetworkManager::needFranchiseSelection,
            this,
            &AppController::onNeedFranchiseSelect);

    // 4. The controllers.
    m_chatController = new ChatController(this);
    connect(m_chatController,
            &ChatController::connectToDialog,
            this,
            &AppController::onConnectToDialog);
    m_conversationInfoController = new ConversationInfoController(this);
    connect(m_conversationInfoController,
            &ConversationInfoController::chatClosed,
            this,
            &AppController::onChatClosed);
    m_conversationListController = new ConversationListController(this);
    connect(m_conversationListController,
            &ConversationListController::itemClicked,
            this,
            &AppController::onOpenDialog);
    m_openChatsController = new OpenChatsController(this);
    connect(m_openChatsController,
            &OpenChatsController::chatOpen,
            this,
            &AppController::onOpenDialog);
    connect(m_openChatsController,
            &OpenChatsController::currentChatClosed,
            this,
            &AppController::onCurrentChatClosed);
    connect(m_chatsRepository,
            &ChatsRepository::initialized,
            m_openChatsController,
            &OpenChatsController::onChatsInitialized);
    m_chatHistoryController = new ChatHistoryController(this);
    m_chatHistoryMessagesController = new ChatHistoryMessagesController(this);
    connect(m_chatHistoryController,
            &ChatHistoryController::loadChat,
            m_chatHistoryMessagesController,
            &ChatHistoryMessagesController::loadChat);
    connect(m_chatHistoryMessagesController,
            &ChatHistoryMessagesController::needChatHistoryRefresh,
            m_chatHistoryController,
            &ChatHistoryController::refresh);
    m_offlineMessagesController = new OfflineMessagesController(this);
    m_visitorsController = new VisitorsOnlineController(this);
    connect(m_visitorsController,
            &VisitorsOnlineController::openChat,
            this,
            &AppController::onOpenDialog);
    VisitorsRepository *visitors = VisitorsRepository::getInstance();
    connect(visitors,
            &VisitorsRepository::initialized,
            m_visitorsController,
            &VisitorsOnlineController::onVisitorsInitialized);
    connect(visitors,
            &VisitorsRepository::visitorAdded,
            m_visitorsController,
            &VisitorsOnlineController::onVisitorAdded);
    connect(visitors,
            &VisitorsRepository::visitorUpdated,
            m_visitorsController,
            &VisitorsOnlineController::onVisitorChanged);
    connect(visitors,
            &VisitorsRepository::visitorRemoved,
            m_visitorsController,
            &VisitorsOnlineController::onVisitorRemoved);
    connect(m_chatsRepository,
            &ChatsRepository::chatChanged,
            m_visitorsController,
            &VisitorsOnlineController::onChatChanged);

    // 5. The main window.
    m_mainWindow = std::make_unique<MainWindow>();
    MainWindow *window = m_mainWindow.get();
    connect(window, &MainWindow::authenticate, this, &AppController::onAuthentication);
    connect(window, &MainWindow::franchiseSelect, this, &AppController::onFranchiseSelected);
    connect(window, &MainWindow::buttonBackClicked, this, &AppController::onButtonBackClicked);
    connect(window,
            &MainWindow::categoryMy,
            m_conversationListController,
            &ConversationListController::setMy);
    connect(window,
            &MainWindow::categoryNotMy,
            m_conversationListController,
            &ConversationListController::setNotMy);
    connect(window,
            &MainWindow::categoryMissed,
            m_conversationListController,
            &ConversationListController::setMissed);
    connect(window, &MainWindow::buttonMyClicked, this, &AppController::onButtonBackClicked);
    connect(window, &MainWindow::buttonNotMyClicked, this, &AppController::onButtonBackClicked);
    connect(window, &MainWindow::buttonMissedClicked, this, &AppController::onButtonBackClicked);
    connect(window, &MainWindow::logout, this, &AppController::onLogout);
    connect(window, &MainWindow::userOnline, m_networkManager, &NetworkManager::onUserOnline);
    connect(m_usersRepository,
            &UsersRepository::initialized,
            window,
            &MainWindow::onUsersInitialized);
    connect(m_usersRepository, &UsersRepository::userChanged, window, &MainWindow::onUserChanged);
    connect(m_usersRepository,
            &UsersRepository::usersOnlineChanged,
            window,
            &MainWindow::onUsersOnlineChanged);
    // "В сети N из M" counts the widgets' operators, whose keys may come after the users.
    connect(m_usersRepository, &UsersRepository::userKeysChanged, window, [this] {
        m_mainWindow->onUsersOnlineChanged(m_usersRepository->getUsers());
    });
    // The views go into the window's main page once it is built: after the sign-in form's
    // first frame, or at the first call that needs it.
    connect(window, &MainWindow::mainPageCreated, this, &AppController::installMainPageViews);
    m_prompts = std::make_unique<MessageBoxPrompts>();
    setPrompts(m_prompts.get());

    // 6. Quick answers and the visitor's introduction.
    connect(m_chatController,
            &ChatController::createAnswer,
            m_networkManager,
            &NetworkManager::onCreateNewAnswer);
    connect(m_chatController,
            &ChatController::updateAnswer,
            m_networkManager,
            &NetworkManager::onUpdateAnswer);
    connect(m_chatController,
            &ChatController::deleteAnswer,
            m_networkManager,
            &NetworkManager::onDeleteAnswer);
    connect(m_chatController,
            &ChatController::userIntroduced,
            m_conversationInfoController,
            &ConversationInfoController::onUserIntroduced);

    // 7. The connection state in the title.
    connect(m_networkManager,
            &NetworkManager::connectionChanged,
            window,
            &MainWindow::onConnectionChanged);

    // 8. Counters: visitors, and the open chat's message count once its messages are in.
    connect(visitors, &VisitorsRepository::visitorAdded, this, &AppController::updateVisitorsCount);
    connect(visitors,
            &VisitorsRepository::visitorRemoved,
            this,
            &AppController::updateVisitorsCount);
    connect(visitors,
            &VisitorsRepository::visitorUpdated,
            this,
            &AppController::updateVisitorsCount);
    connect(visitors, &VisitorsRepository::initialized, this, &AppController::updateVisitorsCount);
    // The categories' counters follow the widgets' keys, which may come after the chats.
    connect(m_usersRepository,
            &UsersRepository::userKeysChanged,
            this,
            &AppController::refreshCounters);
    connect(ChatRepository::getInstance(),
            &ChatRepository::initialized,
            m_networkManager,
            &NetworkManager::updateChatMessageCount);

    // 9. The window's focus, for read marks.
    connect(window,
            &MainWindow::activeStateChanged,
            AppSettings::instance(),
            &AppSettings::onMainWindowActiveChanged);
    connect(AppSettings::instance(),
            &AppSettings::mainWindowActiveChanged,
            m_chatController,
            &ChatController::onMainWindowActiveStateChanged);

    // 10. A refused token refresh ends the session.
    connect(m_networkManager, &NetworkManager::tokenRefreshError, this, &AppController::onLogout);

    openWindow();
    // 11.
    startupLogin();
}

void AppController::installMainPageViews()
{
    MainWindow *window = m_mainWindow.get();
    // The window's own list and strips.
    m_conversationListController->installView(window->conversationList());
    m_openChatsController->installView(window->horizontalOpenChats());
    m_openChatsController->installView(window->verticalOpenChats());
    // The list starts on the operator's own dialogs.
    window->setChatsPage(Util::CategoryMy);
    // The open chat beside its info panel, and the three pages; the window owns them.
    auto *chatView = new ChatWidget;
    auto *infoView = new ConversationInfoWidget;
    installChatView(chatView);
    installConversationInfoView(infoView);
    window->setChatWidgets(chatView, infoView);
    window->setPageFactory(MainWindow::VisitorsPage, [this] {
        auto *page = new VisitorsOnlineWidget;
        installVisitorsOnlineView(page);
        return page;
    });
    window->setPageFactory(MainWindow::HistoryPage, [this] {
        auto *page = new ChatHistoryWidget;
        installChatHistoryViews(page, page->messagesWidget());
        return page;
    });
    window->setPageFactory(MainWindow::OfflinePage, [this] {
        auto *page = new OfflineMessagesWidget;
        installOfflineMessagesView(page);
        return page;
    });
}

void AppController::installChatView(ChatView *view)
{
    m_chatController->installView(view);
}

void AppController::installConversationInfoView(ConversationInfoView *view)
{
    m_conversationInfoController->installView(view);
}

void AppController::installVisitorsOnlineView(VisitorsOnlineView *view)
{
    m_visitorsController->installView(view);
}

void AppController::installChatHistoryViews(ChatHistoryView *list, ChatHistoryMessagesView *dialog)
{
    m_chatHistoryController->installView(list);
    m_chatHistoryMessagesController->installView(dialog);
}

void AppController::installOfflineMessagesView(OfflineMessagesView *view)
{
    m_offlineMessagesController->installView(view);
}

void AppController::setPrompts(ModalPrompts *prompts)
{
    m_chatController->setPrompts(prompts);
    m_conversationInfoController->setPrompts(prompts);
}

void AppController::openWindow()
{
    if (!m_mainWindow)
        return;
    qDebug() << "SHOW MAIN WINDOW";
    m_mainWindow->raise();
    m_mainWindow->showNormal();
    m_mainWindow->activateWindow();
    m_mainWindow->raise();
}

void AppController::startupLogin()
{
    qDebug() << "START";
    const QString login = store().value(kLogin).toString();
    const bool saveCreds = store().value(kSaveCreds, false).toBool();
    const QString password = saveCreds ? PasswordStore::read(login) : QString();
    m_mainWindow->setLogin(login);
    m_mainWindow->setPassword(password);
    m_mainWindow->setRememberMe(saveCreds);
    if (saveCreds && !password.isEmpty()) {
        m_login = login;
        m_password = password;
        m_rememberMe = true;
        m_mainWindow->setButtonWaiter();
        if (store().contains(kFranchise)) {
            m_franchiseId = store().value(kFranchise).toInt();
            m_networkManager->authenticate(login, password, m_franchiseId);
        } else {
            m_networkManager->authenticate(login, password);
        }
        return;
    }
    m_mainWindow->showLoginForm();
}

void AppController::onAuthentication(const QString &login, const QString &password, bool remember)
{
    m_login = login;
    m_password = password;
    m_rememberMe = remember;
    m_franchiseId = -1;
    if (!login.isEmpty() && !password.isEmpty()) {
        if (remember) {
            PasswordStore::write(login, password);
        } else {
            PasswordStore::remove(login);
            store().remove(kFranchise);
        }
        store().setValue(kSaveCreds, remember);
        store().setValue(kLogin, login);
    }
    m_mainWindow->setButtonWaiter();
    m_networkManager->authenticate(login, password);
}

void AppController::onNeedFranchiseSelect(const QList<FranchiseItem> &franchises)
{
    m_mainWindow->showFranchiseSelection(franchises);
}

void AppController::onFranchiseSelected(int franchiseId)
{
    // A second click while the first sign-in runs sends nothing.
    if (m_franchiseRequestPending)
        return;
    m_franchiseRequestPending = true;
    m_franchiseId = franchiseId;
    m_networkManager->authenticate(m_login, m_password, franchiseId);
}

void AppController::onAuthenticateSuccess(const UserInfo &userInfo)
{
    m_franchiseRequestPending = false;
    m_mainWindow->setUserInfo(userInfo);
    m_mainWindow->showMainPage();
    qDebug() << "SAVE onAuthenticateSuccess" << int(m_rememberMe);
    if (m_rememberMe) {
        PasswordStore::write(m_login, m_password);
        store().setValue(kSaveCreds, true);
        if (m_franchiseId >= 0)
            store().setValue(kFranchise, m_franchiseId);
        else
            store().remove(kFranchise);
    } else {
        PasswordStore::remove(m_login);
        store().remove(kFranchise);
    }
    store().setValue(kLogin, m_login);
    m_networkManager->setUserOnlineOnStartup();
    m_unreadTimer.start();
}

void AppController::onAuthenticateError(int code,
                                        const QString &message,
                                        NetworkManager::AuthenticateErrorType type)
{
    Q_UNUSED(code)
    m_franchiseRequestPending = false;
    m_mainWindow->showLoginForm();
    m_mainWindow->setAuthenticateError(message,
                                       type == NetworkManager::EmailError,
                                       type == NetworkManager::PasswordError);
    if (!store().value(kSaveCreds, false).toBool()) {
        PasswordStore::remove(m_login);
        store().remove(kFranchise);
    }
}

void AppController::onLogout()
{
    m_networkManager->logout();
    onButtonBackClicked();
    m_mainWindow->showLoginForm();
    m_networkManager->disconnectFromAll();
    m_conversationListController->clear();
    m_chatController->clear();
    m_chatHistoryController->clear();
    m_offlineMessagesController->clear();
    store().remove(kFranchise);
    m_unreadTimer.stop();
}

void AppController::checkReauth(const QString &userKey)
{
    if (userKey == m_session->getUserId() && m_usersRepository->getUserById(userKey).getReauth())
        onLogout();
}

void AppController::onButtonBackClicked()
{
    m_networkManager->disconnectFromChat();
    m_mainWindow->setCurrentChat(QString());
    m_mainWindow->showConversationList();
    m_chatController->setConnectedState(false);
}

void AppController::onChatClosed(const QString &chatId)
{
    Q_UNUSED(chatId)
    onButtonBackClicked();
}

void AppController::onOpenDialog(const QString &chatId)
{
    if (chatId.isEmpty())
        return;
    if (m_chatsRepository->chatExists(chatId) && !m_chatsRepository->chatIsInWork(chatId))
        return;
    m_networkManager->disconnectFromChat();
    m_chatController->setConnectedState(false);
    m_chatController->clear();
    m_networkManager->connectToChat(chatId);
    m_openChatsController->onChatOpened(chatId);
    const FirebaseChat chat = m_chatsRepository->getChatById(chatId);
    m_conversationInfoController->setConnectedState(
        chat.getOperators().contains(m_session->getUserId()));
    m_conversationInfoController->setChatId(chatId);
    const int category = Util::getChatCategory(chat);
    if (category != Util::CategoryUnlisted)
        m_mainWindow->setChatsPage(Util::ChatCategory(category));
    m_mainWindow->setCurrentChat(chatId);
    m_mainWindow->showChatPage();
}

void AppController::onConnectToDialog(const QString &chatId)
{
    m_networkManager->addOperatorToChat(chatId);
}

void AppController::refreshCounters()
{
    m_mainWindow->setNewCount(m_chatsRepository->getUnreadCount());
    m_mainWindow->setForeignCount(m_chatsRepository->getUnreadForeignCount());
    m_mainWindow->setMissedCount(m_chatsRepository->getMissedCount());
    updateWindowIcon();
}

void AppController::showChatNotice(const QString &chatId,
                                   const QString &title,
                                   const QString &text,
                                   const QString &photo,
                                   qint64 widgetId)
{
    const QString sound = m_session->getNotificationSoundForWidget(widgetId);
    NotificationWindow *notice
        = NotificationBuilder::buildChatNotification(chatId, title, text, sound, photo, 10000);
    connect(notice,
            QOverload<const QString &>::of(&NotificationWindow::clicked),
            this,
            &AppController::onNotificationClicked);
    // The reminder counts from the last notice.
    m_unreadTimer.stop();
    m_unreadTimer.start();
    QApplication::alert(m_mainWindow.get(), 0);
    emit noticeShown(title, text, sound);
}

void AppController::onChatChanged(const QString &chatId, bool notify)
{
    refreshCounters();
    if (!notify)
        return;
    const FirebaseChat chat = m_chatsRepository->getChatById(chatId);
    const FirebaseLastMessage last = chat.getLastMessage();
    const FirebaseUser sender = m_usersRepository->getUserById(last.getSender());
    if (sender.getRole() == QLatin1String("visitor")
        && Util::getChatCategory(chat) == Util::CategoryMy) {
        QString text = last.getText();
        if (last.getType() == QLatin1String("image"))
            text = tr("отправил изображение");
        else if (last.getType() == QLatin1String("file"))
            text = tr("отправил файл");
        showChatNotice(chatId, sender.getName(), text, sender.getPhoto(), chat.getWidgetId());
        return;
    }
    if (last.getType() != QLatin1String("invitation") || last.getTarget() != m_session->getUserId())
        return;
    const qint64 widgetId = chat.getWidgetId();
    const QString own = m_usersRepository->getUserById(m_session->getUserId())
                            .getAliasForWidget(widgetId)
                            .getName();
    const FirebaseUserAlias inviter = sender.getAliasForWidget(widgetId);
    showChatNotice(chatId,
                   inviter.getName().isEmpty() ? sender.getName() : inviter.getName(),
                   tr("%1, подключись к диалогу, пожалуйста").arg(own),
                   inviter.getPhoto().isEmpty() ? sender.getPhoto() : inviter.getPhoto(),
                   widgetId);
}

void AppController::onChatAdded(const QString &chatId)
{
    onChatChanged(chatId, true);
}

void AppController::onChatsInitialized()
{
    m_mainWindow->setNewCount(m_chatsRepository->getUnreadCount());
    m_mainWindow->setMissedCount(m_chatsRepository->getMissedCount());
    updateWindowIcon();
}

void AppController::onNotifyUnreadMessagesCount()
{
    const int unread = m_chatsRepository->getUnreadMessagesCount();
    if (unread < 1)
        return;
    refreshCounters();
    NotificationWindow *notice = NotificationBuilder::buildNotification(
        tr("Обратите внимание"),
        tr("У вас есть %1 непрочитанных сообщений").arg(unread),
        5000,
        m_session->getNotificationSoundForWidget(-1));
    connect(notice,
            QOverload<>::of(&NotificationWindow::clicked),
            this,
            &AppController::onUnreadNotificationClicked);
    emit noticeShown(tr("Обратите внимание"), QString::number(unread), QString());
}

void AppController::onCurrentChatClosed()
{
    const QString chatId = m_networkManager->getCurrentChatId();
    const FirebaseChat chat = m_chatsRepository->getChatById(chatId);
    const FirebaseUser visitor = m_usersRepository->getUserById(chat.getVisitor());
    if (Util::getChatCategory(chat) == Util::CategoryUnlisted) {
        NotificationBuilder::buildNotification(visitor.getName(),
                                               tr("Диалог был завершен"),
                                               visitor.getPhoto(),
                                               10000);
        emit noticeShown(visitor.getName(), tr("Диалог был завершен"), QString());
    }
    onButtonBackClicked();
}

void AppController::onNotificationClicked(const QString &chatId)
{
    m_mainWindow->showNormal();
    m_mainWindow->activateWindow();
    onOpenDialog(chatId);
}

void AppController::onUnreadNotificationClicked()
{
    m_mainWindow->showNormal();
    m_mainWindow->activateWindow();
}

void AppController::updateWindowIcon()
{
    // Without a dock the window and tray icons carry the badge.
    const int unread = m_chatsRepository->getUnreadMessagesCount();
    // Every listed chat's change asks again, thousands at a sign-in, and each badge decodes
    // the icon's PNG: draw only a new count.
    if (unread == m_iconCount)
        return;
    m_iconCount = unread;
    const QIcon icon(QPixmap::fromImage(Util::getWindowIcon(unread)));
    m_mainWindow->setWindowIcon(icon);
    m_mainWindow->trayIcon()->setIcon(icon);
}

void AppController::updateVisitorsCount()
{
    m_mainWindow->setVisitorsCount(
        VisitorsRepository::getInstance()->getCount(m_session->getWidgetList()));
}
