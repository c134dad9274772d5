// The realtime database's REST interface of tallyra-local, over TLS with Qt's network classes.
#include "localtestsupport.h"

#include "local/realtimedatabase.h"

#include <QDateTime>
#include <QJsonArray>
#include <QtTest>

namespace {
const QString kAccount = QStringLiteral("/services/7/accounts/9");
}

class TestLocalRest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void putAndGetRoundTrip();
    void serverValuesResolveBeforeStoringAndEcho();
    void patchSetsEachPathAndKeepsSiblings();
    void patchRefusesBadUpdates();
    void postNamesAreTimeOrderedAndUnique();
    void deletingPrunesEmptyParents();
    void accessIsLimitedToTheTokensAccount();
    void badTokensAreRefused();
    void malformedRequestsGetJsonErrors();
    void queriesFilterAndOrder();
    void printAndEtagOptions();

private:
    QString path(const QString &relative, const QString &token = QString()) const;

    LocalTestService m_local;
    std::unique_ptr<RestClient> m_rest;
    QString m_token;
    QString m_otherToken;
};

void TestLocalRest::initTestCase()
{
    QVERIFY(m_local.start());
    m_rest = std::make_unique<RestClient>(&m_local);
    m_token = m_rest->idToken(7, 9, "operator-1");
    m_otherToken = m_rest->idToken(7, 10, "operator-2");
    QVERIFY(!m_token.isEmpty());
    QVERIFY(!m_otherToken.isEmpty());
}

void TestLocalRest::init()
{
    m_rest->send("DELETE", path("", m_token));
}

QString TestLocalRest::path(const QString &relative, const QString &token) const
{
    QStringList query;
    if (relative.contains('?'))
        query.append(relative.section('?', 1));
    if (!token.isEmpty())
        query.append("auth=" + token);
    return kAccount + relative.section('?', 0, 0) + ".json"
           + (query.isEmpty() ? QString() : "?" + query.join('&'));
}

void TestLocalRest::putAndGetRoundTrip()
{
    const QByteArray chat = R"({"status":"open","unread":3,"visitor":{"name":"Анна ✓","vip":true},
                               "tags":["a","b"],"empty":{},"gone":null})";
    HttpResult put = m_rest->send("PUT", path("/chats/c1", m_token), chat);
    QCOMPARE(put.status, 200);
    // Nulls and empty objects are not stored, and the echo shows what was stored.
    const QJsonObject stored{{"status", "open"},
                             {"unread", 3},
                             {"visitor", QJsonObject{{"name", "Анна ✓"}, {"vip", true}}},
                             {"tags", QJsonArray{"a", "b"}}};
    QCOMPARE(put.json, QJsonValue(stored));

    QCOMPARE(m_rest->send("GET", path("/chats/c1", m_token)).json, QJsonValue(stored));
    QCOMPARE(m_rest->send("GET", path("/chats/c1/visitor/name", m_token)).json,
             QJsonValue("Анна ✓"));
    QCOMPARE(m_rest->send("GET", path("/chats/c1/unread", m_token)).body, QByteArray("3"));

    const HttpResult missing = m_rest->send("GET", path("/chats/none", m_token));
    QCOMPARE(missing.status, 200);
    QCOMPARE(missing.body, QByteArray("null"));

    // A scalar replaces a subtree, and a subtree a scalar.
    QCOMPARE(m_rest->send("PUT", path("/chats/c1/visitor", m_token), "\"anonymous\"").status, 200);
    QCOMPARE(m_rest->send("GET", path("/chats/c1/visitor", m_token)).json, QJsonValue("anonymous"));
    QCOMPARE(m_rest->send("PUT", path("/chats/c1/visitor/name", m_token), "\"Bo\"").status, 200);
    QCOMPARE(m_rest->send("GET", path("/chats/c1/visitor", m_token)).json,
             QJsonValue(QJsonObject{{"name", "Bo"}}));

    // Arrays read back as arrays only while more than half of the indexes are used.
    m_rest->send("PUT", path("/sparse", m_token), R"({"0":"a","5":"b"})");
    QCOMPARE(m_rest->send("GET", path("/sparse", m_token)).json,
             QJsonValue(QJsonObject{{"0", "a"}, {"5", "b"}}));
}

void TestLocalRest::serverValuesResolveBeforeStoringAndEcho()
{
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    const HttpResult put
        = m_rest->send("PUT",
                       path("/chats/c2", m_token),
                       R"({"created":{".sv":"timestamp"},"count":{".sv":{"increment":2}}})");
    const qint64 after = QDateTime::currentMSecsSinceEpoch();
    QCOMPARE(put.status, 200);
    const double created = put.json.toObject().value("created").toDouble();
    QVERIFY(created >= before && created <= after);
    QCOMPARE(put.json.toObject().value("count").toDouble(), 2.0);

    const HttpResult patch = m_rest->send("PATCH",
                                          path("/chats/c2", m_token),
                                          R"({"count":{".sv":{"increment":5}}})");
    QCOMPARE(patch.json, QJsonValue(QJsonObject{{"count", 7}}));
    const QJsonObject stored = m_rest->send("GET", path("/chats/c2", m_token)).json.toObject();
    QCOMPARE(stored.value("created").toDouble(), created);
    QCOMPARE(stored.value("count").toDouble(), 7.0);

    QCOMPARE(m_rest->send("PUT", path("/x", m_token), R"({".sv":"nonsense"})").status, 400);
}

void TestLocalRest::patchSetsEachPathAndKeepsSiblings()
{
    m_rest->send("PUT",
                 path("/chats", m_token),
                 R"({"a":{"status":"open","unread":1},"b":{"status":"open"}})");
    const QByteArray update = R"({"a/unread":0,"a/operator":"op1","b":null,"c/status":"new"})";
    const HttpResult patch = m_rest->send("PATCH", path("/chats", m_token), update);
    QCOMPARE(patch.status, 200);
    QCOMPARE(patch.json,
             QJsonValue(QJsonObject{{"a/unread", 0},
                                    {"a/operator", "op1"},
                                    {"b", QJsonValue()},
                                    {"c/status", "new"}}));
    QCOMPARE(m_rest->send("GET", path("/chats", m_token)).json,
             QJsonValue(
                 QJsonObject{{"a",
                              QJsonObject{{"status", "open"}, {"unread", 0}, {"operator", "op1"}}},
                             {"c", QJsonObject{{"status", "new"}}}}));

    // An update at an ancestor reaches into the account through its keys.
    const HttpResult fromAbove = m_rest->send("PATCH",
                                              "/services/7.json?auth=" + m_token,
                                              R"({"accounts/9/chats/a/unread":4})");
    QCOMPARE(fromAbove.status, 200);
    QCOMPARE(m_rest->send("GET", path("/chats/a/unread", m_token)).json, QJsonValue(4));
}

void TestLocalRest::patchRefusesBadUpdates()
{
    m_rest->send("PUT", path("/chats/a", m_token), R"({"status":"open"})");
    const QList<QByteArray> bad{
        R"({"a":1,"a/b":2})", // one key the ancestor of another
        R"({"a.b":1})",       // forbidden character
        R"({"a":{"x$":1}})",  // forbidden character deeper down
        R"([1,2])",           // not an object
        R"("text")",
        R"({"a":1)", // not JSON
    };
    for (const QByteArray &body : bad) {
        const HttpResult result = m_rest->send("PATCH", path("/chats", m_token), body);
        QVERIFY2(result.status == 400, body);
        QVERIFY2(result.json.toObject().value("error").isString(), result.body);
    }
    // None of them changed anything.
    QCOMPARE(m_rest->send("GET", path("/chats", m_token)).json,
             QJsonValue(QJsonObject{{"a", QJsonObject{{"status", "open"}}}}));
}

void TestLocalRest::postNamesAreTimeOrderedAndUnique()
{
    QStringList names;
    const qint64 start = QDateTime::currentMSecsSinceEpoch();
    for (int i = 0; i < 40; ++i) {
        const HttpResult post = m_rest->send("POST",
                                             path("/chat-messages/c1", m_token),
                                             QByteArray::number(i));
        QCOMPARE(post.status, 200);
        names.append(post.json.toObject().value("name").toString());
    }
    static const QString alphabet
        = "-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
    qint64 decoded = 0;
    for (int i = 0; i < 8; ++i)
        decoded = decoded * 64 + alphabet.indexOf(names.first().at(i));
    QVERIFY(decoded >= start && decoded <= QDateTime::currentMSecsSinceEpoch());
    for (int i = 0; i < names.size(); ++i) {
        QCOMPARE(names.at(i).size(), 20);
        for (const QChar c : names.at(i))
            QVERIFY(alphabet.contains(c));
        if (i > 0)
            QVERIFY2(names.at(i - 1) < names.at(i), qPrintable(names.at(i)));
    }
    const QJsonObject stored = m_rest->send("GET", path("/chat-messages/c1", m_token))
                                   .json.toObject();
    QCOMPARE(stored.size(), 40);
    for (int i = 0; i < names.size(); ++i)
        QCOMPARE(stored.value(names.at(i)).toInt(), i);
}

void TestLocalRest::deletingPrunesEmptyParents()
{
    m_rest->send("PUT", path("/a/b/c/d", m_token), "1");
    m_rest->send("PUT", path("/keep", m_token), "true");
    const HttpResult deleted = m_rest->send("DELETE", path("/a/b/c/d", m_token));
    QCOMPARE(deleted.status, 200);
    QCOMPARE(deleted.body, QByteArray("null"));
    QCOMPARE(m_rest->send("GET", path("", m_token)).json, QJsonValue(QJsonObject{{"keep", true}}));

    m_rest->send("PUT", path("/a/b", m_token), "1");
    QCOMPARE(m_rest->send("PUT", path("/a/b", m_token), "null").body, QByteArray("null"));
    m_rest->send("PUT", path("/a/c", m_token), "1");
    QCOMPARE(m_rest->send("PUT", path("/a", m_token), "{}").body, QByteArray("null"));
    QCOMPARE(m_rest->send("GET", path("", m_token)).json, QJsonValue(QJsonObject{{"keep", true}}));

    // With the last child gone the account itself disappears, up to the root.
    m_rest->send("DELETE", path("/keep", m_token));
    QCOMPARE(m_local.service()->database()->value({}), QJsonValue());
}

void TestLocalRest::accessIsLimitedToTheTokensAccount()
{
    m_rest->send("PUT", path("/chats/a", m_token), R"({"status":"open"})");
    const QString other = "/services/7/accounts/10/chats/a.json?auth=" + m_token;
    const QString otherService = "/services/8/accounts/9/chats/a.json?auth=" + m_token;
    const QString above = "/services/7/accounts.json?auth=" + m_token;
    for (const QString &target : {other, otherService, above, QString("/.json?auth=" + m_token)}) {
        for (const QByteArray verb : {"GET", "PUT", "POST", "DELETE"}) {
            const HttpResult result = m_rest->send(verb, target, "1");
            QCOMPARE(result.status, 401);
            QCOMPARE(result.json, QJsonValue(QJsonObject{{"error", "Permission denied"}}));
        }
    }
    // One key of an update outside the account refuses the whole update.
    const HttpResult mixed = m_rest->send("PATCH",
                                          "/services/7/accounts.json?auth=" + m_token,
                                          R"({"9/chats/a/status":"closed","10/chats/a/status":"x"})");
    QCOMPARE(mixed.status, 401);
    QCOMPARE(m_rest->send("GET", path("/chats/a/status", m_token)).json, QJsonValue("open"));

    // The other account's operator sees nothing of this one.
    QCOMPARE(m_rest->send("GET", path("/chats", m_otherToken)).status, 401);
    // Without a token nothing is readable.
    QCOMPARE(m_rest->send("GET", path("/chats")).status, 401);

    // The bearer header alone is enough.
    const HttpResult bearer = m_rest->send("GET",
                                           kAccount + "/chats/a/status.json",
                                           {},
                                           {{"Authorization", "Bearer " + m_token.toLatin1()}});
    QCOMPARE(bearer.status, 200);
    QCOMPARE(bearer.json, QJsonValue("open"));
}

void TestLocalRest::badTokensAreRefused()
{
    QString tampered = m_token;
    const int claims = tampered.indexOf('.') + 1;
    tampered[claims + 5] = tampered.at(claims + 5) == 'A' ? 'B' : 'A';
    const QString custom = QString::fromLatin1(m_local.service()->mintCustomToken(7, 9, "op"));
    const QString unsignedToken = m_token.section('.', 0, 1) + ".";
    for (const QString &token :
         {QString("garbage"), tampered, custom, unsignedToken, QString("owner")}) {
        const HttpResult result = m_rest->send("GET", path("/chats", token));
        QCOMPARE(result.status, 401);
        QVERIFY2(result.json.toObject().value("error").toString() != "Permission denied",
                 result.body);
    }
}

void TestLocalRest::malformedRequestsGetJsonErrors()
{
    const HttpResult badJson = m_rest->send("PUT", path("/a", m_token), "{not json");
    QCOMPARE(badJson.status, 400);
    QCOMPARE(badJson.json.toObject().value("error").toString(),
             QString("Invalid data; couldn't parse JSON object, array, or value."));
    QCOMPARE(m_rest->send("PUT", path("/a", m_token), "").status, 400);
    QCOMPARE(m_rest->send("PUT", path("/a", m_token), "1 2").status, 400);
    QCOMPARE(m_rest->send("GET", kAccount + "/a$b.json?auth=" + m_token).status, 400);
    QCOMPARE(m_rest->send("GET", kAccount + "/a%5Bb.json?auth=" + m_token).status, 400);
    QCOMPARE(m_rest->send("PUT", path("/a", m_token), R"({"in valid.key":1})").status, 400);

    const HttpResult otherDatabase = m_rest->send("GET", path("/a?ns=elsewhere", m_token));
    QCOMPARE(otherDatabase.status, 404);
    QVERIFY(otherDatabase.json.toObject().contains("error"));
    QCOMPARE(m_rest->send("GET", path("/a?ns=tallyra-local", m_token)).status, 200);

    QCOMPARE(m_rest->send("GET", kAccount + "/a?auth=" + m_token).status, 404);
    const HttpResult verb = m_rest->send("PROPFIND", path("/a", m_token));
    QCOMPARE(verb.status, 405);
    QVERIFY(verb.json.toObject().contains("error"));
}

void TestLocalRest::queriesFilterAndOrder()
{
    m_rest->send("PUT", path("/chats", m_token), R"({
        "c1":{"time":30,"status":"open"},
        "c2":{"time":10,"status":"closed"},
        "c3":{"time":20,"status":"open"},
        "c4":{"status":"open"}})");
    const auto get = [this](const QString &query) {
        return m_rest->send("GET", path("/chats?" + query, m_token));
    };
    const auto keys = [](const HttpResult &result) {
        QStringList list = result.json.toObject().keys();
        list.sort();
        return list;
    };
    QCOMPARE(keys(get("orderBy=%22time%22&limitToFirst=2")), QStringList({"c2", "c4"}));
    QCOMPARE(keys(get("orderBy=%22time%22&limitToLast=2")), QStringList({"c1", "c3"}));
    QCOMPARE(keys(get("orderBy=%22time%22&startAt=15&endAt=30")), QStringList({"c1", "c3"}));
    QCOMPARE(keys(get("orderBy=%22status%22&equalTo=%22closed%22")), QStringList({"c2"}));
    QCOMPARE(keys(get("orderBy=%22$key%22&startAt=%22c3%22")), QStringList({"c3", "c4"}));
    QCOMPARE(keys(get("orderBy=%22$key%22&limitToLast=1")), QStringList({"c4"}));

    const HttpResult shallow = get("shallow=true");
    QCOMPARE(shallow.json,
             QJsonValue(QJsonObject{{"c1", true}, {"c2", true}, {"c3", true}, {"c4", true}}));

    QCOMPARE(get("limitToFirst=1").status, 400); // orderBy is required
    QCOMPARE(get("orderBy=time").status, 400);   // not JSON
    QCOMPARE(get("orderBy=%22$key%22&startAt=1").status, 400);
    QCOMPARE(get("orderBy=%22time%22&limitToFirst=-1").status, 400);
    QCOMPARE(get("shallow=true&orderBy=%22time%22").status, 400);
}

void TestLocalRest::printAndEtagOptions()
{
    const HttpResult silent = m_rest->send("PUT", path("/a?print=silent", m_token), "1");
    QCOMPARE(silent.status, 204);
    QVERIFY(silent.body.isEmpty());
    QCOMPARE(m_rest->send("GET", path("/a", m_token)).json, QJsonValue(1));
    QVERIFY(m_rest->send("GET", path("?print=pretty", m_token)).body.contains("\n"));

    const HttpResult tagged = m_rest->send("GET",
                                           path("/a", m_token),
                                           {},
                                           {{"X-Firebase-ETag", "true"}});
    const QByteArray etag = tagged.headers.value("etag");
    QVERIFY(!etag.isEmpty());
    const HttpResult stale = m_rest->send("PUT", path("/a", m_token), "2", {{"if-match", "other"}});
    QCOMPARE(stale.status, 412);
    QCOMPARE(stale.headers.value("etag"), etag);
    QCOMPARE(m_rest->send("PUT", path("/a", m_token), "2", {{"if-match", etag}}).status, 200);
    QCOMPARE(m_rest->send("GET", path("/a", m_token)).json, QJsonValue(2));
}

QTEST_GUILESS_MAIN(TestLocalRest)
#include "tst_localrest.moc"
