// The REST interfaces of tallyra-local over TLS with Qt's network classes: the realtime
// database's, and the sign-in endpoints (custom token exchange, refresh, errors and expiry).
#include "localtestsupport.h"

#include "local/faultinjector.h"
#include "local/realtimedatabase.h"
#include "local/tokenissuer.h"

#include <QDir>
#include <QJsonDocument>
#include <QLocale>
#include <QtTest>

namespace {

const QString kAccount = QStringLiteral("/services/7/accounts/9");
// What every case starts from.
const QString kChats = QStringLiteral("{'chats':{'a':{'s':1},'b':{'s':1}}}");
const QString kExchange = QStringLiteral("/identitytoolkit/v3/relyingparty/verifyCustomToken");
const QByteArray kForm = "application/x-www-form-urlencoded";

QJsonObject part(const QString &jwt, int index)
{
    const QByteArray text = jwt.section('.', index, index).toLatin1();
    return QJsonDocument::fromJson(QByteArray::fromBase64(text, QByteArray::Base64UrlEncoding))
        .object();
}

} // namespace

class TestLocalRest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_local.start());
        m_rest = std::make_unique<RestClient>(&m_local);
        m_token = m_rest->token = m_local.idToken(9, "operator-1");
    }

    void init() { QCOMPARE(call("PUT", kAccount, kChats).status, 200); }

    void cleanup()
    {
        m_local.service()->faults()->setRefuseTokenRefresh(false);
        m_local.service()->clock()->reset();
    }

    void writesStoreAndEchoWhatTheyStore_data()
    {
        // verb, path, body, answer, and the account's whole tree afterwards
        QTest::addColumn<QStringList>("row");
        const QString b = "'b':{'s':1}", onlyB = "{'chats':{" + b + "}}";
        const QString stored = "{'n':3,'v':{'name':'Анна ✓'},'t':['x']}";
        addRow("put drops nulls and empty objects",
               "PUT|/chats/c|" + stored.chopped(1) + ",'e':{},'g':null}|" + stored
                   + "|{'chats':{'a':{'s':1}," + b + ",'c':" + stored + "}}");
        addRow("get below", "GET|/chats/a/s||1|" + kChats);
        addRow("get nothing", "GET|/none||null|" + kChats);
        addRow("scalar replaces tree", "PUT|/chats/a|1|1|{'chats':{'a':1," + b + "}}");
        addRow("tree replaces scalar",
               "PUT|/chats/a/s/x|2|2|{'chats':{'a':{'s':{'x':2}}," + b + "}}");
        addRow("mostly used indexes: array",
               "PUT|/chats|{'0':1,'1':2,'3':4}|[1,2,null,4]|{'chats':[1,2,null,4]}");
        addRow("sparse indexes: object",
               "PUT|/chats|{'0':1,'5':2}|{'0':1,'5':2}|{'chats':{'0':1,'5':2}}");
        const QString update = "{'a/n':0,'a/op':'o1','b':null,'c/s':2}";
        addRow("patch sets each path, keeps siblings",
               "PATCH|/chats|" + update + "|" + update
                   + "|{'chats':{'a':{'s':1,'n':0,'op':'o1'},'c':{'s':2}}}");
        addRow("patch from above the account",
               "PATCH|/services/7|{'accounts/9/x':4}|{'accounts/9/x':4}|{'x':4," + kChats.mid(1));
        addRow("delete prunes empty parents", "DELETE|/chats/a/s||null|" + onlyB);
        addRow("put null deletes", "PUT|/chats/a|null|null|" + onlyB);
        addRow("put {} deletes", "PUT|/chats/a|{}|null|" + onlyB);
        addRow("last child gone", "DELETE|/chats||null|null");
    }

    void writesStoreAndEchoWhatTheyStore()
    {
        QFETCH(QStringList, row);
        const QString verb = row[0], path = row[1], body = row[2], answer = row[3],
                      account = row[4];
        const HttpResult result = call(verb.toLatin1(),
                                       path.startsWith("/services") ? path : kAccount + path,
                                       body);
        QCOMPARE(result.status, 200);
        QCOMPARE(result.json, jsonValue(answer));
        QCOMPARE(call("GET", kAccount).json, jsonValue(account));
        if (account == "null") // no empty account, accounts or service left behind
            QCOMPARE(m_local.service()->database()->value(DatabasePath()), QJsonValue());
    }

    void serverValuesAndNamesComeFromTheServiceClock()
    {
        ServiceClock *clock = m_local.service()->clock();
        clock->freeze();
        clock->advance(10 * 60 * 1000); // away from the system's time, within the token's hour
        const double now = clock->nowMs();
        const QString chat = kAccount + "/chats/c";
        QCOMPARE(call("PUT", chat, "{'t':{'.sv':'timestamp'},'n':{'.sv':{'increment':2}}}").json,
                 QJsonValue(QJsonObject{{"t", now}, {"n", 2}}));
        QCOMPARE(call("PATCH", chat, "{'n':{'.sv':{'increment':5}}}").json, jsonValue("{'n':7}"));
        QCOMPARE(call("GET", chat).json, QJsonValue(QJsonObject{{"t", now}, {"n", 7}}));

        // Names: the time in 8 characters, then a part that keeps names of one millisecond apart.
        const QString alphabet = "-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
        QStringList names;
        for (int i = 0; i < 20; ++i) {
            if (i == 10)
                clock->advance(1);
            names.append(call("POST", kAccount + "/m", QString::number(i)).json["name"].toString());
            qint64 time = 0;
            for (const QChar c : names.last().left(8))
                time = time * 64 + alphabet.indexOf(c);
            QCOMPARE(time, clock->nowMs());
            QCOMPARE(names.last().size(), 20);
            for (const QChar c : names.last())
                QVERIFY(alphabet.contains(c));
            QVERIFY2(i == 0 || names.at(i - 1) < names.at(i), qPrintable(names.last()));
        }
        const QJsonObject stored = call("GET", kAccount + "/m").json.toObject();
        QCOMPARE(stored.size(), names.size());
        for (int i = 0; i < names.size(); ++i)
            QCOMPARE(stored.value(names.at(i)).toInt(), i);
    }

    void refusedRequestsChangeNothing_data()
    {
        // verb, target (from the root, with the query), body, status, and the error: empty for
        // any text, "-" for none.
        QTest::addColumn<QStringList>("row");
        const QString a = kAccount + ".json?auth=", t = m_token, denied = "Permission denied";
        addRow("another account", "GET|/services/7/accounts/10.json?auth=" + t + "||401|" + denied);
        addRow("another service", "PUT|/services/8/accounts/9.json?auth=" + t + "|1|401|" + denied);
        addRow("above the account", "POST|/services/7/accounts.json?auth=" + t + "|1|401|" + denied);
        addRow("the root", "DELETE|/.json?auth=" + t + "||401|" + denied);
        addRow("one key outside",
               "PATCH|/services/7/accounts.json?auth=" + t + "|{'9/x':1,'10/x':1}|401|" + denied);
        addRow("another account's token", "GET|" + a + m_local.idToken(10) + "||401|" + denied);
        addRow("no token", "GET|" + kAccount + ".json||401|" + denied);
        QString tampered = t;
        tampered[t.indexOf('.') + 5] = t.at(t.indexOf('.') + 5) == 'A' ? 'B' : 'A';
        const QString custom = m_local.service()->mintCustomToken(7, 9, "op");
        const QString badToken = "Could not parse auth token.";
        addRow("garbage token", "GET|" + a + "garbage||401|" + badToken);
        addRow("tampered token", "GET|" + a + tampered + "||401|" + badToken);
        addRow("custom token", "GET|" + a + custom + "||401|" + badToken);
        addRow("unsigned token", "GET|" + a + t.section('.', 0, 1) + ".||401|" + badToken);
        addRow("emulator's owner", "GET|" + a + "owner||401|" + badToken);
        addRow("not JSON",
               "PUT|" + a + t
                   + "|{no|400|Invalid data; couldn't parse JSON object, array, or value.");
        addRow("empty body", "PUT|" + a + t + "||400|");
        addRow("two values", "PUT|" + a + t + "|1 2|400|");
        addRow("bad key", "PUT|" + a + t + "|{'in valid.key':1}|400|");
        addRow("bad server value", "PUT|" + a + t + "|{'.sv':'x'}|400|");
        addRow("$ in path", "PUT|" + kAccount + "/a$b.json?auth=" + t + "|1|400|");
        addRow("[ in path", "PUT|" + kAccount + "/a%5Bb.json?auth=" + t + "|1|400|");
        addRow("patch: key above key", "PATCH|" + a + t + "|{'a':1,'a/b':2}|400|");
        addRow("patch: bad key deeper", "PATCH|" + a + t + "|{'a':{'x$':1}}|400|");
        addRow("patch: array", "PATCH|" + a + t + "|[1,2]|400|");
        addRow("patch: string", "PATCH|" + a + t + "|'s'|400|");
        addRow("another database", "PUT|" + a + t + "&ns=elsewhere|1|404|");
        addRow("no .json", "PUT|" + kAccount + "?auth=" + t + "|1|404|-");
        addRow("unknown verb", "PROPFIND|" + a + t + "||405|");
    }

    void refusedRequestsChangeNothing()
    {
        QFETCH(QStringList, row);
        const QString verb = row[0], target = row[1], body = row[2], status = row[3],
                      error = row[4];
        const HttpResult result = m_rest->send(verb.toLatin1(), target, jsonBytes(body));
        QCOMPARE(QString::number(result.status), status);
        const QJsonValue text = result.json["error"];
        if (error != "-")
            QVERIFY2(text.isString() && (error.isEmpty() || text == error), result.body);
        QCOMPARE(call("GET", kAccount).json, jsonValue(kChats));
    }

    void queriesFilterAndOrder_data()
    {
        QTest::addColumn<QStringList>("row"); // query, keys
        addRow("first by child", "orderBy=%22t%22&limitToFirst=2|c2 c4");
        addRow("last by child", "orderBy=%22t%22&limitToLast=2|c1 c3");
        addRow("range", "orderBy=%22t%22&startAt=15&endAt=30|c1 c3");
        addRow("equal", "orderBy=%22s%22&equalTo=%22closed%22|c2");
        addRow("key from", "orderBy=%22$key%22&startAt=%22c3%22|c3 c4");
        addRow("last by key", "orderBy=%22$key%22&limitToLast=1|c4");
        addRow("no orderBy", "limitToFirst=1|");
        addRow("orderBy not JSON", "orderBy=t|");
        addRow("number for a key", "orderBy=%22$key%22&startAt=1|");
        addRow("negative limit", "orderBy=%22t%22&limitToFirst=-1|");
        addRow("shallow and query", "shallow=true&orderBy=%22t%22|");
    }

    void queriesFilterAndOrder()
    {
        QFETCH(QStringList, row);
        const QString query = row[0], keys = row[1];
        call("PUT",
             kAccount + "/chats",
             "{'c1':{'t':30,'s':'open'},'c2':{'t':10,'s':'closed'},'c3':{'t':20},'c4':{'s':'open'}"
             "}");
        const HttpResult result = call("GET", kAccount + "/chats?" + query);
        QCOMPARE(result.status, keys.isEmpty() ? 400 : 200);
        if (!keys.isEmpty())
            QCOMPARE(result.json.toObject().keys().join(' '), keys);
    }

    void printShallowAndEtagOptions()
    {
        const HttpResult silent = call("PUT", kAccount + "/a?print=silent", "1");
        QCOMPARE(silent.status, 204);
        QVERIFY(silent.body.isEmpty());
        QCOMPARE(call("GET", kAccount + "/a").json, QJsonValue(1));
        QVERIFY(call("GET", kAccount + "?print=pretty").body.contains("\n"));
        QCOMPARE(call("GET", kAccount + "/a?ns=tallyra-local").json, QJsonValue(1));
        QCOMPARE(call("GET", kAccount + "/chats?shallow=true").json,
                 jsonValue("{'a':true,'b':true}"));
        // The bearer header alone is enough.
        const QByteArray bearer = "Bearer " + m_token.toLatin1();
        QCOMPARE(m_rest->send("GET", kAccount + "/a.json", {}, {{"Authorization", bearer}}).json,
                 QJsonValue(1));

        const QByteArray etag = call("GET", kAccount + "/a", {}, {{"X-Firebase-ETag", "true"}})
                                    .headers.value("etag");
        QVERIFY(!etag.isEmpty());
        const HttpResult stale = call("PUT", kAccount + "/a", "2", {{"if-match", "other"}});
        QCOMPARE(stale.status, 412);
        QCOMPARE(stale.headers.value("etag"), etag);
        QCOMPARE(call("PUT", kAccount + "/a", "2", {{"if-match", etag}}).status, 200);
        QCOMPARE(call("GET", kAccount + "/a").json, QJsonValue(2));
    }

    // The sign-in endpoints.
    void exchangeAndRefreshGiveTheAccountsTokens()
    {
        ServiceClock *clock = m_local.frozenClock();
        const QJsonObject body = signIn(9, "user-key-1");
        QCOMPARE(body.value("kind").toString(), "identitytoolkit#VerifyCustomTokenResponse");
        QCOMPARE(body.value("expiresIn"), "3600"); // a string, as the hosted service sends
        QCOMPARE(body.value("isNewUser"), false);
        const QString idToken = body.value("idToken").toString();
        QCOMPARE(part(idToken, 0).value("alg").toString(), "HS256");
        const QJsonObject claims = part(idToken, 1);
        QCOMPARE(claims.value("uid").toString(), "user-key-1");
        QCOMPARE(claims.value("service_id").toInt() * 100 + claims.value("account_id").toInt(), 709);
        const qint64 signedInAt = clock->nowSecs();
        QCOMPARE(claims.value("iat").toDouble(), double(signedInAt));
        QCOMPARE(claims.value("auth_time").toDouble(), double(signedInAt));
        QCOMPARE(claims.value("exp").toDouble(), double(signedInAt + 3600));
        // The newer form of the endpoint answers the same way.
        const QByteArray custom = m_local.service()->mintCustomToken(7, 9, "user-key-1");
        const HttpResult v1 = m_rest->send("POST",
                                           "/v1/accounts:signInWithCustomToken?key=k",
                                           jsonBytes("{'token':'" + QString(custom) + "'}"));
        QCOMPARE(part(v1.json["idToken"].toString(), 1), claims);
        // The token opens the account's data and nothing else.
        QCOMPARE(m_rest->send("GET", "/services/7/accounts/9.json?auth=" + idToken).status, 200);
        QCOMPARE(m_rest->send("GET", "/services/7/accounts/8.json?auth=" + idToken).status, 401);

        clock->advance(2000);
        const HttpResult result = refresh(body.value("refreshToken").toString());
        const QJsonObject refreshed = result.json.toObject();
        const QString fresh = refreshed.value("id_token").toString();
        QCOMPARE(refreshed.value("access_token").toString(), fresh);
        QCOMPARE(refreshed.value("expires_in"), "3600");
        QCOMPARE(refreshed.value("token_type").toString(), "Bearer");
        QCOMPARE(refreshed.value("user_id").toString(), "user-key-1");
        QCOMPARE(refreshed.value("project_id").toString(), "tallyra-local");
        QCOMPARE(part(fresh, 1).value("iat").toDouble(), double(signedInAt + 2));
        QCOMPARE(part(fresh, 1).value("auth_time").toDouble(), double(signedInAt)); // the sign-in's
        QCOMPARE(part(fresh, 1).value("account_id"), 9);
        // The console reads the server's clock from the Date header.
        QDateTime date = QLocale::c().toDateTime(result.headers.value("date"),
                                                 "ddd, dd MMM yyyy hh:mm:ss 'GMT'");
        date.setTimeSpec(Qt::UTC); // whatever this machine's time zone
        QVERIFY(qAbs(date.toSecsSinceEpoch() - QDateTime::currentSecsSinceEpoch()) < 60);
        // Tokens and refresh tokens outlive a restart of the service.
        QVERIFY(m_local.restart());
        QCOMPARE(refresh(refreshed.value("refresh_token").toString()).status, 200);
        QCOMPARE(m_rest->send("GET", "/services/7/accounts/9.json?auth=" + fresh).status, 200);
    }

    void refusals_data()
    {
        // verb, target, body, status, and the error's message (or status when forbidden)
        QTest::addColumn<QStringList>("row");
        const QString exchange = kExchange + "?key=k", idToken = m_local.idToken(9);
        const auto custom = [](const QString &token) -> QString {
            return "{'token':'" + token + "'}";
        };
        QString tampered = m_local.service()->mintCustomToken(7, 9, "u");
        tampered[tampered.size() - 3] = tampered.at(tampered.size() - 3) == 'A' ? 'B' : 'A';
        const QString secret = QDir(m_local.dataDirectory()).filePath("secret");
        const TokenIssuer issuer(TokenIssuer::loadOrCreateSecret(secret, nullptr), "tallyra-local");
        const qint64 twoHoursAgo = QDateTime::currentSecsSinceEpoch() - 7200;
        const QString expired = issuer.mintCustomToken(7, 9, "u", twoHoursAgo);
        addRow("exchange: no key", "POST|" + kExchange + "|{}|403|PERMISSION_DENIED");
        addRow("exchange: GET", "GET|" + exchange + "||405|Method not allowed");
        addRow("exchange: not JSON", "POST|" + exchange + "|{no|400|Invalid JSON payload received.");
        addRow("exchange: no token", "POST|" + exchange + "|{}|400|MISSING_CUSTOM_TOKEN");
        addRow("exchange: tampered",
               "POST|" + exchange + "|" + custom(tampered) + "|400|INVALID_CUSTOM_TOKEN");
        addRow("exchange: garbage",
               "POST|" + exchange + "|" + custom("abc") + "|400|INVALID_CUSTOM_TOKEN");
        addRow("exchange: ID token",
               "POST|" + exchange + "|" + custom(idToken) + "|400|INVALID_CUSTOM_TOKEN");
        addRow("exchange: expired",
               "POST|" + exchange + "|" + custom(expired) + "|400|TOKEN_EXPIRED");
        const QString url = "/v1/token?key=k", refresh = signIn().value("refreshToken").toString();
        const QString grant = "grant_type=refresh_token&refresh_token=", good = grant + refresh;
        addRow("refresh: no key", "POST|/v1/token|" + good + "|403|PERMISSION_DENIED");
        addRow("refresh: other grant",
               "POST|" + url + "|" + QString(good).replace("refresh_token&", "password&")
                   + "|400|INVALID_GRANT_TYPE");
        addRow("refresh: no grant",
               "POST|" + url + "|" + good.mid(good.indexOf('&') + 1) + "|400|INVALID_GRANT_TYPE");
        addRow("refresh: no token",
               "POST|" + url + "|" + grant.chopped(15) + "|400|MISSING_REFRESH_TOKEN");
        addRow("refresh: tampered",
               "POST|" + url + "|" + good.chopped(2) + "xx|400|INVALID_REFRESH_TOKEN");
        addRow("refresh: ID token",
               "POST|" + url + "|" + grant + idToken + "|400|INVALID_REFRESH_TOKEN");
        addRow("refresh: refused",
               "POST|" + url + "|" + good + "|400|TOKEN_EXPIRED"); // by the fault
    }

    void refusals()
    {
        QFETCH(QStringList, row);
        const QString verb = row[0], target = row[1], body = row[2], status = row[3],
                      error = row[4];
        m_local.service()->faults()->setRefuseTokenRefresh(
            QByteArray(QTest::currentDataTag()).endsWith("refused"));
        const bool form = target.startsWith("/v1/token");
        const QByteArray type = form ? kForm : "application/json";
        const HttpResult result = m_rest->send(verb.toLatin1(),
                                               target,
                                               form ? body.toUtf8() : jsonBytes(body),
                                               {{"Content-Type", type}});
        QCOMPARE(QString::number(result.status), status);
        const QJsonObject details = result.json["error"].toObject();
        QCOMPARE(details.value("code").toInt(), result.status);
        QVERIFY2(details.value("message") == error || details.value("status") == error, result.body);
        QVERIFY(!result.body.contains("id_token") && !result.body.contains("idToken"));
    }

    void apiKeyAndBasePathsAreConfigurable()
    {
        LocalService::Options options;
        options.apiKey = "the-key";
        options.identityBasePath = "/identity";
        options.tokenBasePath = "/securetoken/";
        LocalTestService keyed(options);
        QVERIFY(keyed.start());
        RestClient rest(&keyed);
        const QByteArray body = "{\"token\":\"" + keyed.service()->mintCustomToken(7, 9, "u")
                                + "\"}";
        const HttpResult wrongKey = rest.send("POST", "/identity" + kExchange + "?key=other", body);
        QCOMPARE(wrongKey.status, 400);
        QCOMPARE(wrongKey.json["error"]["message"].toString(),
                 "API key not valid. Please pass a valid API key.");
        QCOMPARE(rest.send("POST", kExchange + "?key=the-key", body).status, 404);
        const HttpResult signedIn = rest.send("POST",
                                              "/identity" + kExchange + "?key=the-key",
                                              body);
        QCOMPARE(signedIn.status, 200);
        QCOMPARE(rest.send("POST",
                           "/securetoken/v1/token?key=the-key",
                           "grant_type=refresh_token&refresh_token="
                               + QUrl::toPercentEncoding(signedIn.json["refreshToken"].toString()),
                           {{"Content-Type", kForm}})
                     .status,
                 200);

        QFile env(keyed.service()->envFile());
        QVERIFY(env.open(QIODevice::ReadOnly));
        const QByteArray text = env.readAll();
        QVERIFY(text.contains("TALLYRA_IDENTITY_URL=" + keyed.baseUrl().toLatin1() + "/identity\n"));
        QVERIFY(text.contains("TALLYRA_TOKEN_URL=" + keyed.baseUrl().toLatin1() + "/securetoken\n"));
    }

    void expiredTokensAreRefusedUntilRefreshed()
    {
        // The service's clock stands still, so the test decides which instant it is.
        ServiceClock *clock = m_local.frozenClock();
        const QJsonObject signedIn = signIn();
        const QString token = signedIn.value("idToken").toString();
        const qint64 expiresAt = qint64(part(token, 1).value("exp").toDouble());
        const QString chats = "/services/7/accounts/9/chats";
        RealtimeClient stream(&m_local);
        QVERIFY(stream.openAs(token));
        QCOMPARE(stream.listen(chats), "ok");
        stream.nextPush();

        // A millisecond before the expiry instant the token holds for the stream and for REST alike.
        clock->advance(expiresAt * 1000 - 1 - clock->nowMs());
        QCOMPARE(stream.auth(token).value("s").toString(), "ok");
        QCOMPARE(m_rest->send("GET", chats + ".json?auth=" + token).status, 200);

        // From that instant on it holds nowhere: the stream is told at once and loses the listen.
        clock->advance(1);
        QCOMPARE(stream.nextPush(),
                 jsonValue("{'a':'ac','b':{'s':'expired_token','d':'Auth token is expired.'}}")
                     .toObject());
        QCOMPARE(stream.nextPushText(), "c 9/chats");
        QCOMPARE(stream.status("p", {{"p", QString(chats + "/a")}, {"d", 1}}), "permission_denied");
        QCOMPARE(stream.auth(token).value("s").toString(), "expired_token");
        const HttpResult expired = m_rest->send("GET", chats + ".json?auth=" + token);
        QCOMPARE(expired.status, 401);
        QCOMPARE(expired.json, jsonValue("{'error':'Auth token is expired'}"));

        const QString fresh
            = refresh(signedIn.value("refreshToken").toString()).json["id_token"].toString();
        QCOMPARE(m_rest->send("GET", chats + ".json?auth=" + fresh).status, 200);
        QCOMPARE(stream.auth(fresh).value("s").toString(), "ok");
        QCOMPARE(stream.listen(chats), "ok");
    }

private:
    HttpResult call(const QByteArray &verb,
                    const QString &path,
                    const QString &body = {},
                    const Headers &headers = {})
    {
        return m_rest->database(verb, path, body, headers);
    }

    QJsonObject signIn(qint64 account = 9, const QString &user = "u")
    {
        const QByteArray custom = m_local.service()->mintCustomToken(7, account, user);
        return m_rest->exchangeCustomToken(custom).json.toObject();
    }

    HttpResult refresh(const QString &token)
    {
        const QByteArray form = "grant_type=refresh_token&refresh_token=" + token.toLatin1();
        return m_rest->send("POST", "/v1/token?key=k", form, {{"Content-Type", kForm}});
    }

    LocalTestService m_local;
    std::unique_ptr<RestClient> m_rest;
    QString m_token;
};

QTEST_GUILESS_MAIN(TestLocalRest)
#include "tst_localrest.moc"
