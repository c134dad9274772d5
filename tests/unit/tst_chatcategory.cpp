// Util::getChatCategory: each step of the rule that puts a chat in the operator's own list,
// another operator's, the missed ones or none, against the real session and users repository.
#include "repotestsupport.h"
#include "util/util.h"

#include <QtTest>

using namespace repotest;

class TestChatCategory : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void steps_data();
    void steps();
    void followsTheSessionUser();
    void followsTheUsersAndTheirKeys();
};

void TestChatCategory::initTestCase()
{
    UsersRepository::init(nullptr);
    AuthSession::init(nullptr);
}

void TestChatCategory::init()
{
    resetAccount();
}

void TestChatCategory::steps_data()
{
    QTest::addColumn<QString>("chat");
    QTest::addColumn<int>("category");

    // Each row is a chat of the shop widget in work unless it says otherwise. Anna is signed
    // in and keyed to the shop; Irina and Maria are online, Oleg is offline.
    const QString irina = Irina;
    const QString oleg = Oleg;
    const auto chat = [](const QString &fields) {
        return QStringLiteral(R"({"status": "work", "widgetId": 10234, %1})").arg(fields);
    };

    QTest::newRow("1: notified users without the operator")
        << chat(R"("visitor": "-NqVisIrina95x31T2", "operators": ["-NqOpAnna1021xQ7kLm"],
                    "userToNotification": {"-NqOpDmitry1022aB9": true})")
        << int(Util::CategoryUnlisted);
    QTest::newRow("1: notified users with the operator") << chat(R"("visitor": "-NqVisIrina95x31T2",
                    "userToNotification": {"-NqOpDmitry1022aB9": true, "-NqOpAnna1021xQ7kLm": true})")
                                                         << int(Util::CategoryMy);
    QTest::newRow("1: the operator notified no more (false)")
        << chat(R"("visitor": "-NqVisIrina95x31T2", "operators": ["-NqOpAnna1021xQ7kLm"],
                    "userToNotification": {"-NqOpAnna1021xQ7kLm": false, "-NqOpDmitry1022aB9": true})")
        << int(Util::CategoryUnlisted);
    QTest::newRow("2: widget the operator is not keyed to")
        << R"({"status": "work", "widgetId": 10251, "visitor": "-NqVisIrina95x31T2",
               "operators": ["-NqOpAnna1021xQ7kLm"]})"
        << int(Util::CategoryUnlisted);
    QTest::newRow("2: widget without user keys")
        << R"({"status": "work", "widgetId": 99999, "visitor": "-NqVisIrina95x31T2"})"
        << int(Util::CategoryUnlisted);
    QTest::newRow("2: ended chat of the operator")
        << R"({"status": "ended", "widgetId": 10234, "visitor": "-NqVisIrina95x31T2",
               "operators": ["-NqOpAnna1021xQ7kLm"]})"
        << int(Util::CategoryUnlisted);
    QTest::newRow("2: status in other case")
        << R"({"status": "Work", "widgetId": 10234, "visitor": "-NqVisIrina95x31T2"})"
        << int(Util::CategoryUnlisted);
    QTest::newRow("3: visitor unknown to the users")
        << chat(R"("visitor": "-NqVisGone000000000", "operators": ["-NqOpAnna1021xQ7kLm"])")
        << int(Util::CategoryUnlisted);
    QTest::newRow("3: no visitor")
        << chat(R"("operators": ["-NqOpAnna1021xQ7kLm"])") << int(Util::CategoryUnlisted);
    QTest::newRow("4: nobody took it, visitor online")
        << chat(R"("visitor": "-NqVisIrina95x31T2")") << int(Util::CategoryMy);
    QTest::newRow("4: the operator's, visitor offline")
        << chat(QStringLiteral(R"("visitor": "%1", "operators": ["-NqOpAnna1021xQ7kLm"])").arg(oleg))
        << int(Util::CategoryMy);
    QTest::newRow("4: the operator among others") << chat(R"("visitor": "-NqVisIrina95x31T2",
                    "operators": ["-NqOpDmitry1022aB9", "-NqOpAnna1021xQ7kLm"])")
                                                  << int(Util::CategoryMy);
    QTest::newRow("5: another operator's, visitor online")
        << chat(QStringLiteral(R"("visitor": "%1", "operators": ["-NqOpDmitry1022aB9"])").arg(irina))
        << int(Util::CategoryNotMy);
    QTest::newRow("5: another operator's, visitor offline")
        << chat(QStringLiteral(R"("visitor": "%1", "operators": ["-NqOpDmitry1022aB9"])").arg(oleg))
        << int(Util::CategoryNotMy);
    QTest::newRow("5: operators keyed by index with a gap")
        << chat(R"("visitor": "-NqVisIrina95x31T2", "operators": {"1": "-NqOpDmitry1022aB9"})")
        << int(Util::CategoryNotMy);
    QTest::newRow("6: nobody took it, visitor offline")
        << chat(QStringLiteral(R"("visitor": "%1")").arg(oleg)) << int(Util::CategoryMissed);
    QTest::newRow("6: operators null, visitor offline")
        << chat(QStringLiteral(R"("visitor": "%1", "operators": null)").arg(oleg))
        << int(Util::CategoryMissed);
    QTest::newRow("6: only gaps in the operators, visitor offline")
        << chat(QStringLiteral(R"("visitor": "%1", "operators": {"2": ""})").arg(oleg))
        << int(Util::CategoryMissed);
}

void TestChatCategory::steps()
{
    QFETCH(QString, chat);
    QFETCH(int, category);

    const QJsonObject object = QJsonDocument::fromJson(chat.toUtf8()).object();
    QVERIFY2(!object.isEmpty(), qPrintable(chat));
    QCOMPARE(Util::getChatCategory(chatFrom(QStringLiteral("-NqChatX"), object)), category);
}

void TestChatCategory::followsTheSessionUser()
{
    const FirebaseChat annas
        = chatFrom("-NqChatA",
                   json(R"({"status": "work", "widgetId": 10234, "visitor": "-NqVisIrina95x31T2",
                  "operators": ["-NqOpAnna1021xQ7kLm"]})"));
    QCOMPARE(Util::getChatCategory(annas), int(Util::CategoryMy));

    AuthSession::getInstance()->setUserId(Dmitry);
    QCOMPARE(Util::getChatCategory(annas), int(Util::CategoryNotMy));

    // Signed out (no key yet): no list at all.
    AuthSession::getInstance()->setUserId(QString());
    QCOMPARE(Util::getChatCategory(annas), int(Util::CategoryUnlisted));
    const FirebaseChat unassigned
        = chatFrom("-NqChatB",
                   json(
                       R"({"status": "work", "widgetId": 10234, "visitor": "-NqVisIrina95x31T2"})"));
    QCOMPARE(Util::getChatCategory(unassigned), int(Util::CategoryUnlisted));
}

void TestChatCategory::followsTheUsersAndTheirKeys()
{
    UsersRepository *users = UsersRepository::getInstance();
    const FirebaseChat waiting
        = chatFrom("-NqChatC",
                   json(
                       R"({"status": "work", "widgetId": 10234, "visitor": "-NqVisIrina95x31T2"})"));
    QCOMPARE(Util::getChatCategory(waiting), int(Util::CategoryMy));

    users->update(streamEvent(QStringLiteral("/%1/online").arg(Irina), false));
    QCOMPARE(Util::getChatCategory(waiting), int(Util::CategoryMissed));

    users->updateKeys(streamEvent(QStringLiteral("/10234/%1").arg(Anna), false));
    QCOMPARE(Util::getChatCategory(waiting), int(Util::CategoryUnlisted));
    users->updateKeys(streamEvent(QStringLiteral("/10234/%1").arg(Anna), true));
    QCOMPARE(Util::getChatCategory(waiting), int(Util::CategoryMissed));

    users->removeUser(Irina);
    QCOMPARE(Util::getChatCategory(waiting), int(Util::CategoryUnlisted));
}

QTEST_GUILESS_MAIN(TestChatCategory)
#include "tst_chatcategory.moc"
