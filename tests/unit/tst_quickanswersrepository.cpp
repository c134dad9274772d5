// QuickAnswersRepository: the snapshot (an object, or an array the database made of it), the
// merge of events with their numeric ids, and the choice of answers for a site and an operator,
// also by text, without regard to case, in Cyrillic.
#include "repo/quickanswersrepository.h"
#include "repotestsupport.h"

#include <QtTest>

using namespace repotest;

namespace {

const qint64 ShopSite = 3120;
const qint64 SupportSite = 3187;
const qint64 AnnaApiId = 1021;

QList<qint64> idsOf(const QList<FirebaseQuickAnswer> &answers)
{
    QList<qint64> ids;
    for (const FirebaseQuickAnswer &answer : answers)
        ids.append(answer.getId());
    return ids;
}

} // namespace

class TestQuickAnswersRepository : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void snapshotAsObjectOrArray();
    void answerAddedChangedAndDeleted();
    void selectionForSiteAndOperator_data();
    void selectionForSiteAndOperator();
    void selectionByText_data();
    void selectionByText();
    void nonsenseKeepsOtherAnswers();

private:
    QuickAnswersRepository *m_answers = nullptr;
};

void TestQuickAnswersRepository::initTestCase()
{
    QuickAnswersRepository::init(nullptr);
    m_answers = QuickAnswersRepository::getInstance();
    QVERIFY(m_answers);
}

void TestQuickAnswersRepository::init()
{
    m_answers->initializeAnswers(
        JsonParser::getQuickAnswersFromJson(fixture("quick-answers.json")));
}

void TestQuickAnswersRepository::snapshotAsObjectOrArray()
{
    QSignalSpy initialized(m_answers, &QuickAnswersRepository::initialized);
    const QJsonArray array = fixtureDocument("quick-answers-array.json").array();
    m_answers->initializeAnswers(
        JsonParser::getQuickAnswersFromJson(JsonParser::fromJsonArray(array)));

    QCOMPARE(initialized.count(), 1);
    QCOMPARE(idsOf(m_answers->getQuickAnswers()), QList<qint64>({0, 2}));
    QCOMPARE(m_answers->getQuickAnswerById(2).getText(), QString("Доставка завтра."));
    QCOMPARE(m_answers->getQuickAnswerById(1), FirebaseQuickAnswer());
}

void TestQuickAnswersRepository::answerAddedChangedAndDeleted()
{
    SignalLog log;
    log.watch(m_answers, &QuickAnswersRepository::answerAdded, "answerAdded");
    log.watch(m_answers, &QuickAnswersRepository::answerChanged, "answerChanged");
    log.watch(m_answers, &QuickAnswersRepository::answerDeleted, "answerDeleted");

    m_answers->update(streamEvent("/7010", json(R"({"accountId": 1840, "siteId": 3187,
        "userId": 0, "text": "Перезвоним в течение часа.", "type": "site"})")));
    m_answers->update(streamEvent("/7002/text", "Доставка по Москве — на следующий день."));
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
    QCOMPARE(idsOf(m_answers->getQuickAnswers()), QList<qint64>({7002, 7004, 7005, 7006, 7010}));

    FirebaseQuickAnswer added;
    added.setId(7010);
    added.setAccountId(1840);
    added.setSiteId(SupportSite);
    added.setText("Перезвоним в течение часа.");
    added.setType("site");
    QCOMPARE(m_answers->getQuickAnswerById(7010), added);

    const QList<FirebaseQuickAnswer> snapshot = JsonParser::getQuickAnswersFromJson(
        fixture("quick-answers.json"));
    FirebaseQuickAnswer changed = snapshot.at(1);
    changed.setText("Доставка по Москве — на следующий день.");
    QCOMPARE(m_answers->getQuickAnswerById(7002), changed);
    changed = snapshot.at(4);
    changed.setType("account");
    changed.setOperatorId(1023);
    QCOMPARE(m_answers->getQuickAnswerById(7005), changed);
    QCOMPARE(m_answers->getQuickAnswerById(7006), snapshot.at(5));
    QCOMPARE(m_answers->getQuickAnswerById(7003), FirebaseQuickAnswer());
}

void TestQuickAnswersRepository::selectionForSiteAndOperator_data()
{
    QTest::addColumn<qint64>("siteId");
    QTest::addColumn<qint64>("operatorId");
    QTest::addColumn<QList<qint64>>("ids");

    QTest::newRow("shop, Anna") << ShopSite << AnnaApiId << QList<qint64>({7001, 7002, 7004, 7006});
    QTest::newRow("support, Anna") << SupportSite << AnnaApiId << QList<qint64>({7001, 7003, 7004});
    QTest::newRow("shop, Dmitry") << ShopSite << qint64(1022)
                                  << QList<qint64>({7001, 7002, 7005, 7006});
    QTest::newRow("another site, another operator")
        << qint64(4000) << qint64(1099) << QList<qint64>{7001};
}

void TestQuickAnswersRepository::selectionForSiteAndOperator()
{
    QFETCH(qint64, siteId);
    QFETCH(qint64, operatorId);
    QFETCH(QList<qint64>, ids);
    QCOMPARE(idsOf(m_answers->getQuickAnswersForId(siteId, operatorId)), ids);
}

void TestQuickAnswersRepository::selectionByText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<qint64>>("ids");

    // Shop site, Anna: 7001, 7002, 7004, 7006 apply; each match goes in front.
    QTest::newRow("empty text: all, last first")
        << QString() << QList<qint64>({7006, 7004, 7002, 7001});
    QTest::newRow("capitals find small letters") << "ДОСТАВКА" << QList<qint64>({7004, 7002});
    QTest::newRow("small letters find capitals") << "доставка бесплатная" << QList<qint64>{7004};
    QTest::newRow("mixed case") << "ОпЛаТа" << QList<qint64>{7006};
    QTest::newRow("other site's answer is not offered") << "круглосуточно" << QList<qint64>();
    QTest::newRow("no match") << "гарантия" << QList<qint64>();
}

void TestQuickAnswersRepository::selectionByText()
{
    QFETCH(QString, text);
    QFETCH(QList<qint64>, ids);
    QCOMPARE(idsOf(m_answers->getQuickAnswersForText(ShopSite, AnnaApiId, text)), ids);
}

void TestQuickAnswersRepository::nonsenseKeepsOtherAnswers()
{
    const QList<FirebaseQuickAnswer> before = m_answers->getQuickAnswers();
    QSignalSpy added(m_answers, &QuickAnswersRepository::answerAdded);
    m_answers->update(QJsonObject{{"not-a-number", json(R"({"text": "x", "type": "account"})")},
                                  {"7099", "text"},
                                  {"7001", json(R"({"siteId": {"a": 1}, "text": 5})")}});
    QCOMPARE(added.count(), 0);
    FirebaseQuickAnswer first = before.first();
    first.setSiteId(0);
    first.setText(QString());
    QCOMPARE(m_answers->getQuickAnswers().first(), first);
    QCOMPARE(m_answers->getQuickAnswers().mid(1), before.mid(1));
}

QTEST_GUILESS_MAIN(TestQuickAnswersRepository)
#include "tst_quickanswersrepository.moc"
