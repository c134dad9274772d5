// FirebaseClient against tallyra-local over TLS: token exchange and refresh, REST requests, the
// subscription registry and the connectivity probe.
#include "firebasetestsupport.h"

#include "local/faultinjector.h"

#include <QTcpServer>

namespace {

// A port nobody listens on: requests to it fail at once without an answer.
QString deadUrl()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost, 0);
    return QStringLiteral("https://127.0.0.1:%1").arg(server.serverPort());
}

} // namespace

class TestFirebaseClient : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void signInAndRoundTrips();
    void replyTexts_data();
    void replyTexts();
    void subscriptionRegistryAndRefresh();
    void refreshFailuresAndWatchdog();
    void probeVerdicts_data();
    void probeVerdicts();

private:
    QByteArray customToken() const
    {
        return m_local.service()->mintCustomToken(7, 9, QStringLiteral("operator-1"));
    }

    // Only the client's key opens the token endpoints.
    LocalTestService m_local{[] {
        LocalService::Options options;
        options.apiKey = QStringLiteral("test-key");
        return options;
    }()};
};

void TestFirebaseClient::initTestCase()
{
    QVERIFY(m_local.start());
    // The console trusts extra authorities through the default configuration, so do the tests.
    QSslConfiguration::setDefaultConfiguration(m_local.sslConfiguration());
}

void TestFirebaseClient::cleanup()
{
    m_local.service()->faults()->setRefuseTokenRefresh(false);
    m_local.service()->faults()->clearPathFailures();
    m_local.service()->setTokenLifetime(3600);
}

void TestFirebaseClient::signInAndRoundTrips()
{
    auto client = makeClient(m_local);
    const QString base = kAccount + QStringLiteral("/roundtrip");
    const QString root = m_local.baseUrl();
    const QString url = root + base + ".json";

    // Before sign-in nothing carries a token, and the account refuses the request.
    QCOMPARE(client->createRequest(root, base + ".json").url().toString(), url);
    QVERIFY(client->get(base).getData().contains("error"));

    // An exchange that fails still counts as signed in, with no token and a refresh soon.
    QVERIFY(client->signInWithCustomToken("not-a-token"));
    QVERIFY(client->getToken().isEmpty() && client->isSignedIn());
    QCOMPARE(client->refreshInterval(), 5000);
    QVERIFY(client->setToken(customToken()));
    const QByteArray token = client->getToken();
    QVERIFY(!token.isEmpty() && client->isRefreshScheduled());
    // 3600 s: three quarters of the lifetime plus five seconds.
    QCOMPARE(client->refreshInterval(), 2705000);

    // The token travels twice: as the "auth" query item and as a bearer header.
    const QNetworkRequest plain = client->createRequest(root, base + ".json");
    QCOMPARE(plain.rawHeader("Authorization"), "Bearer " + token);
    QCOMPARE(plain.url().toString(), url + "?auth=" + token);
    QVERIFY(!plain.hasRawHeader("Accept"));
    const QNetworkRequest stream = client->createRequest(root, base + ".json?shallow=true", true);
    QCOMPARE(stream.url().toString(), url + "?shallow=true&auth=" + token);
    QCOMPARE(stream.rawHeader("Accept"), QByteArray("text/event-stream"));
    QCOMPARE(stream.header(QNetworkRequest::ContentTypeHeader), QVariant("application/json"));

    QCOMPARE(client->put(base + "/a", R"({"x":1})").getData(), (QJsonObject{{"x", 1}}));
    client->patch(base + "/a", R"({"y":"two"})");
    QCOMPARE(client->push(base + "/list", "1").getData().value("name").toString().size(), 20);
    QCOMPARE(client->get(base, "?shallow=true").getData(),
             (QJsonObject{{"a", true}, {"list", true}}));
    QVERIFY(client->del(base + "/list").getData().isEmpty());
    QCOMPARE(client->get(base).getData(), (QJsonObject{{"a", QJsonObject{{"x", 1}, {"y", "two"}}}}));

    // The asynchronous twins are answered to no one; their effect shows in the database.
    client->patchAsync(base + "/a", R"({"z":3})");
    client->delAsync(base + "/a/x");
    client->putAsync(base + "/b", "1");
    client->pushAsync(base + "/c", "2");
    QVERIFY(waitUntil(
        [&] {
            const QJsonObject data = client->get(base).getData();
            const QJsonObject pushed = data.value("c").toObject();
            return data.value("a") == QJsonObject{{"y", "two"}, {"z", 3}} && data.value("b") == 1
                   && pushed.size() == 1 && *pushed.begin() == 2;
        },
        5000));
}

void TestFirebaseClient::replyTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("event");
    QTest::addColumn<QJsonObject>("data");

    QTest::newRow("plain") << QString(R"({"a":{"b":1}})") << QString()
                           << QJsonObject{{"a", QJsonObject{{"b", 1}}}};
    // Of an event stream only the first event counts.
    QTest::newRow("stream") << QString("event: put\ndata: {\"path\":\"/\",\"data\":1}\n\n"
                                       "event: patch\ndata: {\"path\":\"/x\",\"data\":2}\n\n")
                            << QString("put") << QJsonObject{{"path", "/"}, {"data", 1}};
    // A plain body that mentions "data:" is read by the event rules all the same.
    QTest::newRow("mention") << QString(R"({"text":"data: {none}"})") << QString() << QJsonObject();
    QTest::newRow("empty") << QString() << QString() << QJsonObject();
}

void TestFirebaseClient::replyTexts()
{
    QFETCH(QString, text);
    auto client = makeClient(m_local);
    const FirebaseReply reply = client->parseReply(text);
    QTEST(reply.getEvent(), "event");
    QTEST(reply.getData(), "data");

    QCOMPARE(client->trimValue("event: put \r"), QByteArray("put"));
    QCOMPARE(client->trimValue("data:{\"a\":\"b:c\"}"), QByteArray("{\"a\":\"b:c\"}"));
    QCOMPARE(client->trimValue(": comment "), QByteArray(": comment"));
}

void TestFirebaseClient::subscriptionRegistryAndRefresh()
{
    auto client = makeClient(m_local);
    QVERIFY(client->setToken(customToken()));
    const QString path = kAccount + QStringLiteral("/registry");
    client->put(path, json(QJsonObject{{"k", "v"}}));

    EventRecorder first;
    EventRecorder second;
    QVERIFY(client->subscribe(path, &first, "onEvent"));
    QVERIFY(!client->subscribe(path, &first, "onEvent"));
    QVERIFY(client->subscribe(path + "/other", &second, "onEvent", "orderBy=\"$key\""));
    QCOMPARE(client->subscribedPaths().size(), 2);
    QCOMPARE(client->subscription(path)->host(), QUrl(m_local.baseUrl()).authority());
    // The streams present the client's token: the account's data comes through.
    QVERIFY(waitUntil([&] { return first.events.size() == 1 && second.events.size() == 1; }, 5000));
    QCOMPARE(first.events.first().getData().value("d"), QJsonValue(QJsonObject{{"k", "v"}}));

    // A refresh re-authenticates every stream: each reconnects and starts with a snapshot again.
    client->refreshToken();
    QCOMPARE(client->refreshInterval(), 2705000);
    QVERIFY(waitUntil([&] { return first.events.size() == 2 && second.events.size() == 2; }, 5000));
    QCOMPARE(first.names + second.names, (QStringList{"init", "init", "init", "init"}));

    QVERIFY(client->unsubscribe(path));
    QVERIFY(!client->unsubscribe(path) && !client->subscription(path));
    client->unsubscribeFromAll();
    QVERIFY(client->subscribedPaths().isEmpty());
    QVERIFY(!client->isSignedIn() && !client->getToken().isEmpty());
    QVERIFY(waitUntil([&] { return m_local.service()->realtimeSessionCount() == 0; }, 5000));

    // Without a port in the database URL the stream host is the bare host.
    FirebaseClient portless("https://db.invalid", "key", "ns", QString());
    QVERIFY(portless.subscribe("/x", &first, "onEvent"));
    QCOMPARE(portless.subscription("/x")->host(), QString("db.invalid"));
}

void TestFirebaseClient::refreshFailuresAndWatchdog()
{
    // A refused refresh is signalled once, never rescheduled, and the token is kept.
    m_local.service()->setTokenLifetime(1);
    m_local.service()->faults()->setRefuseTokenRefresh(true);
    qint64 now = 1000000;
    auto client = makeClient(m_local);
    client->setClock([&now] { return now; });
    client->setRefreshGrace(0);
    QSignalSpy errors(client.get(), &FirebaseClient::tokenRefreshError);
    QVERIFY(client->setToken(customToken()));
    const QByteArray token = client->getToken();
    // Three quarters first, in whole milliseconds: a lifetime of 1 s gives 750 ms.
    QCOMPARE(client->refreshInterval(), 750);
    QVERIFY(errors.wait(5000));
    QVERIFY(!client->isRefreshScheduled() && errors.count() == 1);
    QCOMPARE(client->getToken(), token);

    // An unanswered refresh is tried again after 5 s.
    m_local.service()->faults()->setRefuseTokenRefresh(false);
    client->setTokenUrl(deadUrl());
    client->refreshToken();
    QVERIFY(client->isRefreshScheduled() && client->refreshInterval() == 5000);
    client->setTokenUrl(m_local.baseUrl());

    // The watchdog refreshes once an hour has passed without a refresh, not a millisecond sooner.
    now += 3600 * 1000;
    client->checkLastTokenRefresh();
    QCOMPARE(client->getLastTokenRefresh().toMSecsSinceEpoch(), now - 3600 * 1000);
    now += 1;
    client->setRefreshWatchdogInterval(1);
    QVERIFY(
        waitUntil([&] { return client->getLastTokenRefresh().toMSecsSinceEpoch() == now; }, 5000));
    QCOMPARE(errors.count(), 1);

    // After log-out it stays quiet however late it is.
    client->unsubscribeFromAll();
    now += 2 * 3600 * 1000;
    client->checkLastTokenRefresh();
    QCOMPARE(client->getLastTokenRefresh().toMSecsSinceEpoch(), now - 2 * 3600 * 1000);
}

void TestFirebaseClient::probeVerdicts_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("connected");

    QTest::newRow("answered") << m_local.baseUrl() + "/probe" << 0 << true;
    QTest::newRow("status 400") << m_local.baseUrl() + "/probe" << 400 << false;
    QTest::newRow("refused") << deadUrl() + "/probe" << 0 << false;
}

// Ticks by hand: each tick's verdict is on the probe that the tick before started.
void TestFirebaseClient::probeVerdicts()
{
    QFETCH(QString, url);
    QFETCH(int, status);
    if (status > 0)
        m_local.service()->faults()->setPathFailure("/probe", status);
    auto client = makeClient(m_local);
    client->setProbeUrl(url);
    QSignalSpy states(client.get(), &FirebaseClient::connectionChanged);
    QSignalSpy answers(client->findChild<QNetworkAccessManager *>(),
                       &QNetworkAccessManager::finished);

    client->checkConnection();
    QVERIFY(answers.wait(5000));
    client->checkConnection();
    // A probe not answered by the next tick is a loss too, and the tick after probes afresh.
    client->checkConnection();
    QFETCH(bool, connected);
    QCOMPARE(QList<QVariantList>(states), (QList<QVariantList>{{true}, {connected}, {false}}));
}

QTEST_GUILESS_MAIN(TestFirebaseClient)
#include "tst_firebaseclient.moc"
