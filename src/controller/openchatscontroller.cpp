#include "controller/openchatscontroller.h"

#include "controller/openchatsview.h"
#include "controller/viewconnector.h"
#include "repo/chatsrepository.h"
#include "util/util.h"

OpenChatsController::OpenChatsController(QObject *parent)
    : QObject(parent)
{}

void OpenChatsController::installView(OpenChatsView *view)
{
    QObject *object = viewObject(view);
    connectView(object, SIGNAL(chatClicked(QString)), this, SLOT(onChatClicked(QString)));
    connectView(object, SIGNAL(chatClosed(QString)), this, SLOT(onChatClosed(QString)));
    m_views.append(view);
}

void OpenChatsController::onChatOpened(const QString &chatId)
{
    if (!m_openChats.contains(chatId)) {
        for (OpenChatsView *view : qAsConst(m_views))
            view->addChat(chatId);
        m_openChats.enqueue(chatId);
    }
    setOpenedChat(chatId);
    // The twenty-first pushes out the one opened longest ago, even the current one.
    if (m_openChats.size() > MaxOpenChats) {
        const QString oldest = m_openChats.dequeue();
        for (OpenChatsView *view : qAsConst(m_views))
            view->removeChat(oldest);
    }
}

void OpenChatsController::setOpenedChat(const QString &chatId)
{
    for (OpenChatsView *view : qAsConst(m_views))
        view->setOpenedChat(chatId);
    m_currentChat = chatId;
}

void OpenChatsController::onChatClosed(const QString &chatId)
{
    if (chatId == m_currentChat) {
        m_currentChat.clear();
        emit currentChatClosed();
    }
    m_openChats.removeAll(chatId);
    for (OpenChatsView *view : qAsConst(m_views))
        view->removeChat(chatId);
}

void OpenChatsController::onChatClicked(const QString &chatId)
{
    emit chatOpen(chatId);
}

void OpenChatsController::onChatsInitialized()
{
    // Collected first: closing changes the queue.
    QStringList gone;
    ChatsRepository *chats = ChatsRepository::getInstance();
    for (const QString &chatId : qAsConst(m_openChats)) {
        if (Util::getChatCategory(chats->getChatById(chatId)) == Util::CategoryUnlisted)
            gone.append(chatId);
    }
    for (const QString &chatId : qAsConst(gone))
        onChatClosed(chatId);
}
