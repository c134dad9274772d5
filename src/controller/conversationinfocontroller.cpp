#include "controller/conversationinfocontroller.h"

#include "controller/conversationinfoview.h"
#include "controller/modalprompts.h"
#include "controller/viewconnector.h"
#include "network/networkmanager.h"
#include "repo/authsession.h"
#include "repo/chatrepository.h"
#include "repo/chatsrepository.h"
#include "repo/usersrepository.h"
#include "util/util.h"

#include <QDebug>
#include <QWidget>

ConversationInfoController::ConversationInfoController(QObject *parent)
    : QObject(parent)
    , m_network(NetworkManager::instance())
    , m_chats(ChatsRepository::getInstance())
{
    connect(m_network, &NetworkManager::chatInfo, this, &ConversationInfoController::onChatInfo);
    connect(m_chats,
            &ChatsRepository::chatChanged,
            this,
            &ConversationInfoController::onChatChanged);
    connect(m_network,
            &NetworkManager::sendToCrmFinished,
            this,
            &ConversationInfoController::onCrmFinished);
}

void ConversationInfoController::installView(ConversationInfoView *view)
{
    m_view = view;
    QObject *object = viewObject(view);
    connectView(object, SIGNAL(needChatInfo(QString)), this, SLOT(onNeedChatInfo(QString)));
    connectView(object, SIGNAL(sendToCrm()), this, SLOT(onSendToCrm()));
    connectView(object, SIGNAL(ignoreUser()), this, SLOT(onIgnoreUser()));
    connectView(object, SIGNAL(ignoreIpUser()), this, SLOT(onIgnoreIpUser()));
    connectView(object, SIGNAL(resetIgnoreUser()), this, SLOT(onResetIgnoreUser()));
    connectView(object, SIGNAL(exitChat()), this, SLOT(onExitChat()));
    connectView(object, SIGNAL(endChat()), this, SLOT(onEndChat()));
    connectView(object, SIGNAL(noNeedAnswer()), this, SLOT(onNoNeedAnswer()));
    connectView(object, SIGNAL(operatorInvited(QString)), this, SLOT(onOperatorInvited(QString)));
}

void ConversationInfoController::setChatId(const QString &chatId)
{
    m_chatId = chatId;
    // What the panel knew belongs to the chat it showed before.
    m_chatInfo = ApiChatInfo();
    refresh();
    if (m_view)
        m_view->setChatId(chatId);
    // The card and the quick answers need the service's facts about the chat.
    if (!chatId.isEmpty())
        onNeedChatInfo(chatId);
}

void ConversationInfoController::setConnectedState(bool connected)
{
    if (m_view)
        m_view->setConnectedState(connected);
}

void ConversationInfoController::onChatInfo(const ApiChatInfo &info)
{
    // An answer about a chat the panel no longer shows is left alone.
    if (info.getId() != m_chats->getChatById(m_chatId).getApiId())
        return;
    m_chatInfo = info;
    if (m_view)
        m_view->setChatInfo(m_chatInfo);
}

void ConversationInfoController::onChatChanged(const QString &chatId)
{
    if (!chatId.isEmpty() && chatId == m_chatId)
        refresh();
}

void ConversationInfoController::refresh()
{
    const FirebaseChat chat = m_chats->getChatById(m_chatId);
    setConnectedState(chat.getOperators().contains(AuthSession::getInstance()->getUserId()));
    if (!m_view)
        return;
    m_view->setVisitorBlocked(chat.getVisitorBlocked());
    m_view->setMessageCount(chat.getMessageCount());
}

void ConversationInfoController::onUserIntroduced(const FirebaseChatMessage &message)
{
    ApiChatVisitInfo visit = m_chatInfo.getVisit();
    const FirebaseChatMessageAttributes attributes = message.getAttributes();
    visit.setPhone(attributes.getPhone());
    visit.setEmail(attributes.getEmail());
    visit.setName(attributes.getName());
    m_chatInfo.setVisit(visit);
    if (m_view)
        m_view->setChatInfo(m_chatInfo);
}

void ConversationInfoController::onCrmFinished(const QString &chatId,
                                               bool success,
                                               const QString &message)
{
    if (m_view && chatId == m_chatId)
        m_view->setCrmResult(success, message);
}

void ConversationInfoController::onNeedChatInfo(const QString &chatId)
{
    const FirebaseChat chat = m_chats->getChatById(chatId);
    if (chat.getApiId() > 0)
        m_network->getChatInfo(chat.getApiId());
}

void ConversationInfoController::onSendToCrm()
{
    if (m_chatId.isEmpty())
        return;
    const FirebaseChat chat = m_chats->getChatById(m_chatId);
    CrmContact contact;
    contact.name = UsersRepository::getInstance()->getUserById(chat.getVisitor()).getName();
    const ApiChatVisitInfo visit = m_chatInfo.getVisit();
    if (!visit.getEmail().isEmpty())
        contact.emails.append(visit.getEmail());
    if (!visit.getPhone().isEmpty())
        contact.phones.append(visit.getPhone());
    Util::parseEmailsAndPhonesFromMessages(ChatRepository::getInstance()->getMessages(),
                                           contact.emails,
                                           contact.phones,
                                           chat.getVisitor());
    contact.emails.removeDuplicates();
    contact.phones.removeDuplicates();
    contact.email = contact.emails.value(0);
    contact.phone = contact.phones.value(0);
    if (!m_prompts)
        return;
    auto *panel = dynamic_cast<QWidget *>(m_view);
    const bool accepted = m_prompts->editCrmContact(panel, &contact);
    if (accepted)
        m_network->sendToCrm(m_chatId, contact.name, contact.email, contact.phone, contact.comment);
}

void ConversationInfoController::onIgnoreUser()
{
    if (m_chatId.isEmpty())
        return;
    m_network->blockUser(m_chatId);
    onNeedChatInfo(m_chatId);
}

void ConversationInfoController::onIgnoreIpUser()
{
    if (m_chatId.isEmpty())
        return;
    m_network->blockIpUser(m_chatId);
    onNeedChatInfo(m_chatId);
}

void ConversationInfoController::onResetIgnoreUser()
{
    if (m_chatId.isEmpty())
        return;
    m_network->unblockUser(m_chatId);
    onNeedChatInfo(m_chatId);
}

void ConversationInfoController::onExitChat()
{
    if (m_chatId.isEmpty())
        return;
    m_network->exitChat(m_chatId);
}

void ConversationInfoController::onEndChat()
{
    if (m_chatId.isEmpty() || !m_prompts
        || !m_prompts->askYesNo(dynamic_cast<QWidget *>(m_view),
                                tr("Завершение диалога"),
                                tr("Завершить диалог? Посетитель больше не сможет в нём писать.")))
        return;
    const QString chatId = m_chatId;
    m_network->endChat(chatId);
    emit chatClosed(chatId);
}

void ConversationInfoController::onNoNeedAnswer()
{
    if (m_chatId.isEmpty())
        return;
    m_network->noNeedAnswer(m_chatId);
}

void ConversationInfoController::onOperatorInvited(const QString &operatorKey)
{
    if (m_chatId.isEmpty())
        return;
    qDebug() << "INVITING OPERATOR" << operatorKey << "TO CHAT" << m_chatId;
    m_network->inviteOperatorToChat(m_chatId, operatorKey);
}
