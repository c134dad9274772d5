#pragma once

#include "records/firebaseuser.h"

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

// The account's operators and visitor-side users, merged from the "users" stream, and the user
// keys of the "user-keys" stream: for each widget id, the operators keyed to it.
//
// The list keeps arrival order; lookups by key go through a hash of positions.
class UsersRepository : public QObject
{
    Q_OBJECT

public:
    // Creates the process-wide instance; later calls keep the one that exists.
    static void init(QObject *parent);
    static UsersRepository *getInstance();

    // Replaces every user. Also the way back to an empty repository (an empty list).
    void initUsers(const QList<FirebaseUser> &users);
    // A partial tree {user key: fields}; null or a non-object at a key means the node is gone.
    void update(const QJsonObject &tree);
    // Merges one user's fields; see the .cpp for the rule.
    void updateChat(const QString &userKey, const QJsonObject &object);
    // Appends a user, or replaces the record with the same id in its place.
    void addUser(const FirebaseUser &user);
    void removeUser(const QString &userKey);
    // Replaces the record with the same id; unknown users are left alone.
    void changeUserInfo(const FirebaseUser &user);

    // A partial "user-keys" tree {number: {user key: bool}}.
    void updateKeys(const QJsonObject &tree);
    void setUserKeys(const QHash<qint64, QStringList> &userKeys);
    QHash<qint64, QStringList> getUserKeys() const;
    // Whether userKey is listed under the number, without copying the lists.
    bool hasUserKey(qint64 number, const QString &userKey) const;

    bool hasUser(const QString &userKey) const;
    // An empty record when absent.
    FirebaseUser getUserById(const QString &userKey) const;
    // The first user (respectively operator) in list order with that REST id.
    FirebaseUser getUserByApiId(int apiId) const;
    FirebaseUser getOperatorByApiId(int apiId) const;
    // Users whose role is "operator", in list order.
    QList<FirebaseUser> getOperators() const;
    QList<FirebaseUser> getUsers() const;
    bool isUserOnline(const QString &userKey) const;

    // Chat categories depend on which users exist, on their online flags and on the user keys.
    // Each such change raises this revision, so that a cache of categories knows when to look.
    quint64 categoryRevision() const { return m_revision; }
    // Appends the users whose presence or online flag changed after `revision`. False when
    // that is not known any more (the list or the keys changed as a whole, or too much
    // happened since): then every category must be recomputed.
    bool usersChangedSince(quint64 revision, QStringList *userKeys) const;

signals:
    void userAdded(const QString &userKey);
    void userRemoved(const QString &userKey);
    void userChanged(const QString &userKey);
    void usersOnlineChanged(QList<FirebaseUser> users);
    void checkReauth(const QString &userKey);
    void initialized();
    // The widgets' operator keys came or changed: every chat's category may have changed.
    void userKeysChanged();

private:
    explicit UsersRepository(QObject *parent);

    void rebuildIndex();
    void noteUserChanged(const QString &userKey);
    void noteEverythingChanged();

    static QPointer<UsersRepository> s_instance;

    QList<FirebaseUser> m_users;
    QHash<QString, int> m_indexById;
    QHash<qint64, QStringList> m_userKeys;
    // The same as sets: categories ask for one key of one widget per chat.
    QHash<qint64, QSet<QString>> m_userKeySets;

    quint64 m_revision = 0;
    // Revision of the last change that affects every chat.
    quint64 m_wholeChangeRevision = 0;
    // (revision, user key) of the changes since; bounded, older entries are dropped.
    QVector<QPair<quint64, QString>> m_changeLog;
};
