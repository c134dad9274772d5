// FirebaseClient against tallyra-local over TLS: token exchange and refresh, REST requests, the
// subscription registry and the connectivity probe.
#include "localtestsupport.h"

#include "local/faultinjector.h"
#include "network/firebaseclient.h"
#include "network/firebasesubscription.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTcpServer>
#include <QtTest>

namespace {

const QString kAccount = QStringLiteral("/services/7/accounts/9");
const QString kApiKey = QStringLiteral("test-key");

QByteArray json(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// A port nobody listens on: requests to it fail at once without an answer.
quint16 deadPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost, 0);
    const quint16 port = server.serverPort();
    server.close();
    return port;
}

} // namespace

class EventRecorder : public QObject
{
    Q_OBJECT

public:
    QList<FirebaseReply> events;
    int count(const QString &event) const
    {
        int n = 0;
        for (const FirebaseReply &reply : events)
            n += reply.getEvent() == event ? 1 : 0;
        return n;
    }

public slots:
    void onEvent(FirebaseReply reply) { events.append(reply); }
};

class TestFirebaseClient : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void signInAndRoundTrips();
    void replyTextsFollowTheEventRules();
    void subscriptionRegistry();
    void refreshReauthenticatesEveryStream();
    void refusedRefreshSignalsOnceAndStops();
    void unansweredRefreshIsRetried();
    void watchdogRefreshesAfterAnHourWithoutOne();
    void probeReportsLossAndRecovery();

private:
    std::unique_ptr<FirebaseClient> makeClient() const;
    QByteArray customToken() const
    {
        return m_local.service()->mintCustomToken(7, 9, QStringLiteral("operator-1"));
    }

    LocalTestService m_local{[] {
        LocalService::Options options;
        options.apiKey = kApiKey;
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
    m_local.service()->faults()->setReplyDelay(0);
    m_local.service()->faults()->clearPathFailures();
    m_local.service()->setTokenLifetime(3600);
}

std::unique_ptr<FirebaseClient> TestFirebaseClient::makeClient() const
{
    auto client = std::make_unique<FirebaseClient>(m_local.baseUrl(),
                                                   kApiKey,
                                                   QStringLiteral("tallyra-local"),
                                                   QStringLiteral("auth.example"));
    client->setIdentityUrl(m_local.baseUrl());
    client->setTokenUrl(m_local.baseUrl());
    client->setProbeUrl(m_local.baseUrl() + QStringLiteral("/probe"));
    return client;
}

void TestFirebaseClient::signInAndRoundTrips()
{
    auto client = makeClient();
    const QString base = kAccount + QStringLiteral("/roundtrip");

    // Before sign-in nothing carries a token, and the account refuses the request.
    QNetworkRequest anonymous = client->createRequest(m_local.baseUrl(), base + ".json");
    QVERIFY(!anonymous.hasRawHeader("Authorization"));
    QVERIFY(!anonymous.url().hasQuery());
    QVERIFY(client->get(base).getData().contains("error"));

    // An exchange that fails still counts as signed in, with no token and a refresh soon.
    QVERIFY(client->signInWithCustomToken("not-a-token"));
    QVERIFY(client->getToken().isEmpty());
    QVERIFY(client->isSignedIn());
    QCOMPARE(client->refreshInterval(), 5000);

    QVERIFY(client->setToken(customToken()));
    QVERIFY(!client->getToken().isEmpty());
    // 3600 s: three quarters of the lifetime plus five seconds.
    QCOMPARE(client->refreshInterval(), 2705000);
    QVERIFY(client->isRefreshScheduled());

    // The token travels twice: as the "auth" query item and as a bearer header.
    const QNetworkRequest plain = client->createRequest(m_local.baseUrl(), base + ".json");
    QCOMPARE(plain.rawHeader("Authorization"), QByteArray("Bearer " + client->getToken()));
    QCOMPARE(QUrlQuery(plain.url()).queryItemValue("auth"), QString::fromUtf8(client->getToken()));
    QVERIFY(plain.url().toString().contains(".json?auth="));
    const QNetworkRequest queried = client->createRequest(m_local.baseUrl(),
                                                          base + ".json?shallow=true",
                                                          true);
    QVERIFY(queried.url().toString().contains(".json?shallow=true&auth="));
    QCOMPARE(queried.rawHeader("Accept"), QByteArray("text/event-stream"));
    QCOMPARE(queried.header(QNetworkRequest::ContentTypeHeader).toString(),
             QString("application/json"));

    FirebaseReply reply = client->put(base + "/a", json({{"x", 1}}));
    QVERIFY(reply.getEvent().isEmpty());
    QCOMPARE(reply.getData(), (QJsonObject{{"x", 1}}));
    QCOMPARE(client->patch(base + "/a", json({{"y", "two"}})).getData(),
             (QJsonObject{{"y", "two"}}));
    QCOMPARE(client->get(base + "/a").getData(), (QJsonObject{{"x", 1}, {"y", "two"}}));

    const QString name
        = client->push(base + "/list", json({{"n", 1}})).getData().value("name").toString();
    QCOMPARE(name.size(), 20);
    QCOMPARE(client->get(base + "/list/" + name).getData(), (QJsonObject{{"n", 1}}));
    QCOMPARE(client->get(base, "?shallow=true").getData(),
             (QJsonObject{{"a", true}, {"list", true}}));

    QVERIFY(client->del(base + "/a").getData().isEmpty());
    QVERIFY(client->get(base + "/a").getData().isEmpty());

    // Another account's data stays out of reach.
    QVERIFY(client->get("/services/7/accounts/10").getData().contains("error"));

    // The asynchronous twins are not answered to anyone; their effect shows in the database.
    client->putAsync(base + "/b", json({{"v", 1}}));
    QVERIFY(waitUntil([&] { return !client->get(base + "/b").getData().isEmpty(); }, 5000));
    client->patchAsync(base + "/b", json({{"w", 2}}));
    QVERIFY(waitUntil([&] { return client->get(base + "/b").getData().contains("w"); }, 5000));
    client->pushAsync(base + "/pushed", json({{"p", true}}));
    QVERIFY(waitUntil([&] { return client->get(base + "/pushed").getData().size() == 1; }, 5000));
    client->delAsync(base + "/b");
    QVERIFY(waitUntil([&] { return client->get(base + "/b").getData().isEmpty(); }, 5000));
    client->sendRequestAsync(FirebaseClient::OPTIONS, m_local.baseUrl(), base + ".json");

    client->del(base);
}

void TestFirebaseClient::replyTextsFollowTheEventRules()
{
    auto client = makeClient();

    const FirebaseReply plain = client->parseReply(R"({"a":{"b":1}})");
    QVERIFY(plain.getEvent().isEmpty());
    QCOMPARE(plain.getData(), (QJsonObject{{"a", QJsonObject{{"b", 1}}}}));

    // An event stream: only the first event counts.
    const FirebaseReply stream = client->parseReply(
        "event: put\ndata: {\"path\":\"/\",\"data\":1}\n\n"
        "event: patch\ndata: {\"path\":\"/x\",\"data\":2}\n\n");
    QCOMPARE(stream.getEvent(), QString("put"));
    QCOMPARE(stream.getData(), (QJsonObject{{"path", "/"}, {"data", 1}}));

    // A plain body that mentions "data:" is read by the event rules all the same.
    const FirebaseReply mention = client->parseReply(R"({"text":"data: {none}"})");
    QVERIFY(mention.getEvent().isEmpty());
    QVERIFY(mention.getData().isEmpty());

    QVERIFY(client->parseReply(QString()).getData().isEmpty());
    QVERIFY(client->parseReply("<html>gateway</html>").getData().isEmpty());

    QCOMPARE(client->trimValue("event: put \r"), QByteArray("put"));
    QCOMPARE(client->trimValue("data:{\"a\":\"b:c\"}"), QByteArray("{\"a\":\"b:c\"}"));
    QCOMPARE(client->trimValue(": comment "), QByteArray(": comment"));
}

void TestFirebaseClient::subscriptionRegistry()
{
    auto client = makeClient();
    QVERIFY(client->setToken(customToken()));
    const QString path = kAccount + QStringLiteral("/registry");
    client->put(path, json({{"k", "v"}}));

    EventRecorder recorder;
    QVERIFY(client->subscribe(path, &recorder, "onEvent"));
    QVERIFY(!client->subscribe(path, &recorder, "onEvent"));
    QCOMPARE(client->subscribedPaths(), QStringList{path});
    FirebaseSubscription *subscription = client->subscription(path);
    QVERIFY(subscription);
    QCOMPARE(subscription->host(), QUrl(m_local.baseUrl()).authority());
    QVERIFY(waitUntil([&] { return recorder.events.size() == 1; }, 5000));
    QCOMPARE(recorder.events.first().getEvent(), QString("init"));
    QCOMPARE(recorder.events.first().getData().value("d").toObject(), (QJsonObject{{"k", "v"}}));
    QCOMPARE(m_local.service()->realtimeSessionCount(), 1);

    QVERIFY(client->subscribe(path + "/other", &recorder, "onEvent", "orderBy=\"$key\""));
    QVERIFY(waitUntil([&] { return m_local.service()->realtimeSessionCount() == 2; }, 5000));

    QVERIFY(client->unsubscribe(path));
    QVERIFY(!client->unsubscribe(path));
    QVERIFY(!client->subscription(path));
    client->unsubscribeFromAll();
    QVERIFY(client->subscribedPaths().isEmpty());
    QVERIFY(!client->isSignedIn());
    QVERIFY(!client->getToken().isEmpty());
    QVERIFY(waitUntil([&] { return m_local.service()->realtimeSessionCount() == 0; }, 5000));

    // Nothing reaches the receiver once the streams are gone.
    const int delivered = recorder.events.size();
    client->put(path, json({{"k", "w"}}));
    QTest::qWait(200);
    QCOMPARE(recorder.events.size(), delivered);

    // Without a port in the database URL the stream host is the bare host.
    FirebaseClient portless("https://db.invalid", kApiKey, "ns", QString());
    QVERIFY(portless.subscribe("/x", &recorder, "onEvent"));
    QCOMPARE(portless.subscription("/x")->host(), QString("db.invalid"));
}

void TestFirebaseClient::refreshReauthenticatesEveryStream()
{
    // Tokens live 4 s and are renewed every 1.5 s: the service cuts off a stream whose token
    // expires, so the streams keep delivering only if every refresh re-authenticates them.
    m_local.service()->setTokenLifetime(4);
    auto client = makeClient();
    client->setRefreshGrace(-1500);
    QVERIFY(client->setToken(customToken()));
    QCOMPARE(client->refreshInterval(), 1500);
    const QByteArray first = client->getToken();

    EventRecorder chats;
    EventRecorder users;
    QVERIFY(client->subscribe(kAccount + "/refresh/chats", &chats, "onEvent"));
    QVERIFY(client->subscribe(kAccount + "/refresh/users", &users, "onEvent"));
    QVERIFY(waitUntil([&] { return chats.count("init") == 1 && users.count("init") == 1; }, 5000));

    // Well past the first token's expiry (at most 4 s after sign-in).
    QVERIFY(waitUntil([&] { return chats.count("init") >= 4 && users.count("init") >= 4; }, 10000));
    QVERIFY(client->getToken() != first);
    QCOMPARE(client->subscription(kAccount + "/refresh/chats")->requestNumber() % 3, quint64(1));

    client->put(kAccount + "/refresh/chats/c1", json({{"status", "open"}}));
    client->put(kAccount + "/refresh/users/u1", json({{"name", "Ann"}}));
    QVERIFY(waitUntil([&] { return chats.count("put") == 1 && users.count("put") == 1; }, 5000));
    QCOMPARE(chats.events.last().getData().value("p").toString(), QString("/c1"));
    QCOMPARE(users.events.last().getData().value("p").toString(), QString("/u1"));
    // The dates of the events come from the refreshed token.
    QVERIFY(qAbs(chats.events.last().getDate().secsTo(QDateTime::currentDateTime())) < 10);
    // An expiry notice from the service would have come through as "keep-live".
    QCOMPARE(chats.count("keep-live") + users.count("keep-live"), 0);

    client->del(kAccount + "/refresh");
}

void TestFirebaseClient::refusedRefreshSignalsOnceAndStops()
{
    m_local.service()->setTokenLifetime(1);
    m_local.service()->faults()->setRefuseTokenRefresh(true);
    auto client = makeClient();
    client->setRefreshGrace(0);
    QSignalSpy errors(client.get(), &FirebaseClient::tokenRefreshError);
    QVERIFY(client->setToken(customToken()));
    const QByteArray token = client->getToken();
    QCOMPARE(client->refreshInterval(), 750);

    QVERIFY(errors.wait(5000));
    QVERIFY(!client->isRefreshScheduled());
    QTest::qWait(1500);
    QCOMPARE(errors.count(), 1);
    QCOMPARE(client->getToken(), token);
}

void TestFirebaseClient::unansweredRefreshIsRetried()
{
    auto client = makeClient();
    QVERIFY(client->setToken(customToken()));
    const QDateTime signedInAt = client->getLastTokenRefresh();
    QSignalSpy errors(client.get(), &FirebaseClient::tokenRefreshError);

    client->setTokenUrl(QStringLiteral("https://127.0.0.1:%1").arg(deadPort()));
    client->refreshToken();
    QCOMPARE(client->refreshInterval(), 5000);
    QVERIFY(client->isRefreshScheduled());

    client->setRefreshRetryDelay(100);
    client->refreshToken();
    QCOMPARE(client->refreshInterval(), 100);
    client->setTokenUrl(m_local.baseUrl());
    QVERIFY(waitUntil([&] { return client->getLastTokenRefresh() > signedInAt; }, 5000));
    QCOMPARE(client->refreshInterval(), 2705000);
    QCOMPARE(errors.count(), 0);

    // A refresh dates the token by the server's clock (its Date header, whole seconds) for every
    // stream; a stream that never connected keeps that date, as nothing overwrites it.
    FirebaseClient offline(QStringLiteral("https://127.0.0.1:%1").arg(deadPort()),
                           kApiKey,
                           QStringLiteral("tallyra-local"),
                           QString());
    offline.setIdentityUrl(m_local.baseUrl());
    offline.setTokenUrl(m_local.baseUrl());
    // The local clock stands still at the epoch, so a date near now can only be the server's.
    offline.setClock([] { return qint64(0); });
    offline.setToken(customToken());
    EventRecorder recorder;
    QVERIFY(offline.subscribe("/x", &recorder, "onEvent"));
    QTest::qWait(100);
    offline.refreshToken();
    QVERIFY(offline.subscription("/x")->isStopped());
    const QDateTime date = offline.subscription("/x")->authTime();
    QVERIFY(date.isValid());
    QCOMPARE(date.time().msec(), 0);
    QVERIFY(qAbs(date.secsTo(QDateTime::currentDateTime())) < 10);
}

void TestFirebaseClient::watchdogRefreshesAfterAnHourWithoutOne()
{
    qint64 skew = 0;
    auto client = makeClient();
    client->setClock([&skew] { return QDateTime::currentMSecsSinceEpoch() + skew; });
    client->setRefreshWatchdogInterval(20);

    // Not signed in: no refresh however late it is.
    skew = 2 * 3600 * 1000;
    QTest::qWait(100);
    QVERIFY(!client->getLastTokenRefresh().isValid());

    skew = 0;
    QVERIFY(client->setToken(customToken()));
    const QDateTime signedInAt = client->getLastTokenRefresh();
    EventRecorder recorder;
    QVERIFY(client->subscribe(kAccount + "/watchdog", &recorder, "onEvent"));
    QVERIFY(waitUntil([&] { return recorder.count("init") == 1; }, 5000));

    skew = 3600 * 1000 - 2000;
    QTest::qWait(150);
    QCOMPARE(client->getLastTokenRefresh(), signedInAt);

    skew = 3600 * 1000 + 1000;
    QVERIFY(waitUntil([&] { return client->getLastTokenRefresh() != signedInAt; }, 5000));
    QVERIFY(client->getLastTokenRefresh().msecsTo(QDateTime::currentDateTime()) < -3500000);
    // The refresh re-authenticated the stream, once.
    QVERIFY(waitUntil([&] { return recorder.count("init") == 2; }, 5000));
    QTest::qWait(150);
    QCOMPARE(recorder.count("init"), 2);

    // After log-out the watchdog stays quiet.
    client->unsubscribeFromAll();
    const QDateTime loggedOutAt = client->getLastTokenRefresh();
    skew += 2 * 3600 * 1000;
    QTest::qWait(150);
    QCOMPARE(client->getLastTokenRefresh(), loggedOutAt);
}

void TestFirebaseClient::probeReportsLossAndRecovery()
{
    auto client = makeClient();
    QList<bool> states;
    connect(client.get(), &FirebaseClient::connectionChanged, this, [&](bool connected) {
        states.append(connected);
    });
    client->setConnectionCheckInterval(200);

    // Reported on every tick, not only on change.
    QVERIFY(waitUntil([&] { return states.size() >= 3; }, 5000));
    QVERIFY(!states.contains(false));

    // An error status counts as loss on the next tick; the tick after it probes afresh.
    m_local.service()->faults()->setPathFailure("/probe", 503);
    states.clear();
    QVERIFY(waitUntil([&] { return states.contains(false); }, 5000));
    m_local.service()->faults()->clearPathFailures();
    states.clear();
    QVERIFY(waitUntil([&] { return states.size() >= 2 && states.last(); }, 5000));

    // A probe that does not finish within the interval counts as loss.
    m_local.service()->faults()->setReplyDelay(600);
    states.clear();
    QVERIFY(waitUntil([&] { return states.size() >= 3; }, 5000));
    QVERIFY(!states.mid(1).contains(true));
    m_local.service()->faults()->setReplyDelay(0);
    QVERIFY(waitUntil([&] { return states.size() >= 2 && states.last(); }, 5000));

    // Unknown page and a host that refuses connections.
    client->setProbeUrl(m_local.baseUrl() + "/no-such-page");
    states.clear();
    QVERIFY(waitUntil([&] { return states.size() >= 3; }, 5000));
    QCOMPARE(states.mid(1), (QList<bool>{false, false}));
    client->setProbeUrl(QStringLiteral("https://127.0.0.1:%1/").arg(deadPort()));
    states.clear();
    QVERIFY(waitUntil([&] { return states.size() >= 3; }, 5000));
    QCOMPARE(states.mid(1), (QList<bool>{false, false}));
}

QTEST_GUILESS_MAIN(TestFirebaseClient)
#include "tst_firebaseclient.moc"
