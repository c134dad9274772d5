// tallyra-local against clients that try to stall it or make it hold unbounded memory: each
// limit is set small through LocalService's setters so that the cases stay quick.
#include "localtestsupport.h"

#include "local/jsoncodec.h"
#include "local/realtimedatabase.h"

#include <QJsonArray>
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
    void initTestCase()
    {
        QVERIFY(m_local.start());
        m_rest = std::make_unique<RestClient>(&m_local);
        m_token = m_rest->token = m_local.idToken(9);
    }

    void cleanup()
    {
        m_local.service()->setConnectionSettings(HttpConnection::Settings());
        m_local.service()->setRealtimeLimits(RealtimeSession::Limits());
        m_local.service()->database()->setMaxSize(512 * 1024 * 1024);
    }

    void writesAreRefusedBeforeTheirBodyIsRead_data()
    {
        // action, path, body, refusal. Each body is invalid: an answer about the body would mean
        // it was read before the token.
        QTest::addColumn<QStringList>("row");
        const QString bad = "{'a':{'no.dots':1}}", mine = kAccount + "/w";
        const QString theirs = "/services/7/accounts/8/w.json?auth=" + m_token;
        addRow("REST put, no token", "PUT|" + mine + ".json|{no|401");
        addRow("REST patch, no token", "PATCH|" + mine + ".json|" + bad + "|401");
        addRow("REST patch, another account", "PATCH|" + theirs + "|" + bad + "|401");
        addRow("REST body over the limit, no token",
               "PUT|" + mine + ".json|" + QString(2048, 'x') + "|413");
        addRow("merge", "m|" + mine + "|" + bad + "|permission_denied");
        addRow("on-disconnect merge", "om|" + mine + "|" + bad + "|permission_denied");
        addRow("on-disconnect set", "o|" + mine + "|" + bad + "|permission_denied");
    }

    void writesAreRefusedBeforeTheirBodyIsRead()
    {
        QFETCH(QStringList, row);
        const QString action = row[0], path = row[1], body = row[2], refusal = row[3];
        HttpConnection::Settings settings;
        settings.limits.maxUnauthenticatedBodyBytes = 1024;
        m_local.service()->setConnectionSettings(settings);
        if (action.startsWith('P')) {
            RestClient rest(&m_local); // a new connection, under the settings above
            QCOMPARE(QString::number(rest.send(action.toLatin1(), path, jsonBytes(body)).status),
                     refusal);
            return;
        }
        RealtimeClient client(&m_local);
        QVERIFY(client.open());
        QCOMPARE(client.status(action, {{"p", path}, {"d", jsonValue(body)}}), refusal);
    }

    void longArraysAreStoredAndFilteredInLinearTime()
    {
        // Quadratic work takes minutes for these, longer than RestClient waits for an answer.
        const QString zeros = "[" + QString("0,").repeated(299999) + "0]";
        QCOMPARE(m_rest->send("PATCH", kAccount + ".json", jsonBytes("{'z':" + zeros + "}")).status,
                 401);
        QCOMPARE(m_rest->database("PUT", kAccount + "/z", zeros).status, 200);
        QCOMPARE(m_rest->database("GET", kAccount + "/z?orderBy=\"$key\"&limitToLast=2").json,
                 jsonValue("{'299998':0,'299999':0}"));
    }

    void unreadOutputStopsInputAndCutsTheClient_data()
    {
        QTest::addColumn<QByteArray>("hostile");
        QTest::addColumn<int>("writes");
        const QString big = kAccount + "/big";
        const QByteArray auth = "?auth=" + m_token.toLatin1();
        QByteArray gets;
        for (int i = 0; i < 40; ++i)
            gets += RawConnection::request("GET", big.toLatin1() + ".json" + auth);
        const QByteArray marker = RawConnection::request("PUT",
                                                         kAccount.toLatin1() + "/marker.json" + auth,
                                                         "1");
        QTest::newRow("pipelined GETs") << gets + marker << 0;
        QByteArray reads = kUpgrade + "\r\n" + request(1, "auth", {{"cred", m_token}});
        for (int i = 0; i < 40; ++i)
            reads += request(i + 2, "g", {{"p", big}});
        QTest::newRow("websocket gets")
            << reads + request(50, "p", {{"p", QString(kAccount + "/marker")}, {"d", 1}}) << 0;
        QTest::newRow("websocket pushes")
            << kUpgrade + "\r\n" + request(1, "auth", {{"cred", m_token}})
                   + request(2, "q", {{"p", big}, {"h", ""}})
            << 40;
    }

    void unreadOutputStopsInputAndCutsTheClient()
    {
        QFETCH(QByteArray, hostile);
        QFETCH(int, writes);
        HttpConnection::Settings settings;
        settings.maxUnsentBytes = 256 * 1024;
        settings.stallTimeoutMs = 300;
        m_local.service()->setConnectionSettings(settings);
        const QString big = kAccount + "/big";
        QCOMPARE(m_rest->database("PUT", big, "'" + QString(1 << 20, 'b') + "'").status, 200);
        QCOMPARE(m_rest->database("DELETE", kAccount + "/marker").status, 200);
        QVERIFY(m_local.waitForNoSessions());
        const int before = m_local.service()->connectionCount();

        RawConnection hoarder(m_local); // sends, and never reads what comes back
        hoarder.socket()->setReadBufferSize(4096);
        hoarder.write(hostile);
        QVERIFY(waitUntil([&] { return m_local.service()->realtimeSessionCount() > 0 || !writes; },
                          10000));
        for (int i = 0; i < writes; ++i)
            m_rest->database("PUT", big, "'" + QString(1 << 20, 'a' + i % 2) + "'");
        // Cut once it stalls, before what came after the reads was taken.
        QVERIFY(waitUntil([&] { return m_local.service()->connectionCount() == before; }, 30000));
        QCOMPARE(m_rest->database("GET", kAccount + "/marker").json, QJsonValue());
    }

    void websocketsTimeOutAndKeepMessagesSmallUntilAuth_data()
    {
        // idle time-out, auth deadline (ms), signed in, bytes of a write, and whether it closes
        QTest::addColumn<QStringList>("row");
        addRow("silent", "1000|60000||0|closed");
        addRow("never authenticated", "60000|200||0|closed");
        addRow("big message before auth", "60000|60000||4096|closed");
        addRow("big message after auth", "60000|60000|yes|4096|");
    }

    void websocketsTimeOutAndKeepMessagesSmallUntilAuth()
    {
        QFETCH(QStringList, row);
        HttpConnection::Settings settings;
        settings.idleTimeoutMs = row[0].toInt();
        m_local.service()->setConnectionSettings(settings);
        RealtimeSession::Limits limits;
        limits.authTimeoutMs = row[1].toInt();
        limits.maxUnauthenticatedMessageBytes = 1024;
        m_local.service()->setRealtimeLimits(limits);
        const bool authenticate = !row[2].isEmpty(), closed = !row[4].isEmpty();
        const int messageBytes = row[3].toInt();
        RealtimeClient client(&m_local);
        QVERIFY(authenticate ? client.openAs(m_token) : client.open());
        if (messageBytes > 0) {
            const qint64 r = client.send("p",
                                         {{"p", QString(kAccount + "/m")},
                                          {"d", QString(messageBytes, 'm')}});
            if (!closed)
                QCOMPARE(client.waitForAnswer(r).value("s").toString(), "ok");
        }
        if (closed)
            QVERIFY(client.waitForDisconnected());
    }

    void websocketsCountAgainstTheConnectionCap()
    {
        LocalService::Options options;
        options.plain = true; // a service of its own: no other test's connections count
        options.http.maxConnections = 2;
        LocalTestService local(options);
        QVERIFY(local.start());
        RealtimeClient first(&local);
        RealtimeClient second(&local);
        QVERIFY(first.open() && second.open());
        RawConnection third(local);
        QVERIFY(third.waitForClosed());
        first.close();
        QVERIFY(waitUntil([&] { return local.service()->connectionCount() == 1; }, 10000));
        QCOMPARE(RestClient(&local).send("GET", "/probe").status, 204);
    }

    void listensPerConnectionAreCapped()
    {
        RealtimeSession::Limits limits;
        limits.maxListens = 2;
        m_local.service()->setRealtimeLimits(limits);
        RealtimeClient client(&m_local);
        QVERIFY(client.openAs(m_token));
        const QString list = kAccount + "/list";
        const auto listen = [&](const QString &path, int tag) {
            return client.status("q",
                                 {{"p", path},
                                  {"q", jsonValue("{'i':'.key','l':1,'vf':'r'}")},
                                  {"t", tag},
                                  {"h", ""}});
        };
        QCOMPARE(listen(list, 1), "ok");
        QCOMPARE(listen(list, 2), "ok");
        QCOMPARE(listen(list, 2), "ok"); // the same listen again
        QCOMPARE(listen(kAccount + "/other", 3), "too_big");
        // Both tags get the one filtered value. (The snapshots came before the answers.)
        while (client.pendingPushes() > 0)
            client.nextPush();
        QCOMPARE(client.status("p", {{"p", list}, {"d", jsonValue("{'a':1,'b':2}")}}), "ok");
        QSet<int> tags;
        for (int i = 0; i < 2; ++i) {
            const QJsonObject push = client.nextPush().value("b").toObject();
            QCOMPARE(push.value("d"), jsonValue("{'b':2}"));
            tags.insert(push.value("t").toInt());
        }
        QCOMPARE(tags, (QSet<int>{1, 2}));
    }

    void databaseSizeIsCappedAndSnapshotsKeepTheirTree()
    {
        RealtimeDatabase *database = m_local.service()->database();
        database->setMaxSize(database->size() + 64 * 1024);
        const QString path = kAccount + "/huge";
        const HttpResult refused = m_rest->database("PUT",
                                                    path,
                                                    "'" + QString(100 * 1024, 'h') + "'");
        QCOMPARE(refused.status, 413);
        QVERIFY(refused.json["error"].toString().contains("limit"));
        RealtimeClient client(&m_local);
        QVERIFY(client.openAs(m_token));
        QCOMPARE(client.status("p", {{"p", path}, {"d", QString(100 * 1024, 'h')}}), "too_big");
        QCOMPARE(m_rest->database("PUT", path, "'" + QString(10 * 1024, 'h') + "'").status, 200);

        // A snapshot being saved keeps the tree it was taken from while writes go on.
        RealtimeDatabase tree;
        tree.set(DatabasePath({"a", "b"}), 1);
        const RealtimeDatabase::Snapshot snapshot = tree.snapshot();
        tree.set(DatabasePath({"a", "b"}), 2);
        tree.set(DatabasePath({"a", "c"}), "x");
        tree.set(DatabasePath({"d"}), QJsonArray{true});
        QCOMPARE(RealtimeDatabase::encode(snapshot), jsonBytes("{'a':{'b':1}}"));
        QCOMPARE(RealtimeDatabase::encode(tree.snapshot()),
                 jsonBytes("{'a':{'b':2,'c':'x'},'d':{'0':true}}"));
    }

    void plainModeServesThisMachineOnly()
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
        QCOMPARE(local.headers.value("access-control-allow-origin"), "http://localhost:3000");
        QCOMPARE(rest.send("GET", "/x.json?auth=owner", {}, {{"Origin", "http://evil.example"}})
                     .status,
                 403);
        RawConnection upgrade(plain);
        upgrade.write(kUpgrade + "Origin: http://evil.example\r\n\r\n");
        QCOMPARE(upgrade.responses(1).value(0).status, 403);
    }

private:
    LocalTestService m_local;
    std::unique_ptr<RestClient> m_rest;
    QString m_token;
};

QTEST_GUILESS_MAIN(TestLocalHardening)
#include "tst_localhardening.moc"
