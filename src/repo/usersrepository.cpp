#include "repo/usersrepository.h"

#include "util/jsonparser.h"

namespace {

// Enough for the users that come and go between two reads of the chat categories; beyond it
// the log is dropped and the categories are recomputed as a whole.
constexpr int MaxLoggedChanges = 4096;

const QString OperatorRole = QStringLiteral("operator");

} // namespace

QPointer<UsersRepository> UsersRepository::s_instance;

UsersRepository::UsersRepository(QObject *parent)
    : QObject(parent)
{
    qRegisterMetaType<QList<FirebaseUser>>();
}

void UsersRepository::init(QObject *parent)
{
    if (!s_instance)
        s_instance = new UsersRepository(parent);
}

UsersRepository *UsersRepository::getInstance()
{
    return s_instance.data();
}

void UsersRepository::initUsers(const QList<FirebaseUser> &users)
{
    m_users.clear();
    m_indexById.clear();
    m_users.reserve(users.size());
    m_indexById.reserve(users.size());
    for (const FirebaseUser &user : users) {
        // A key appears once in the database; should a list repeat one, the later record wins.
        const auto known = m_indexById.constFind(user.getId());
        if (known != m_indexById.constEnd()) {
            m_users[known.value()] = user;
            continue;
        }
        m_indexById.insert(user.getId(), m_users.size());
        m_users.append(user);
    }
    noteEverythingChanged();

    const QList<FirebaseUser> snapshot = m_users;
    emit usersOnlineChanged(snapshot);
    for (const FirebaseUser &user : snapshot) {
        emit userChanged(user.getId());
        emit checkReauth(user.getId());
    }
    emit initialized();
}

void UsersRepository::update(const QJsonObject &tree)
{
    for (auto it = tree.begin(); it != tree.end(); ++it)
        updateChat(it.key(), it.value().toObject());
}

// Merge of one user:
// 1. an unknown key is appended as a new user (userAdded);
// 2. each field whose key the object holds is set, with the snapshot parser's conversions;
// 3. an empty object (the node was deleted or nulled) marks the user for re-authentication;
// 4. "visitUrl" sets the URL; 5. "aliases" are merged alias by alias, null removing one;
// 6. usersOnlineChanged when an operator's "online" came, then userChanged and checkReauth.
void UsersRepository::updateChat(const QString &userKey, const QJsonObject &object)
{
    if (!m_indexById.contains(userKey)) {
        FirebaseUser user;
        user.setId(userKey);
        m_indexById.insert(userKey, m_users.size());
        m_users.append(user);
        noteUserChanged(userKey);
        emit userAdded(userKey);
    }
    // Looked up again: a receiver of userAdded may have changed the list.
    const auto found = m_indexById.constFind(userKey);
    if (found == m_indexById.constEnd())
        return;
    FirebaseUser &user = m_users[found.value()];
    const bool wasOnline = user.getOnline();

    const FirebaseUser parsed = JsonParser::getFirebaseUserFromJson(object);
    if (object.contains(QLatin1String("apiId")))
        user.setApiId(parsed.getApiId());
    if (object.contains(QLatin1String("lastActiveAt")))
        user.setLastActiveAt(parsed.getLastActiveAt());
    if (object.contains(QLatin1String("name")))
        user.setName(parsed.getName());
    if (object.contains(QLatin1String("online")))
        user.setOnline(parsed.getOnline());
    if (object.contains(QLatin1String("photo")))
        user.setPhoto(parsed.getPhoto());
    if (object.contains(QLatin1String("position")))
        user.setPosition(parsed.getPosition());
    if (object.contains(QLatin1String("role")))
        user.setRole(parsed.getRole());
    if (object.contains(QLatin1String("hasEmail")))
        user.setHasEmail(parsed.getHasEmail());
    if (object.contains(QLatin1String("integrationType")))
        user.setIntegrationType(parsed.getIntegrationType());
    if (object.contains(QLatin1String("reauth")))
        user.setReauth(parsed.getReauth());

    if (object.isEmpty())
        user.setReauth(true);

    if (object.contains(QLatin1String("visitUrl")))
        user.setUrl(object.value(QLatin1String("visitUrl")).toString());

    const QJsonValue aliasesValue = object.value(QLatin1String("aliases"));
    if (aliasesValue.isObject()) {
        QMap<QString, FirebaseUserAlias> aliases = user.getAliases();
        const QJsonObject changes = aliasesValue.toObject();
        for (auto it = changes.begin(); it != changes.end(); ++it) {
            if (it.value().isNull()) {
                aliases.remove(it.key());
                continue;
            }
            if (!it.value().isObject())
                continue;
            const QJsonObject fields = it.value().toObject();
            FirebaseUserAlias &alias = aliases[it.key()];
            alias.setId(it.key());
            if (fields.contains(QLatin1String("name")))
                alias.setName(fields.value(QLatin1String("name")).toString());
            if (fields.contains(QLatin1String("photo")))
                alias.setPhoto(fields.value(QLatin1String("photo")).toString());
            if (fields.contains(QLatin1String("position")))
                alias.setPosition(fields.value(QLatin1String("position")).toString());
        }
        user.setAliases(aliases);
    }

    const bool onlineGiven = object.contains(QLatin1String("online"));
    const bool isOperator = user.getRole() == OperatorRole;
    if (user.getOnline() != wasOnline)
        noteUserChanged(userKey);

    if (onlineGiven && isOperator)
        emit usersOnlineChanged(m_users);
    emit userChanged(userKey);
    emit checkReauth(userKey);
}

void UsersRepository::addUser(const FirebaseUser &user)
{
    const auto found = m_indexById.constFind(user.getId());
    if (found != m_indexById.constEnd()) {
        changeUserInfo(user);
        return;
    }
    m_indexById.insert(user.getId(), m_users.size());
    m_users.append(user);
    noteUserChanged(user.getId());
    emit userAdded(user.getId());
}

void UsersRepository::removeUser(const QString &userKey)
{
    const auto found = m_indexById.constFind(userKey);
    if (found == m_indexById.constEnd())
        return;
    m_users.removeAt(found.value());
    rebuildIndex();
    noteUserChanged(userKey);
    emit userRemoved(userKey);
}

void UsersRepository::changeUserInfo(const FirebaseUser &user)
{
    const auto found = m_indexById.constFind(user.getId());
    if (found == m_indexById.constEnd())
        return;
    FirebaseUser &stored = m_users[found.value()];
    const bool onlineChanged = stored.getOnline() != user.getOnline();
    stored = user;
    if (onlineChanged)
        noteUserChanged(user.getId());
    emit userChanged(user.getId());
}

// For each number: null removes it (userRemoved with the number's text); otherwise a true
// value adds the user key to its list and false or null takes it out. userChanged follows for
// each user key whose membership changed. Other values are not user keys and are ignored.
void UsersRepository::updateKeys(const QJsonObject &tree)
{
    for (auto it = tree.begin(); it != tree.end(); ++it) {
        bool isNumber = false;
        const qint64 number = it.key().toLongLong(&isNumber);
        if (!isNumber)
            continue;
        const QJsonValue value = it.value();
        if (value.isNull() || value.isUndefined()) {
            m_userKeys.remove(number);
            m_userKeySets.remove(number);
            noteEverythingChanged();
            emit userRemoved(it.key());
            continue;
        }
        if (!value.isObject())
            continue;

        QStringList changed;
        QStringList &keys = m_userKeys[number];
        QSet<QString> &keySet = m_userKeySets[number];
        const QJsonObject users = value.toObject();
        for (auto user = users.begin(); user != users.end(); ++user) {
            const QJsonValue flag = user.value();
            if (flag.isBool() && flag.toBool()) {
                if (!keySet.contains(user.key())) {
                    keys.append(user.key());
                    keySet.insert(user.key());
                    changed.append(user.key());
                }
            } else if (flag.isBool() || flag.isNull()) {
                if (keys.removeAll(user.key()) > 0) {
                    keySet.remove(user.key());
                    changed.append(user.key());
                }
            }
        }
        if (changed.isEmpty())
            continue;
        noteEverythingChanged();
        for (const QString &userKey : qAsConst(changed))
            emit userChanged(userKey);
    }
}

void UsersRepository::setUserKeys(const QHash<qint64, QStringList> &userKeys)
{
    m_userKeys = userKeys;
    m_userKeySets.clear();
    for (auto it = userKeys.begin(); it != userKeys.end(); ++it)
        m_userKeySets.insert(it.key(), QSet<QString>(it.value().begin(), it.value().end()));
    noteEverythingChanged();
    emit userKeysChanged();
}

QHash<qint64, QStringList> UsersRepository::getUserKeys() const
{
    return m_userKeys;
}

bool UsersRepository::hasUserKey(qint64 number, const QString &userKey) const
{
    const auto found = m_userKeySets.constFind(number);
    return found != m_userKeySets.constEnd() && found.value().contains(userKey);
}

bool UsersRepository::hasUser(const QString &userKey) const
{
    return m_indexById.contains(userKey);
}

FirebaseUser UsersRepository::getUserById(const QString &userKey) const
{
    const auto found = m_indexById.constFind(userKey);
    return found != m_indexById.constEnd() ? m_users.at(found.value()) : FirebaseUser();
}

// REST ids are looked up when history views open, not per event: a scan is enough.
FirebaseUser UsersRepository::getUserByApiId(int apiId) const
{
    for (const FirebaseUser &user : m_users) {
        if (user.getApiId() == apiId)
            return user;
    }
    return FirebaseUser();
}

FirebaseUser UsersRepository::getOperatorByApiId(int apiId) const
{
    for (const FirebaseUser &user : m_users) {
        if (user.getApiId() == apiId && user.getRole() == OperatorRole)
            return user;
    }
    return FirebaseUser();
}

QList<FirebaseUser> UsersRepository::getOperators() const
{
    QList<FirebaseUser> operators;
    for (const FirebaseUser &user : m_users) {
        if (user.getRole() == OperatorRole)
            operators.append(user);
    }
    return operators;
}

QList<FirebaseUser> UsersRepository::getUsers() const
{
    return m_users;
}

bool UsersRepository::isUserOnline(const QString &userKey) const
{
    const auto found = m_indexById.constFind(userKey);
    return found != m_indexById.constEnd() && m_users.at(found.value()).getOnline();
}

bool UsersRepository::usersChangedSince(quint64 revision, QStringList *userKeys) const
{
    if (revision < m_wholeChangeRevision)
        return false;
    for (int i = m_changeLog.size() - 1; i >= 0 && m_changeLog.at(i).first > revision; --i)
        userKeys->append(m_changeLog.at(i).second);
    return true;
}

void UsersRepository::rebuildIndex()
{
    m_indexById.clear();
    m_indexById.reserve(m_users.size());
    for (int i = 0; i < m_users.size(); ++i)
        m_indexById.insert(m_users.at(i).getId(), i);
}

void UsersRepository::noteUserChanged(const QString &userKey)
{
    ++m_revision;
    if (m_changeLog.size() >= MaxLoggedChanges) {
        m_changeLog.clear();
        m_wholeChangeRevision = m_revision;
        return;
    }
    m_changeLog.append(qMakePair(m_revision, userKey));
}

void UsersRepository::noteEverythingChanged()
{
    ++m_revision;
    m_wholeChangeRevision = m_revision;
    m_changeLog.clear();
}
