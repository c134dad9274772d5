// ChatsRepository: the chats snapshot, the merge of "chats" events (a chat added whole, patched
// field by field, deleted by null) with its signals in order, the fan-out of user changes, the
// initialisation gate, and the four counters with their categories kept current while chats,
// users, user keys and the session change.
#include "repo/chatsrepository.h"
#include "repotestsupport.h"
#include "util/util.h"

#include <QtTest>

using namespace repotest;

namespace {

// Keys of the fixture chats: Anna's (Irina, 2 unread), Dmitry's (Maria, 3 unread), a missed
// one (Oleg offline, 1 unread) and one of the support widget Anna is not keyed to.
const QString Own = QStringLiteral("-NqChat5512345aa01");
const QString Foreign = QStringLiteral("-NqChat5512377bb02");
const QString Missed = QStringLiteral("-NqChat5512388cc03");
const QString Elsewhere = QStringLiteral("-NqChat5512390dd04");

const qint64 ForeignSentAt = 1709631001000; // last message of the foreign chat

QDateTime at(qint64 msecs)
{
    return QDateTime::fromMSecsSinceEpoch(msecs);
}

QJsonValue jsonValue(const QString &text)
{
    return QJsonDocument::fromJson("[" + text.toUtf8() + "]").array().at(0);
}

// The object with the given keys replaced, null removing a key.
QJsonObject withChanges(QJsonObject object, const QJsonObject &changes)
{
    for (auto it = changes.begin(); it != changes.end(); ++it) {
        if (it.value().isNull())
            object.remove(it.key());
        else
            object.insert(it.key(), it.value());
    }
    return object;
}

struct Counts
{
    int unread;
    int missed;
    int foreign;
    int messages;
};

Counts countsAt(const ChatsRepository *chats, const QDateTime &now)
{
    return {chats->getUnreadCount(),
            chats->getMissedCount(),
            chats->getUnreadForeignCount(now),
            chats->getUnreadMessagesCount(now)};
}

} // namespace

#define COMPARE_COUNTS(actual, u, m, f, msg) \
    do { \
        const Counts c = (actual); \
        QCOMPARE(c.unread, u); \
        QCOMPARE(c.missed, m); \
        QCOMPARE(c.foreign, f); \
        QCOMPARE(c.messages, msg); \
    } while (false)

class TestChatsRepository : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void initChatsAnnouncesListedChats();
    void unknownChatIsAddedWhole();
    void patchSetsOnlyTheGivenFields_data();
    void patchSetsOnlyTheGivenFields();
    void nullDeletesTheChat();
    void oneEventDeletesManyChats();
    void userChangesReachTheirChats();
    void initializedGatePassesEveryCall();

    void countersAtTheAgeBoundary_data();
    void countersAtTheAgeBoundary();
    void countersFollowChatChanges();
    void foreignAgeFollowsTheClock();
    void countersFollowUsersKeysAndSession();
    void countersFollowThousandsOfUserChanges();
    void nonsenseKeepsOtherChats();

private:
    ChatsRepository *m_chats = nullptr;
    QJsonObject m_snapshot;
};

void TestChatsRepository::initTestCase()
{
    UsersRepository::init(nullptr);
    ChatsRepository::init(nullptr);
    AuthSession::init(nullptr);
    m_chats = ChatsRepository::getInstance();
    QVERIFY(m_chats);
    m_snapshot = fixture("chats.json");
}

void TestChatsRepository::init()
{
    resetAccount();
    m_chats->initChats(chatsFrom(m_snapshot));
}

void TestChatsRepository::initChatsAnnouncesListedChats()
{
    SignalLog log;
    log.watch(m_chats, &ChatsRepository::chatChanged, "chatChanged");
    log.watch(m_chats, &ChatsRepository::chatAdded, "chatAdded");
    log.watch(m_chats, &ChatsRepository::initialized, "initialized");

    // Arrival order is kept; the support chat is in no list and is not announced.
    QList<FirebaseChat> chats = chatsFrom(m_snapshot);
    std::reverse(chats.begin(), chats.end());
    m_chats->initChats(chats);

    QCOMPARE(log.lines(),
             QStringList({"chatChanged " + Missed + " false",
                          "chatChanged " + Foreign + " false",
                          "chatChanged " + Own + " false",
                          "initialized"}));
    QCOMPARE(m_chats->getChats(), chats);
    QCOMPARE(m_chats->getChatById(Foreign), chats.at(2));
    QVERIFY(m_chats->chatExists(Elsewhere));
    QVERIFY(!m_chats->chatExists("-NqChatGone"));
    QCOMPARE(m_chats->getChatById("-NqChatGone"), FirebaseChat());
    QVERIFY(m_chats->chatIsInWork(Own));
    QVERIFY(!m_chats->chatIsInWork("-NqChatGone"));

    m_chats->initChats({});
    QVERIFY(m_chats->getChats().isEmpty());
    QVERIFY(!m_chats->chatExists(Own));
}

void TestChatsRepository::unknownChatIsAddedWhole()
{
    SignalLog log;
    log.watch(m_chats, &ChatsRepository::chatChanged, "chatChanged");
    log.watch(m_chats, &ChatsRepository::chatAdded, "chatAdded");
    log.watch(m_chats, &ChatsRepository::chatDeleted, "chatDeleted");

    const QString key = "-NqChat5512401ee05";
    const QJsonObject chat = withChanges(m_snapshot.value(Missed).toObject(),
                                         json(R"({"apiId": 5512401, "unreadCount": 4})"));
    m_chats->update(streamEvent("/" + key, chat));
    // A null for a chat nobody knows is nothing to delete.
    m_chats->update(streamEvent("/-NqChatNeverSeen00", QJsonValue::Null));

    QCOMPARE(log.lines(), QStringList{"chatAdded " + key});
    QCOMPARE(m_chats->getChatById(key), chatFrom(key, chat));
    QCOMPARE(m_chats->getChats().last().getId(), key);
    QCOMPARE(m_chats->getChats().size(), 5);
    QCOMPARE(m_chats->getMissedCount(), 2);
}

void TestChatsRepository::patchSetsOnlyTheGivenFields_data()
{
    QTest::addColumn<QString>("path");    // below the chat's key
    QTest::addColumn<QString>("value");   // JSON placed at the path
    QTest::addColumn<QString>("changes"); // top-level keys of the chat that differ afterwards
    QTest::addColumn<bool>("notify");

    const QString lastMessage = R"({"sender": "-NqVisIrina95x31T2", "sentAt": 1709631540000,
        "status": "%1", "text": "А можно оплатить картой при получении?", "type": "text"})";

    QTest::newRow("unread count only") << "/unreadCount"
                                       << "0"
                                       << R"({"unreadCount": 0})" << false;
    QTest::newRow("several fields")
        << ""
        << R"({"status": "ended", "noAnswerRequired": true, "visitorBlocked": true,
                     "messageTarget": "operators", "messagesCount": "14", "apiId": "5512399",
                     "visitor": "-NqVisMaria4Zt8Hq1"})"
        << R"({"status": "ended", "noAnswerRequired": true, "visitorBlocked": true,
               "messageTarget": "operators", "messagesCount": 14, "apiId": 5512399,
               "visitor": "-NqVisMaria4Zt8Hq1"})"
        << false;
    QTest::newRow("widget under widget_id") << "/widget_id"
                                            << "10251"
                                            << R"({"widgetId": 10251})" << false;
    QTest::newRow("widget under widgetId is not merged") << "/widgetId"
                                                         << "10251"
                                                         << "{}" << false;
    QTest::newRow("times") << ""
                           << R"({"createdAt": 1709631000000, "startedAt": 1709631090000})"
                           << R"({"createdAt": 1709631000000, "startedAt": 1709631090000})"
                           << false;
    QTest::newRow("startedAt null is no time") << "/startedAt"
                                               << "null"
                                               << R"({"startedAt": null})" << false;
    QTest::newRow("last message with its time")
        << "/lastMessage"
        << R"({"sender": "-NqOpAnna1021xQ7kLm", "sentAt": 1709631600000, "status": "sent",
               "text": "Да, можно"})"
        << R"({"lastMessage": {"sender": "-NqOpAnna1021xQ7kLm", "sentAt": 1709631600000,
               "status": "sent", "text": "Да, можно", "type": "text"}})"
        << true;
    QTest::newRow("last message status only")
        << "/lastMessage/status"
        << R"("read")"
        << QStringLiteral(R"({"lastMessage": %1})").arg(QString(lastMessage).arg("read")) << false;
    QTest::newRow("last message type and target")
        << "/lastMessage"
        << R"({"type": "invitation", "target": "-NqOpDmitry1022aB9"})"
        << QStringLiteral(R"({"lastMessage": %1})")
               .arg(QString(lastMessage)
                        .arg("delivered")
                        .replace(R"("type": "text")",
                                 R"("type": "invitation", "target": "-NqOpDmitry1022aB9")"))
        << false;
    QTest::newRow("operators array replaces")
        << "/operators"
        << R"(["-NqOpDmitry1022aB9", "-NqOpAnna1021xQ7kLm"])"
        << R"({"operators": ["-NqOpDmitry1022aB9", "-NqOpAnna1021xQ7kLm"]})" << false;
    QTest::newRow("operators null empties") << "/operators"
                                            << "null"
                                            << R"({"operators": null})" << false;
    QTest::newRow("operators object clears, then sets by index")
        << "/operators/1"
        << R"("-NqOpDmitry1022aB9")"
        << R"({"operators": ["", "-NqOpDmitry1022aB9"]})" << false;
    QTest::newRow("typing text of one user")
        << "/userText/-NqVisIrina95x31T2"
        << R"("Спасибо!")"
        << R"({"userText": {"-NqVisIrina95x31T2": "Спасибо!", "-NqOpAnna1021xQ7kLm": "Сейчас"}})"
        << false;
    QTest::newRow("typing text of one user deleted")
        << "/userText/-NqOpAnna1021xQ7kLm"
        << "null"
        << R"({"userText": {"-NqVisIrina95x31T2": "И ещё вопрос про гарантию"}})" << false;
    QTest::newRow("activity of a new user")
        << "/userActivity"
        << R"({"-NqOpDmitry1022aB9": "text"})"
        << R"({"userActivity": {"-NqVisIrina95x31T2": "text", "-NqOpAnna1021xQ7kLm": "focus",
               "-NqOpDmitry1022aB9": "text"}})"
        << false;
    QTest::newRow("activity deleted whole") << "/userActivity"
                                            << "null"
                                            << R"({"userActivity": null})" << false;
}

void TestChatsRepository::patchSetsOnlyTheGivenFields()
{
    QFETCH(QString, path);
    QFETCH(QString, value);
    QFETCH(QString, changes);
    QFETCH(bool, notify);

    SignalLog log;
    log.watch(m_chats, &ChatsRepository::chatChanged, "chatChanged");
    log.watch(m_chats, &ChatsRepository::chatAdded, "chatAdded");
    log.watch(m_chats, &ChatsRepository::chatDeleted, "chatDeleted");
    const QList<FirebaseChat> before = m_chats->getChats();

    m_chats->update(streamEvent("/" + Own + path, jsonValue(value)));

    QCOMPARE(log.lines(), QStringList{"chatChanged " + Own + (notify ? " true" : " false")});
    const QJsonObject expected = withChanges(m_snapshot.value(Own).toObject(),
                                             QJsonDocument::fromJson(changes.toUtf8()).object());
    QCOMPARE(m_chats->getChatById(Own), chatFrom(Own, expected));
    for (const FirebaseChat &chat : before) {
        if (chat.getId() != Own)
            QCOMPARE(m_chats->getChatById(chat.getId()), chat);
    }
    QCOMPARE(m_chats->getChats().first().getId(), Own);
}

void TestChatsRepository::nullDeletesTheChat()
{
    SignalLog log;
    log.watch(m_chats, &ChatsRepository::chatChanged, "chatChanged");
    log.watch(m_chats, &ChatsRepository::chatAdded, "chatAdded");
    log.watch(m_chats, &ChatsRepository::chatDeleted, "chatDeleted");
    // What a receiver of chatDeleted finds: the chat is gone already.
    bool goneOnSignal = false;
    connect(m_chats, &ChatsRepository::chatDeleted, this, [&](const QString &key) {
        goneOnSignal = !m_chats->chatExists(key);
    });

    QTest::ignoreMessage(QtDebugMsg, qPrintable("CHAT DELETED: " + Foreign));
    m_chats->update(streamEvent("/" + Foreign, QJsonValue::Null));
    disconnect(m_chats, nullptr, this, nullptr);

    QCOMPARE(log.lines(),
             QStringList({"chatDeleted " + Foreign, "chatChanged " + Foreign + " false"}));
    QVERIFY(goneOnSignal);
    QVERIFY(!m_chats->chatExists(Foreign));
    // The chats after it are still found where they are.
    QCOMPARE(m_chats->getChatById(Missed), chatFrom(Missed, m_snapshot.value(Missed).toObject()));
    QCOMPARE(m_chats->getChatById(Elsewhere).getId(), Elsewhere);
    QStringList order;
    for (const FirebaseChat &chat : m_chats->getChats())
        order << chat.getId();
    QCOMPARE(order, QStringList({Own, Missed, Elsewhere}));
    m_chats->update(streamEvent("/" + Missed + "/unreadCount", 5));
    QCOMPARE(m_chats->getChatById(Missed).getUnreadCount(), 5);
    COMPARE_COUNTS(countsAt(m_chats, at(ForeignSentAt + 3600000)), 1, 1, 0, 2);
}

void TestChatsRepository::oneEventDeletesManyChats()
{
    // 300 chats made of the fixture's four; one event deletes two in three, patches one that
    // stays behind deleted ones and adds one.
    const QList<FirebaseChat> four = chatsFrom(m_snapshot);
    QList<FirebaseChat> chats, kept;
    QJsonObject event;
    QStringList expected;
    for (int i = 0; i < 300; ++i) {
        FirebaseChat chat = four.at(i % 4);
        chat.setId(QStringLiteral("-NqChatMany%1").arg(i, 3, 10, QLatin1Char('0')));
        chats.append(chat);
        if (i % 3 != 0) {
            event.insert(chat.getId(), QJsonValue::Null);
            expected << "chatDeleted " + chat.getId() << "chatChanged " + chat.getId() + " false";
            QTest::ignoreMessage(QtDebugMsg, qPrintable("CHAT DELETED: " + chat.getId()));
            continue;
        }
        if (i == 291) {
            event.insert(chat.getId(), json(R"({"unreadCount": 9})"));
            expected << "chatChanged " + chat.getId() + " false";
            chat.setUnreadCount(9);
        }
        kept.append(chat);
    }
    const QString added = "-NqChatMany999";
    event.insert(added, m_snapshot.value(Own));
    expected << "chatAdded " + added;
    kept.append(chatFrom(added, m_snapshot.value(Own).toObject()));
    m_chats->initChats(chats);

    SignalLog log;
    log.watch(m_chats, &ChatsRepository::chatChanged, "chatChanged");
    log.watch(m_chats, &ChatsRepository::chatAdded, "chatAdded");
    log.watch(m_chats, &ChatsRepository::chatDeleted, "chatDeleted");
    // Each receiver of chatDeleted finds one chat fewer than the one before, and may read the
    // counters: here after the user keys came anew, so that every category is recomputed.
    QList<int> sizes;
    const auto keys = UsersRepository::getInstance()->getUserKeys();
    connect(m_chats, &ChatsRepository::chatDeleted, this, [&] {
        sizes << m_chats->getChats().size();
        UsersRepository::getInstance()->setUserKeys(keys);
        m_chats->getUnreadCount();
    });
    m_chats->update(event);
    disconnect(m_chats, nullptr, this, nullptr);

    QCOMPARE(log.lines(), expected);
    QCOMPARE(sizes.size(), 200);
    QCOMPARE(sizes.first(), 299);
    QCOMPARE(sizes.last(), 100);
    QCOMPARE(m_chats->getChats(), kept);
    for (const FirebaseChat &chat : qAsConst(kept))
        QCOMPARE(m_chats->getChatById(chat.getId()), chat);
    // Counters and the chats of users as a repository filled with what is left has them.
    const auto state = [&] {
        log.clear();
        m_chats->onUserChanged(Dmitry);
        m_chats->onUserDeleted(Irina);
        const Counts counts = countsAt(m_chats, at(ForeignSentAt + 3600000));
        return log.lines() << QStringLiteral("%1 %2 %3 %4")
                                  .arg(counts.unread)
                                  .arg(counts.missed)
                                  .arg(counts.foreign)
                                  .arg(counts.messages);
    };
    const QStringList merged = state();
    m_chats->initChats(kept);
    QCOMPARE(merged, state());
}

void TestChatsRepository::userChangesReachTheirChats()
{
    SignalLog log;
    log.watch(m_chats, &ChatsRepository::chatChanged, "chatChanged");

    // Irina is the visitor of the own and the support chat; Dmitry the operator of the foreign
    // and the support chat.
    m_chats->onUserChanged(Irina);
    m_chats->onUserChanged(Dmitry);
    m_chats->onUserDeleted(Irina);
    m_chats->onUserDeleted(Dmitry);
    m_chats->onUserChanged("-NqVisGone000000000");
    QCOMPARE(log.lines(),
             QStringList({"chatChanged " + Own + " false",
                          "chatChanged " + Elsewhere + " false",
                          "chatChanged " + Foreign + " false",
                          "chatChanged " + Elsewhere + " false",
                          "chatChanged " + Own + " false",
                          "chatChanged " + Elsewhere + " false"}));

    // The lookups follow merges: Dmitry joins the missed chat, leaves the support chat, and a
    // user who is visitor and operator of one chat gets it once.
    m_chats->update(streamEvent("/" + Missed + "/operators", QJsonArray{Dmitry}));
    m_chats->update(streamEvent("/" + Elsewhere + "/operators", QJsonArray{Anna}));
    m_chats->update(streamEvent("/" + Foreign + "/visitor", Dmitry));
    log.clear();
    m_chats->onUserChanged(Dmitry);
    QCOMPARE(log.lines(),
             QStringList({"chatChanged " + Foreign + " false", "chatChanged " + Missed + " false"}));

    // And deletions.
    QTest::ignoreMessage(QtDebugMsg, qPrintable("CHAT DELETED: " + Foreign));
    m_chats->update(streamEvent("/" + Foreign, QJsonValue::Null));
    log.clear();
    m_chats->onUserChanged(Dmitry);
    QCOMPARE(log.lines(), QStringList{"chatChanged " + Missed + " false"});
}

void TestChatsRepository::initializedGatePassesEveryCall()
{
    QSignalSpy initialized(m_chats, &ChatsRepository::initialized);
    m_chats->onInitialized();
    m_chats->onInitialized();
    m_chats->onInitialized();
    QCOMPARE(initialized.count(), 3);
}

void TestChatsRepository::countersAtTheAgeBoundary_data()
{
    QTest::addColumn<qint64>("age"); // of the foreign chat's last message, in milliseconds
    QTest::addColumn<int>("foreign");
    QTest::addColumn<int>("messages");

    // Always 1 own chat with 2 unread and 1 missed chat (not summed into messages).
    QTest::newRow("just sent") << qint64(0) << 0 << 2;
    QTest::newRow("25 s") << qint64(25000) << 0 << 2;
    QTest::newRow("25.999 s, still 25 whole seconds") << qint64(25999) << 0 << 2;
    QTest::newRow("26 s") << qint64(26000) << 1 << 5;
    QTest::newRow("an hour") << qint64(3600000) << 1 << 5;
    QTest::newRow("from the future (clocks apart)") << qint64(-60000) << 0 << 2;
}

void TestChatsRepository::countersAtTheAgeBoundary()
{
    QFETCH(qint64, age);
    QFETCH(int, foreign);
    QFETCH(int, messages);
    COMPARE_COUNTS(countsAt(m_chats, at(ForeignSentAt + age)), 1, 1, foreign, messages);
}

void TestChatsRepository::countersFollowChatChanges()
{
    const QDateTime later = at(ForeignSentAt + 3600000);
    COMPARE_COUNTS(countsAt(m_chats, later), 1, 1, 1, 5);

    // The foreign chat's visitor writes again: too fresh to count, for a while.
    m_chats->update(streamEvent("/" + Foreign + "/lastMessage/sentAt", ForeignSentAt + 3590000));
    COMPARE_COUNTS(countsAt(m_chats, later), 1, 1, 0, 2);

    // Anna takes the missed chat and reads her own.
    m_chats->update(streamEvent("/" + Missed + "/operators", QJsonArray{Anna}));
    m_chats->update(streamEvent("/" + Own + "/unreadCount", 0));
    COMPARE_COUNTS(countsAt(m_chats, later), 1, 0, 0, 1);

    // Dmitry's chat ends; unread messages of a chat not in work count nowhere.
    m_chats->update(streamEvent("/" + Foreign + "/status", "ended"));
    COMPARE_COUNTS(countsAt(m_chats, at(ForeignSentAt + 7200000)), 1, 0, 0, 1);

    // The support chat comes to the shop widget, for Anna.
    m_chats->update(streamEvent("/" + Elsewhere, json(R"({"widget_id": 10234, "unreadCount": 6,
                                             "operators": ["-NqOpAnna1021xQ7kLm"]})")));
    COMPARE_COUNTS(countsAt(m_chats, later), 2, 0, 0, 7);
}

void TestChatsRepository::foreignAgeFollowsTheClock()
{
    const QDateTime aged = at(ForeignSentAt + 26000);
    COMPARE_COUNTS(countsAt(m_chats, aged), 1, 1, 1, 5);

    // More unread messages in a chat already counted.
    m_chats->update(streamEvent("/" + Foreign + "/unreadCount", 7));
    COMPARE_COUNTS(countsAt(m_chats, aged), 1, 1, 1, 9);

    // Asked for an earlier moment, then changed while too young to count.
    COMPARE_COUNTS(countsAt(m_chats, at(ForeignSentAt + 10000)), 1, 1, 0, 2);
    m_chats->update(streamEvent("/" + Foreign + "/unreadCount", 1));
    COMPARE_COUNTS(countsAt(m_chats, aged), 1, 1, 1, 3);

    // Another operator's chat whose visitor wrote 20 s after the first one's.
    const QString second = "-NqChat5512402ff06";
    m_chats->update(
        streamEvent("/" + second,
                    withChanges(m_snapshot.value(Foreign).toObject(),
                                json(R"({"unreadCount": 4, "lastMessage": {"sender": "-NqVisMaria4Zt8Hq1",
                             "sentAt": 1709631021000, "text": "Алло?", "type": "text"}})"))));
    COMPARE_COUNTS(countsAt(m_chats, aged), 1, 1, 1, 3);
    COMPARE_COUNTS(countsAt(m_chats, at(ForeignSentAt + 46000)), 1, 1, 2, 7);
    QTest::ignoreMessage(QtDebugMsg, qPrintable("CHAT DELETED: " + Foreign));
    m_chats->update(streamEvent("/" + Foreign, QJsonValue::Null));
    COMPARE_COUNTS(countsAt(m_chats, at(ForeignSentAt + 46000)), 1, 1, 1, 6);
}

void TestChatsRepository::countersFollowUsersKeysAndSession()
{
    UsersRepository *users = UsersRepository::getInstance();
    const QDateTime later = at(ForeignSentAt + 3600000);

    // Oleg comes back online: his chat is nobody's and his, so it is Anna's own now.
    users->update(streamEvent("/" + Oleg + "/online", true));
    COMPARE_COUNTS(countsAt(m_chats, later), 2, 0, 1, 6);
    users->update(streamEvent("/" + Oleg + "/online", false));
    COMPARE_COUNTS(countsAt(m_chats, later), 1, 1, 1, 5);

    // Dmitry signs in on this console: the own and the foreign chat swap, and the support
    // chat is his too.
    m_chats->update(streamEvent("/" + Elsewhere + "/unreadCount", 4));
    COMPARE_COUNTS(countsAt(m_chats, later), 1, 1, 1, 5);
    AuthSession::getInstance()->setUserId(Dmitry);
    COMPARE_COUNTS(countsAt(m_chats, later), 2, 1, 1, 9);
    AuthSession::getInstance()->setUserId(Anna);

    // Anna is unkeyed from the shop widget: nothing is hers to see.
    users->updateKeys(streamEvent("/10234/" + Anna, false));
    COMPARE_COUNTS(countsAt(m_chats, later), 0, 0, 0, 0);
    users->setUserKeys(JsonParser::getUserKeysFromJson(fixture("user-keys.json")));
    COMPARE_COUNTS(countsAt(m_chats, later), 1, 1, 1, 5);

    // Maria, the foreign chat's visitor, disappears from the users.
    users->removeUser(Maria);
    COMPARE_COUNTS(countsAt(m_chats, later), 1, 1, 0, 2);
    users->updateChat(Maria, json(R"({"name": "Мария", "role": "visitor"})"));
    COMPARE_COUNTS(countsAt(m_chats, later), 1, 1, 1, 5);

    // A new users snapshot without Irina.
    QList<FirebaseUser> withoutIrina = usersFrom(fixture("users.json"));
    withoutIrina.removeAt(2);
    users->initUsers(withoutIrina);
    COMPARE_COUNTS(countsAt(m_chats, later), 0, 1, 1, 3);
}

void TestChatsRepository::countersFollowThousandsOfUserChanges()
{
    // Chats of visitors who have all left, nobody's: all missed. Then each visitor comes back
    // by a separate event, more events than the users repository remembers one by one.
    const int count = 5000;
    QList<FirebaseUser> users = usersFrom(fixture("users.json"));
    QList<FirebaseChat> chats;
    for (int i = 0; i < count; ++i) {
        FirebaseUser visitor;
        visitor.setId(QStringLiteral("-NqVisBulk%1").arg(i, 8, 10, QLatin1Char('0')));
        visitor.setRole("visitor");
        users.append(visitor);
        FirebaseChat chat = chatFrom(QStringLiteral("-NqChatBulk%1").arg(i, 8, 10, QLatin1Char('0')),
                                     json(R"({"status": "work", "widgetId": 10234,
                                              "unreadCount": 1})"));
        chat.setVisitor(visitor.getId());
        chats.append(chat);
    }
    UsersRepository::getInstance()->initUsers(users);
    m_chats->initChats(chats);
    COMPARE_COUNTS(countsAt(m_chats, at(ForeignSentAt)), 0, count, 0, 0);

    for (int i = 0; i < 10; ++i)
        UsersRepository::getInstance()->update(
            streamEvent("/" + users.at(5 + i).getId(), json(R"({"online": true})")));
    COMPARE_COUNTS(countsAt(m_chats, at(ForeignSentAt)), 10, count - 10, 0, 10);

    for (int i = 10; i < count; ++i) {
        UsersRepository::getInstance()->update(
            streamEvent("/" + users.at(5 + i).getId() + "/online", true));
    }
    COMPARE_COUNTS(countsAt(m_chats, at(ForeignSentAt)), count, 0, 0, count);
}

void TestChatsRepository::nonsenseKeepsOtherChats()
{
    const QList<FirebaseChat> before = m_chats->getChats();
    m_chats->update(QJsonObject{
        {Own,
         QJsonObject{{"unreadCount", "many"},
                     {"operators", "-NqOpDmitry1022aB9"},
                     {"lastMessage", 5},
                     {"userText", QJsonArray{1, 2}},
                     {"userActivity", "typing"},
                     {"unknownField", QJsonObject{{"a", 1}}}}},
        {"-NqChatNeverSeen00", 42},
        {"-NqChatNeverSeen01", QJsonArray{}},
    });

    FirebaseChat own = before.at(0);
    own.setUnreadCount(0);
    QCOMPARE(m_chats->getChatById(Own), own);
    for (int i = 1; i < before.size(); ++i)
        QCOMPARE(m_chats->getChatById(before.at(i).getId()), before.at(i));
    QCOMPARE(m_chats->getChats().size(), before.size());

    // A value that is no chat where a chat was: the node is not a chat any more.
    QTest::ignoreMessage(QtDebugMsg, qPrintable("CHAT DELETED: " + Missed));
    m_chats->update(QJsonObject{{Missed, "ended"}});
    QVERIFY(!m_chats->chatExists(Missed));
    QCOMPARE(m_chats->getChatById(Elsewhere), before.at(3));
}

QTEST_GUILESS_MAIN(TestChatsRepository)
#include "tst_chatsrepository.moc"
