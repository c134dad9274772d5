// FirebaseSubscription: live events from tallyra-local over TLS, and the wire cases the service
// never produces (broken frame counts, malformed JSON, auth times) from a scripted server.
#include "localtestsupport.h"

#include "local/faultinjector.h"
#include "local/tlscertificates.h"
#include "network/firebaseclient.h"
#include "network/firebasesubscription.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QWebSocket>
#include <QWebSocketServer>
#include <QtTest>

namespace {

const QString kAccount = QStringLiteral("/services/7/accounts/9");
const QString kApiKey = QStringLiteral("test-key");

QByteArray json(const QJsonValue &value)
{
    return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact).mid(1).chopped(1);
}

QString text(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

// A server push as the database sends it.
QString pushText(const QString &action, const QString &path, const QJsonValue &data)
{
    return text({{"t", "d"},
                 {"d", QJsonObject{{"a", action}, {"b", QJsonObject{{"p", path}, {"d", data}}}}}});
}

} // namespace

class EventRecorder : public QObject
{
    Q_OBJECT

public:
    QList<FirebaseReply> events;
    QStringList names() const
    {
        QStringList list;
        for (const FirebaseReply &reply : events)
            list.append(reply.getEvent());
        return list;
    }

public slots:
    void onEvent(FirebaseReply reply) { events.append(reply); }
};

// A scripted realtime server over TLS: records what each connection sent and sends what a test
// tells it to.
class FakeRealtimeServer : public QObject
{
    Q_OBJECT

public:
    explicit FakeRealtimeServer(const QSslConfiguration &configuration)
        : m_server(QStringLiteral("fake"), QWebSocketServer::SecureMode)
    {
        m_server.setSslConfiguration(configuration);
        connect(&m_server, &QWebSocketServer::newConnection, this, [this] {
            while (QWebSocket *socket = m_server.nextPendingConnection()) {
                const int index = m_sockets.size();
                m_sockets.append(socket);
                m_received.append(QStringList());
                m_urls.append(socket->requestUrl());
                connect(socket,
                        &QWebSocket::textMessageReceived,
                        this,
                        [this, index](const QString &t) { m_received[index].append(t); });
            }
        });
    }
    ~FakeRealtimeServer() override { qDeleteAll(m_sockets); }

    bool listen() { return m_server.listen(QHostAddress::LocalHost, 0); }
    QString host() const { return QStringLiteral("127.0.0.1:%1").arg(m_server.serverPort()); }
    int connections() const { return m_sockets.size(); }
    QStringList received(int connection) const { return m_received.value(connection); }
    QUrl url(int connection) const { return m_urls.value(connection); }
    void send(const QString &message) { m_sockets.last()->sendTextMessage(message); }
    void dropLast() { m_sockets.last()->abort(); }

private:
    QWebSocketServer m_server;
    QList<QWebSocket *> m_sockets;
    QList<QStringList> m_received;
    QList<QUrl> m_urls;
};

class TestFirebaseSubscription : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    // Against tallyra-local.
    void eventsArriveInOrderWithRelativePaths();
    void largeSnapshotArrivesInFrames();
    void reconnectsAfterADropWithASnapshot();
    void newTokenReconnectsAndShutdownStops();

    // Against the scripted server.
    void requestsCarryRisingNumbers();
    void framesAndOddMessages();
    void authAnswerSetsTheEventDate();
    void incompleteFrameCountSurvivesAReconnect();
    void keepAliveAfterSilence();

private:
    std::unique_ptr<FirebaseSubscription> fakeSubscription(EventRecorder *recorder,
                                                           const QString &path);

    LocalTestService m_local{[] {
        LocalService::Options options;
        options.apiKey = kApiKey;
        return options;
    }()};
    std::unique_ptr<FirebaseClient> m_client;
    std::unique_ptr<FakeRealtimeServer> m_fake;
};

void TestFirebaseSubscription::initTestCase()
{
    QVERIFY(m_local.start());
    QSslConfiguration::setDefaultConfiguration(m_local.sslConfiguration());

    m_client = std::make_unique<FirebaseClient>(m_local.baseUrl(),
                                                kApiKey,
                                                QStringLiteral("tallyra-local"),
                                                QString());
    m_client->setIdentityUrl(m_local.baseUrl());
    m_client->setTokenUrl(m_local.baseUrl());
    m_client->setProbeUrl(m_local.baseUrl() + "/probe");
    QVERIFY(m_client->setToken(m_local.service()->mintCustomToken(7, 9, "operator-1")));
    QVERIFY(!m_client->getToken().isEmpty());

    // The scripted server presents the local service's certificate, which the client trusts.
    TlsCertificates certificates(m_local.dataDirectory());
    QString error;
    QVERIFY2(certificates.prepare(&error), qPrintable(error));
    m_fake = std::make_unique<FakeRealtimeServer>(certificates.serverConfiguration());
    QVERIFY(m_fake->listen());
}

void TestFirebaseSubscription::cleanup()
{
    m_client->unsubscribeFromAll();
    m_client->del(kAccount);
    m_local.service()->faults()->setDropStreamsInterval(0);
}

std::unique_ptr<FirebaseSubscription> TestFirebaseSubscription::fakeSubscription(
    EventRecorder *recorder, const QString &path)
{
    auto subscription = std::make_unique<FirebaseSubscription>(m_fake->host(),
                                                               path,
                                                               recorder,
                                                               "onEvent");
    subscription->setDatabaseNamespace(QStringLiteral("fake-ns"));
    subscription->setReconnectInterval(50);
    subscription->setToken(QStringLiteral("token-1"));
    return subscription;
}

void TestFirebaseSubscription::eventsArriveInOrderWithRelativePaths()
{
    const QString chats = kAccount + "/chats";
    m_client->put(chats, json(QJsonObject{{"a", QJsonObject{{"status", "open"}}}}));

    EventRecorder recorder;
    QVERIFY(m_client->subscribe(chats, &recorder, "onEvent"));
    QVERIFY(waitUntil([&] { return recorder.events.size() == 1; }, 5000));
    const FirebaseReply init = recorder.events.first();
    QCOMPARE(init.getEvent(), QString("init"));
    QCOMPARE(init.getData(),
             (QJsonObject{{"p", ""}, {"d", QJsonObject{{"a", QJsonObject{{"status", "open"}}}}}}));
    // The date is the token's issue time that the service reported, in whole seconds.
    QVERIFY(init.getDate().isValid());
    QVERIFY(qAbs(init.getDate().secsTo(QDateTime::currentDateTime())) < 60);

    m_client->put(chats + "/a/status", json("read"));
    m_client->patch(chats + "/a", json(QJsonObject{{"unreadCount", 0}}));
    m_client->put(chats, json(QJsonObject{{"b", QJsonObject{{"status", "new"}}}}));
    m_client->put(kAccount + "/users/u1", json(QJsonObject{{"name", "Ann"}}));
    m_client->put(kAccount, json(QJsonObject{{"chats", QJsonObject{{"c", 1}}}}));
    m_client->del(chats + "/c");
    QVERIFY(waitUntil([&] { return recorder.events.size() == 6; }, 5000));
    QTest::qWait(200);

    QCOMPARE(recorder.names(), (QStringList{"init", "put", "patch", "put", "put", "put"}));
    const auto data = [&](int i) { return recorder.events.at(i).getData(); };
    QCOMPARE(data(1), (QJsonObject{{"p", "/a/status"}, {"d", "read"}}));
    QCOMPARE(data(2), (QJsonObject{{"p", "/a"}, {"d", QJsonObject{{"unreadCount", 0}}}}));
    // A write at the subscription's own path, and one above it, cover the whole subtree.
    QCOMPARE(data(3),
             (QJsonObject{{"p", ""}, {"d", QJsonObject{{"b", QJsonObject{{"status", "new"}}}}}}));
    QCOMPARE(data(4), (QJsonObject{{"p", ""}, {"d", QJsonObject{{"c", 1}}}}));
    QCOMPARE(data(5), (QJsonObject{{"p", "/c"}, {"d", QJsonValue::Null}}));
}

void TestFirebaseSubscription::largeSnapshotArrivesInFrames()
{
    // About 1 MB: far above the 16,384 characters of one frame.
    QJsonObject messages;
    for (int i = 0; i < 1000; ++i) {
        messages.insert(QStringLiteral("m%1").arg(i, 4, 10, QLatin1Char('0')),
                        QJsonObject{{"text", QString(1000, QChar(u'ж'))}, {"n", i}});
    }
    const QString path = kAccount + "/chat-messages/big";
    m_client->put(path, json(messages));

    EventRecorder recorder;
    QVERIFY(m_client->subscribe(path, &recorder, "onEvent"));
    QVERIFY(waitUntil([&] { return !recorder.events.isEmpty(); }, 10000));
    m_client->patch(path + "/m0001", json(QJsonObject{{"n", -1}}));
    QVERIFY(waitUntil([&] { return recorder.events.size() == 2; }, 5000));
    QTest::qWait(100);

    QCOMPARE(recorder.names(), (QStringList{"init", "patch"}));
    QCOMPARE(recorder.events.first().getData().value("d").toObject(), messages);
    QCOMPARE(recorder.events.last().getData().value("p").toString(), QString("/m0001"));
}

void TestFirebaseSubscription::reconnectsAfterADropWithASnapshot()
{
    const QString path = kAccount + "/users";
    m_client->put(path + "/u1", json(QJsonObject{{"name", "Ann"}}));
    EventRecorder recorder;
    QVERIFY(m_client->subscribe(path, &recorder, "onEvent"));
    FirebaseSubscription *subscription = m_client->subscription(path);
    subscription->setReconnectInterval(50);
    QVERIFY(waitUntil([&] { return recorder.events.size() == 1; }, 5000));
    QCOMPARE(subscription->requestNumber(), quint64(4));

    // A write while the stream is down shows in the snapshot after the reconnect.
    subscription->setReconnectInterval(60000);
    m_local.service()->faults()->dropStreamsNow();
    QVERIFY(waitUntil([&] { return m_local.service()->realtimeSessionCount() == 0; }, 5000));
    m_client->put(path + "/u2", json(QJsonObject{{"name", "Bob"}}));
    subscription->setReconnectInterval(50);
    QVERIFY(waitUntil([&] { return recorder.events.size() == 2; }, 5000));
    QCOMPARE(subscription->requestNumber(), quint64(7));
    QCOMPARE(recorder.events.last().getEvent(), QString("init"));
    QCOMPARE(recorder.events.last().getData().value("d").toObject().keys(),
             (QStringList{"u1", "u2"}));

    m_client->put(path + "/u3", json(QJsonObject{{"name", "Cy"}}));
    QVERIFY(waitUntil([&] { return recorder.events.size() == 3; }, 5000));

    // Drops in a row: every reconnect starts with a snapshot, nothing is delivered twice.
    m_local.service()->faults()->setDropStreamsInterval(150);
    QVERIFY(waitUntil([&] { return subscription->requestNumber() >= 16; }, 10000));
    m_local.service()->faults()->setDropStreamsInterval(0);
    QVERIFY(waitUntil(
        [&] {
            return m_local.service()->realtimeSessionCount() == 1
                   && recorder.events.last().getEvent() == "init";
        },
        5000));
    // Settled: the last connection has delivered its snapshot and no other is under way.
    const quint64 settled = subscription->requestNumber();
    QTest::qWait(300);
    QCOMPARE(subscription->requestNumber(), settled);
    QCOMPARE(recorder.events.last().getEvent(), QString("init"));
    const int before = recorder.events.size();
    m_client->put(path + "/u4", json(QJsonObject{{"name", "Di"}}));
    QVERIFY(waitUntil([&] { return recorder.events.size() == before + 1; }, 5000));
    QTest::qWait(100);
    QCOMPARE(recorder.events.size(), before + 1);
    QCOMPARE(recorder.events.last().getEvent(), QString("put"));
    QCOMPARE(recorder.events.last().getData().value("p").toString(), QString("/u4"));
    const QStringList names = recorder.names();
    QCOMPARE(names.count("put"), 2);
    QCOMPARE(names.mid(0, 3), (QStringList{"init", "init", "put"}));
}

void TestFirebaseSubscription::newTokenReconnectsAndShutdownStops()
{
    const QString path = kAccount + "/quick-answers";
    RestClient rest(&m_local);
    EventRecorder recorder;
    FirebaseSubscription subscription(QUrl(m_local.baseUrl()).authority(),
                                      path,
                                      &recorder,
                                      "onEvent");
    subscription.setDatabaseNamespace("tallyra-local");
    subscription.setReconnectInterval(50);

    // Not started: a token is only stored.
    subscription.setToken(rest.idToken(7, 9, "operator-1"));
    QVERIFY(subscription.isStopped());
    QTest::qWait(150);
    QCOMPARE(m_local.service()->realtimeSessionCount(), 0);

    subscription.listen();
    QVERIFY(waitUntil([&] { return recorder.events.size() == 1; }, 5000));
    QVERIFY(!subscription.isStopped());

    subscription.setToken(rest.idToken(7, 9, "operator-2"));
    QVERIFY(waitUntil([&] { return recorder.events.size() == 2; }, 5000));
    QCOMPARE(recorder.names(), (QStringList{"init", "init"}));
    QCOMPARE(subscription.requestNumber(), quint64(7));
    QVERIFY(waitUntil([&] { return m_local.service()->realtimeSessionCount() == 1; }, 5000));

    // A token of another account is refused: the stream then simply delivers nothing.
    subscription.setToken(rest.idToken(7, 10, "operator-3"));
    QVERIFY(waitUntil([&] { return subscription.requestNumber() == 10; }, 5000));
    m_client->put(path + "/q1", json(QJsonObject{{"text", "hello"}}));
    QTest::qWait(200);
    QCOMPARE(recorder.events.size(), 2);

    subscription.shutdown();
    QVERIFY(subscription.isStopped());
    QVERIFY(waitUntil([&] { return m_local.service()->realtimeSessionCount() == 0; }, 5000));
    QTest::qWait(200);
    QCOMPARE(m_local.service()->realtimeSessionCount(), 0);
    QCOMPARE(subscription.requestNumber(), quint64(10));
}

void TestFirebaseSubscription::requestsCarryRisingNumbers()
{
    EventRecorder recorder;
    const QString path = QStringLiteral("/services/1/accounts/2/chats");
    auto subscription = fakeSubscription(&recorder, path);
    const int first = m_fake->connections();
    subscription->listen();
    QVERIFY(waitUntil([&] { return m_fake->received(first).size() == 3; }, 5000));

    QCOMPARE(m_fake->url(first).path(), QString("/.ws"));
    QCOMPARE(QUrlQuery(m_fake->url(first)).queryItemValue("v"), QString("5"));
    QCOMPARE(QUrlQuery(m_fake->url(first)).queryItemValue("ns"), QString("fake-ns"));

    const auto request = [&](int connection, int i) {
        return QJsonDocument::fromJson(m_fake->received(connection).at(i).toUtf8()).object();
    };
    const auto expected = [](int r, const QString &a, const QJsonObject &b) {
        return QJsonObject{{"t", "d"}, {"d", QJsonObject{{"r", r}, {"a", a}, {"b", b}}}};
    };
    QCOMPARE(request(first, 0), expected(1, "s", {{"c", QJsonObject{{"sdk.js.4-6-1", 1}}}}));
    QCOMPARE(request(first, 1), expected(2, "auth", {{"cred", "token-1"}}));
    QCOMPARE(request(first, 2), expected(3, "q", {{"p", path}, {"h", ""}}));

    // The numbers keep rising over a reconnect.
    m_fake->dropLast();
    QVERIFY(waitUntil([&] { return m_fake->received(first + 1).size() == 3; }, 5000));
    QCOMPARE(request(first + 1, 0).value("d").toObject().value("r").toInt(), 4);
    QCOMPARE(request(first + 1, 1), expected(5, "auth", {{"cred", "token-1"}}));
    QCOMPARE(request(first + 1, 2), expected(6, "q", {{"p", path}, {"h", ""}}));
    QTest::qWait(100);
    QCOMPARE(m_fake->connections(), first + 2);
    QVERIFY(recorder.events.isEmpty());
}

void TestFirebaseSubscription::framesAndOddMessages()
{
    EventRecorder recorder;
    auto subscription = fakeSubscription(&recorder, "/services/1/accounts/2/chats");
    const int connection = m_fake->connections();
    subscription->listen();
    QVERIFY(waitUntil([&] { return m_fake->received(connection).size() == 3; }, 5000));

    // The very first message is content whatever it looks like: "2" is no frame count here.
    m_fake->send("2");
    m_fake->send(pushText("d", "services/1/accounts/2/chats", QJsonObject{{"a", 1}}));
    // Answers, control messages, pushes without data and malformed JSON are dropped.
    m_fake->send(text(
        {{"t", "d"},
         {"d", QJsonObject{{"r", 3}, {"b", QJsonObject{{"s", "ok"}, {"d", QJsonObject()}}}}}}));
    m_fake->send(text({{"t", "c"}, {"d", QJsonObject{{"t", "h"}, {"d", QJsonObject{{"ts", 1}}}}}}));
    m_fake->send(text({{"t", "d"}, {"d", QJsonObject{{"a", "c"}, {"b", QJsonObject{{"p", "x"}}}}}}));
    m_fake->send("{\"t\":\"d\",\"d\":{\"a\":\"d\",\"b\":{\"p\":\"x\",\"d\":");
    // A later count announces the frames of one message, joined before parsing.
    const QString framed = pushText("d",
                                    "services/1/accounts/2/chats/b/status",
                                    QString(40000, QLatin1Char('x')));
    m_fake->send("3");
    m_fake->send(framed.left(16384));
    m_fake->send(framed.mid(16384, 16384));
    m_fake->send(framed.mid(32768));
    m_fake->send(pushText("m", "services/1/accounts/2/chats/a", QJsonObject{{"n", 2}}));
    // Any other action that carries data is a "keep-live".
    m_fake->send(text(
        {{"t", "d"},
         {"d",
          QJsonObject{{"a", "ac"}, {"b", QJsonObject{{"s", "expired_token"}, {"d", "gone"}}}}}}));

    QVERIFY(waitUntil([&] { return recorder.events.size() == 4; }, 5000));
    QTest::qWait(100);
    QCOMPARE(recorder.names(), (QStringList{"init", "put", "patch", "keep-live"}));
    QCOMPARE(recorder.events.at(0).getData(),
             (QJsonObject{{"p", ""}, {"d", QJsonObject{{"a", 1}}}}));
    QCOMPARE(recorder.events.at(1).getData(),
             (QJsonObject{{"p", "/b/status"}, {"d", QString(40000, QLatin1Char('x'))}}));
    QCOMPARE(recorder.events.at(2).getData(),
             (QJsonObject{{"p", "/a"}, {"d", QJsonObject{{"n", 2}}}}));
    QCOMPARE(recorder.events.at(3).getData(),
             (QJsonObject{{"s", "expired_token"}, {"d", "gone"}, {"p", ""}}));

    // The slot is called from the event loop, never inside the message handler.
    subscription->onTextMessage(pushText("d", "services/1/accounts/2/chats/z", 1));
    QCOMPARE(recorder.events.size(), 4);
    QVERIFY(waitUntil([&] { return recorder.events.size() == 5; }, 5000));

    // A receiver that is gone gets nothing, and nothing breaks.
    auto *gone = new EventRecorder;
    FirebaseSubscription orphan(m_fake->host(), "/x", gone, "onEvent");
    delete gone;
    orphan.onTextMessage(pushText("d", "x", 1));
    QCoreApplication::processEvents();
}

void TestFirebaseSubscription::authAnswerSetsTheEventDate()
{
    EventRecorder recorder;
    auto subscription = fakeSubscription(&recorder, "/services/1/accounts/2/users");
    const int connection = m_fake->connections();
    subscription->setAuthTime(QDateTime::fromMSecsSinceEpoch(1000));
    subscription->listen();
    QVERIFY(waitUntil([&] { return m_fake->received(connection).size() == 3; }, 5000));

    m_fake->send(pushText("d", "services/1/accounts/2/users", QJsonObject{{"u", 1}}));
    const QJsonObject claims{{"auth_time", 1700000000}, {"exp", 1700003600}};
    m_fake->send(
        text({{"t", "d"},
              {"d",
               QJsonObject{{"r", 2},
                           {"b",
                            QJsonObject{{"s", "ok"},
                                        {"d",
                                         QJsonObject{{"auth", QJsonObject{{"token", claims}}},
                                                     {"expires", 1700003600}}}}}}}}));
    m_fake->send(pushText("d", "services/1/accounts/2/users/u", 2));

    QVERIFY(waitUntil([&] { return recorder.events.size() == 2; }, 5000));
    QTest::qWait(100);
    QCOMPARE(recorder.names(), (QStringList{"init", "put"}));
    QCOMPARE(recorder.events.first().getDate(), QDateTime::fromMSecsSinceEpoch(1000));
    // Seconds, not milliseconds.
    QCOMPARE(recorder.events.last().getDate(), QDateTime::fromSecsSinceEpoch(1700000000));
    QCOMPARE(subscription->authTime(), QDateTime::fromSecsSinceEpoch(1700000000));
}

void TestFirebaseSubscription::incompleteFrameCountSurvivesAReconnect()
{
    EventRecorder recorder;
    auto subscription = fakeSubscription(&recorder, "/services/1/accounts/2/visitors");
    const int connection = m_fake->connections();
    subscription->listen();
    QVERIFY(waitUntil([&] { return m_fake->received(connection).size() == 3; }, 5000));
    m_fake->send(pushText("d", "services/1/accounts/2/visitors", QJsonObject{{"v", 1}}));
    QVERIFY(waitUntil([&] { return recorder.events.size() == 1; }, 5000));

    // Three frames announced, two sent, then the connection dies.
    const QString framed = pushText("d", "services/1/accounts/2/visitors/v", 2);
    m_fake->send("3");
    m_fake->send(framed.left(10));
    m_fake->send(framed.mid(10, 10));
    QTest::qWait(100);
    m_fake->dropLast();
    QVERIFY(waitUntil([&] { return m_fake->received(connection + 1).size() == 3; }, 5000));

    // The count is still open, so the next message completes it: the joined text is no JSON
    // and is dropped; the message after it is the first push of the new connection.
    m_fake->send(pushText("d", "services/1/accounts/2/visitors", QJsonObject{{"v", 3}}));
    m_fake->send(pushText("d", "services/1/accounts/2/visitors", QJsonObject{{"v", 4}}));
    m_fake->send(pushText("d", "services/1/accounts/2/visitors/w", 5));
    QVERIFY(waitUntil([&] { return recorder.events.size() == 3; }, 5000));
    QTest::qWait(100);
    QCOMPARE(recorder.names(), (QStringList{"init", "init", "put"}));
    QCOMPARE(recorder.events.at(1).getData().value("d").toObject(), (QJsonObject{{"v", 4}}));
    QCOMPARE(recorder.events.at(2).getData().value("p").toString(), QString("/w"));
}

void TestFirebaseSubscription::keepAliveAfterSilence()
{
    EventRecorder recorder;
    auto subscription = fakeSubscription(&recorder, "/services/1/accounts/2/user-keys");
    subscription->setKeepAliveInterval(300);
    const int connection = m_fake->connections();

    // Nothing goes out while the socket is unconnected.
    subscription->sendKeepPacket();
    QTest::qWait(50);
    QCOMPARE(m_fake->connections(), connection);

    subscription->listen();
    QVERIFY(waitUntil([&] { return m_fake->received(connection).size() == 3; }, 5000));
    // Traffic postpones the keep-alive.
    for (int i = 0; i < 5; ++i) {
        m_fake->send(text({{"t", "c"}, {"d", QJsonObject{{"t", "o"}, {"d", QJsonValue::Null}}}}));
        QTest::qWait(50);
    }
    QCOMPARE(m_fake->received(connection).size(), 3);
    QVERIFY(waitUntil([&] { return m_fake->received(connection).size() == 4; }, 5000));
    QCOMPARE(m_fake->received(connection).last(), QString("0"));
    QVERIFY(waitUntil([&] { return m_fake->received(connection).size() == 5; }, 5000));

    subscription->shutdown();
    const int sent = m_fake->received(connection).size();
    QTest::qWait(400);
    QCOMPARE(m_fake->received(connection).size(), sent);
    QCOMPARE(m_fake->connections(), connection + 1);
}

QTEST_GUILESS_MAIN(TestFirebaseSubscription)
#include "tst_firebasesubscription.moc"
