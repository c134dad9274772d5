// The open chat's messages (ChatRepository), the quick answers and the site visitors: their
// snapshots, the merge of their events with the signals in order, and what each answers for:
// the message count of a chat's counter, the answers for a site, an operator and a text (in any
// case, in Cyrillic), and the visitor counts by widget with their said / not said split.
#include "repo/chatrepository.h"
#include "repo/quickanswersrepository.h"
#include "repo/visitorsrepository.h"
#include "repotestsupport.h"

#include <QtTest>

using namespace repotest;

namespace {

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
        ChatRepository::init(nullptr);
        QuickAnswersRepository::init(nullptr);
        VisitorsRepository::init(nullptr);
        m_messages = ChatRepository::getInstance();
        m_answers = QuickAnswersRepository::getInstance();
        m_visitors = VisitorsRepository::getInstance();
        m_messageSnapshot = messagesFrom(fixture("chat-messages.json"));
        m_visitorSnapshot = fixture("visitors.json");
    }
    void init()
    {
        m_messages->initMessages(m_messageSnapshot);
        m_answers->initializeAnswers(
            JsonParser::getQuickAnswersFromJson(fixture("quick-answers.json")));
        // As the stream handler does with its first event.
        m_visitors->initialize(JsonParser::fromFirebaseReply(
            FirebaseReply("init", QJsonObject{{"p", "/"}, {"d", m_visitorSnapshot}})));
    }

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
    ChatRepository *m_messages = nullptr;
    QuickAnswersRepository *m_answers = nullptr;
    VisitorsRepository *m_visitors = nullptr;
    QList<FirebaseChatMessage> m_messageSnapshot;
    QJsonObject m_visitorSnapshot;
};

QTEST_GUILESS_MAIN(TestRepositories)
#include "tst_repositories.moc"
