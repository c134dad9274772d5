#pragma once

// Helpers of the repository tests: fixtures under tests/fixtures/repo, stream events turned
// into trees as NetworkManager turns them, snapshots mapped as its "init" handlers map them,
// and a log of signals across several signals of one object, in emission order.
//
// The repositories are process-wide singletons created once per test program (initTestCase);
// every test starts from a known state by re-initialising them through their own initialisers
// (initUsers, setUserKeys, initChats, ...), which replace everything they hold.

#include "network/firebasereply.h"
#include "repo/authsession.h"
#include "repo/usersrepository.h"
#include "util/jsonparser.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QObject>
#include <QRegularExpression>
#include <QStringList>

#include <memory>

namespace repotest {

// The signed-in operator of the fixtures and the other parties.
const QString Anna = QStringLiteral("-NqOpAnna1021xQ7kLm");
const QString Dmitry = QStringLiteral("-NqOpDmitry1022aB9");
const QString Irina = QStringLiteral("-NqVisIrina95x31T2"); // visitor, online
const QString Maria = QStringLiteral("-NqVisMaria4Zt8Hq1"); // visitor, online
const QString Oleg = QStringLiteral("-NqVisOleg77k2mP0a");  // visitor, offline
const qint64 Shop = 10234;                                  // widget keyed to Anna and Dmitry
const qint64 Support = 10251;                               // widget keyed to Dmitry only

inline QJsonDocument fixtureDocument(const QString &name)
{
    QFile file(QStringLiteral(TALLYRA_TEST_FIXTURES "/repo/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(name));
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError)
        qFatal("fixture %s: %s", qPrintable(name), qPrintable(error.errorString()));
    return document;
}

inline QJsonObject fixture(const QString &name)
{
    return fixtureDocument(name).object();
}

// Any JSON value written as text ("null", "5", "\"text\"", "{...}").
inline QJsonValue jsonValue(const QString &text)
{
    QJsonParseError error;
    const QJsonArray array = QJsonDocument::fromJson("[" + text.toUtf8() + "]", &error).array();
    if (error.error != QJsonParseError::NoError || array.size() != 1)
        qFatal("bad JSON in test: %s", qPrintable(text));
    return array.at(0);
}

inline QJsonObject json(const char *text)
{
    const QJsonValue value = jsonValue(QString::fromUtf8(text));
    if (!value.isObject())
        qFatal("not a JSON object in test: %s", text);
    return value.toObject();
}

// The object with `changes` merged in as the database merges a patch: objects into objects key
// by key, null removing a key, any other value replacing what was there.
inline QJsonObject merged(QJsonObject object, const QJsonObject &changes)
{
    for (auto it = changes.begin(); it != changes.end(); ++it) {
        const QJsonValue old = object.value(it.key());
        if (it.value().isNull())
            object.remove(it.key());
        else if (it.value().isObject() && old.isObject())
            object.insert(it.key(), merged(old.toObject(), it.value().toObject()));
        else
            object.insert(it.key(), it.value());
    }
    return object;
}

// Table text with the parties written as letters, quoted or as a step of a path: A, D for
// Anna and Dmitry, I, M, O for Irina, Maria and Oleg.
inline QString named(QString text)
{
    const QStringList keys{Anna, Dmitry, Irina, Maria, Oleg};
    for (int i = 0; i < keys.size(); ++i) {
        const QString letter = QStringLiteral("ADIMO").at(i);
        text.replace(QRegularExpression("(?<=\"|/)" + letter + "(?=\"|\\b)"), keys.at(i));
    }
    return text;
}

// A stream event at a path relative to the subscription, as the merge operations receive it.
inline QJsonObject streamEvent(const QString &path, const QJsonValue &value)
{
    return JsonParser::fromFirebaseReply(
        FirebaseReply(QStringLiteral("put"), QJsonObject{{"p", path}, {"d", value}}));
}

inline QList<FirebaseUser> usersFrom(const QJsonObject &snapshot)
{
    QList<FirebaseUser> users;
    for (auto it = snapshot.begin(); it != snapshot.end(); ++it) {
        FirebaseUser user = JsonParser::getFirebaseUserFromJson(it.value().toObject());
        user.setId(it.key());
        users.append(user);
    }
    return users;
}

inline FirebaseChat chatFrom(const QString &key, const QJsonObject &object)
{
    FirebaseChat chat = JsonParser::getFirebaseChatFromJson(object);
    chat.setId(key);
    return chat;
}

inline QList<FirebaseChat> chatsFrom(const QJsonObject &snapshot)
{
    QList<FirebaseChat> chats;
    for (auto it = snapshot.begin(); it != snapshot.end(); ++it)
        chats.append(chatFrom(it.key(), it.value().toObject()));
    return chats;
}

// The ids of records, in list order.
template<typename Record>
auto idsOf(const QList<Record> &records)
{
    QList<decltype(records.first().getId())> ids;
    for (const Record &record : records)
        ids.append(record.getId());
    return ids;
}

// Users, user keys and the session of the fixtures: Anna signed in.
inline void resetAccount()
{
    UsersRepository::getInstance()->initUsers(usersFrom(fixture("users.json")));
    UsersRepository::getInstance()->setUserKeys(
        JsonParser::getUserKeysFromJson(fixture("user-keys.json")));
    AuthSession::getInstance()->setUserId(Anna);
}

// Records "signal argument..." lines from chosen signals, in the order they were emitted.
class SignalLog
{
public:
    SignalLog()
        : m_context(new QObject)
    {}

    template<typename Sender, typename... Args>
    void watch(Sender *sender, void (Sender::*signal)(Args...), const QString &name)
    {
        QObject::connect(sender, signal, m_context.get(), [this, name](Args... args) {
            QStringList line{name};
            (line.append(text(args)), ...);
            m_lines.append(line.join(QLatin1Char(' ')));
        });
    }

    QStringList lines() const { return m_lines; }
    void clear() { m_lines.clear(); }

private:
    static QString text(const QString &value) { return value; }
    static QString text(bool value) { return QLatin1String(value ? "true" : "false"); }
    static QString text(qint64 value) { return QString::number(value); }
    static QString text(const QList<FirebaseUser> &users)
    {
        return QStringLiteral("[%1 users]").arg(users.size());
    }

    std::unique_ptr<QObject> m_context;
    QStringList m_lines;
};

} // namespace repotest
