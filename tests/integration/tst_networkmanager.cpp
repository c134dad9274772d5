// NetworkManager against tallyra-local over TLS on the demo account, configured as the console
// is (the service's env file): sign-in and the realtime start that follows, sign-in failures,
// token renewal and chat facts.
#include "demoaccount.h"

#include "app/appsettings.h"
#include "local/demoseed.h"
#include "local/faultinjector.h"
#include "local/serviceclock.h"
#include "network/firebaseclient.h"
#include "network/firebasesubscription.h"
#include "network/networkmanager.h"
#include "repo/authsession.h"
#include "repo/usersrepository.h"

#include <QScopeGuard>
#include <QtTest>

class TestNetworkManager : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { m_manager = std::make_unique<NetworkManager>(); }
    void cleanup();

    void signIn_data();
    void signIn();
    void renewedTokenReplacesTheOld();
    // Last: its last row stops the service for good.
    void signInFailures_data();
    void signInFailures();

private:
    DemoAccount m_demo;
    std::unique_ptr<NetworkManager> m_manager;
};

void TestNetworkManager::initTestCase()
{
    QVERIFY(m_demo.start(this));
    QCOMPARE(AppSettings::instance()->extraCaCount(), 1);
    qRegisterMetaType<QNetworkReply *>();
}

void TestNetworkManager::cleanup()
{
    m_manager.reset();
    m_demo.local.service()->faults()->setReplyDelay(0);
    m_demo.local.service()->clock()->reset();
}

void TestNetworkManager::signIn_data()
{
    // login|service chosen (0: none)|user id|account path|observed collections|facts of chat
    // 70001 given
    QTest::addColumn<QStringList>("row");
    addRow(
        "operator",
        DemoSeed::operatorLogin
            + "|0|1001|/services/1/accounts/101/|chats quick-answers user-keys users visitors|1");
    // Only the second service's account, without visitors, and not the first one's chat.
    addRow("manager",
           DemoSeed::managerLogin
               + "|2|2002|/services/2/accounts/201/|chats quick-answers user-keys users|0");
}

void TestNetworkManager::signIn()
{
    QFETCH(QStringList, row);
    const int serviceId = row[1].toInt();
    QSignalSpy success(m_manager.get(), &NetworkManager::authenticateSuccess);
    QSignalSpy choice(m_manager.get(), &NetworkManager::needFranchiseSelection);
    FirebaseClient *firebase = m_manager->firebaseClient();

    m_manager->authenticate(row[0], DemoSeed::password);
    if (serviceId) {
        // Nothing starts before the operator has picked a service.
        QCOMPARE(choice.count(), 1);
        QCOMPARE(choice.at(0).at(0).value<QList<FranchiseItem>>().size(), 2);
        QVERIFY(success.isEmpty() && !firebase->isSignedIn()
                && firebase->subscribedPaths().isEmpty());
        m_manager->authenticate(row[0], DemoSeed::password, serviceId);
    }
    QCOMPARE(success.count(), 1);
    const UserInfo user = success.at(0).at(0).value<UserInfo>();
    QCOMPARE(user.getId(), row[2].toInt());
    QCOMPARE(AuthSession::getInstance()->getUserInfo(), user);
    QVERIFY(!AuthSession::getInstance()->getSettings().getWidgets().isEmpty());
    QVERIFY(firebase->isSignedIn() && !firebase->getToken().isEmpty());

    QStringList paths;
    for (const QString &collection : row[4].split(' '))
        paths << row[3] + collection;
    QStringList subscribed = firebase->subscribedPaths();
    subscribed.sort();
    QCOMPARE(subscribed, paths);
    // The streams authenticate with the exchanged token and are let into the account.
    for (const QString &path : paths)
        QVERIFY(waitUntil([&] { return firebase->subscription(path)->isOpen(); }, 20000));

    QSignalSpy info(m_manager.get(), &NetworkManager::chatInfo);
    // The reply's end is the event to wait for, whether or not a signal follows it (the REST
    // layer's access manager is found before the realtime client's).
    QSignalSpy finished(m_manager->findChild<QNetworkAccessManager *>(),
                        &QNetworkAccessManager::finished);
    m_manager->getChatInfo(70001);
    QVERIFY(finished.wait(20000));
    QCOMPARE(info.count(), row[5].toInt());
    if (!info.isEmpty())
        QCOMPARE(info.at(0).at(0).value<ApiChatInfo>().getId(), 70001);
}

void TestNetworkManager::renewedTokenReplacesTheOld()
{
    ServiceClock *clock = m_demo.local.service()->clock();
    clock->freeze();
    QVERIFY(!m_manager->createRequest("h", "/").hasRawHeader("Authorization"));
    m_manager->authenticate(DemoSeed::operatorLogin, DemoSeed::password);
    const QByteArray first = m_manager->getToken();
    QVERIFY(first.startsWith("bearer ")
            && m_manager->createRequest("h", "/").rawHeader("Authorization") == first);

    // The 24-hour token is renewed on any reply once less than a quarter of it is left.
    clock->advance(17 * 3600 * 1000);
    QCOMPARE(m_manager->getUserInfo().getId(), 1001);
    QCOMPARE(m_manager->getToken(), first);
    clock->advance(3600 * 1000 + 1000);
    QCOMPARE(m_manager->getUserInfo().getId(), 1001);
    QVERIFY(m_manager->getToken().startsWith("bearer ") && m_manager->getToken() != first);
    // Past the first token's end only the renewed one opens the account.
    clock->advance(6 * 3600 * 1000);
    QCOMPARE(m_manager->getUsersInfo().size(), 5);
}

void TestNetworkManager::signInFailures_data()
{
    // login|password|service chosen|outage|errnum|message|type
    QTest::addColumn<QStringList>("row");
    const QString op = DemoSeed::operatorLogin + "|" + DemoSeed::password;
    addRow("unknown e-mail",
           "x@demo.tallyra.local|demo12345|0||422|Пользователь с таким e-mail не найден|0");
    // Both fields faulted: the e-mail's message wins.
    addRow("nothing given", "||0||422|Введите e-mail|0");
    addRow("wrong password", DemoSeed::operatorLogin + "|demo|0||422|Неверный пароль|1");
    addRow("foreign service", op + "|2||403|Нет доступа к выбранному сервису|2");
    // A redirect is no answer to a sign-in.
    addRow("redirected", op + "|0|300|0|Ошибка соединения с сервером|2");
    // The right password: only the time-out can turn this into a failure.
    addRow("no answer", op + "|0|silent|0|Ошибка соединения с сервером|2");
    addRow("service stopped", op + "|0|stopped|0|Ошибка соединения с сервером|2");
}

void TestNetworkManager::signInFailures()
{
    QFETCH(QStringList, row);
    QSignalSpy error(m_manager.get(), &NetworkManager::authenticateError);
    QSignalSpy success(m_manager.get(), &NetworkManager::authenticateSuccess);
    if (row[3] == "stopped")
        m_demo.local.service()->stop();
    if (row[3] == "silent")
        m_demo.local.service()->faults()->setReplyDelay(10 * 60 * 1000);
    if (row[3].toInt() > 0)
        m_demo.local.service()->faults()->setPathFailure("/api/auth/login", row[3].toInt());
    const auto cleared = qScopeGuard([&] { m_demo.local.service()->faults()->clearPathFailures(); });
    m_manager->setRequestTimeout(row[3] == "silent" ? 1000 : 30000);

    if (row[2].toInt())
        m_manager->authenticate(row[0], row[1], row[2].toInt());
    else
        m_manager->authenticate(row[0], row[1]);
    QCOMPARE(error.count(), 1);
    QCOMPARE(error.at(0).at(0).toInt(), row[4].toInt());
    QCOMPARE(error.at(0).at(1).toString(), row[5]);
    QCOMPARE(int(error.at(0).at(2).value<NetworkManager::AuthenticateErrorType>()), row[6].toInt());
    QVERIFY(success.isEmpty() && m_manager->firebaseClient()->subscribedPaths().isEmpty());
}

QTEST_GUILESS_MAIN(TestNetworkManager)
#include "tst_networkmanager.moc"
