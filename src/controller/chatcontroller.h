#pragma once

#include "records/apichatinfo.h"
#include "records/firebasechat.h"
#include "records/firebasechatmessage.h"

#include <QImage>
#include <QObject>
#include <QString>

class AuthSession;
class ChatRepository;
class ChatView;
class ChatsRepository;
class FileUploader;
class FileUploaderNotifier;
class ModalPrompts;
class NetworkManager;
class QuickAnswersRepository;
class UsersRepository;

// Drives the open chat: fills the chat view when the chat's messages have loaded, adds each new
// one, keeps the connected, blocked and typing states current, marks the chat read while the
// main window has focus, and turns the view's requests into repository signals, uploads and
// requests. The open chat is ChatRepository's, never stored here.
class ChatController : public QObject
{
    Q_OBJECT

public:
    // Follows the repositories' and the network manager's signals from the start.
    explicit ChatController(QObject *parent = nullptr);

    // Messages oldest first; those sent at the same moment keep the order they arrived in.
    static QList<FirebaseChatMessage> sortMessages(const QList<FirebaseChatMessage> &messages);

    void installView(ChatView *view);
    // Who answers the offline e-mail question; without one, it is answered No.
    void setPrompts(ModalPrompts *prompts) { m_prompts = prompts; }
    void setConnectedState(bool connected);
    // Empties the view, as the chat is about to change.
    void clear();

public slots:
    void onChatInitialized();
    void onMessageAdded(const QString &messageId);
    void onMessageChanged(const QString &messageId);
    void onChatChanged(const QString &chatId, bool notify);
    void onUserChanged(const QString &userId);
    void onChatInfo(const ApiChatInfo &info);
    void onMainWindowActiveStateChanged(bool active);

    void onConnectedToDialog(const QString &chatId);
    void onUnblockChat();
    void onSendMessage(const QString &text);
    void onTextChanged(const QString &text);
    void onShowQuickAnswers(const QString &text);
    void onShowAllQuickAnswers();
    void onNewAnswer(int kind, const QString &text);
    void onEditAnswer(qint64 id, const QString &text);
    void onDeleteAnswer(qint64 id);
    void onUploadFile(const QString &path);
    void onImageInserted(const QImage &image);
    void onSendPayment(const QString &title,
                       int quantity,
                       const QString &amount,
                       const QString &currency,
                       const QString &currencyText);

signals:
    void connectToDialog(QString chatId);
    void createAnswer(int type, QString text, qint64 id);
    void updateAnswer(qint64 id, QString text);
    void deleteAnswer(qint64 id);
    void userIntroduced(FirebaseChatMessage message);

private:
    QString chatId() const;
    FirebaseChat currentChat() const;
    bool isConnected(const FirebaseChat &chat) const;
    void showTyping(const FirebaseChat &chat);
    void showVisitorState(const FirebaseChat &chat);
    void markRead();
    void showQuickAnswers(const QString &text);
    void showUpload(FileUploaderNotifier *upload, const QString &name);
    qint64 operatorId() const;

    ChatView *m_view = nullptr;
    ModalPrompts *m_prompts = nullptr;
    ChatsRepository *m_chats;
    ChatRepository *m_chat;
    UsersRepository *m_users;
    QuickAnswersRepository *m_quickAnswers;
    AuthSession *m_session;
    NetworkManager *m_network;
    FileUploader *m_uploader;
    // The site of the open chat, from the service's chat info; quick answers depend on it.
    qint64 m_siteId = 0;
};
