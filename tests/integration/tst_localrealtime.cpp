// The realtime database's websocket protocol (version 5) of tallyra-local, over TLS with
// QWebSocket.
#include "localtestsupport.h"

#include "local/faultinjector.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

namespace {

const QString kAccount = QStringLiteral("/services/7/accounts/9");
const QString kChats = QStringLiteral("services/7/accounts/9/chats");

QJsonObject push(const QString &action, const QString &path, const QJsonValue &data)
{
    return QJsonObject{{"a", action}, {"b", QJsonObject{{"p", path}, {"d", data}}}};
}

QByteArray json(const QJsonValue &value)
{
    return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
}

} // namespace

class TestLocalRealtime : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void handshakeDescribesTheConnection();
    void listenGetsSnapshotThenEveryOverlappingWrite();
    void writerSeesItsOwnPushBeforeItsAnswer();
    void accountsAreIsolated();
    void largeMessagesAreSplitIntoFrames();
    void keepAliveAndPing();
    void unlistenStopsPushes();
    void getAndDisconnectWrites();
    void filteredListenGetsTaggedFilteredValues();
    void faultsDropStreamsAndDelayAnswers();
    void closingWithPushesWaitingIsSafe();

private:
    std::unique_ptr<RealtimeClient> connectedClient(const QString &token);
    HttpResult rest(const QByteArray &verb, const QString &relative, const QJsonValue &body = {});

    LocalTestService m_local;
    std::unique_ptr<RestClient> m_rest;
    QString m_token;
    QString m_otherToken;
};

void TestLocalRealtime::initTestCase()
{
    QVERIFY(m_local.start());
    m_rest = std::make_unique<RestClient>(&m_local);
    m_token = m_local.idToken(9, "operator-1");
    m_otherToken = m_local.idToken(10, "operator-2");
    QVERIFY(!m_token.isEmpty() && !m_otherToken.isEmpty());
}

void TestLocalRealtime::init()
{
    rest("DELETE", "");
}

void TestLocalRealtime::cleanup()
{
    m_local.service()->faults()->setReplyDelay(0);
    m_local.service()->faults()->setDropStreamsInterval(0);
}

HttpResult TestLocalRealtime::rest(const QByteArray &verb,
                                   const QString &relative,
                                   const QJsonValue &body)
{
    return m_rest->send(verb,
                        kAccount + relative + ".json?auth=" + m_token,
                        json(body).mid(1).chopped(1));
}

std::unique_ptr<RealtimeClient> TestLocalRealtime::connectedClient(const QString &token)
{
    auto client = std::make_unique<RealtimeClient>(&m_local);
    if (!client->open())
        return nullptr;
    if (!token.isEmpty() && client->auth(token).value("s").toString() != "ok")
        return nullptr;
    return client;
}

void TestLocalRealtime::handshakeDescribesTheConnection()
{
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    RealtimeClient first(&m_local);
    QVERIFY(first.open());
    const QJsonObject handshake = first.handshake();
    QCOMPARE(handshake.value("v").toString(), QString("5"));
    QCOMPARE(handshake.value("h").toString(), m_local.url("/").authority());
    const double ts = handshake.value("ts").toDouble();
    QVERIFY(ts >= before && ts <= QDateTime::currentMSecsSinceEpoch());
    QVERIFY(!handshake.value("s").toString().isEmpty());
    // The handshake is the first frame, as a control message.
    QCOMPARE(first.messages().first().value("t").toString(), QString("c"));

    RealtimeClient second(&m_local);
    QVERIFY(second.open());
    QVERIFY(second.handshake().value("s") != handshake.value("s"));

    const QJsonObject stats = first.request("s", {{"c", QJsonObject{{"sdk.js.4-6-1", 1}}}});
    QCOMPARE(stats, (QJsonObject{{"s", "ok"}, {"d", ""}}));

    // The auth answer carries the token's claims, auth_time among them, in seconds.
    const QJsonObject auth = first.auth(m_token);
    QCOMPARE(auth.value("s").toString(), QString("ok"));
    const QJsonObject token
        = auth.value("d").toObject().value("auth").toObject().value("token").toObject();
    QCOMPARE(token.value("uid").toString(), QString("operator-1"));
    QCOMPARE(token.value("service_id").toInt(), 7);
    QCOMPARE(token.value("account_id").toInt(), 9);
    const double authTime = token.value("auth_time").toDouble();
    QVERIFY(authTime > before / 1000 - 60 && authTime <= QDateTime::currentSecsSinceEpoch());
    QCOMPARE(auth.value("d").toObject().value("expires").toDouble(), token.value("exp").toDouble());

    const QJsonObject refused = first.auth("not-a-token");
    QCOMPARE(refused.value("s").toString(), QString("invalid_token"));

    // Another namespace is another database, which this service does not have.
    RealtimeClient elsewhere(&m_local);
    QVERIFY(!elsewhere.open("v=5&ns=elsewhere", 1000));
}

void TestLocalRealtime::listenGetsSnapshotThenEveryOverlappingWrite()
{
    rest("PUT",
         "",
         QJsonObject{{"chats", QJsonObject{{"c1", QJsonObject{{"status", "open"}}}}},
                     {"users", QJsonObject{{"u1", QJsonObject{{"name", "A"}}}}}});
    auto listener = connectedClient(m_token);
    QVERIFY(listener);
    QCOMPARE(listener->listen("/" + kChats), (QJsonObject{{"s", "ok"}, {"d", QJsonObject()}}));
    QCOMPARE(listener->nextPush(),
             push("d", kChats, QJsonObject{{"c1", QJsonObject{{"status", "open"}}}}));

    rest("PUT", "/chats/c1/status", "closed"); // below
    rest("PATCH",
         "/chats",
         QJsonObject{{"c1/unread", 2}, {"c2", QJsonObject{{"status", "new"}}}});     // at
    rest("PATCH", "/chats/c2", QJsonObject{{"status", "open"}});                     // below
    rest("PUT", "/users/u1/name", "B");                                              // beside
    rest("PATCH", "", QJsonObject{{"users/u2/name", "C"}});                          // beside
    rest("PATCH", "", QJsonObject{{"chats/c3/status", "new"}, {"users/u3", 1}});     // above
    rest("PUT", "/chats", QJsonObject{{"c9", QJsonObject{{"status", "x"}}}});        // at
    rest("PUT", "", QJsonObject{{"chats", QJsonObject{{"c1", "y"}}}, {"users", 1}}); // above
    rest("PATCH", "", QJsonObject{{"chats", QJsonObject{{"c5", 1}}}});               // above
    rest("DELETE", "/chats/c5");                                                     // below
    rest("PUT", "/chats/marker", true);

    const QList<QJsonObject> expected{
        push("d", kChats + "/c1/status", "closed"),
        push("m", kChats, QJsonObject{{"c1/unread", 2}, {"c2", QJsonObject{{"status", "new"}}}}),
        push("m", kChats + "/c2", QJsonObject{{"status", "open"}}),
        push("m", kChats, QJsonObject{{"c3/status", "new"}}),
        push("d", kChats, QJsonObject{{"c9", QJsonObject{{"status", "x"}}}}),
        push("d", kChats, QJsonObject{{"c1", "y"}}),
        push("d", kChats, QJsonObject{{"c5", 1}}),
        push("d", kChats + "/c5", QJsonValue()),
        push("d", kChats + "/marker", true),
    };
    for (const QJsonObject &expectedPush : expected)
        QCOMPARE(listener->nextPush(), expectedPush);
    QTest::qWait(50);
    QCOMPARE(listener->pendingPushes(), 0);

    // A listen at the root of the account's tree sees the same writes from above.
    auto wide = connectedClient(m_token);
    QVERIFY(wide);
    QCOMPARE(wide->listen(kAccount).value("s").toString(), QString("ok"));
    QCOMPARE(wide->nextPush().value("b").toObject().value("p").toString(), kAccount.mid(1));
    rest("PUT", "/chats/c1", "z");
    QCOMPARE(wide->nextPush(), push("d", kChats + "/c1", "z"));
    QCOMPARE(listener->nextPush(), push("d", kChats + "/c1", "z"));

    // A listen on a path with nothing there still gets its first push, with null.
    QCOMPARE(listener->listen(kAccount + "/nothing").value("s").toString(), QString("ok"));
    QCOMPARE(listener->nextPush(), push("d", kAccount.mid(1) + "/nothing", QJsonValue()));
}

void TestLocalRealtime::writerSeesItsOwnPushBeforeItsAnswer()
{
    auto client = connectedClient(m_token);
    QVERIFY(client);
    // Clients send the listen and the write without waiting for answers; order is kept.
    const qint64 listen = client->send("q", {{"p", QString("/" + kChats)}, {"h", ""}});
    const qint64 write = client->send("p",
                                      {{"p", QString("/" + kChats + "/c1")},
                                       {"d",
                                        QJsonObject{{"t", QJsonObject{{".sv", "timestamp"}}}}}});
    const qint64 merge = client->send("m",
                                      {{"p", QString("/" + kChats)},
                                       {"d", QJsonObject{{"c1/n", 1}, {"c2", "x"}}}});
    QCOMPARE(client->waitForAnswer(merge).value("s").toString(), QString("ok"));
    QCOMPARE(client->waitForAnswer(listen).value("s").toString(), QString("ok"));
    QCOMPARE(client->waitForAnswer(write).value("s").toString(), QString("ok"));

    QList<int> order;
    for (const QJsonObject &message : client->messages()) {
        const QJsonObject d = message.value("d").toObject();
        if (d.contains("r"))
            order.append(d.value("r").toInt());
        else if (d.contains("a"))
            order.append(0);
    }
    // handshake skipped; auth answer, then push/answer pairs in request order
    QCOMPARE(order, (QList<int>{1, 0, int(listen), 0, int(write), 0, int(merge)}));

    QCOMPARE(client->nextPush(), push("d", kChats, QJsonValue()));
    const QJsonObject written = client->nextPush();
    QCOMPARE(written.value("b").toObject().value("p").toString(), kChats + "/c1");
    const double t = written.value("b").toObject().value("d").toObject().value("t").toDouble();
    QVERIFY(qAbs(t - QDateTime::currentMSecsSinceEpoch()) < 10000);
    QCOMPARE(client->nextPush(), push("m", kChats, QJsonObject{{"c1/n", 1}, {"c2", "x"}}));
}

void TestLocalRealtime::accountsAreIsolated()
{
    auto mine = connectedClient(m_token);
    auto theirs = connectedClient(m_otherToken);
    QVERIFY(mine && theirs);
    const QString theirChats = "/services/7/accounts/10/chats";
    QCOMPARE(mine->listen("/" + kChats).value("s").toString(), QString("ok"));
    QCOMPARE(theirs->listen(theirChats).value("s").toString(), QString("ok"));
    mine->nextPush();
    theirs->nextPush();

    const QJsonObject denied{{"s", "permission_denied"}, {"d", "Permission denied"}};
    QCOMPARE(mine->listen(theirChats), denied);
    QCOMPARE(mine->listen("/services/7/accounts"), denied);
    QCOMPARE(mine->listen("/"), denied);
    QCOMPARE(mine->request("p", {{"p", QString(theirChats + "/x")}, {"d", 1}}), denied);
    QCOMPARE(mine->request("m",
                           {{"p", "/services/7/accounts"},
                            {"d", QJsonObject{{"9/a", 1}, {"10/a", 1}}}}),
             denied);
    QCOMPARE(mine->request("g", {{"p", theirChats}}), denied);
    QCOMPARE(mine->request("o", {{"p", QString(theirChats + "/x")}, {"d", 1}}), denied);

    QCOMPARE(mine->request("p", {{"p", QString("/" + kChats + "/mine")}, {"d", 1}})
                 .value("s")
                 .toString(),
             QString("ok"));
    QCOMPARE(theirs->request("p", {{"p", QString(theirChats + "/theirs")}, {"d", 2}})
                 .value("s")
                 .toString(),
             QString("ok"));
    QCOMPARE(mine->nextPush(), push("d", kChats + "/mine", 1));
    QCOMPARE(theirs->nextPush(), push("d", theirChats.mid(1) + "/theirs", 2));
    QTest::qWait(50);
    QCOMPARE(mine->pendingPushes(), 0);
    QCOMPARE(theirs->pendingPushes(), 0);

    // Without auth nothing can be listened to or written.
    auto anonymous = connectedClient(QString());
    QVERIFY(anonymous);
    QCOMPARE(anonymous->listen("/" + kChats), denied);
    QCOMPARE(anonymous->request("p", {{"p", QString("/" + kChats + "/x")}, {"d", 1}}), denied);

    // Signing out revokes the listen.
    QCOMPARE(mine->request("unauth", {}), (QJsonObject{{"s", "ok"}, {"d", "unauthenticated"}}));
    QCOMPARE(mine->nextPush(), (QJsonObject{{"a", "c"}, {"b", QJsonObject{{"p", kChats}}}}));
}

void TestLocalRealtime::largeMessagesAreSplitIntoFrames()
{
    // "😀x" repeated: frame boundaries fall at every position of the pattern, so some would cut
    // a surrogate pair if the splitting ignored them.
    QString big;
    while (big.size() < 1024 * 1024)
        big += QString::fromUtf8("😀x");
    auto listener = connectedClient(m_token);
    QVERIFY(listener);
    QCOMPARE(listener->listen(kAccount + "/big").value("s").toString(), QString("ok"));
    listener->nextPush();
    const int framesBefore = listener->frames().size();

    QCOMPARE(rest("PUT", "/big", big).status, 200);
    const QJsonObject received = listener->nextPush(10000);
    QCOMPARE(received.value("b").toObject().value("d").toString(), big);

    const QStringList frames = listener->frames().mid(framesBefore);
    bool isNumber = false;
    const int count = frames.first().toInt(&isNumber);
    QVERIFY(isNumber);
    QCOMPARE(count, frames.size() - 1);
    QVERIFY(count >= 1024 * 1024 / 16384);
    for (int i = 1; i < frames.size(); ++i) {
        QVERIFY(frames.at(i).size() <= 16384);
        QVERIFY(!frames.at(i).at(frames.at(i).size() - 1).isHighSurrogate());
    }
    // Small messages come whole, with no count before them.
    rest("PUT", "/big", "small");
    QCOMPARE(listener->nextPush(), push("d", kAccount.mid(1) + "/big", "small"));
    QVERIFY(listener->frames().last().startsWith('{'));

    // Clients split the same way: a count, then the pieces of one write.
    const QString message = QString::fromUtf8(
        QJsonDocument(
            QJsonObject{{"t", "d"},
                        {"d",
                         QJsonObject{{"r", 100},
                                     {"a", "p"},
                                     {"b",
                                      QJsonObject{{"p", QString(kAccount + "/big")}, {"d", big}}}}}})
            .toJson(QJsonDocument::Compact));
    QStringList pieces;
    for (int start = 0; start < message.size(); start += pieces.last().size()) {
        int length = qMin(16384, message.size() - start);
        if (message.at(start + length - 1).isHighSurrogate())
            --length;
        pieces.append(message.mid(start, length));
    }
    listener->sendText(QString::number(pieces.size()));
    for (const QString &piece : qAsConst(pieces))
        listener->sendText(piece);
    QCOMPARE(listener->waitForAnswer(100, 10000).value("s").toString(), QString("ok"));
    QCOMPARE(rest("GET", "/big").json.toString(), big);
}

void TestLocalRealtime::keepAliveAndPing()
{
    auto client = connectedClient(m_token);
    QVERIFY(client);
    const int before = client->messages().size();
    client->sendText("0");
    QTest::qWait(200);
    QCOMPARE(client->messages().size(), before);
    QVERIFY(client->isConnected());
    // A keep-alive is not a frame count: the next message is handled on its own.
    QCOMPARE(client->request("s", {}).value("s").toString(), QString("ok"));

    client->sendText(R"({"t":"c","d":{"t":"p","d":{}}})");
    QTRY_COMPARE(client->messages().size(), before + 2);
    const QJsonObject pong = client->messages().last();
    QCOMPARE(pong, (QJsonObject{{"t", "c"}, {"d", QJsonObject{{"t", "o"}, {"d", QJsonValue()}}}}));
    QVERIFY(pong.value("d").toObject().contains("d"));

    // Garbage is ignored, not fatal.
    client->sendText("{not json");
    QCOMPARE(client->request("s", {}).value("s").toString(), QString("ok"));
}

void TestLocalRealtime::unlistenStopsPushes()
{
    auto client = connectedClient(m_token);
    QVERIFY(client);
    QCOMPARE(client->listen("/" + kChats).value("s").toString(), QString("ok"));
    client->nextPush();
    rest("PUT", "/chats/a", 1);
    QCOMPARE(client->nextPush(), push("d", kChats + "/a", 1));
    QCOMPARE(client->request("n", {{"p", QString("/" + kChats)}}),
             (QJsonObject{{"s", "ok"}, {"d", ""}}));
    rest("PUT", "/chats/a", 2);
    QCOMPARE(client->request("s", {}).value("s").toString(), QString("ok"));
    QTest::qWait(50);
    QCOMPARE(client->pendingPushes(), 0);
}

void TestLocalRealtime::getAndDisconnectWrites()
{
    rest("PUT", "/users/u1", QJsonObject{{"online", true}, {"name", "A"}});
    auto client = connectedClient(m_token);
    QVERIFY(client);
    QCOMPARE(client->request("g", {{"p", QString(kAccount + "/users/u1")}, {"q", QJsonObject()}}),
             (QJsonObject{{"s", "ok"}, {"d", QJsonObject{{"online", true}, {"name", "A"}}}}));

    const QString user = kAccount + "/users/u1";
    QCOMPARE(client->request("o", {{"p", QString(user + "/online")}, {"d", false}})
                 .value("s")
                 .toString(),
             QString("ok"));
    QCOMPARE(client
                 ->request("om",
                           {{"p", user},
                            {"d", QJsonObject{{"seen", QJsonObject{{".sv", "timestamp"}}}}}})
                 .value("s")
                 .toString(),
             QString("ok"));
    QCOMPARE(client->request("o", {{"p", QString(user + "/name")}, {"d", QJsonValue()}})
                 .value("s")
                 .toString(),
             QString("ok"));
    QCOMPARE(client->request("oc", {{"p", QString(user + "/name")}}).value("s").toString(),
             QString("ok"));
    QCOMPARE(rest("GET", "/users/u1/online").json, QJsonValue(true));

    const qint64 closedAt = QDateTime::currentMSecsSinceEpoch();
    client->close();
    QTRY_COMPARE(rest("GET", "/users/u1/online").json, QJsonValue(false));
    const QJsonObject user1 = rest("GET", "/users/u1").json.toObject();
    QCOMPARE(user1.value("name").toString(), QString("A"));
    QVERIFY(user1.value("seen").toDouble() >= closedAt);
}

void TestLocalRealtime::filteredListenGetsTaggedFilteredValues()
{
    rest("PUT",
         "/chats",
         QJsonObject{{"a", QJsonObject{{"time", 1}}},
                     {"b", QJsonObject{{"time", 3}}},
                     {"c", QJsonObject{{"time", 2}}}});
    auto client = connectedClient(m_token);
    QVERIFY(client);
    const QJsonObject query{{"i", "time"}, {"l", 2}, {"vf", "r"}};
    QCOMPARE(client->request("q", {{"p", QString("/" + kChats)}, {"q", query}, {"t", 1}, {"h", ""}})
                 .value("s")
                 .toString(),
             QString("ok"));
    QJsonObject first = client->nextPush();
    QCOMPARE(first.value("b").toObject().value("t").toInt(), 1);
    QCOMPARE(first.value("b").toObject().value("d").toObject().keys(), QStringList({"b", "c"}));

    rest("PUT", "/chats/a/time", 9);
    const QJsonObject next = client->nextPush();
    QCOMPARE(next.value("b").toObject().value("p").toString(), kChats);
    QCOMPARE(next.value("b").toObject().value("t").toInt(), 1);
    QCOMPARE(next.value("b").toObject().value("d").toObject().keys(), QStringList({"a", "b"}));
}

void TestLocalRealtime::faultsDropStreamsAndDelayAnswers()
{
    FaultInjector *faults = m_local.service()->faults();
    auto first = connectedClient(m_token);
    auto second = connectedClient(m_token);
    QVERIFY(first && second);
    QCOMPARE(first->request("o", {{"p", QString(kAccount + "/users/u1/online")}, {"d", false}})
                 .value("s")
                 .toString(),
             QString("ok"));
    QTRY_COMPARE(m_local.service()->realtimeSessionCount(), 2);
    faults->dropStreamsNow();
    QVERIFY(first->waitForDisconnected());
    QVERIFY(second->waitForDisconnected());
    // A dropped connection still runs its on-disconnect writes, as a lost one does.
    QTRY_COMPARE(rest("GET", "/users/u1/online").json, QJsonValue(false));
    QTRY_COMPARE(m_local.service()->realtimeSessionCount(), 0);

    faults->setDropStreamsInterval(150);
    for (int i = 0; i < 2; ++i) {
        RealtimeClient again(&m_local);
        again.open();
        QVERIFY(again.waitForDisconnected(1000));
    }
    faults->setDropStreamsInterval(0);

    faults->setReplyDelay(200);
    auto slow = std::make_unique<RealtimeClient>(&m_local);
    QVERIFY(slow->open());
    QElapsedTimer timer;
    timer.start();
    const qint64 auth = slow->send("auth", {{"cred", m_token}});
    const qint64 listen = slow->send("q", {{"p", QString("/" + kChats)}, {"h", ""}});
    QCOMPARE(slow->waitForAnswer(listen).value("s").toString(), QString("ok"));
    QVERIFY(timer.elapsed() >= 190);
    QCOMPARE(slow->waitForAnswer(auth).value("s").toString(), QString("ok"));
    QCOMPARE(slow->nextPush(), push("d", kChats, QJsonValue()));

    timer.restart();
    QCOMPARE(rest("GET", "/chats").status, 200);
    QVERIFY(timer.elapsed() >= 190);
}

void TestLocalRealtime::closingWithPushesWaitingIsSafe()
{
    // Under load pushes wait for the next batch; a client that closes meanwhile must not leave
    // the batch pointing at its connection.
    LocalService::Options options;
    options.pushBatchMs = 300;
    LocalTestService local(options);
    QVERIFY(local.start());
    RestClient rest(&local);
    const QString token = local.idToken(9);
    const QString chat = kAccount + "/chats/a.json?auth=" + token;
    for (int round = 0; round < 2; ++round) {
        RealtimeClient client(&local);
        QVERIFY(client.open());
        QCOMPARE(client.auth(token).value("s").toString(), QString("ok"));
        QCOMPARE(client.listen("/" + kChats).value("s").toString(), QString("ok"));
        client.nextPush();
        rest.send("PUT", chat, "1");
        QVERIFY(!client.nextPush(1000).isEmpty());
        rest.send("PUT", chat, "2"); // a batch went out just now: this push waits
        client.close();
        QVERIFY(client.waitForDisconnected());
    }
    QTest::qWait(400); // past the batch's turn
    QCOMPARE(rest.send("GET", "/probe").status, 204);

    // Stopping the service with a push still waiting closes the connection cleanly.
    RealtimeClient last(&local);
    QVERIFY(last.open());
    QCOMPARE(last.auth(token).value("s").toString(), QString("ok"));
    QCOMPARE(last.listen("/" + kChats).value("s").toString(), QString("ok"));
    rest.send("PUT", chat, "3");
    rest.send("PUT", chat, "4");
    local.stop();
    QVERIFY(last.waitForDisconnected());
}

QTEST_GUILESS_MAIN(TestLocalRealtime)
#include "tst_localrealtime.moc"
