#pragma once

#include "records/firebasechat.h"

#include <QList>
#include <QObject>
#include <QString>

class ChatsRepository;
class ConversationListView;
class UsersRepository;

// Keeps the conversation list of one category: the operator's own chats, other operators'
// chats or the missed ones, in FirebaseChat::compareTo order.
//
// The chats of the category are kept sorted here, so that a change moves one entry (two binary
// searches) instead of filtering and sorting the account's chats again.
class ConversationListController : public QObject
{
    Q_OBJECT

public:
    enum Mode { My = 0, NotMy = 1, Missed = 2 };

    explicit ConversationListController(QObject *parent = nullptr);

    void installView(ConversationListView *view);
    int mode() const { return m_mode; }

public slots:
    void setMy();
    void setNotMy();
    void setMissed();
    void initDialogs();
    void clear();
    void onItemClicked(const QString &chatId);
    void onChatChanged(const QString &chatId, bool notify);
    void onChatAdded(const QString &chatId);
    void onChatDeleted(const QString &chatId);

signals:
    void itemClicked(QString chatId);

private:
    void setMode(int mode);
    bool checkChatCategory(const FirebaseChat &chat) const;
    QList<FirebaseChat> getDialogs() const;
    // Takes the chat's entry out of the sorted list, if it has one.
    bool takeDialog(const QString &chatId);
    // Puts the chat into the sorted list and returns its index.
    int insertDialog(const FirebaseChat &chat);

    ConversationListView *m_view = nullptr;
    UsersRepository *m_users;
    ChatsRepository *m_chats;
    int m_mode = My;
    // The chats of the category, sorted; each as it was when it was placed, which is what its
    // place was decided by.
    QList<FirebaseChat> m_dialogs;
};
