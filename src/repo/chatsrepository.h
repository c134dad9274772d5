#pragma once

#include "records/firebasechat.h"

#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVector>

// The account's chats, merged from the "chats" stream, and the counters of the main window and
// the dock badge.
//
// The list keeps arrival order; lookups by key go through a hash of positions, and the chats of
// a user through hashes by visitor and by operator. Each chat's category (Util::getChatCategory)
// is cached beside it: a chat's own change recomputes its category at once, while changes of
// the session's user, of the users and of the user keys are picked up when a counter is read
// (UsersRepository::usersChangedSince), for just the chats of the users concerned.
class ChatsRepository : public QObject
{
    Q_OBJECT

public:
    // Messages of chats that wait at least this long without an answer count in other
    // operators' chats too (getUnreadForeignCount): whole seconds above this value.
    static constexpr qint64 ForeignUnreadAgeSeconds = 25;

    // Creates the process-wide instance; later calls keep the one that exists.
    static void init(QObject *parent);
    static ChatsRepository *getInstance();

    // Replaces every chat. Also the way back to an empty repository (an empty list).
    void initChats(const QList<FirebaseChat> &chats);
    // A partial tree {chat key: fields}; null or a non-object at a key means the node is gone.
    void update(const QJsonObject &tree);
    // Merges one chat; see the .cpp for the rule.
    void updateChat(const QString &chatKey, const QJsonObject &object);

    QList<FirebaseChat> getChats() const;
    // An empty record when absent.
    FirebaseChat getChatById(const QString &chatKey) const;
    bool chatExists(const QString &chatKey) const;
    // Status "work".
    bool chatIsInWork(const QString &chatKey) const;

    // Own chats (category 0) in work with unread messages.
    int getUnreadCount() const;
    // Missed chats (category 2) with unread messages.
    int getMissedCount() const;
    // Other operators' chats (category 1) in work with unread messages whose last message is
    // older than ForeignUnreadAgeSeconds: those a colleague has left waiting.
    int getUnreadForeignCount() const;
    int getUnreadForeignCount(const QDateTime &now) const;
    // Unread messages of the chats that getUnreadCount and getUnreadForeignCount count: the
    // figure of the dock badge and of the unread reminder.
    int getUnreadMessagesCount() const;
    int getUnreadMessagesCount(const QDateTime &now) const;

    // Server clock minus local clock as the presentation needs it; set to 0 on each "init".
    qint64 getTimeOffset() const { return m_timeOffset; }
    void setTimeOffset(qint64 timeOffset) { m_timeOffset = timeOffset; }

public slots:
    void onInitialized();
    // Announces (chatChanged, not notifying) every chat of which the user is the visitor or an
    // operator, in list order.
    void onUserChanged(const QString &userKey);
    // The same for the chats of which the user is the visitor.
    void onUserDeleted(const QString &userKey);

signals:
    void initialized();
    void chatChanged(QString chatKey, bool notify);
    void chatAdded(QString chatKey);
    void chatDeleted(QString chatKey);
    void lastMessageChanged(QString chatKey);

private:
    // What the counters read of a chat, kept beside the list so that a count is a pass over
    // a compact array.
    struct Summary
    {
        int category = 3;
        int unreadCount = 0;
        bool inWork = false;
        qint64 sentAtMSecs = 0;
    };

    explicit ChatsRepository(QObject *parent);

    void indexChat(int position);
    void unindexChat(const FirebaseChat &chat);
    void summarize(int position) const;
    void refreshCategories() const;
    void recomputeAllCategories() const;
    QStringList chatsOfUser(const QString &userKey, bool withOperators) const;
    bool isForeignUnread(const Summary &summary, qint64 nowMSecs) const;

    static QPointer<ChatsRepository> s_instance;

    QList<FirebaseChat> m_chats;
    mutable QVector<Summary> m_summaries;
    QHash<QString, int> m_indexById;
    QHash<QString, QStringList> m_chatsByVisitor;
    QHash<QString, QStringList> m_chatsByOperator;

    // The state the cached categories were computed against.
    mutable QString m_categoryUserId;
    mutable quint64 m_categoryRevision = 0;

    QMutex m_mutex;
    int m_initCounter = 0;
    qint64 m_timeOffset = 0;
};
