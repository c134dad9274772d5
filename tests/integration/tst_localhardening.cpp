// tallyra-local against clients that try to stall it or make it hold unbounded memory: each
// limit is set small through LocalService's setters so that the cases stay quick.
#include "localtestsupport.h"

#include "local/jsoncodec.h"
#include "local/realtimedatabase.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSslSocket>
#include <QtTest>

namespace {

const QString kAccount = QStringLiteral("/services/7/accounts/9");

// A client's websocket frame with a 64-bit length; a zero mask leaves the payload as it is.
QByteArray frame(const QByteArray &payload)
{
    QByteArray header("\x81\xff");
    for (int shift = 56; shift >= 0; shift -= 8)
        header += char((qint64(payload.size()) >> shift) & 0xff);
    return header + QByteArray(4, '\0') + payload;
}

QByteArray request(int number, const QString &action, const QJsonObject &body)
{
    return frame(JsonCodec::encode(
        QJsonObject{{"t", "d"}, {"d", QJsonObject{{"r", number}, {"a", action}, {"b", body}}}}));
}

const QByteArray kUpgrade = "GET /.ws?v=5&ns=tallyra-local HTTP/1.1\r\nHost: x\r\n"
                            "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: "
                            "13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";

} // namespace

class TestLocalHardening : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void writesAreRefusedBeforeTheirBodyIsRead_data();
    void writesAreRefusedBeforeTheirBodyIsRead();
    void longArraysAreStoredAndFilteredInLinearTime();
    void unreadOutputStopsInputAndCutsTheClient_data();
    void unreadOutputStopsInputAndCutsTheClient();
    void websocketsTimeOutAndKeepFramesSmallUntilAuth_data();
    void websocketsTimeOutAndKeepFramesSmallUntilAuth();
    void websocketsCountAgainstTheConnectionCap();
    void listensPerConnectionAreCapped();
    void databaseSizeIsCappedAndSnapshotsKeepTheirTree();
    void plainModeServesThisMachineOnly();

private:
    LocalTestService m_local;
    std::unique_ptr<RestClient> m_rest;
    QString m_token;
};

void TestLocalHardening::initTestCase()
{
    QVERIFY(m_local.start());
    m_rest = std::make_unique<RestClient>(&m_local);
    m_token = QString::fromLatin1(m_local.service()->signIn(7, 9, "u").idToken);
}

void TestLocalHardening::cleanup()
{
    m_local.service()->setConnectionSettings(HttpConnection::Settings());
    m_local.service()->setRealtimeLimits(RealtimeSession::Limits());
    m_local.service()->database()->setMaxSize(512 * 1024 * 1024);
}

void TestLocalHardening::writesAreRefusedBeforeTheirBodyIsRead_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("refusal");
    // Each body is invalid: an answer about the body would mean it was read before the token.
    const QByteArray bad = R"({"a":{"no.dots":1}})";
    const QString mine = kAccount + "/w";
    const QString theirs = "/services/7/accounts/8/w.json?auth=" + m_token;
    QTest::newRow("REST put, no token") << "PUT" << mine + ".json" << QByteArray("{no") << "401";
    QTest::newRow("REST patch, no token") << "PATCH" << mine + ".json" << bad << "401";
    QTest::newRow("REST patch, another account") << "PATCH" << theirs << bad << "401";
    QTest::newRow("REST big body, no token")
        << "PUT" << mine + ".json" << JsonCodec::encode(QString(2048, 'x')) << "413";
    QTest::newRow("merge") << "m" << mine << bad << "permission_denied";
    QTest::newRow("on-disconnect merge") << "om" << mine << bad << "permission_denied";
    QTest::newRow("on-disconnect set") << "o" << mine << bad << "permission_denied";
}

void TestLocalHardening::writesAreRefusedBeforeTheirBodyIsRead()
{
    QFETCH(QString, action);
    QFETCH(QString, path);
    QFETCH(QByteArray, body);
    QFETCH(QString, refusal);
    HttpConnection::Settings settings;
    settings.limits.maxUnauthenticatedBodyBytes = 1024;
    m_local.service()->setConnectionSettings(settings);
    if (action.startsWith('P')) {
        RestClient rest(&m_local); // a new connection, under the settings above
        QCOMPARE(QString::number(rest.send(action.toLatin1(), path, body).status), refusal);
        return;
    }
    RealtimeClient client(&m_local);
    QVERIFY(client.open());
    const QJsonValue data = QJsonDocument::fromJson(body).object();
    QCOMPARE(client.request(action, {{"p", path}, {"d", data}}).value("s").toString(), refusal);
}

void TestLocalHardening::longArraysAreStoredAndFilteredInLinearTime()
{
    // Quadratic work takes tens of seconds for these, longer than RestClient waits for an answer.
    const QByteArray zeros = "[" + QByteArray("0,").repeated(299999) + "0]";
    const QString path = kAccount + "/zeros.json?auth=" + m_token;
    QCOMPARE(m_rest->send("PATCH", kAccount + ".json", "{\"zeros\":" + zeros + "}").status, 401);
    QCOMPARE(m_rest->send("PUT", path, zeros).status, 200);
    const HttpResult last = m_rest->send("GET", path + "&orderBy=\"$key\"&limitToLast=2");
    QCOMPARE(last.json, QJsonValue(QJsonObject{{"299998", 0}, {"299999", 0}}));
}

void TestLocalHardening::unreadOutputStopsInputAndCutsTheClient_data()
{
    QTest::addColumn<QByteArray>("hostile");
    QTest::addColumn<int>("writes");
    const QString big = kAccount + "/big";
    const QByteArray auth = "?auth=" + m_token.toLatin1();
    QByteArray gets;
    for (int i = 0; i < 40; ++i)
        gets += "GET " + big.toLatin1() + ".json" + auth + " HTTP/1.1\r\nHost: x\r\n\r\n";
    QTest::newRow("pipelined GETs") << gets + "PUT " + kAccount.toLatin1() + "/marker.json" + auth
                                           + " HTTP/1.1\r\nHost: x\r\nContent-Length: 1\r\n\r\n1"
                                    << 0;
    QByteArray reads = kUpgrade + "\r\n" + request(1, "auth", {{"cred", m_token}});
    for (int i = 0; i < 40; ++i)
        reads += request(i + 2, "g", {{"p", big}});
    QTest::newRow("websocket gets")
        << reads + request(50, "p", {{"p", QString(kAccount + "/marker")}, {"d", 1}}) << 0;
    QTest::newRow("websocket pushes") << kUpgrade + "\r\n" + request(1, "auth", {{"cred", m_token}})
                                             + request(2, "q", {{"p", big}, {"h", ""}})
                                      << 40;
}

void TestLocalHardening::unreadOutputStopsInputAndCutsTheClient()
{
    QFETCH(QByteArray, hostile);
    QFETCH(int, writes);
    HttpConnection::Settings settings;
    settings.maxUnsentBytes = 256 * 1024;
    settings.stallTimeoutMs = 300;
    m_local.service()->setConnectionSettings(settings);
    const QString big = kAccount + "/big.json?auth=" + m_token;
    QCOMPARE(m_rest->send("PUT", big, JsonCodec::encode(QString(1 << 20, 'b'))).status, 200);
    QCOMPARE(m_rest->send("DELETE", kAccount + "/marker.json?auth=" + m_token).status, 200);
    QVERIFY(waitUntil([&] { return m_local.service()->realtimeSessionCount() == 0; }, 5000));
    const int before = m_local.service()->connectionCount();

    QSslSocket hoarder; // sends, and never reads what comes back
    hoarder.setSslConfiguration(m_local.sslConfiguration());
    hoarder.setReadBufferSize(4096);
    hoarder.connectToHostEncrypted(QStringLiteral("127.0.0.1"), m_local.service()->port());
    QVERIFY(waitUntil([&] { return hoarder.isEncrypted(); }, 10000));
    hoarder.write(hostile);
    QVERIFY(
        waitUntil([&] { return m_local.service()->realtimeSessionCount() > 0 || !writes; }, 5000));
    for (int i = 0; i < writes; ++i)
        m_rest->send("PUT", big, JsonCodec::encode(QString(1 << 20, 'a' + i % 2)));
    // Cut once it stalls, before what came after the reads was taken.
    QVERIFY(waitUntil([&] { return m_local.service()->connectionCount() == before; }, 20000));
    QCOMPARE(m_rest->send("GET", kAccount + "/marker.json?auth=" + m_token).json, QJsonValue());
}

void TestLocalHardening::websocketsTimeOutAndKeepFramesSmallUntilAuth_data()
{
    QTest::addColumn<int>("idleMs");
    QTest::addColumn<int>("authMs");
    QTest::addColumn<bool>("authenticate");
    QTest::addColumn<int>("messageBytes");
    QTest::addColumn<bool>("closed");
    QTest::newRow("silent") << 200 << 60000 << true << 0 << true;
    QTest::newRow("never authenticated") << 60000 << 200 << false << 0 << true;
    QTest::newRow("big message before auth") << 60000 << 60000 << false << 4096 << true;
    QTest::newRow("big message after auth") << 60000 << 60000 << true << 4096 << false;
}

void TestLocalHardening::websocketsTimeOutAndKeepFramesSmallUntilAuth()
{
    QFETCH(int, idleMs);
    QFETCH(int, authMs);
    QFETCH(bool, authenticate);
    QFETCH(int, messageBytes);
    QFETCH(bool, closed);
    HttpConnection::Settings settings;
    settings.idleTimeoutMs = idleMs;
    m_local.service()->setConnectionSettings(settings);
    RealtimeSession::Limits limits;
    limits.authTimeoutMs = authMs;
    limits.maxUnauthenticatedMessageBytes = 1024;
    m_local.service()->setRealtimeLimits(limits);

    RealtimeClient client(&m_local);
    QVERIFY(client.open());
    if (authenticate)
        QCOMPARE(client.auth(m_token).value("s").toString(), QString("ok"));
    if (messageBytes > 0) {
        const QString text(messageBytes, 'm');
        const qint64 r = client.send("p", {{"p", QString(kAccount + "/m")}, {"d", text}});
        if (!closed)
            QCOMPARE(client.waitForAnswer(r).value("s").toString(), QString("ok"));
    }
    if (closed)
        QVERIFY(client.waitForDisconnected());
}

void TestLocalHardening::websocketsCountAgainstTheConnectionCap()
{
    LocalService::Options options;
    options.plain = true; // a service of its own: no other test's connections count
    options.http.maxConnections = 2;
    LocalTestService local(options);
    QVERIFY(local.start());
    RealtimeClient first(&local);
    RealtimeClient second(&local);
    QVERIFY(first.open());
    QVERIFY(second.open());
    QTcpSocket third;
    third.connectToHost(QStringLiteral("127.0.0.1"), local.service()->port());
    QVERIFY(waitUntil([&] { return third.state() == QAbstractSocket::UnconnectedState; }, 5000));
    first.close();
    QVERIFY(waitUntil([&] { return local.service()->connectionCount() == 1; }, 5000));
    QCOMPARE(RestClient(&local).send("GET", "/probe").status, 204);
}

void TestLocalHardening::listensPerConnectionAreCapped()
{
    RealtimeSession::Limits limits;
    limits.maxListens = 2;
    m_local.service()->setRealtimeLimits(limits);
    RealtimeClient client(&m_local);
    QVERIFY(client.open());
    QCOMPARE(client.auth(m_token).value("s").toString(), QString("ok"));
    const QString list = kAccount + "/list";
    const QJsonObject query{{"i", ".key"}, {"l", 1}, {"vf", "r"}};
    const auto listen = [&](const QString &path, int tag) {
        return client.request("q", {{"p", path}, {"q", query}, {"t", tag}, {"h", ""}})
            .value("s")
            .toString();
    };
    QCOMPARE(listen(list, 1), QString("ok"));
    QCOMPARE(listen(list, 2), QString("ok"));
    QCOMPARE(listen(list, 2), QString("ok")); // the same listen again
    QCOMPARE(listen(kAccount + "/other", 3), QString("too_big"));

    // Both tags get the one filtered value.
    while (client.pendingPushes() > 0)
        client.nextPush();
    client.request("p", {{"p", list}, {"d", QJsonObject{{"a", 1}, {"b", 2}}}});
    QSet<int> tags;
    for (int i = 0; i < 2; ++i) {
        const QJsonObject push = client.nextPush().value("b").toObject();
        QCOMPARE(push.value("d"), QJsonValue(QJsonObject{{"b", 2}}));
        tags.insert(push.value("t").toInt());
    }
    QCOMPARE(tags, (QSet<int>{1, 2}));
}

void TestLocalHardening::databaseSizeIsCappedAndSnapshotsKeepTheirTree()
{
    RealtimeDatabase *database = m_local.service()->database();
    database->setMaxSize(database->size() + 64 * 1024);
    const QString path = kAccount + "/huge.json?auth=" + m_token;
    const HttpResult refused = m_rest->send("PUT",
                                            path,
                                            JsonCodec::encode(QString(100 * 1024, 'h')));
    QCOMPARE(refused.status, 413);
    QVERIFY(refused.json.toObject().value("error").toString().contains("limit"));
    RealtimeClient client(&m_local);
    QVERIFY(client.open());
    client.auth(m_token);
    const QJsonObject tooBig{{"p", QString(kAccount + "/huge")}, {"d", QString(100 * 1024, 'h')}};
    QCOMPARE(client.request("p", tooBig).value("s").toString(), QString("too_big"));
    QCOMPARE(m_rest->send("PUT", path, JsonCodec::encode(QString(10 * 1024, 'h'))).status, 200);

    // A snapshot being saved keeps the tree it was taken from while writes go on.
    RealtimeDatabase tree;
    tree.set(DatabasePath({"a", "b"}), 1);
    const RealtimeDatabase::Snapshot snapshot = tree.snapshot();
    tree.set(DatabasePath({"a", "b"}), 2);
    tree.set(DatabasePath({"a", "c"}), "x");
    tree.set(DatabasePath({"d"}), QJsonArray{true});
    QCOMPARE(RealtimeDatabase::encode(snapshot), QByteArray(R"({"a":{"b":1}})"));
    QCOMPARE(RealtimeDatabase::encode(tree.snapshot()),
             QByteArray(R"({"a":{"b":2,"c":"x"},"d":{"0":true}})"));
}

void TestLocalHardening::plainModeServesThisMachineOnly()
{
    LocalService::Options options;
    options.plain = true;
    options.host = QStringLiteral("0.0.0.0");
    QString error;
    QVERIFY(!LocalTestService(options).start(&error));
    QVERIFY2(error.contains("loopback"), qPrintable(error));
    options.plain = false;
    LocalTestService everywhere(options);
    QVERIFY(everywhere.start());
    QVERIFY(everywhere.service()->listenUrl().startsWith("https://0.0.0.0:"));

    options.plain = true;
    options.host = QStringLiteral("127.0.0.1");
    LocalTestService plain(options);
    QVERIFY(plain.start());
    RestClient rest(&plain);
    const HttpResult local = rest.send("GET",
                                       "/x.json?auth=owner",
                                       {},
                                       {{"Origin", "http://localhost:3000"}});
    QCOMPARE(local.status, 200);
    QCOMPARE(local.headers.value("access-control-allow-origin"),
             QByteArray("http://localhost:3000"));
    QCOMPARE(rest.send("GET", "/x.json?auth=owner", {}, {{"Origin", "http://evil.example"}}).status,
             403);
    QTcpSocket upgrade;
    upgrade.connectToHost(QStringLiteral("127.0.0.1"), plain.service()->port());
    upgrade.write(kUpgrade + "Origin: http://evil.example\r\n\r\n");
    QVERIFY(waitUntil([&] { return upgrade.canReadLine(); }, 5000));
    QVERIFY(upgrade.readLine().startsWith("HTTP/1.1 403"));
}

QTEST_GUILESS_MAIN(TestLocalHardening)
#include "tst_localhardening.moc"
