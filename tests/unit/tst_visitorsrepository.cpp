// VisitorsRepository: the snapshot without a signal per visitor, the merge of events (added,
// fields updated, removed), and the counts by widget with their said / not said split.
#include "repo/visitorsrepository.h"
#include "repotestsupport.h"

#include <QtTest>

using namespace repotest;

namespace {

const QString Talked = QStringLiteral("-NqVst0001aaaaaaaaa");   // shop, said
const QString Browsing = QStringLiteral("-NqVst0002bbbbbbbbb"); // shop, not said
const QString Reading = QStringLiteral("-NqVst0003ccccccccc");  // support, not said

FirebaseVisitor visitorFrom(const QString &key, const QJsonObject &object)
{
    FirebaseVisitor visitor = JsonParser::getFirebaseVisitorFromJson(object);
    visitor.setId(key);
    return visitor;
}

} // namespace

class TestVisitorsRepository : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void initializeAnnouncesOnlyOnce();
    void initializeReplacesTheVisitors();
    void mergeAddsUpdatesAndRemoves();
    void emptyEventOnlyAnnounces();
    void countsByWidget_data();
    void countsByWidget();
    void countsFollowChanges();
    void nonsenseKeepsOtherVisitors();

private:
    VisitorsRepository *m_visitors = nullptr;
    QJsonObject m_snapshot;
};

void TestVisitorsRepository::initTestCase()
{
    VisitorsRepository::init(nullptr);
    m_visitors = VisitorsRepository::getInstance();
    QVERIFY(m_visitors);
    m_snapshot = fixture("visitors.json");
}

void TestVisitorsRepository::init()
{
    // As the stream handler does with its first event.
    m_visitors->initialize(JsonParser::fromFirebaseReply(
        FirebaseReply("init", QJsonObject{{"p", "/"}, {"d", m_snapshot}})));
}

void TestVisitorsRepository::initializeAnnouncesOnlyOnce()
{
    SignalLog log;
    log.watch(m_visitors, &VisitorsRepository::initialized, "initialized");
    log.watch(m_visitors, &VisitorsRepository::visitorAdded, "visitorAdded");
    log.watch(m_visitors, &VisitorsRepository::visitorUpdated, "visitorUpdated");
    log.watch(m_visitors, &VisitorsRepository::visitorRemoved, "visitorRemoved");

    m_visitors->initialize(m_snapshot);

    QCOMPARE(log.lines(), QStringList{"initialized"});
    QCOMPARE(m_visitors->getVisitors().size(), 3);
    QCOMPARE(m_visitors->getVisitorById(Talked),
             visitorFrom(Talked, m_snapshot.value(Talked).toObject()));
    QVERIFY(m_visitors->getVisitorById(Talked).getChatCreated());
    QCOMPARE(m_visitors->getVisitorById(Talked).getParams().size(), 2);
    QCOMPARE(m_visitors->getVisitorById("-NqVstGone"), FirebaseVisitor());
}

void TestVisitorsRepository::initializeReplacesTheVisitors()
{
    // After a reconnect the snapshot holds who is there now; who left meanwhile is gone.
    QJsonObject now = m_snapshot;
    now.remove(Browsing);
    m_visitors->initialize(now);
    QCOMPARE(m_visitors->getVisitors().keys().size(), 2);
    QVERIFY(!m_visitors->getVisitors().contains(Browsing));
    QCOMPARE(m_visitors->getCount({Shop, Support}), 2);

    QSignalSpy initialized(m_visitors, &VisitorsRepository::initialized);
    m_visitors->initialize(QJsonObject());
    QCOMPARE(initialized.count(), 1);
    QVERIFY(m_visitors->getVisitors().isEmpty());
    QCOMPARE(m_visitors->getCount({Shop, Support}), 0);
}

void TestVisitorsRepository::mergeAddsUpdatesAndRemoves()
{
    SignalLog log;
    log.watch(m_visitors, &VisitorsRepository::initialized, "initialized");
    log.watch(m_visitors, &VisitorsRepository::visitorAdded, "visitorAdded");
    log.watch(m_visitors, &VisitorsRepository::visitorUpdated, "visitorUpdated");
    log.watch(m_visitors, &VisitorsRepository::visitorRemoved, "visitorRemoved");

    const QString newcomer = "-NqVst0004ddddddddd";
    const QJsonObject arrival = json(R"({"apiVisitId": 88000004, "chatWidgetId": 10251,
        "currentUrl": "https://help.example.ru/", "online": true, "said": false,
        "createdAt": 1709631700000, "lastActiveAt": 1709631700000})");
    m_visitors->update(streamEvent("/" + newcomer, arrival));
    m_visitors->update(
        streamEvent("/" + Browsing, json(R"({"currentUrl": "https://shop.example.ru/cart/",
                                            "hits": 2, "said": true})")));
    m_visitors->update(streamEvent("/" + Reading, QJsonValue::Null));
    m_visitors->update(streamEvent("/-NqVstNeverSeen000", QJsonValue::Null));
    // One event for several visitors is taken in key order.
    m_visitors->update(json(R"({"-NqVst0001aaaaaaaaa": {"online": false},
                                "-NqVst0004ddddddddd": null})"));

    QCOMPARE(log.lines(),
             QStringList({"visitorAdded " + newcomer,
                          "visitorUpdated " + Browsing,
                          "visitorRemoved " + Reading,
                          "visitorUpdated " + Talked,
                          "visitorRemoved " + newcomer}));

    FirebaseVisitor browsing = visitorFrom(Browsing, m_snapshot.value(Browsing).toObject());
    browsing.setCurrentUrl("https://shop.example.ru/cart/");
    browsing.setHits(2);
    browsing.setSaid(true);
    QCOMPARE(m_visitors->getVisitorById(Browsing), browsing);
    FirebaseVisitor talked = visitorFrom(Talked, m_snapshot.value(Talked).toObject());
    talked.setOnline(false);
    QCOMPARE(m_visitors->getVisitorById(Talked), talked);
    QCOMPARE(m_visitors->getVisitors().size(), 2);
}

void TestVisitorsRepository::emptyEventOnlyAnnounces()
{
    QSignalSpy initialized(m_visitors, &VisitorsRepository::initialized);
    QSignalSpy removed(m_visitors, &VisitorsRepository::visitorRemoved);
    m_visitors->update(QJsonObject());
    QCOMPARE(initialized.count(), 1);
    QCOMPARE(removed.count(), 0);
    QCOMPARE(m_visitors->getVisitors().size(), 3);
}

void TestVisitorsRepository::countsByWidget_data()
{
    QTest::addColumn<QList<qint64>>("widgetIds");
    QTest::addColumn<int>("said");
    QTest::addColumn<int>("notSaid");

    QTest::newRow("no widgets") << QList<qint64>() << 0 << 0;
    QTest::newRow("shop") << QList<qint64>{Shop} << 1 << 1;
    QTest::newRow("support") << QList<qint64>{Support} << 0 << 1;
    QTest::newRow("both") << QList<qint64>({Shop, Support}) << 1 << 2;
    QTest::newRow("shop named twice") << QList<qint64>({Shop, Shop}) << 1 << 1;
    QTest::newRow("a widget without visitors") << QList<qint64>{10999} << 0 << 0;
}

void TestVisitorsRepository::countsByWidget()
{
    QFETCH(QList<qint64>, widgetIds);
    QFETCH(int, said);
    QFETCH(int, notSaid);

    // The counters are added to, never reset.
    int saidCount = 10;
    int notSaidCount = 20;
    m_visitors->getVisitorsCategories(widgetIds, saidCount, notSaidCount);
    QCOMPARE(saidCount, 10 + said);
    QCOMPARE(notSaidCount, 20 + notSaid);
    QCOMPARE(m_visitors->getCount(widgetIds), said + notSaid);
}

void TestVisitorsRepository::countsFollowChanges()
{
    // Browsing starts talking and moves to the support widget; Talked leaves.
    m_visitors->update(
        streamEvent("/" + Browsing, json(R"({"said": true, "chatWidgetId": 10251})")));
    m_visitors->update(streamEvent("/" + Talked, QJsonValue::Null));
    int said = 0;
    int notSaid = 0;
    m_visitors->getVisitorsCategories({Shop}, said, notSaid);
    QCOMPARE(said + notSaid, 0);
    m_visitors->getVisitorsCategories({Support}, said, notSaid);
    QCOMPARE(said, 1);
    QCOMPARE(notSaid, 1);
    // A widget id sent as text, as large ids arrive.
    m_visitors->update(streamEvent("/" + Reading + "/chatWidgetId", "10234"));
    QCOMPARE(m_visitors->getCount({Shop}), 1);
    QCOMPARE(m_visitors->getCount({Support}), 1);
}

void TestVisitorsRepository::nonsenseKeepsOtherVisitors()
{
    const QHash<QString, FirebaseVisitor> before = m_visitors->getVisitors();
    QSignalSpy added(m_visitors, &VisitorsRepository::visitorAdded);
    m_visitors->update(QJsonObject{{"-NqVstNumber000000", 5},
                                   {Reading, "gone?"},
                                   {Browsing, json(R"({"hits": {"a": 1}, "params": "none",
                                                      "chatСreated": "yes"})")}});
    QCOMPARE(added.count(), 0);
    QCOMPARE(m_visitors->getVisitorById(Reading), before.value(Reading));
    QCOMPARE(m_visitors->getVisitorById(Talked), before.value(Talked));
    FirebaseVisitor browsing = before.value(Browsing);
    browsing.setHits(0);
    QCOMPARE(m_visitors->getVisitorById(Browsing), browsing);
    QCOMPARE(m_visitors->getCount({Shop, Support}), 3);
}

QTEST_GUILESS_MAIN(TestVisitorsRepository)
#include "tst_visitorsrepository.moc"
