#pragma once

#include "records/firebasechat.h"

#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

#include <limits>
#include <map>

// The account's chats, merged from the "chats" stream, and the counters of the main window and
// the dock badge.
//
// The list keeps arrival order; lookups by key go through a hash of positions, and the chats of
// a user through hashes by visitor and by operator. Each chat's category (Util::getChatCategory)
// is cached beside it: a chat's own change recomputes its category at once, while changes of
// the session's user, of the users and of the user keys are picked up when a counter is read
// (UsersRepository::usersChangedSince), for just the chats of the users concerned. The counters
// are running totals over those categories, so that reading them after every chat event (as
// the main window does) costs nothing like a pass over every chat.
class ChatsRepository : public QObject
{
    Q_OBJECT

public:
    // Another operator's unread chat counts (getUnreadForeignCount) once its last message is
    // more than this many whole seconds old: a colleague has left the visitor waiting.
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
    // older than ForeignUnreadAgeSeconds. `now` stands for the clock.
    int getUnreadForeignCount() const;
    int getUnreadForeignCount(const QDateTime &now) const;
    // Unread messages of the chats that getUnreadCount and getUnreadForeignCount count: the
    // figure of the dock badge and of the unread reminder.
    int getUnreadMessagesCount() const;
    int getUnreadMessagesCount(const QDateTime &now) const;

    // Kept for the presentation, which gives it its meaning; the chats stream handler sets it
    // to 0 on each "init".
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
    // Declared for the views; merges tell of a new last message by chatChanged's flag.
    void lastMessageChanged(QString chatKey);

private:
    // What the counters read of a chat, kept beside the list.
    struct Summary
    {
        int category = 3;
        int unreadCount = 0;
        bool inWork = false;
        // The last message's time, once known: merges give it as they set it, otherwise it is
        // read from the record when the counters first need it (a date-time conversion).
        bool sentAtKnown = false;
        qint64 sentAtMSecs = 0;
        // Deleted by the event being merged: out of the index and the totals, and out of the
        // list once the event is merged (compact).
        bool removed = false;
    };

    explicit ChatsRepository(QObject *parent);

    void mergeChat(const QString &chatKey, const QJsonObject &object);
    // Drops the deleted chats from the list in one pass and moves the later ones' positions.
    void compact();
    void indexChat(int position);
    void unindexChat(const FirebaseChat &chat);
    void summarize(int position) const;
    void tally(int position, int sign) const;
    void refreshCategories() const;
    void recomputeAllCategories() const;
    // Counts the other operators' unread chats whose last message is old enough at `now`.
    void ageForeignUnread(qint64 nowMSecs) const;
    int unreadMessages() const;
    QStringList chatsOfUser(const QString &userKey, bool withOperators) const;

    static QPointer<ChatsRepository> s_instance;

    QList<FirebaseChat> m_chats;
    mutable QVector<Summary> m_summaries;
    // Running totals over the summaries: own unread chats in work and their messages, missed
    // unread chats, and other operators' unread chats in work as (last-message time, unread
    // count). Of the latter, those sent up to m_agedUpTo are summed up in m_aged*; the bound
    // moves with the clock, so each chat is added once as it comes of age.
    mutable int m_ownUnreadChats = 0;
    mutable qint64 m_ownUnreadMessages = 0;
    mutable int m_missedUnreadChats = 0;
    mutable std::multimap<qint64, int> m_foreignUnread;
    mutable qint64 m_agedUpTo = std::numeric_limits<qint64>::min();
    mutable int m_agedChats = 0;
    mutable qint64 m_agedMessages = 0;
    int m_removedCount = 0;
    QHash<QString, int> m_indexById;
    // Sets, so that taking a chat out costs the same however many chats the user has.
    QHash<QString, QSet<QString>> m_chatsByVisitor;
    QHash<QString, QSet<QString>> m_chatsByOperator;

    // The state the cached categories were computed against.
    mutable QString m_categoryUserId;
    mutable quint64 m_categoryRevision = 0;

    QMutex m_mutex;
    int m_initCounter = 0;
    qint64 m_timeOffset = 0;
};
