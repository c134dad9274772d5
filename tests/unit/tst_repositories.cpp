// The repositories of the account's realtime data. ChatsRepository and the chat categories it
// counts by: the snapshot, the merge of "chats" events (chats added whole, patched field by
// field, deleted, many in one event) with their signals in order, the fan-out of user changes,
// the initialisation gate, each step of Util::getChatCategory, and the four counters kept
// current (the categories behind them recomputed) while chats, users, user keys, the session
// and an injected clock change. The open chat's messages (ChatRepository), the quick answers
// and the site visitors: their snapshots, the merge of their events with the signals in order,
// and what each answers for: the message count of a chat's counter, the answers for a site, an
// operator and a text (in any case, in Cyrillic), and the visitor counts by widget with their
// said / not said split.
#include "repo/chatrepository.h"
#include "repo/chatsrepository.h"
#include "repo/quickanswersrepository.h"
#include "repo/visitorsrepository.h"
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
const qint64 Hour = 3600000;

// The four counters at `age` milliseconds after the foreign chat's last message, as
// "own missed foreign messages".
QString counts(qint64 age = Hour)
{
    const ChatsRepository *chats = ChatsRepository::getInstance();
    const QDateTime now = QDateTime::fromMSecsSinceEpoch(ForeignSentAt + age);
    return QStringLiteral("%1 %2 %3 %4")
        .arg(chats->getUnreadCount())
        .arg(chats->getMissedCount())
        .arg(chats->getUnreadForeignCount(now))
        .arg(chats->getUnreadMessagesCount(now));
}

void watchChats(SignalLog &log)
{
    ChatsRepository *chats = ChatsRepository::getInstance();
    log.watch(chats, &ChatsRepository::chatChanged, "chatChanged");
    log.watch(chats, &ChatsRepository::chatAdded, "chatAdded");
    log.watch(chats, &ChatsRepository::chatDeleted, "chatDeleted");
}

// The log lines of chatChanged for the chats, in turn, without notification.
QStringList changed(const QStringList &keys)
{
    QStringList lines;
    for (const QString &key : keys)
        lines << "chatChanged " + key + " false";
    return lines;
}

const QString Image = QStringLiteral("-NqMsg0007ggggggggg");        // the last fixture message
const QString Talked = QStringLiteral("-NqVst0001aaaaaaaaa");       // shop, said
const QString Browsing = QStringLiteral("-NqVst0002bbbbbbbbb");     // shop, not said
const QString Reading = QStringLiteral("-NqVst0003ccccccccc");      // support, not said
const qint64 ShopSite = 3120, SupportSite = 3187, AnnaApiId = 1021; // of the quick answers

QList<FirebaseChatMessage> messagesFrom(const QJsonObject &snapshot)
{
    QList<FirebaseChatMessage> messages;
    for (auto it = snapshot.begin(); it != snapshot.end(); ++it) {
        messages.append(JsonParser::getFirebaseChatMessageFromJson(it.value().toObject()));
        messages.last().setId(it.key());
    }
    return messages;
}

FirebaseVisitor visitorFrom(const QString &key, const QJsonObject &object)
{
    FirebaseVisitor visitor = JsonParser::getFirebaseVisitorFromJson(object);
    visitor.setId(key);
    return visitor;
}

} // namespace

class TestRepositories : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UsersRepository::init(nullptr);
        ChatsRepository::init(nullptr);
        AuthSession::init(nullptr);
        ChatRepository::init(nullptr);
        QuickAnswersRepository::init(nullptr);
        VisitorsRepository::init(nullptr);
        m_chats = ChatsRepository::getInstance();
        m_messages = ChatRepository::getInstance();
        m_answers = QuickAnswersRepository::getInstance();
        m_visitors = VisitorsRepository::getInstance();
        m_snapshot = fixture("chats.json");
        m_messageSnapshot = messagesFrom(fixture("chat-messages.json"));
        m_visitorSnapshot = fixture("visitors.json");
    }
    void init()
    {
        resetAccount();
        m_chats->initChats(chatsFrom(m_snapshot));
        m_messages->initMessages(m_messageSnapshot);
        m_answers->initializeAnswers(
            JsonParser::getQuickAnswersFromJson(fixture("quick-answers.json")));
        // As the stream handler does with its first event.
        m_visitors->initialize(JsonParser::fromFirebaseReply(
            FirebaseReply("init", QJsonObject{{"p", "/"}, {"d", m_visitorSnapshot}})));
    }

    void initChatsAnnouncesListedChats()
    {
        SignalLog log;
        watchChats(log);
        log.watch(m_chats, &ChatsRepository::initialized, "initialized");
        // Arrival order is kept; the support chat is in no list and is not announced.
        QList<FirebaseChat> chats = chatsFrom(m_snapshot);
        std::reverse(chats.begin(), chats.end());
        m_chats->initChats(chats);

        QCOMPARE(log.lines(), changed({Missed, Foreign, Own}) << "initialized");
        // The gate lets every call pass.
        m_chats->onInitialized();
        m_chats->onInitialized();
        QCOMPARE(log.lines().count("initialized"), 3);
        QCOMPARE(m_chats->getChats(), chats);
        QCOMPARE(m_chats->getChatById(Foreign), chats.at(2));
        QVERIFY(m_chats->chatIsInWork(Own));
        QVERIFY(!m_chats->chatIsInWork("-NqChatGone"));
        m_chats->initChats({});
        QVERIFY(m_chats->getChats().isEmpty());
        QVERIFY(!m_chats->chatExists(Own));
    }

    void patchSetsOnlyTheGivenFields_data()
    {
        QTest::addColumn<QString>("path");    // below the chat's key
        QTest::addColumn<QString>("value");   // JSON placed at the path
        QTest::addColumn<QString>("changes"); // merged into the chat's snapshot; blank: the value
        QTest::addColumn<bool>("notify");
        // Name | path | value | changes [| notifies], with the parties as letters (repotest::named).
        const char *rows[] = {
            R"(unread count only | /unreadCount | 0 | {"unreadCount": 0})",
            R"(several fields | | {"status": "ended", "noAnswerRequired": true, "apiId": "12",
                "visitorBlocked": true, "messageTarget": "operators", "messagesCount": "14"}
              | {"status": "ended", "noAnswerRequired": true, "apiId": 12, "visitorBlocked": true,
                "messageTarget": "operators", "messagesCount": 14})",
            R"(visitor | /visitor | "M" | {"visitor": "M"})",
            R"(widget under widget_id | /widget_id | 10251 | {"widgetId": 10251})",
            R"(widget under widgetId is not merged | /widgetId | 10251 | {})",
            R"(times | | {"createdAt": 1709631000000, "startedAt": 1709631090000} |)",
            R"(startedAt null is no time | /startedAt | null | {"startedAt": null})",
            R"(last message with its time | /lastMessage | {"sender": "A", "sentAt": 1709631600000,
                "text": "Да"} | {"lastMessage": {"sender": "A", "sentAt": 1709631600000, "text": "Да"}}
                | notifies)",
            R"(last message status only | /lastMessage/status | "read" | {"lastMessage": {"status": "read"}})",
            R"(last message type and target | /lastMessage | {"type": "invitation", "target": "D"}
              | {"lastMessage": {"type": "invitation", "target": "D"}})",
            R"(operators array replaces | /operators | ["D", "A"] | {"operators": ["D", "A"]})",
            R"(operators null empties | /operators | null | {"operators": null})",
            R"(operators object clears, then sets by index | /operators/1 | "D"
              | {"operators": ["", "D"]})",
            R"(typing text of one user | /userText/I | "Спасибо!" | {"userText": {"I": "Спасибо!"}})",
            R"(typing text of one user deleted | /userText/A | null | {"userText": {"A": null}})",
            R"(activity of a new user | /userActivity | {"D": "text"} | {"userActivity": {"D": "text"}})",
            R"(activity deleted whole | /userActivity | null | {"userActivity": null})",
            R"(values of other kinds | | {"unreadCount": "many", "operators": "D", "lastMessage": 5,
                "userText": [1, 2], "userActivity": "typing", "unknownField": {"a": 1}}
              | {"unreadCount": 0})",
        };
        for (const char *row : rows) {
            const QStringList cells = named(row).split('|');
            QTest::newRow(qPrintable(cells.at(0).trimmed()))
                << cells.at(1).trimmed() << cells.at(2) << cells.at(3) << (cells.size() > 4);
        }
    }
    void patchSetsOnlyTheGivenFields()
    {
        QFETCH(QString, path);
        QFETCH(QString, value);
        QFETCH(QString, changes);
        QFETCH(bool, notify);
        SignalLog log;
        watchChats(log);
        QList<FirebaseChat> expected = m_chats->getChats();

        m_chats->update(streamEvent("/" + Own + path, jsonValue(value)));

        QCOMPARE(log.lines(), QStringList{"chatChanged " + Own + (notify ? " true" : " false")});
        const QJsonValue given = jsonValue(changes.trimmed().isEmpty() ? value : changes);
        expected[0] = chatFrom(Own, merged(m_snapshot.value(Own).toObject(), given.toObject()));
        QCOMPARE(m_chats->getChats(), expected);
    }

    // Deletions leave gaps that close once the event is merged: receivers in between, the
    // chats and their order, the lookups by key and by user, and the counters must not tell.
    void oneEventAddsPatchesAndDeletesMany()
    {
        // 300 chats made of the fixture's four; one event deletes two in three, patches one
        // that stays behind deleted ones, adds one and deletes one nobody knows.
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
                expected << "chatDeleted " + chat.getId()
                         << "chatChanged " + chat.getId() + " false";
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
        event.insert(added, m_snapshot.value(Missed));
        event.insert("-NqChatNever", QJsonValue::Null);
        // Values that are no chats add nothing.
        event.insert("-NqChatNeverSeen00", 42);
        event.insert("-NqChatNeverSeen01", QJsonArray());
        expected << "chatAdded " + added;
        kept.append(chatFrom(added, m_snapshot.value(Missed).toObject()));
        m_chats->initChats(chats);

        SignalLog log;
        watchChats(log);
        // Each receiver of chatDeleted finds the chat gone and one chat fewer than the one
        // before, and may read the counters: here after the user keys came anew, so that every
        // category is recomputed.
        QList<int> sizes;
        const auto keys = UsersRepository::getInstance()->getUserKeys();
        connect(m_chats, &ChatsRepository::chatDeleted, this, [&](const QString &key) {
            sizes << (m_chats->chatExists(key) ? -1 : m_chats->getChats().size());
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
            return log.lines() << counts();
        };
        const QStringList merged = state();
        m_chats->initChats(kept);
        QCOMPARE(merged, state());
        // A value that is no chat where a chat was: the node is not a chat any more.
        QTest::ignoreMessage(QtDebugMsg, qPrintable("CHAT DELETED: " + added));
        m_chats->update(QJsonObject{{added, "ended"}});
        QVERIFY(!m_chats->chatExists(added));
    }

    void userChangesReachTheirChats()
    {
        SignalLog log;
        log.watch(m_chats, &ChatsRepository::chatChanged, "chatChanged");
        // Irina is the visitor of the own and the support chat; Dmitry the operator of the
        // foreign and the support chat.
        m_chats->onUserChanged(Irina);
        m_chats->onUserChanged(Dmitry);
        m_chats->onUserDeleted(Irina);
        m_chats->onUserDeleted(Dmitry);
        m_chats->onUserChanged("-NqVisGone000000000");
        QCOMPARE(log.lines(), changed({Own, Elsewhere, Foreign, Elsewhere, Own, Elsewhere}));

        // The lookups follow merges: Dmitry joins the missed chat, leaves the support chat,
        // and a user who is visitor and operator of one chat gets it once.
        m_chats->update(streamEvent("/" + Missed + "/operators", QJsonArray{Dmitry}));
        m_chats->update(streamEvent("/" + Elsewhere + "/operators", QJsonArray{Anna}));
        m_chats->update(streamEvent("/" + Foreign + "/visitor", Dmitry));
        log.clear();
        m_chats->onUserChanged(Dmitry);
        QCOMPARE(log.lines(), changed({Foreign, Missed}));
        QTest::ignoreMessage(QtDebugMsg, qPrintable("CHAT DELETED: " + Foreign));
        m_chats->update(streamEvent("/" + Foreign, QJsonValue::Null));
        log.clear();
        m_chats->onUserChanged(Dmitry);
        QCOMPARE(log.lines(), changed({Missed}));
    }

    void category_data()
    {
        QTest::addColumn<QJsonObject>("chat");
        QTest::addColumn<int>("category");
        // Name | chat | category (My, NotMy, Missed, Unlisted). A chat of the shop widget in work
        // unless the row says otherwise, with A, D for Anna and Dmitry and I, O for Irina
        // (online) and Oleg (offline). Anna is signed in and keyed to the shop.
        const char *rows[] = {
            R"(1: notified without the operator | "visitor": "I", "operators": ["A"],
                "userToNotification": {"D": true} | Unlisted)",
            R"(1: notified with the operator | "visitor": "I",
                "userToNotification": {"D": true, "A": true} | My)",
            R"(1: the operator notified no more (false) | "visitor": "I", "operators": ["A"],
                "userToNotification": {"A": false, "D": true} | Unlisted)",
            R"(2: widget the operator is not keyed to | "widgetId": 10251, "visitor": "I" | Unlisted)",
            R"(2: widget without user keys | "widgetId": 99999, "visitor": "I" | Unlisted)",
            R"(2: ended chat | "status": "ended", "visitor": "I", "operators": ["A"] | Unlisted)",
            R"(2: status in other case | "status": "Work", "visitor": "I" | Unlisted)",
            R"(3: visitor unknown to the users | "visitor": "-NqVisGone", "operators": ["A"] | Unlisted)",
            R"(3: no visitor | "operators": ["A"] | Unlisted)",
            R"(4: nobody took it, visitor online | "visitor": "I" | My)",
            R"(4: the operator's, visitor offline | "visitor": "O", "operators": ["A"] | My)",
            R"(4: the operator among others | "visitor": "I", "operators": ["D", "A"] | My)",
            R"(5: another operator's, visitor online | "visitor": "I", "operators": ["D"] | NotMy)",
            R"(5: another operator's, visitor offline | "visitor": "O", "operators": ["D"] | NotMy)",
            R"(5: operators by index with a gap | "visitor": "I", "operators": {"1": "D"} | NotMy)",
            R"(6: nobody took it, visitor offline | "visitor": "O" | Missed)",
            R"(6: operators null, visitor offline | "visitor": "O", "operators": null | Missed)",
            R"(6: only gaps in the operators | "visitor": "O", "operators": {"2": ""} | Missed)",
        };
        const QStringList categories{"My", "NotMy", "Missed", "Unlisted"};
        for (const char *row : rows) {
            const QStringList cells = named(row).split('|');
            QJsonObject chat = jsonValue("{" + cells.at(1) + "}").toObject();
            if (!chat.contains("status"))
                chat.insert("status", "work");
            if (!chat.contains("widgetId"))
                chat.insert("widgetId", Shop);
            QTest::newRow(qPrintable(cells.at(0).trimmed()))
                << chat << categories.indexOf(cells.at(2).trimmed());
        }
    }
    void category()
    {
        QFETCH(QJsonObject, chat);
        QFETCH(int, category);
        QCOMPARE(Util::getChatCategory(chatFrom("-NqChatX", chat)), category);
    }

    void countersFollowChatChanges()
    {
        QCOMPARE(counts(), "1 1 1 5");
        // The foreign chat's visitor writes again: too fresh to count, for a while.
        m_chats->update(
            streamEvent("/" + Foreign + "/lastMessage/sentAt", ForeignSentAt + Hour - 10000));
        QCOMPARE(counts(), "1 1 0 2");
        // Anna takes the missed chat and reads her own.
        m_chats->update(streamEvent("/" + Missed + "/operators", QJsonArray{Anna}));
        m_chats->update(streamEvent("/" + Own + "/unreadCount", 0));
        QCOMPARE(counts(), "1 0 0 1");
        // Dmitry's chat ends; unread messages of a chat not in work count nowhere.
        m_chats->update(streamEvent("/" + Foreign + "/status", "ended"));
        QCOMPARE(counts(2 * Hour), "1 0 0 1");
        // The support chat comes to the shop widget, for Anna.
        m_chats->update(streamEvent("/" + Elsewhere, json(R"({"widget_id": 10234, "unreadCount": 6,
                                                 "operators": ["-NqOpAnna1021xQ7kLm"]})")));
        QCOMPARE(counts(), "2 0 0 7");
    }

    void foreignAgeFollowsTheClock()
    {
        // Always 1 own chat with 2 unread and 1 missed chat (not summed into messages). The
        // foreign chat's age counts in whole seconds, from 26 on (25.999 s is still 25); a
        // message from the future (clocks apart) is not old. Each moment moves the bound anew.
        for (const qint64 age : {25999, 25000, 0, -60000})
            QCOMPARE(counts(age), "1 1 0 2");
        QCOMPARE(counts(Hour), "1 1 1 5");
        QCOMPARE(counts(25999), "1 1 0 2");
        QCOMPARE(counts(26000), "1 1 1 5");
        // More unread messages in a chat already counted.
        m_chats->update(streamEvent("/" + Foreign + "/unreadCount", 7));
        QCOMPARE(counts(26000), "1 1 1 9");
        // Asked for an earlier moment, then changed while too young to count.
        QCOMPARE(counts(10000), "1 1 0 2");
        m_chats->update(streamEvent("/" + Foreign + "/unreadCount", 1));
        QCOMPARE(counts(26000), "1 1 1 3");
        // Another operator's chat whose visitor wrote 20 s after the first one's.
        m_chats->update(streamEvent(
            "/-NqChat5512402ff06",
            merged(m_snapshot.value(Foreign).toObject(),
                   json(R"({"unreadCount": 4, "lastMessage": {"sentAt": 1709631021000}})"))));
        QCOMPARE(counts(26000), "1 1 1 3");
        QCOMPARE(counts(46000), "1 1 2 7");
        QTest::ignoreMessage(QtDebugMsg, qPrintable("CHAT DELETED: " + Foreign));
        m_chats->update(streamEvent("/" + Foreign, QJsonValue::Null));
        QCOMPARE(counts(46000), "1 1 1 6");
    }

    void countersFollowUsersKeysAndSession()
    {
        UsersRepository *users = UsersRepository::getInstance();
        // Oleg comes back online: his chat is nobody's and his, so it is Anna's own now.
        users->update(streamEvent("/" + Oleg + "/online", true));
        QCOMPARE(counts(), "2 0 1 6");
        users->update(streamEvent("/" + Oleg + "/online", false));
        QCOMPARE(counts(), "1 1 1 5");
        // Dmitry signs in on this console: the own and the foreign chat swap, and the support
        // chat is his too.
        m_chats->update(streamEvent("/" + Elsewhere + "/unreadCount", 4));
        QCOMPARE(counts(), "1 1 1 5");
        AuthSession::getInstance()->setUserId(Dmitry);
        QCOMPARE(counts(), "2 1 1 9");
        // Signed out (no key yet): no list at all.
        AuthSession::getInstance()->setUserId(QString());
        QCOMPARE(counts(), "0 0 0 0");
        AuthSession::getInstance()->setUserId(Anna);
        // Anna is unkeyed from the shop widget: nothing is hers to see.
        users->updateKeys(streamEvent("/10234/" + Anna, false));
        QCOMPARE(counts(), "0 0 0 0");
        users->setUserKeys(JsonParser::getUserKeysFromJson(fixture("user-keys.json")));
        QCOMPARE(counts(), "1 1 1 5");
        // Maria, the foreign chat's visitor, disappears from the users and comes back.
        users->removeUser(Maria);
        QCOMPARE(counts(), "1 1 0 2");
        users->updateChat(Maria, json(R"({"name": "Мария", "role": "visitor"})"));
        QCOMPARE(counts(), "1 1 1 5");
        // A new users snapshot without Irina.
        QList<FirebaseUser> withoutIrina = usersFrom(fixture("users.json"));
        withoutIrina.removeAt(2);
        users->initUsers(withoutIrina);
        QCOMPARE(counts(), "0 1 1 3");
    }

    void countersFollowThousandsOfUserChanges()
    {
        // Chats of visitors who have all left, nobody's: all missed. Then each visitor comes
        // back by a separate event, more events than the users repository remembers one by one.
        const int count = 5000;
        QList<FirebaseUser> users = usersFrom(fixture("users.json"));
        QList<FirebaseChat> chats;
        for (int i = 0; i < count; ++i) {
            FirebaseUser visitor;
            visitor.setId(QStringLiteral("-NqVisBulk%1").arg(i, 8, 10, QLatin1Char('0')));
            visitor.setRole("visitor");
            users.append(visitor);
            chats.append(
                chatFrom("-NqChatBulk" + visitor.getId(),
                         json(R"({"status": "work", "widgetId": 10234, "unreadCount": 1})")));
            chats.last().setVisitor(visitor.getId());
        }
        UsersRepository::getInstance()->initUsers(users);
        m_chats->initChats(chats);
        QCOMPARE(counts(), QStringLiteral("0 %1 0 0").arg(count));
        for (int i = 0; i < count; ++i) {
            UsersRepository::getInstance()->update(
                streamEvent("/" + users.at(5 + i).getId() + "/online", true));
            if (i == 9)
                QCOMPARE(counts(), QStringLiteral("10 %1 0 10").arg(count - 10));
        }
        QCOMPARE(counts(), QStringLiteral("%1 0 0 %1").arg(count));
    }

    // The open chat's messages, the quick answers and the visitors.
    void messagesKeepArrivalOrder()
    {
        QSignalSpy initialized(m_messages, &ChatRepository::initialized);
        QList<FirebaseChatMessage> reversed = m_messageSnapshot;
        std::reverse(reversed.begin(), reversed.end());
        m_messages->initMessages(reversed);
        QCOMPARE(initialized.count(), 1);
        QCOMPARE(m_messages->getMessages(), reversed);
        QCOMPARE(m_messages->getMessageById(Image), m_messageSnapshot.last());
        m_messages->initMessages({});
        QVERIFY(m_messages->getMessages().isEmpty());
    }

    // A new message is added whole; a known one takes only its status, even when deleted.
    void messageMerge_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("status"); // of the known message afterwards, or "added"
        const QString added = R"({"sender": "-NqOpAnna1021xQ7kLm", "sentAt": 1709631600000,
                                  "status": "sent", "text": "Да, конечно", "type": "text"})";
        QTest::newRow("new message") << "/-NqMsg0008hhhhhhhhh" << added << "added";
        QTest::newRow("status") << "/" + Image + "/status"
                                << "\"read\""
                                << "read";
        QTest::newRow("text is kept as first received") << "/" + Image + "/text"
                                                        << "\"исправлено\""
                                                        << "delivered";
        QTest::newRow("status with other fields")
            << "/" + Image << R"({"status": "read", "text": "x", "type": "file", "size": 1})"
            << "read";
        QTest::newRow("deleted message stays") << "/" + Image << "null"
                                               << "delivered";
    }
    void messageMerge()
    {
        QFETCH(QString, path);
        QFETCH(QString, value);
        QFETCH(QString, status);
        SignalLog log;
        log.watch(m_messages, &ChatRepository::messageAdded, "messageAdded");
        log.watch(m_messages, &ChatRepository::messageChanged, "messageChanged");
        log.watch(m_messages, &ChatRepository::messageDeleted, "messageDeleted");
        m_messages->update(streamEvent(path, jsonValue(value)));

        QList<FirebaseChatMessage> expected = m_messageSnapshot;
        if (status == "added") {
            expected.append(JsonParser::getFirebaseChatMessageFromJson(jsonValue(value).toObject()));
            expected.last().setId(path.mid(1));
            QCOMPARE(log.lines(), QStringList{"messageAdded " + path.mid(1)});
        } else {
            expected.last().setStatus(status);
            QCOMPARE(log.lines(), QStringList{"messageChanged " + Image});
        }
        QCOMPARE(m_messages->getMessages(), expected);
        QCOMPARE(m_messages->getMessageById(expected.last().getId()), expected.last());
    }

    void messageCount_data()
    {
        QTest::addColumn<QStringList>("senders");
        QTest::addColumn<int>("count");
        // The fixture: Irina's text and image, the robot's auto-invitation, Anna's "joined",
        // text and invitation, Dmitry's "left".
        QTest::newRow("nobody: the invitation, joined and left notes") << QStringList() << 4;
        QTest::newRow("the visitor") << QStringList{Irina} << 6;
        QTest::newRow("the visitor and the operator") << QStringList({Irina, Anna}) << 7;
        QTest::newRow("an unknown sender") << QStringList{"-NqNobody"} << 4;
    }
    void messageCount()
    {
        QFETCH(QStringList, senders);
        QFETCH(int, count);
        QCOMPARE(m_messages->getMessageCount(senders), count);
    }

    void answersAddedChangedAndDeleted()
    {
        SignalLog log;
        log.watch(m_answers, &QuickAnswersRepository::answerAdded, "answerAdded");
        log.watch(m_answers, &QuickAnswersRepository::answerChanged, "answerChanged");
        log.watch(m_answers, &QuickAnswersRepository::answerDeleted, "answerDeleted");
        const QJsonObject added = json(R"({"accountId": 1840, "siteId": 3187, "userId": 0,
                                           "text": "Перезвоним в течение часа.", "type": "site"})");
        m_answers->update(streamEvent("/7010", added));
        m_answers->update(streamEvent("/7002/text", "Доставка завтра."));
        m_answers->update(streamEvent("/7005", json(R"({"type": "account", "userId": 1023})")));
        // One event deleting several, 7099 never known; each receiver finds one answer fewer.
        QList<int> sizes;
        connect(m_answers, &QuickAnswersRepository::answerDeleted, this, [&] {
            sizes << m_answers->getQuickAnswers().size();
        });
        m_answers->update(json(R"({"7001": null, "7003": null, "7099": null})"));
        disconnect(m_answers, nullptr, this, nullptr);

        QCOMPARE(log.lines(),
                 QStringList({"answerAdded 7010",
                              "answerChanged 7002",
                              "answerChanged 7005",
                              "answerDeleted 7001",
                              "answerDeleted 7003"}));
        QCOMPARE(sizes, QList<int>({6, 5}));
        QList<FirebaseQuickAnswer> expected = JsonParser::getQuickAnswersFromJson(
            fixture("quick-answers.json"));
        expected[1].setText("Доставка завтра.");
        expected[4].setType("account");
        expected[4].setOperatorId(1023);
        expected << JsonParser::getQuickAnswerFromJson(added);
        expected.last().setId(7010);
        expected = {expected.at(1), expected.at(3), expected.at(4), expected.at(5), expected.at(6)};
        QCOMPARE(m_answers->getQuickAnswers(), expected);
        for (const FirebaseQuickAnswer &answer : qAsConst(expected))
            QCOMPARE(m_answers->getQuickAnswerById(answer.getId()), answer);
        QCOMPARE(m_answers->getQuickAnswerById(7003), FirebaseQuickAnswer());
    }

    void answersForSiteOperatorAndText_data()
    {
        QTest::addColumn<qint64>("siteId");
        QTest::addColumn<qint64>("operatorId");
        QTest::addColumn<QString>("text"); // none: getQuickAnswersForId
        QTest::addColumn<QList<qint64>>("ids");
        const auto row = [](const char *name,
                            qint64 site,
                            qint64 user,
                            const QString &text,
                            const QList<qint64> &ids) {
            QTest::newRow(name) << site << user << text << ids;
        };
        row("shop, Anna", ShopSite, AnnaApiId, QString(), {7001, 7002, 7004, 7006});
        row("support, Anna", SupportSite, AnnaApiId, QString(), {7001, 7003, 7004});
        row("shop, Dmitry", ShopSite, 1022, QString(), {7001, 7002, 7005, 7006});
        row("another site, another operator", 4000, 1099, QString(), {7001});
        // By text, each match put in front of the others.
        row("empty text: all, last first", ShopSite, AnnaApiId, "", {7006, 7004, 7002, 7001});
        row("capitals find small letters", ShopSite, AnnaApiId, "ДОСТАВКА", {7004, 7002});
        row("small letters find capitals", ShopSite, AnnaApiId, "доставка бесплатная", {7004});
        row("mixed case", ShopSite, AnnaApiId, "ОпЛаТа", {7006});
        row("other site's answer is not offered", ShopSite, AnnaApiId, "круглосуточно", {});
    }
    void answersForSiteOperatorAndText()
    {
        QFETCH(qint64, siteId);
        QFETCH(qint64, operatorId);
        QFETCH(QString, text);
        QFETCH(QList<qint64>, ids);
        QCOMPARE(idsOf(text.isNull() ? m_answers->getQuickAnswersForId(siteId, operatorId)
                                     : m_answers->getQuickAnswersForText(siteId, operatorId, text)),
                 ids);
    }

    void nonsenseKeepsOtherAnswers()
    {
        QList<FirebaseQuickAnswer> expected = m_answers->getQuickAnswers();
        QSignalSpy added(m_answers, &QuickAnswersRepository::answerAdded);
        m_answers->update(QJsonObject{{"not-a-number", json(R"({"text": "x", "type": "account"})")},
                                      {"7099", "text"},
                                      {"7001", json(R"({"siteId": {"a": 1}, "text": 5})")}});
        QCOMPARE(added.count(), 0);
        expected[0].setSiteId(0);
        expected[0].setText(QString());
        QCOMPARE(m_answers->getQuickAnswers(), expected);
    }

    void visitorsSnapshotAnnouncesOnlyOnce()
    {
        SignalLog log;
        log.watch(m_visitors, &VisitorsRepository::initialized, "initialized");
        log.watch(m_visitors, &VisitorsRepository::visitorAdded, "visitorAdded");
        log.watch(m_visitors, &VisitorsRepository::visitorUpdated, "visitorUpdated");
        // After a reconnect the snapshot holds who is there now; who left meanwhile is gone.
        QJsonObject now = m_visitorSnapshot;
        now.remove(Browsing);
        m_visitors->initialize(now);
        QCOMPARE(log.lines(), QStringList{"initialized"});
        QCOMPARE(m_visitors->getVisitors().size(), 2);
        QCOMPARE(m_visitors->getVisitorById(Talked),
                 visitorFrom(Talked, m_visitorSnapshot.value(Talked).toObject()));
        QVERIFY(!m_visitors->getVisitors().contains(Browsing));
        QCOMPARE(m_visitors->getCount({Shop, Support}), 2);
        m_visitors->initialize(QJsonObject());
        QVERIFY(m_visitors->getVisitors().isEmpty());
        QCOMPARE(m_visitors->getCount({Shop, Support}), 0);
    }

    void visitorsAddedUpdatedAndRemoved()
    {
        SignalLog log;
        log.watch(m_visitors, &VisitorsRepository::initialized, "initialized");
        log.watch(m_visitors, &VisitorsRepository::visitorAdded, "visitorAdded");
        log.watch(m_visitors, &VisitorsRepository::visitorUpdated, "visitorUpdated");
        log.watch(m_visitors, &VisitorsRepository::visitorRemoved, "visitorRemoved");
        const QString newcomer = "-NqVst0004ddddddddd";
        m_visitors->update(streamEvent("/" + newcomer, json(R"({"apiVisitId": 88000004,
            "chatWidgetId": 10251, "online": true, "said": false, "createdAt": 1709631700000})")));
        const QString cart = "https://shop.example.ru/cart/";
        m_visitors->update(
            streamEvent("/" + Browsing,
                        QJsonObject{{"currentUrl", cart}, {"hits", 2}, {"said", true}}));
        m_visitors->update(streamEvent("/" + Reading, QJsonValue::Null));
        m_visitors->update(streamEvent("/-NqVstNeverSeen000", QJsonValue::Null));
        // One event for several visitors is taken in key order; an empty one only announces.
        m_visitors->update(json(R"({"-NqVst0001aaaaaaaaa": {"online": false},
                                    "-NqVst0004ddddddddd": null})"));
        m_visitors->update(QJsonObject());

        QCOMPARE(log.lines(),
                 QStringList({"visitorAdded " + newcomer,
                              "visitorUpdated " + Browsing,
                              "visitorRemoved " + Reading,
                              "visitorUpdated " + Talked,
                              "visitorRemoved " + newcomer,
                              "initialized"}));
        FirebaseVisitor browsing = visitorFrom(Browsing,
                                               m_visitorSnapshot.value(Browsing).toObject());
        browsing.setCurrentUrl(cart);
        browsing.setHits(2);
        browsing.setSaid(true);
        FirebaseVisitor talked = visitorFrom(Talked, m_visitorSnapshot.value(Talked).toObject());
        talked.setOnline(false);
        QCOMPARE(m_visitors->getVisitors(),
                 (QHash<QString, FirebaseVisitor>{{Browsing, browsing}, {Talked, talked}}));
    }

    void visitorCounts_data()
    {
        QTest::addColumn<QString>("event"); // {key: fields} merged first
        QTest::addColumn<QList<qint64>>("widgetIds");
        QTest::addColumn<int>("said");
        QTest::addColumn<int>("notSaid");
        QTest::newRow("no widgets") << "{}" << QList<qint64>() << 0 << 0;
        QTest::newRow("shop") << "{}" << QList<qint64>{Shop} << 1 << 1;
        QTest::newRow("support") << "{}" << QList<qint64>{Support} << 0 << 1;
        QTest::newRow("both") << "{}" << QList<qint64>({Shop, Support}) << 1 << 2;
        QTest::newRow("shop named twice") << "{}" << QList<qint64>({Shop, Shop}) << 1 << 1;
        QTest::newRow("a widget without visitors") << "{}" << QList<qint64>{10999} << 0 << 0;
        // Browsing starts talking and moves to support; Talked leaves; Reading's widget comes
        // as text, as large ids arrive.
        const QString moves = R"({"-NqVst0002bbbbbbbbb": {"said": true, "chatWidgetId": 10251},
            "-NqVst0001aaaaaaaaa": null, "-NqVst0003ccccccccc": {"chatWidgetId": "10234"}})";
        QTest::newRow("after moves: shop") << moves << QList<qint64>{Shop} << 0 << 1;
        QTest::newRow("after moves: support") << moves << QList<qint64>{Support} << 1 << 0;
        // Values of the wrong type leave the visitors as they were.
        const QString nonsense = R"({"-NqVstNumber000000": 5, "-NqVst0003ccccccccc": "gone?",
            "-NqVst0002bbbbbbbbb": {"hits": {"a": 1}, "params": "none", "chatСreated": "yes"}})";
        QTest::newRow("after nonsense") << nonsense << QList<qint64>({Shop, Support}) << 1 << 2;
    }
    void visitorCounts()
    {
        QFETCH(QString, event);
        QFETCH(QList<qint64>, widgetIds);
        QFETCH(int, said);
        QFETCH(int, notSaid);
        QSignalSpy added(m_visitors, &VisitorsRepository::visitorAdded);
        m_visitors->update(jsonValue(event).toObject());
        QCOMPARE(added.count(), 0);
        // The counters are added to, never reset.
        int saidCount = 10;
        int notSaidCount = 20;
        m_visitors->getVisitorsCategories(widgetIds, saidCount, notSaidCount);
        QCOMPARE(saidCount - 10, said);
        QCOMPARE(notSaidCount - 20, notSaid);
        QCOMPARE(m_visitors->getCount(widgetIds), said + notSaid);
    }

private:
    ChatsRepository *m_chats = nullptr;
    ChatRepository *m_messages = nullptr;
    QuickAnswersRepository *m_answers = nullptr;
    VisitorsRepository *m_visitors = nullptr;
    QJsonObject m_snapshot;
    QList<FirebaseChatMessage> m_messageSnapshot;
    QJsonObject m_visitorSnapshot;
};

QTEST_GUILESS_MAIN(TestRepositories)
#include "tst_repositories.moc"
