#include "controller/conversationlistcontroller.h"

#include "controller/conversationlistview.h"
#include "controller/viewconnector.h"
#include "repo/chatsrepository.h"
#include "repo/usersrepository.h"
#include "util/util.h"

#include <QDebug>

#include <algorithm>

namespace {

bool before(const FirebaseChat &a, const FirebaseChat &b)
{
    return a.compareTo(b) < 0;
}

} // namespace

ConversationListController::ConversationListController(QObject *parent)
    : QObject(parent)
    , m_users(UsersRepository::getInstance())
    , m_chats(ChatsRepository::getInstance())
{
    connect(m_chats, &ChatsRepository::initialized, this, &ConversationListController::initDialogs);
    connect(m_users, &UsersRepository::initialized, this, &ConversationListController::initDialogs);
    // The three snapshots come over separate streams in any order; the keys decide "mine".
    connect(m_users,
            &UsersRepository::userKeysChanged,
            this,
            &ConversationListController::initDialogs);
}

void ConversationListController::installView(ConversationListView *view)
{
    m_view = view;
    connectView(viewObject(view), SIGNAL(itemClicked(QString)), this, SLOT(onItemClicked(QString)));
    connect(m_chats,
            &ChatsRepository::chatChanged,
            this,
            &ConversationListController::onChatChanged);
    connect(m_chats, &ChatsRepository::chatAdded, this, &ConversationListController::onChatAdded);
    connect(m_chats,
            &ChatsRepository::chatDeleted,
            this,
            &ConversationListController::onChatDeleted);
}

void ConversationListController::setMy()
{
    setMode(My);
}

void ConversationListController::setNotMy()
{
    setMode(NotMy);
}

void ConversationListController::setMissed()
{
    setMode(Missed);
}

void ConversationListController::setMode(int mode)
{
    m_mode = mode;
    initDialogs();
}

void ConversationListController::initDialogs()
{
    m_dialogs = getDialogs();
    // compareTo is a strict total order, so any correct sort gives the one order.
    std::sort(m_dialogs.begin(), m_dialogs.end(), before);
    if (m_view)
        m_view->initDialogs(m_dialogs);
}

void ConversationListController::clear()
{
    qDebug() << "CLEAR CONVERSATION LIST";
    m_dialogs.clear();
    if (m_view)
        m_view->clear();
}

void ConversationListController::onItemClicked(const QString &chatId)
{
    emit itemClicked(chatId);
}

bool ConversationListController::checkChatCategory(const FirebaseChat &chat) const
{
    // The modes are the categories of the three lists.
    return Util::getChatCategory(chat) == m_mode;
}

QList<FirebaseChat> ConversationListController::getDialogs() const
{
    QList<FirebaseChat> dialogs;
    for (const FirebaseChat &chat : m_chats->getChats()) {
        if (checkChatCategory(chat))
            dialogs.append(chat);
    }
    return dialogs;
}

bool ConversationListController::takeDialog(const QString &chatId)
{
    for (int i = 0; i < m_dialogs.size(); ++i) {
        if (m_dialogs.at(i).getId() == chatId) {
            m_dialogs.removeAt(i);
            return true;
        }
    }
    return false;
}

int ConversationListController::insertDialog(const FirebaseChat &chat)
{
    const auto at = std::lower_bound(m_dialogs.begin(), m_dialogs.end(), chat, before);
    const int index = int(at - m_dialogs.begin());
    m_dialogs.insert(index, chat);
    return index;
}

void ConversationListController::onChatChanged(const QString &chatId, bool notify)
{
    Q_UNUSED(notify)
    const FirebaseChat chat = m_chats->getChatById(chatId);
    takeDialog(chatId);
    if (!checkChatCategory(chat)) {
        if (m_view)
            m_view->removeChat(chatId);
        return;
    }
    const int index = insertDialog(chat);
    if (m_view)
        m_view->updateChat(chatId, true, index);
}

void ConversationListController::onChatAdded(const QString &chatId)
{
    const FirebaseChat chat = m_chats->getChatById(chatId);
    if (!checkChatCategory(chat))
        return;
    // An added chat already listed (a repeated announcement) keeps one entry.
    takeDialog(chatId);
    const int index = insertDialog(chat);
    if (m_view)
        m_view->addChat(chatId, index);
}

void ConversationListController::onChatDeleted(const QString &chatId)
{
    takeDialog(chatId);
    if (m_view)
        m_view->removeChat(chatId);
}
