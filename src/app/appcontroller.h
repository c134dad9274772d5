#pragma once

#include "network/networkmanager.h"
#include "records/franchiseitem.h"
#include "records/userinfo.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <memory>

class AuthSession;
class ChatController;
class ChatHistoryController;
class ChatHistoryMessagesController;
class ChatHistoryMessagesView;
class ChatHistoryView;
class ChatView;
class ChatsRepository;
class ConversationInfoController;
class ConversationInfoView;
class ConversationListController;
class MainWindow;
class ModalPrompts;
class OfflineMessagesController;
class OfflineMessagesView;
class OpenChatsController;
class UsersRepository;
class VisitorsOnlineController;
class VisitorsOnlineView;

// The one object that owns the session's moving parts: it creates the repositories, the
// session, the service client, the controllers and the main window, makes every connection
// between them, runs the sign-in (saved credentials, service choice, errors, sign-out, forced
// re-authentication), turns chat events into notices with sounds, keeps the counters and the
// badge, and raises the window on request.
class AppController : public QObject
{
    Q_OBJECT

public:
    // The unread reminder's period.
    static constexpr int UnreadReminderMs = 30000;

    explicit AppController(QObject *parent = nullptr);
    ~AppController() override;
    static AppController *instance();

    void Init();
    void installChatView(ChatView *view);
    void installConversationInfoView(ConversationInfoView *view);
    void installVisitorsOnlineView(VisitorsOnlineView *view);
    void installChatHistoryViews(ChatHistoryView *list, ChatHistoryMessagesView *dialog);
    void installOfflineMessagesView(OfflineMessagesView *view);
    // Who answers the controllers' modal questions.
    void setPrompts(ModalPrompts *prompts);

    MainWindow *mainWindow() const { return m_mainWindow.get(); }
    NetworkManager *networkManager() const { return m_networkManager; }
    ChatController *chatController() const { return m_chatController; }
    ConversationInfoController *conversationInfoController() const
    {
        return m_conversationInfoController;
    }
    ConversationListController *conversationListController() const
    {
        return m_conversationListController;
    }
    OpenChatsController *openChatsController() const { return m_openChatsController; }
    VisitorsOnlineController *visitorsOnlineController() const { return m_visitorsController; }
    QTimer *unreadTimer() { return &m_unreadTimer; }

public slots:
    void openWindow();
    void startupLogin();
    void onAuthentication(const QString &login, const QString &password, bool remember);
    void onNeedFranchiseSelect(const QList<FranchiseItem> &franchises);
    void onFranchiseSelected(int franchiseId);
    void onAuthenticateSuccess(const UserInfo &userInfo);
    void onAuthenticateError(int code,
                             const QString &message,
                             NetworkManager::AuthenticateErrorType type);
    void onLogout();
    void checkReauth(const QString &userKey);
    void onButtonBackClicked();
    void onChatClosed(const QString &chatId);
    void onOpenDialog(const QString &chatId);
    void onConnectToDialog(const QString &chatId);
    void onChatChanged(const QString &chatId, bool notify);
    void onChatAdded(const QString &chatId);
    void onChatsInitialized();
    void onNotifyUnreadMessagesCount();
    void onCurrentChatClosed();
    void onNotificationClicked(const QString &chatId);
    void onUnreadNotificationClicked();
    void updateWindowIcon();
    void updateVisitorsCount();

signals:
    // A notice was raised: for tests and the screenshot tour.
    void noticeShown(QString title, QString text, QString sound);

private:
    // The list, the strips, the chat view with its panel and the other pages' factories.
    void installMainPageViews();
    void refreshCounters();
    void showChatNotice(const QString &chatId,
                        const QString &title,
                        const QString &text,
                        const QString &photo,
                        qint64 widgetId);

    static QPointer<AppController> s_instance;

    UsersRepository *m_usersRepository = nullptr;
    ChatsRepository *m_chatsRepository = nullptr;
    AuthSession *m_session = nullptr;
    std::unique_ptr<MainWindow> m_mainWindow;
    std::unique_ptr<ModalPrompts> m_prompts;
    NetworkManager *m_networkManager = nullptr;
    ChatController *m_chatController = nullptr;
    ConversationInfoController *m_conversationInfoController = nullptr;
    ConversationListController *m_conversationListController = nullptr;
    OpenChatsController *m_openChatsController = nullptr;
    ChatHistoryController *m_chatHistoryController = nullptr;
    ChatHistoryMessagesController *m_chatHistoryMessagesController = nullptr;
    OfflineMessagesController *m_offlineMessagesController = nullptr;
    VisitorsOnlineController *m_visitorsController = nullptr;

    QString m_login;
    QString m_password;
    int m_franchiseId = -1;
    // The unread count the window and tray icons show; -1 before the first badge.
    int m_iconCount = -1;
    bool m_rememberMe = false;
    bool m_franchiseRequestPending = false;
    QTimer m_unreadTimer;
};
