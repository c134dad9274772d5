// FirebaseClient and FirebaseSubscription against tallyra-local over TLS: token exchange and
// refresh, REST requests, the subscription registry, the connectivity probe and live events;
// and from a scripted server the wire cases the service never produces (broken frame counts,
// malformed JSON, auth times, refused opens), and how the streams weigh in the connection state.
#include "localtestsupport.h"

#include "local/faultinjector.h"
#include "local/tlscertificates.h"
#include "network/firebaseclient.h"
#include "network/firebasesubscription.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTcpServer>
#include <QWebSocket>
#include <QWebSocketCorsAuthenticator>
#include <QWebSocketServer>
#include <QtTest>

#include <memory>

namespace {

const QString kAccount = QStringLiteral("/services/7/accounts/9");

// Compact JSON of any value, as a request body.
QByteArray json(const QJsonValue &value)
{
    return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact).mid(1).chopped(1);
}

// A server push as the database sends it.
QString pushText(const QString &action, const QString &path, const QJsonValue &data)
{
    const QJsonObject body{{"a", action}, {"b", QJsonObject{{"p", path}, {"d", data}}}};
    return QString::fromUtf8(
        QJsonDocument({{"t", "d"}, {"d", body}}).toJson(QJsonDocument::Compact));
}

// A port nobody listens on: requests to it fail at once without an answer.
QString deadUrl()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost, 0);
    return QStringLiteral("https://127.0.0.1:%1").arg(server.serverPort());
}

// Signs in, refreshes and probes at the local service; streams go to databaseUrl when given.
std::unique_ptr<FirebaseClient> makeClient(const LocalTestService &local,
                                           QString databaseUrl = QString())
{
    if (databaseUrl.isEmpty())
        databaseUrl = local.baseUrl();
    auto client = std::make_unique<FirebaseClient>(databaseUrl, "test-key", "tallyra-local", "");
    client->setIdentityUrl(local.baseUrl());
    client->setTokenUrl(local.baseUrl());
    client->setProbeUrl(local.baseUrl() + QStringLiteral("/probe"));
    // The probe's own ticks would come between a test's: tests tick by hand.
    client->setConnectionCheckInterval(24 * 3600 * 1000);
    // Spies wait for the probe's answers.
    qRegisterMetaType<QNetworkReply *>();
    return client;
}

} // namespace

class EventRecorder : public QObject
{
    Q_OBJECT

public:
    QList<FirebaseReply> events;
    QStringList names;

public slots:
    void onEvent(FirebaseReply reply)
    {
        events.append(reply);
        names.append(reply.getEvent());
    }
};

// A scripted realtime server over TLS: records what each connection sent, sends what a test
// tells it to, and refuses handshakes on demand as an unreachable database fails them.
class FakeRealtimeServer : public QWebSocketServer
{
public:
    explicit FakeRealtimeServer(const QSslConfiguration &configuration)
        : QWebSocketServer(QStringLiteral("fake"), SecureMode)
    {
        setSslConfiguration(configuration);
        connect(this, &QWebSocketServer::originAuthenticationRequired, this, [this](auto *handshake) {
            handshake->setAllowed(!refusing);
            refusals += refusing ? 1 : 0;
        });
        connect(this, &QWebSocketServer::newConnection, this, [this] {
            sockets.append(nextPendingConnection());
            received.append(QStringList());
            connect(sockets.last(),
                    &QWebSocket::textMessageReceived,
                    this,
                    [this, i = sockets.size() - 1](const QString &t) { received[i].append(t); });
        });
    }

    QString host() const { return QStringLiteral("127.0.0.1:%1").arg(serverPort()); }
    void send(const QString &message) { sockets.last()->sendTextMessage(message); }

    QList<QWebSocket *> sockets;
    QList<QStringList> received;
    bool refusing = false;
    int refusals = 0;
};

class TestFirebaseClient : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_local.start());
        // The console trusts extra authorities through the default configuration, so do the tests.
        QSslConfiguration::setDefaultConfiguration(m_local.sslConfiguration());
        m_client = makeClient(m_local);
        QVERIFY(m_client->setToken(customToken()));

        // The scripted server presents the local service's certificate, which the client trusts.
        TlsCertificates certificates(m_local.dataDirectory());
        QString error;
        QVERIFY2(certificates.prepare(&error), qPrintable(error));
        m_fake = std::make_unique<FakeRealtimeServer>(certificates.serverConfiguration());
        QVERIFY(m_fake->listen(QHostAddress::LocalHost, 0));
    }

    void cleanup()
    {
        m_local.service()->faults()->setRefuseTokenRefresh(false);
        m_local.service()->faults()->clearPathFailures();
        m_local.service()->setTokenLifetime(3600);
        m_client->unsubscribeFromAll();
        m_client->del(kAccount);
        m_fake->refusing = false;
        m_recorder.events.clear();
        m_recorder.names.clear();
    }

    // Against tallyra-local.
    void signInAndRoundTrips()
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
        const QNetworkRequest stream = client->createRequest(root,
                                                             base + ".json?shallow=true",
                                                             true);
        QCOMPARE(stream.url().toString(), url + "?shallow=true&auth=" + token);
        QCOMPARE(stream.rawHeader("Accept"), QByteArray("text/event-stream"));
        QCOMPARE(stream.header(QNetworkRequest::ContentTypeHeader), QVariant("application/json"));

        QCOMPARE(client->put(base + "/a", R"({"x":1})").getData(), (QJsonObject{{"x", 1}}));
        client->patch(base + "/a", R"({"y":"two"})");
        QCOMPARE(client->push(base + "/list", "1").getData().value("name").toString().size(), 20);
        QCOMPARE(client->get(base, "?shallow=true").getData(),
                 (QJsonObject{{"a", true}, {"list", true}}));
        QVERIFY(client->del(base + "/list").getData().isEmpty());
        QCOMPARE(client->get(base).getData(),
                 (QJsonObject{{"a", QJsonObject{{"x", 1}, {"y", "two"}}}}));

        // The asynchronous twins are answered to no one; their effect shows in the database.
        client->patchAsync(base + "/a", R"({"z":3})");
        client->delAsync(base + "/a/x");
        client->putAsync(base + "/b", "1");
        client->pushAsync(base + "/c", "2");
        QVERIFY(waitUntil(
            [&] {
                const QJsonObject data = client->get(base).getData();
                const QJsonObject pushed = data.value("c").toObject();
                return data.value("a") == QJsonObject{{"y", "two"}, {"z", 3}}
                       && data.value("b") == 1 && pushed.size() == 1 && *pushed.begin() == 2;
            },
            5000));
    }

    void replyTexts_data()
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
        QTest::newRow("mention") << QString(R"({"text":"data: {none}"})") << QString()
                                 << QJsonObject();
        QTest::newRow("empty") << QString() << QString() << QJsonObject();
    }
    void replyTexts()
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

    void subscriptionRegistryAndRefresh()
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
        QVERIFY(
            waitUntil([&] { return first.events.size() == 1 && second.events.size() == 1; }, 5000));
        QCOMPARE(first.events.first().getData().value("d"), QJsonValue(QJsonObject{{"k", "v"}}));

        // A refresh re-authenticates every stream: each reconnects and starts with a snapshot again.
        client->refreshToken();
        QCOMPARE(client->refreshInterval(), 2705000);
        QVERIFY(
            waitUntil([&] { return first.events.size() == 2 && second.events.size() == 2; }, 5000));
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

    void refreshFailuresAndWatchdog()
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
        QVERIFY(waitUntil([&] { return client->getLastTokenRefresh().toMSecsSinceEpoch() == now; },
                          5000));
        QCOMPARE(errors.count(), 1);

        // After log-out it stays quiet however late it is.
        client->unsubscribeFromAll();
        now += 2 * 3600 * 1000;
        client->checkLastTokenRefresh();
        QCOMPARE(client->getLastTokenRefresh().toMSecsSinceEpoch(), now - 2 * 3600 * 1000);
    }

    void probeVerdicts_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("connected");

        QTest::newRow("answered") << m_local.baseUrl() + "/probe" << 0 << true;
        QTest::newRow("status 400") << m_local.baseUrl() + "/probe" << 400 << false;
        QTest::newRow("refused") << deadUrl() + "/probe" << 0 << false;
    }
    // Ticks by hand: each tick's verdict is on the probe that the tick before started.
    void probeVerdicts()
    {
        QFETCH(QString, url);
        QFETCH(int, status);
        if (status > 0)
            m_local.service()->faults()->setPathFailure("/probe", status);
        auto client = makeClient(m_local);
        client->setProbeUrl(url);
        QSignalSpy states(client.get(), &FirebaseClient::connectionChanged);
        // The client makes its network access manager at its first request.
        client->checkConnection();
        QSignalSpy answers(client->findChild<QNetworkAccessManager *>(),
                           &QNetworkAccessManager::finished);
        QVERIFY(answers.wait(5000));
        client->checkConnection();
        // A probe not answered by the next tick is a loss too, and the tick after probes afresh.
        client->checkConnection();
        QFETCH(bool, connected);
        QCOMPARE(QList<QVariantList>(states), (QList<QVariantList>{{true}, {connected}, {false}}));
    }

    void eventsInOrderAndASnapshotAfterADrop()
    {
        const QString chats = kAccount + "/chats";
        const QJsonObject snapshot{{"a", QJsonObject{{"status", "open"}}}};
        m_client->put(chats, json(snapshot));
        QVERIFY(m_client->subscribe(chats, &m_recorder, "onEvent"));
        QVERIFY(waitUntil([&] { return m_recorder.events.size() == 1; }, 5000));
        // The date is the token's issue time that the service reported, in whole seconds.
        const QDateTime date = m_recorder.events.first().getDate();
        QVERIFY(date.isValid() && qAbs(date.secsTo(QDateTime::currentDateTime())) < 60);

        m_client->put(chats + "/a/status", json("read"));
        m_client->patch(chats + "/a", json(QJsonObject{{"unreadCount", 0}}));
        m_client->put(chats, json(QJsonObject{{"b", 1}}));
        // Elsewhere in the account: not delivered; above the path: the whole subtree.
        m_client->put(kAccount + "/users/u1", json(QJsonObject{{"name", "Ann"}}));
        m_client->put(kAccount, json(QJsonObject{{"chats", QJsonObject{{"c", 1}}}}));
        m_client->del(chats + "/c");
        QVERIFY(waitUntil([&] { return m_recorder.events.size() == 6; }, 5000));
        QCOMPARE(m_recorder.names, (QStringList{"init", "put", "patch", "put", "put", "put"}));
        const QList<QJsonObject> expected{{{"p", ""}, {"d", snapshot}},
                                          {{"p", "/a/status"}, {"d", "read"}},
                                          {{"p", "/a"}, {"d", QJsonObject{{"unreadCount", 0}}}},
                                          {{"p", ""}, {"d", QJsonObject{{"b", 1}}}},
                                          {{"p", ""}, {"d", QJsonObject{{"c", 1}}}},
                                          {{"p", "/c"}, {"d", QJsonValue::Null}}};
        for (int i = 0; i < expected.size(); ++i)
            QCOMPARE(m_recorder.events.at(i).getData(), expected.at(i));

        // A write while the stream is down shows in the snapshot after the reconnect; this one is
        // about 1 MB, far above the 16,384 characters of one frame.
        QJsonObject big;
        for (int i = 0; i < 1000; ++i)
            big.insert("m" + QString::number(i), QString(1000, QChar(u'ж')));
        FirebaseSubscription *subscription = m_client->subscription(chats);
        subscription->setReconnectInterval(60000);
        m_local.service()->faults()->dropStreamsNow();
        QVERIFY(waitUntil([&] { return m_local.service()->realtimeSessionCount() == 0; }, 5000));
        m_client->put(chats + "/big", json(big));
        subscription->setReconnectInterval(50);
        QVERIFY(waitUntil([&] { return m_recorder.events.size() == 7; }, 10000));
        QCOMPARE(m_recorder.names.last(), QString("init"));
        QCOMPARE(m_recorder.events.last().getData().value("d"),
                 QJsonValue(QJsonObject{{"big", big}}));
    }

    // Against the scripted server.
    void opensAreRetriedAndKeptAlive()
    {
        const QString path = QStringLiteral("/services/1/accounts/2/chats");
        auto subscription = fakeSubscription(path);
        // Not started: the token is only stored.
        QVERIFY(subscription->isStopped());
        // Long enough not to fire by itself here; a coarse timer may take 5 % off either way.
        constexpr int kKeepAlive = 10000;
        subscription->setKeepAliveInterval(kKeepAlive);

        // Offline at sign-in: the first open fails, and is tried again until it succeeds.
        m_fake->refusing = true;
        const int first = m_fake->sockets.size();
        subscription->listen();
        QVERIFY(waitUntil([&] { return m_fake->refusals >= 2; }, 5000));
        m_fake->refusing = false;
        QVERIFY(waitUntil([&] { return sent(first) == 3; }, 5000));
        const QUrl url = m_fake->sockets.at(first)->requestUrl();
        QCOMPARE(url.path() + "?" + url.query(), QString("/.ws?v=5&ns=fake-ns"));

        const auto requests = [&](int connection) {
            QJsonArray list;
            for (const QString &text : m_fake->received.value(connection))
                list.append(QJsonDocument::fromJson(text.toUtf8()).object());
            return list;
        };
        // Hello, auth with the token and listen, numbered on from the previous connection's.
        const auto expected = [&](int r, const QString &token) {
            const QString text = R"([{"t":"d","d":{"r":%1,"a":"s","b":{"c":{"sdk.js.4-6-1":1}}}},)"
                                 R"({"t":"d","d":{"r":%2,"a":"auth","b":{"cred":"%3"}}},)"
                                 R"({"t":"d","d":{"r":%4,"a":"q","b":{"p":"%5","h":""}}}])";
            const QString n[] = {QString::number(r), QString::number(r + 1), QString::number(r + 2)};
            return QJsonDocument::fromJson(text.arg(n[0], n[1], token, n[2], path).toUtf8()).array();
        };
        QCOMPARE(requests(first), expected(1, "token-1"));

        // Any traffic postpones the keep-alive: the time left goes back up to a whole interval.
        const auto left = [&] { return subscription->keepAliveRemainingTime(); };
        QVERIFY(waitUntil([&] { return left() < kKeepAlive - 2000; }, 5000));
        m_fake->send(R"({"t":"c","d":{"t":"o","d":null}})");
        QVERIFY(waitUntil([&] { return left() > kKeepAlive - 2000; }, 3000));
        // After silence a "0" goes out, and again after each silence.
        subscription->setKeepAliveInterval(20);
        QVERIFY(waitUntil([&] { return sent(first) >= 5; }, 5000));
        QCOMPARE(m_fake->received.at(first).mid(3, 2), (QStringList{"0", "0"}));

        // A new token reopens the stream; a reopen that fails is tried again as well.
        subscription->setKeepAliveInterval(kKeepAlive);
        m_fake->refusing = true;
        const int refused = m_fake->refusals;
        subscription->setToken(QStringLiteral("token-2"));
        QVERIFY(waitUntil([&] { return m_fake->refusals >= refused + 2; }, 5000));
        m_fake->refusing = false;
        QVERIFY(waitUntil([&] { return sent(first + 1) == 3; }, 5000));
        QCOMPARE(requests(first + 1), expected(4, "token-2"));

        // Shut down on purpose: stopped for good, no keep-alive due.
        subscription->shutdown();
        QVERIFY(subscription->isStopped() && left() == -1);
    }

    void framesOddMessagesAndCuts()
    {
        const QString path = QStringLiteral("services/1/accounts/2/chats");
        auto subscription = fakeSubscription("/" + path);
        subscription->setAuthTime(QDateTime::fromMSecsSinceEpoch(1000));
        const int connection = m_fake->sockets.size();
        subscription->listen();
        QVERIFY(waitUntil([&] { return sent(connection) == 3; }, 5000));

        // The very first message is content whatever it looks like: "2" is no frame count here.
        m_fake->send("2");
        m_fake->send(pushText("d", path, QJsonObject{{"a", 1}}));
        // The answer to the auth request delivers nothing; its auth_time (seconds) dates what follows.
        m_fake->send(R"({"t":"d","d":{"r":2,"b":{"s":"ok","d":{"auth":{"token":)"
                     R"({"auth_time":1700000000,"exp":1700003600}},"expires":1700003600}}}})");
        // Control messages, pushes without data and malformed JSON are dropped.
        m_fake->send(R"({"t":"c","d":{"t":"h","d":{"ts":1}}})");
        m_fake->send(R"({"t":"d","d":{"a":"c","b":{"p":"x"}}})");
        m_fake->send(R"({"t":"d","d":{"a":"d","b":{"p":"x","d":)");
        // A later count announces the frames of one message, joined before parsing.
        const QString long40k(40000, QLatin1Char('x'));
        const QString framed = pushText("d", path + "/b/status", long40k);
        for (const QString &frame : {QString("3"), framed.left(16384), framed.mid(16384, 16384)})
            m_fake->send(frame);
        m_fake->send(framed.mid(32768));
        m_fake->send(pushText("m", path + "/a", QJsonObject{{"n", 2}}));
        // Any other action that carries data is a "keep-live".
        m_fake->send(R"({"t":"d","d":{"a":"ac","b":{"s":"expired_token","d":"gone"}}})");

        QVERIFY(waitUntil([&] { return m_recorder.events.size() == 4; }, 5000));
        QCOMPARE(m_recorder.names, (QStringList{"init", "put", "patch", "keep-live"}));
        const auto data = [&](int i) { return m_recorder.events.at(i).getData(); };
        QCOMPARE(data(0), (QJsonObject{{"p", ""}, {"d", QJsonObject{{"a", 1}}}}));
        QCOMPARE(data(1), (QJsonObject{{"p", "/b/status"}, {"d", long40k}}));
        QCOMPARE(data(2), (QJsonObject{{"p", "/a"}, {"d", QJsonObject{{"n", 2}}}}));
        QCOMPARE(data(3), (QJsonObject{{"s", "expired_token"}, {"d", "gone"}, {"p", ""}}));
        QCOMPARE(m_recorder.events.at(0).getDate(), QDateTime::fromMSecsSinceEpoch(1000));
        QCOMPARE(m_recorder.events.at(1).getDate(), QDateTime::fromSecsSinceEpoch(1700000000));

        // The slot is called from the event loop, never inside the message handler.
        subscription->onTextMessage(pushText("d", path + "/z", 1));
        QCOMPARE(m_recorder.events.size(), 4);
        QVERIFY(waitUntil([&] { return m_recorder.events.size() == 5; }, 5000));

        // Four frames announced, two sent, then the connection ends (after they have gone out).
        const QString cut = pushText("d", path + "/v", 2);
        for (const QString &frame : {QString("4"), cut.left(10), cut.mid(10, 10)})
            m_fake->send(frame);
        m_fake->sockets.last()->close();
        QVERIFY(waitUntil([&] { return sent(connection + 1) == 3; }, 5000));
        // The new connection's messages are its own: a snapshot, then a push.
        m_fake->send(pushText("d", path, QJsonObject{{"v", 3}}));
        m_fake->send(pushText("d", path + "/w", 5));
        QVERIFY(waitUntil([&] { return m_recorder.events.size() == 7; }, 5000));
        QCOMPARE(m_recorder.names.mid(5), (QStringList{"init", "put"}));
        QCOMPARE(data(5).value("d"), QJsonValue(QJsonObject{{"v", 3}}));
    }

    void streamClosedForLongReadsAsLost()
    {
        // The probe answers all along; the stream's database refuses it from the start.
        qint64 now = 0;
        auto client = makeClient(m_local, "https://" + m_fake->host());
        client->setClock([&now] { return now; });
        QSignalSpy states(client.get(), &FirebaseClient::connectionChanged);
        QVERIFY(client->setToken(customToken()));
        QSignalSpy answers(client->findChild<QNetworkAccessManager *>(),
                           &QNetworkAccessManager::finished);
        m_fake->refusing = true;
        QVERIFY(client->subscribe("/x", &m_recorder, "onEvent"));
        client->subscription("/x")->setReconnectInterval(50);
        // A refresh dates the streams' tokens by the server's clock (its Date header, whole
        // seconds), which a stream that never connected keeps; the local clock is at the epoch.
        client->refreshToken();
        const QDateTime date = client->subscription("/x")->authTime();
        QVERIFY(date.isValid() && qAbs(date.secsTo(QDateTime::currentDateTime())) < 10);
        QCOMPARE(date.time().msec(), 0);

        // Closed for five seconds is not yet an outage; a millisecond more is, reported at once
        // and by the probe's tick, though the probe answers.
        now = 5000;
        client->checkConnection();
        QVERIFY(answers.wait(5000));
        now = 5001;
        client->checkStreams();
        client->checkConnection();
        QCOMPARE(QList<QVariantList>(states), (QList<QVariantList>{{true}, {false}, {false}}));

        // Connected again as soon as the stream is open.
        m_fake->refusing = false;
        QVERIFY(states.wait(5000));
        QCOMPARE(states.last(), QVariantList{true});
        QVERIFY(client->subscription("/x")->isOpen());
    }

private:
    QByteArray customToken() const
    {
        return m_local.service()->mintCustomToken(7, 9, QStringLiteral("operator-1"));
    }

    std::unique_ptr<FirebaseSubscription> fakeSubscription(const QString &path)
    {
        auto subscription = std::make_unique<FirebaseSubscription>(m_fake->host(),
                                                                   path,
                                                                   &m_recorder,
                                                                   "onEvent");
        subscription->setDatabaseNamespace(QStringLiteral("fake-ns"));
        subscription->setReconnectInterval(50);
        subscription->setToken(QStringLiteral("token-1"));
        return subscription;
    }
    int sent(int connection) const { return m_fake->received.value(connection).size(); }

    // Only the client's key opens the token endpoints.
    LocalTestService m_local{[] {
        LocalService::Options options;
        options.apiKey = QStringLiteral("test-key");
        return options;
    }()};
    std::unique_ptr<FirebaseClient> m_client;
    std::unique_ptr<FakeRealtimeServer> m_fake;
    EventRecorder m_recorder;
};

QTEST_GUILESS_MAIN(TestFirebaseClient)
#include "tst_firebaseclient.moc"
