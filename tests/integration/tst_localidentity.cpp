// tallyra-local's sign-in endpoints: custom token exchange, refresh, errors and expiry.
#include "localtestsupport.h"

#include "local/faultinjector.h"
#include "local/tokenissuer.h"

#include <QDir>
#include <QJsonDocument>
#include <QLocale>
#include <QtTest>

namespace {

const QString kExchange = QStringLiteral("/identitytoolkit/v3/relyingparty/verifyCustomToken");
const QByteArray kForm = "application/x-www-form-urlencoded";

QJsonObject part(const QString &jwt, int index)
{
    const QByteArray text = jwt.section('.', index, index).toLatin1();
    return QJsonDocument::fromJson(QByteArray::fromBase64(text, QByteArray::Base64UrlEncoding))
        .object();
}

} // namespace

class TestLocalIdentity : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_local.start());
        m_rest = std::make_unique<RestClient>(&m_local);
    }

    void cleanup()
    {
        m_local.service()->faults()->setRefuseTokenRefresh(false);
        m_local.service()->clock()->reset();
    }

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
};

QTEST_GUILESS_MAIN(TestLocalIdentity)
#include "tst_localidentity.moc"
