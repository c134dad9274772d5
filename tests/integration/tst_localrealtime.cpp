// The realtime database's websocket protocol (version 5) of tallyra-local, over TLS with
// QWebSocket, and the service against clients that try to stall it or make it hold unbounded
// memory: each limit is set small through LocalService's setters so that the cases stay quick.
#include "localtestsupport.h"

#include "local/faultinjector.h"
#include "local/jsoncodec.h"
#include "local/realtimedatabase.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

namespace {
const QString kAccount = QStringLiteral("/services/7/accounts/9");
const QString kChats = QStringLiteral("/services/7/accounts/9/chats");
const QString kTheirChats = QStringLiteral("/services/7/accounts/10/chats");

// A request's body: the path, and the data (single-quoted JSON) or else a listen's hash.
QJsonObject at(const QString &path, const QString &data = {})
{
    return QJsonObject{{"p", path},
                       {data.isEmpty() ? "h" : "d", jsonValue(data.isEmpty() ? "''" : data)}};
}

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

class TestLocalRealtime : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_local.start());
        m_rest = std::make_unique<RestClient>(&m_local);
        m_token = m_rest->token = m_local.idToken(9, "operator-1");
    }

    void init()
    {
        QCOMPARE(rest("PUT", "", "{'chats':{'c1':{'s':'open'}},'users':{'u1':{'n':'A'}}}"), 200);
    }

    void cleanup()
    {
        m_local.service()->faults()->setReplyDelay(0);
        m_local.service()->faults()->setDropStreamsInterval(0);
        m_local.service()->clock()->reset();
        m_local.service()->setConnectionSettings(HttpConnection::Settings());
        m_local.service()->setRealtimeLimits(RealtimeSession::Limits());
        m_local.service()->database()->setMaxSize(512 * 1024 * 1024);
        QVERIFY(m_local.waitForNoSessions()); // on-disconnect writes done before the next case
    }

    void handshakeAndAuthDescribeTheConnection()
    {
        const ServiceClock *clock = m_local.frozenClock();
        RealtimeClient first(&m_local);
        QVERIFY(first.open());
        const QJsonObject handshake = first.handshake();
        QCOMPARE(handshake.value("v").toString(), "5");
        QCOMPARE(handshake.value("h").toString(), m_local.url("/").authority());
        QCOMPARE(handshake.value("ts").toDouble(), double(clock->nowMs()));
        QVERIFY(!handshake.value("s").toString().isEmpty());
        QCOMPARE(first.messages().first().value("t").toString(), "c"); // the first frame, as control
        RealtimeClient second(&m_local);
        QVERIFY(second.open());
        QVERIFY(second.handshake().value("s") != handshake.value("s"));

        QCOMPARE(first.request("s", {{"c", jsonValue("{'sdk.js.4-6-1':1}")}}),
                 jsonValue("{'s':'ok','d':''}").toObject());
        // The auth answer carries the token's claims, auth_time among them, in seconds.
        const QJsonObject auth = first.auth(m_local.idToken(9, "operator-1"));
        const QJsonObject claims = auth["d"]["auth"]["token"].toObject();
        QCOMPARE(auth.value("s").toString(), "ok");
        QCOMPARE(claims.value("uid").toString(), "operator-1");
        QCOMPARE(claims.value("service_id").toInt() * 100 + claims.value("account_id").toInt(), 709);
        QCOMPARE(claims.value("auth_time").toDouble(), double(clock->nowSecs()));
        QCOMPARE(auth["d"]["expires"].toDouble(), claims.value("exp").toDouble());
        QCOMPARE(first.auth("not-a-token").value("s").toString(), "invalid_token");
        // Another namespace is another database, which this service does not have.
        QVERIFY(!RealtimeClient(&m_local).open("v=5&ns=elsewhere"));
    }

    void listenGetsSnapshotThenEveryOverlappingWrite_data()
    {
        // listen, verb, path (both below the account), body, and the push the write brings as
        // nextPushText() gives it
        QTest::addColumn<QStringList>("row");
        addRow("put below", "/chats|PUT|/chats/c1/s|'x'|d 9/chats/c1/s 'x'");
        addRow("put at", "/chats|PUT|/chats|{'c9':1}|d 9/chats {'c9':1}");
        addRow("put above", "/chats|PUT||{'chats':{'c':2},'u':1}|d 9/chats {'c':2}");
        addRow("put beside", "/chats|PUT|/users/u1/n|'B'|");
        addRow("merge at", "/chats|PATCH|/chats|{'c1/u':2,'c2':3}|m 9/chats {'c1/u':2,'c2':3}");
        addRow("merge below", "/chats|PATCH|/chats/c2|{'s':1}|m 9/chats/c2 {'s':1}");
        addRow("merge above", "/chats|PATCH||{'chats/c3':1,'u/u3':1}|m 9/chats {'c3':1}");
        addRow("merge above, whole", "/chats|PATCH||{'chats':{'c5':1}}|d 9/chats {'c5':1}");
        addRow("merge beside", "/chats|PATCH||{'users/u2/n':'C'}|");
        addRow("delete below", "/chats|DELETE|/chats/c1||d 9/chats/c1 null");
        addRow("account root", "|PUT|/chats/c1|'z'|d 9/chats/c1 'z'");
        addRow("where nothing is", "/none|PUT|/chats/c1|'z'|");
    }

    void listenGetsSnapshotThenEveryOverlappingWrite()
    {
        QFETCH(QStringList, row);
        const QString listen = row[0], verb = row[1], path = row[2], body = row[3], push = row[4];
        RealtimeClient listener(&m_local);
        QVERIFY(listener.openAs(m_token));
        const QString snapshot = JsonCodec::encode(get(listen)).replace('"', '\'');
        QCOMPARE(listener.request("q", at(kAccount + listen)),
                 jsonValue("{'s':'ok','d':{}}").toObject());
        QCOMPARE(listener.nextPushText(), "d 9" + listen + ' ' + snapshot);
        QCOMPARE(rest(verb.toLatin1(), path, body), 200);
        QCOMPARE(rest("PUT", listen + "/marker", "true"), 200);
        if (!push.isEmpty())
            QCOMPARE(listener.nextPushText(), push);
        QCOMPARE(listener.nextPushText(), "d 9" + listen + "/marker true");
        // An answer leaves after every push queued before it: no other push is on its way.
        QCOMPARE(listener.status("s", {}), "ok");
        QCOMPARE(listener.pendingPushes(), 0);
    }

    void writersAndListenersSeePushesBeforeTheAnswer()
    {
        const ServiceClock *clock = m_local.frozenClock();
        RealtimeClient other(&m_local);
        RealtimeClient client(&m_local);
        QVERIFY(other.openAs(m_token) && client.openAs(m_token));
        QCOMPARE(other.listen(kChats), "ok");
        // Clients send the listen and the writes without waiting for answers; order is kept.
        const int listen = client.send("q", at(kChats));
        const int write = client.send("p", at(kChats, "{'.sv':'timestamp'}"));
        const int update = client.send("m", at(kChats, "{'c/n':1,'d':2}"));
        QCOMPARE(client.waitForAnswer(update).value("s").toString(), "ok");
        QList<int> order;                                           // 0 for a push
        for (const QJsonObject &message : client.messages().mid(2)) // after the handshake and auth
            order.append(message["d"]["r"].toInt());
        QCOMPARE(order, (QList<int>{0, listen, 0, write, 0, update}));
        for (RealtimeClient *each : {&client, &other}) {
            QCOMPARE(each->nextPushText(), "d 9/chats {'c1':{'s':'open'}}");
            QCOMPARE(each->nextPushText(), "d 9/chats " + QString::number(clock->nowMs()));
            QCOMPARE(each->nextPushText(), "m 9/chats {'c/n':1,'d':2}");
        }
    }

    void othersDataIsRefused_data()
    {
        QTest::addColumn<QStringList>("row"); // token (empty: none), action, path, data
        addRow("listen: another account", "yes|q|" + kTheirChats + "|");
        addRow("listen: above the account", "yes|q|/services/7/accounts|");
        addRow("listen: the root", "yes|q|/|");
        addRow("get: another account", "yes|g|" + kTheirChats + "|");
        addRow("put: another account", "yes|p|" + kTheirChats + "/x|1");
        addRow("merge: one key outside", "yes|m|/services/7/accounts|{'9/a':1,'10/a':1}");
        addRow("on-disconnect: another account", "yes|o|" + kTheirChats + "/x|1");
        addRow("listen: no auth", "|q|" + kChats + "|");
        addRow("put: no auth", "|p|" + kChats + "/x|1");
    }

    void othersDataIsRefused()
    {
        QFETCH(QStringList, row);
        const QString token = row[0], action = row[1], path = row[2], data = row[3];
        const QJsonValue before = m_local.service()->database()->value(DatabasePath());
        {
            RealtimeClient client(&m_local);
            QVERIFY(token.isEmpty() ? client.open() : client.openAs(m_token));
            QCOMPARE(client.request(action, at(path, data)),
                     jsonValue("{'s':'permission_denied','d':'Permission denied'}").toObject());
        }
        QVERIFY(m_local.waitForNoSessions()); // nothing changed, on-disconnect writes included
        QCOMPARE(m_local.service()->database()->value(DatabasePath()), before);
    }

    void pushesReachOnlyTheirListenersWhileTheyListen()
    {
        RealtimeClient mine(&m_local);
        RealtimeClient theirs(&m_local);
        QVERIFY(mine.openAs(m_token) && theirs.openAs(m_local.idToken(10)));
        QCOMPARE(mine.listen(kChats), "ok");
        QCOMPARE(theirs.listen(kTheirChats), "ok");
        mine.nextPush();
        theirs.nextPush();
        QCOMPARE(mine.status("p", at(kChats + "/x", "1")), "ok");
        QCOMPARE(theirs.status("p", at(kTheirChats + "/y", "2")), "ok");
        QCOMPARE(mine.status("p", at(kChats + "/z", "3")), "ok");
        QCOMPARE(theirs.status("s", {}), "ok");
        QCOMPARE(mine.nextPushText(), "d 9/chats/x 1");
        QCOMPARE(mine.nextPushText(), "d 9/chats/z 3");
        QCOMPARE(theirs.nextPushText(), "d 10/chats/y 2");
        QCOMPARE(mine.pendingPushes() + theirs.pendingPushes(), 0);

        // After an unlisten no more pushes come; signing out revokes a listen.
        QCOMPARE(mine.request("n", {{"p", kChats}}), jsonValue("{'s':'ok','d':''}").toObject());
        QCOMPARE(rest("PUT", "/chats/x", "4"), 200);
        QCOMPARE(mine.status("s", {}), "ok");
        QCOMPARE(mine.pendingPushes(), 0);
        QCOMPARE(mine.listen(kChats), "ok");
        mine.nextPush();
        QCOMPARE(mine.request("unauth", {}),
                 jsonValue("{'s':'ok','d':'unauthenticated'}").toObject());
        QCOMPARE(mine.nextPushText(), "c 9/chats");
    }

    void largeMessagesAreSplitIntoFrames()
    {
        // "😀x" repeated: frame boundaries fall at every position of the pattern, so some would cut
        // a surrogate pair if the splitting ignored them.
        const QString big = QString::fromUtf8("😀x").repeated(1024 * 1024 / 3);
        RealtimeClient listener(&m_local);
        QVERIFY(listener.openAs(m_token));
        QCOMPARE(listener.listen(kAccount + "/big"), "ok");
        listener.nextPush();
        const int framesBefore = listener.frames().size();
        QCOMPARE(rest("PUT", "/big", "'" + big + "'"), 200);
        QCOMPARE(listener.nextPush().value("b")["d"].toString(), big);
        const QStringList frames = listener.frames().mid(framesBefore);
        QCOMPARE(frames.first(), QString::number(frames.size() - 1)); // a count, then the pieces
        QVERIFY(frames.size() > big.size() / 16384);
        for (const QString &frame : frames.mid(1))
            QVERIFY(frame.size() <= 16384 && !frame.back().isHighSurrogate());
        // Small messages come whole, with no count before them; their sizes cross the frame
        // header's 125 and 126 byte steps.
        QCOMPARE(rest("PUT", "/big", "'small'"), 200);
        QCOMPARE(listener.nextPushText(), "d 9/big 'small'");
        QVERIFY(listener.frames().last().startsWith('{'));
        for (int size = 1; size <= 100; ++size) {
            QCOMPARE(rest("PUT", "/big", "'" + QString(size, 's') + "'"), 200);
            QCOMPARE(listener.nextPush().value("b")["d"].toString().size(), size);
        }

        // Clients split the same way: a count, then the pieces of one message.
        const QString write = "{'t':'d','d':{'r':100,'a':'p','b':{'p':'" + kAccount + "/big','d':'";
        const QString message = QString(write + QString(100000, 'w') + "'}}}").replace('\'', '"');
        listener.sendText(QString::number((message.size() + 16383) / 16384));
        for (int start = 0; start < message.size(); start += 16384)
            listener.sendText(message.mid(start, 16384));
        QCOMPARE(listener.waitForAnswer(100).value("s").toString(), "ok");
        QCOMPARE(get("/big"), QString(100000, 'w'));
    }

    void keepAlivePingAndGarbage()
    {
        RealtimeClient client(&m_local);
        QVERIFY(client.openAs(m_token));
        const int before = client.messages().size();
        // A keep-alive gets nothing back and is not a frame count: the next message stands alone.
        client.sendText("0");
        client.sendText(R"({"t":"c","d":{"t":"p","d":{}}})");
        client.sendText("{not json"); // ignored, not fatal
        QCOMPARE(client.status("s", {}), "ok");
        QCOMPARE(client.messages().size(), before + 2);
        // The pong has its "d", null.
        QCOMPARE(client.messages().at(before),
                 jsonValue("{'t':'c','d':{'t':'o','d':null}}").toObject());
    }

    void getAndDisconnectWrites()
    {
        const ServiceClock *clock = m_local.frozenClock();
        QCOMPARE(rest("PUT", "/users/u1", "{'on':true,'n':'A','x':1}"), 200);
        RealtimeClient client(&m_local);
        QVERIFY(client.openAs(m_token));
        const QString user = kAccount + "/users/u1";
        QCOMPARE(client.request("g", {{"p", user}, {"q", QJsonObject()}}),
                 jsonValue("{'s':'ok','d':{'on':true,'n':'A','x':1}}").toObject());
        const QList<QStringList> writes{{"o", "/on", "false"},
                                        {"om", "", "{'seen':{'.sv':'timestamp'}}"},
                                        {"o", "/x", "null"},
                                        {"o", "/n", "'B'"},
                                        {"oc", "/n", ""}}; // cancels the one before
        for (const QStringList &write : writes)
            QCOMPARE(client.status(write[0], at(user + write[1], write[2])), "ok");
        QCOMPARE(get("/users/u1/on"), true);
        client.close();
        QVERIFY(m_local.waitForNoSessions());
        QCOMPARE(get("/users/u1"),
                 jsonValue("{'on':false,'n':'A','seen':" + QString::number(clock->nowMs()) + "}"));
    }

    void filteredListenGetsTaggedFilteredValues()
    {
        QCOMPARE(rest("PUT", "/chats", "{'a':{'t':1},'b':{'t':3},'c':{'t':2}}"), 200);
        RealtimeClient client(&m_local);
        QVERIFY(client.openAs(m_token));
        const QJsonValue query = jsonValue("{'i':'t','l':2,'vf':'r'}");
        QCOMPARE(client.status("q", {{"p", kChats}, {"q", query}, {"t", 1}, {"h", ""}}), "ok");
        QCOMPARE(client.nextPush(),
                 jsonValue("{'a':'d','b':{'p':'" + kChats.mid(1)
                           + "','t':1,'d':{'b':{'t':3},'c':{'t':2}}}}")
                     .toObject());
        QCOMPARE(rest("PUT", "/chats/a/t", "9"), 200);
        QCOMPARE(client.nextPush(),
                 jsonValue("{'a':'d','b':{'p':'" + kChats.mid(1)
                           + "','t':1,'d':{'a':{'t':9},'b':{'t':3}}}}")
                     .toObject());
    }

    void faultsDropStreamsAndDelayAnswers()
    {
        FaultInjector *faults = m_local.service()->faults();
        RealtimeClient first(&m_local);
        RealtimeClient second(&m_local);
        QVERIFY(first.openAs(m_token) && second.openAs(m_token));
        QCOMPARE(first.status("o", at(kAccount + "/users/u1/on", "false")), "ok");
        faults->dropStreamsNow();
        QVERIFY(first.waitForDisconnected() && second.waitForDisconnected());
        // A dropped connection still runs its on-disconnect writes, as a lost one does.
        QVERIFY(m_local.waitForNoSessions());
        QCOMPARE(get("/users/u1/on"), false);
        faults->setDropStreamsInterval(50);
        RealtimeClient again(&m_local);
        again.open();
        QVERIFY(again.waitForDisconnected());
        faults->setDropStreamsInterval(0);

        // Answers and pushes wait as long as set, in order; so do HTTP answers.
        faults->setReplyDelay(200);
        RealtimeClient slow(&m_local);
        QVERIFY(slow.open());
        QElapsedTimer timer;
        timer.start();
        const qint64 auth = slow.send("auth", {{"cred", m_token}});
        QCOMPARE(slow.listen(kChats), "ok");
        QVERIFY(timer.elapsed() >= 200);
        QCOMPARE(slow.messages().at(1).value("d")["r"].toInt(), int(auth));
        QCOMPARE(slow.nextPushText(), "d 9/chats {'c1':{'s':'open'}}");
        timer.restart();
        QCOMPARE(rest("GET", "/chats"), 200);
        QVERIFY(timer.elapsed() >= 200);
    }

    void closingWithPushesWaitingIsSafe()
    {
        // Under load pushes wait for the next batch; a client that closes meanwhile must not leave
        // the batch pointing at its connection.
        LocalService::Options options;
        options.pushBatchMs = 300;
        LocalTestService local(options);
        QVERIFY(local.start());
        RestClient rest(&local);
        const QString token = local.idToken(9);
        const QString chat = kChats + "/a.json?auth=" + token;
        RealtimeClient observer(&local); // sees when the batch has had its turn
        RealtimeClient client(&local);
        QVERIFY(observer.openAs(token) && client.openAs(token));
        QCOMPARE(observer.listen(kChats), "ok");
        QCOMPARE(client.listen(kChats), "ok");
        rest.send("PUT", chat, "1");
        QCOMPARE(client.nextPushText(), "d 9/chats null"); // the snapshot
        QCOMPARE(client.nextPushText(), "d 9/chats/a 1");
        rest.send("PUT", chat, "2"); // a batch went out just now: this push waits
        client.close();
        QVERIFY(client.waitForDisconnected());
        observer.nextPush();
        QCOMPARE(observer.nextPushText(), "d 9/chats/a 1");
        QCOMPARE(observer.nextPushText(), "d 9/chats/a 2");
        QCOMPARE(rest.send("GET", "/probe").status, 204);

        // Stopping the service with a push still waiting closes the connection cleanly.
        rest.send("PUT", chat, "3");
        rest.send("PUT", chat, "4");
        local.stop();
        QVERIFY(observer.waitForDisconnected());
    }

    // Hostile clients.
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

private:
    int rest(const QByteArray &verb, const QString &path, const QString &body = {})
    {
        return m_rest->database(verb, kAccount + path, body).status;
    }
    QJsonValue get(const QString &path) { return m_rest->database("GET", kAccount + path).json; }

    LocalTestService m_local;
    std::unique_ptr<RestClient> m_rest;
    QString m_token;
};

QTEST_GUILESS_MAIN(TestLocalRealtime)
#include "tst_localrealtime.moc"
