#pragma once

#include "records/apichatinfo.h"
#include "records/firebasechatmessage.h"

#include <QObject>
#include <QString>

class ChatsRepository;
class ConversationInfoView;
class ModalPrompts;
class NetworkManager;

// Drives the conversation-info panel: the visitor's card from the service's chat info, the
// connected and blocked states, the message count, and the panel's actions, each one operation
// of NetworkManager.
class ConversationInfoController : public QObject
{
    Q_OBJECT

public:
    explicit ConversationInfoController(QObject *parent = nullptr);

    void installView(ConversationInfoView *view);
    // Who confirms ending a dialog and runs the send-to-CRM dialog; without one, nothing is
    // ended and nothing is sent.
    void setPrompts(ModalPrompts *prompts) { m_prompts = prompts; }
    void setChatId(const QString &chatId);
    QString chatId() const { return m_chatId; }
    void setConnectedState(bool connected);
    ApiChatInfo chatInfo() const { return m_chatInfo; }

public slots:
    void onChatInfo(const ApiChatInfo &info);
    void onChatChanged(const QString &chatId);
    void onUserIntroduced(const FirebaseChatMessage &message);
    void onCrmFinished(const QString &chatId, bool success, const QString &message);

    void onNeedChatInfo(const QString &chatId);
    void onSendToCrm();
    void onIgnoreUser();
    void onIgnoreIpUser();
    void onResetIgnoreUser();
    void onExitChat();
    void onEndChat();
    void onNoNeedAnswer();
    void onOperatorInvited(const QString &operatorKey);

signals:
    void chatClosed(QString chatId);

private:
    void refresh();

    NetworkManager *m_network;
    ChatsRepository *m_chats;
    ConversationInfoView *m_view = nullptr;
    ModalPrompts *m_prompts = nullptr;
    QString m_chatId;
    ApiChatInfo m_chatInfo;
};
