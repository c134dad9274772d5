// FirebaseSubscription: live events from tallyra-local over TLS, and the wire cases the service
// never produces (broken frame counts, malformed JSON, auth times, refused opens) from a scripted
// server; and how the streams weigh in FirebaseClient's connection state.
#include "firebasetestsupport.h"

#include "local/faultinjector.h"
#include "local/tlscertificates.h"

#include <QWebSocket>
#include <QWebSocketCorsAuthenticator>
#include <QWebSocketServer>

namespace {

// A server push as the database sends it.
QString pushText(const QString &action, const QString &path, const QJsonValue &data)
{
    const QJsonObject body{{"a", action}, {"b", QJsonObject{{"p", path}, {"d", data}}}};
    return QString::fromUtf8(
        QJsonDocument({{"t", "d"}, {"d", body}}).toJson(QJsonDocument::Compact));
}

} // namespace

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

class TestFirebaseSubscription : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    // Against tallyra-local.
    void eventsInOrderAndASnapshotAfterADrop();

    // Against the scripted server.
    void opensAreRetriedAndKeptAlive();
    void framesOddMessagesAndCuts();
    void streamClosedForLongReadsAsLost();

private:
    std::unique_ptr<FirebaseSubscription> fakeSubscription(const QString &path);
    int sent(int connection) const { return m_fake->received.value(connection).size(); }

    LocalTestService m_local;
    std::unique_ptr<FirebaseClient> m_client;
    std::unique_ptr<FakeRealtimeServer> m_fake;
    EventRecorder m_recorder;
};

void TestFirebaseSubscription::initTestCase()
{
    QVERIFY(m_local.start());
    QSslConfiguration::setDefaultConfiguration(m_local.sslConfiguration());
    m_client = makeClient(m_local);
    QVERIFY(m_client->setToken(m_local.service()->mintCustomToken(7, 9, "operator-1")));

    // The scripted server presents the local service's certificate, which the client trusts.
    TlsCertificates certificates(m_local.dataDirectory());
    QString error;
    QVERIFY2(certificates.prepare(&error), qPrintable(error));
    m_fake = std::make_unique<FakeRealtimeServer>(certificates.serverConfiguration());
    QVERIFY(m_fake->listen(QHostAddress::LocalHost, 0));
}

void TestFirebaseSubscription::cleanup()
{
    m_client->unsubscribeFromAll();
    m_client->del(kAccount);
    m_fake->refusing = false;
    m_recorder.events.clear();
    m_recorder.names.clear();
}

std::unique_ptr<FirebaseSubscription> TestFirebaseSubscription::fakeSubscription(const QString &path)
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

void TestFirebaseSubscription::eventsInOrderAndASnapshotAfterADrop()
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
    QCOMPARE(m_recorder.events.last().getData().value("d"), QJsonValue(QJsonObject{{"big", big}}));
}

void TestFirebaseSubscription::opensAreRetriedAndKeptAlive()
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

void TestFirebaseSubscription::framesOddMessagesAndCuts()
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

void TestFirebaseSubscription::streamClosedForLongReadsAsLost()
{
    // The probe answers all along; the stream's database refuses it from the start.
    qint64 now = 0;
    auto client = makeClient(m_local, "https://" + m_fake->host());
    client->setClock([&now] { return now; });
    QSignalSpy states(client.get(), &FirebaseClient::connectionChanged);
    QSignalSpy answers(client->findChild<QNetworkAccessManager *>(),
                       &QNetworkAccessManager::finished);
    QVERIFY(client->setToken(m_local.service()->mintCustomToken(7, 9, "operator-1")));
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

QTEST_GUILESS_MAIN(TestFirebaseSubscription)
#include "tst_firebasesubscription.moc"
