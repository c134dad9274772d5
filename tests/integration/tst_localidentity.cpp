// tallyra-local's sign-in endpoints: custom token exchange, refresh, errors and expiry.
#include "localtestsupport.h"

#include "local/faultinjector.h"
#include "local/tokenissuer.h"

#include <QDateTime>
#include <QDir>
#include <QJsonDocument>
#include <QLocale>
#include <QUrlQuery>
#include <QtTest>

namespace {

QJsonObject claimsOf(const QString &jwt)
{
    const QByteArray part = jwt.section('.', 1, 1).toLatin1();
    return QJsonDocument::fromJson(QByteArray::fromBase64(part, QByteArray::Base64UrlEncoding))
        .object();
}

QString errorMessage(const HttpResult &result)
{
    return result.json.toObject().value("error").toObject().value("message").toString();
}

} // namespace

class TestLocalIdentity : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void exchangeGivesSignedTokensWithTheAccountsClaims();
    void refreshGivesAFreshTokenAndTheServerDate();
    void exchangeErrors();
    void refreshErrors();
    void apiKeyAndBasePathsAreConfigurable();
    void expiredTokensAreRefusedUntilRefreshed();

private:
    LocalTestService m_local;
    std::unique_ptr<RestClient> m_rest;
};

void TestLocalIdentity::initTestCase()
{
    QVERIFY(m_local.start());
    m_rest = std::make_unique<RestClient>(&m_local);
}

void TestLocalIdentity::cleanup()
{
    m_local.service()->faults()->setRefuseTokenRefresh(false);
    m_local.service()->setTokenLifetime(3600);
    m_local.service()->clock()->reset();
}

void TestLocalIdentity::exchangeGivesSignedTokensWithTheAccountsClaims()
{
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    const QByteArray custom = m_local.service()->mintCustomToken(7, 9, "user-key-1");
    const HttpResult result = m_rest->exchangeCustomToken(custom);
    QCOMPARE(result.status, 200);
    const QJsonObject body = result.json.toObject();
    QCOMPARE(body.value("kind").toString(), QString("identitytoolkit#VerifyCustomTokenResponse"));
    QCOMPARE(body.value("expiresIn"), QJsonValue("3600")); // a string, as the hosted service sends
    QCOMPARE(body.value("isNewUser"), QJsonValue(false));
    QVERIFY(!body.value("refreshToken").toString().isEmpty());

    const QString idToken = body.value("idToken").toString();
    QCOMPARE(idToken.count('.'), 2);
    const QJsonObject header = QJsonDocument::fromJson(
                                   QByteArray::fromBase64(idToken.section('.', 0, 0).toLatin1(),
                                                          QByteArray::Base64UrlEncoding))
                                   .object();
    QCOMPARE(header.value("alg").toString(), QString("HS256"));
    const QJsonObject claims = claimsOf(idToken);
    QCOMPARE(claims.value("uid").toString(), QString("user-key-1"));
    QCOMPARE(claims.value("service_id"), QJsonValue(7));
    QCOMPARE(claims.value("account_id"), QJsonValue(9));
    const qint64 iat = qint64(claims.value("iat").toDouble());
    QVERIFY(iat >= before && iat <= QDateTime::currentSecsSinceEpoch());
    QCOMPARE(qint64(claims.value("exp").toDouble()), iat + 3600);
    QCOMPARE(qint64(claims.value("auth_time").toDouble()), iat);

    // The newer form of the endpoint answers the same way.
    const QByteArray request = QJsonDocument(QJsonObject{{"token", QString::fromLatin1(custom)},
                                                         {"returnSecureToken", true}})
                                   .toJson(QJsonDocument::Compact);
    const HttpResult v1 = m_rest->send("POST", "/v1/accounts:signInWithCustomToken?key=k", request);
    QCOMPARE(v1.status, 200);
    QCOMPARE(claimsOf(v1.json.toObject().value("idToken").toString()).value("uid").toString(),
             QString("user-key-1"));

    // The token opens the account's data and nothing else.
    QCOMPARE(m_rest->send("GET", "/services/7/accounts/9/x.json?auth=" + idToken).status, 200);
    QCOMPARE(m_rest->send("GET", "/services/7/accounts/8/x.json?auth=" + idToken).status, 401);
}

void TestLocalIdentity::refreshGivesAFreshTokenAndTheServerDate()
{
    const QJsonObject signIn
        = m_rest->exchangeCustomToken(m_local.service()->mintCustomToken(7, 9, "u")).json.toObject();
    const qint64 authTime = qint64(
        claimsOf(signIn.value("idToken").toString()).value("auth_time").toDouble());
    QTest::qWait(1100); // a later second, so that iat moves

    const HttpResult result = m_rest->refresh(signIn.value("refreshToken").toString());
    QCOMPARE(result.status, 200);
    const QJsonObject body = result.json.toObject();
    const QString idToken = body.value("id_token").toString();
    QVERIFY(!idToken.isEmpty());
    QCOMPARE(body.value("access_token").toString(), idToken);
    QCOMPARE(body.value("expires_in"), QJsonValue("3600"));
    QCOMPARE(body.value("token_type").toString(), QString("Bearer"));
    QCOMPARE(body.value("user_id").toString(), QString("u"));
    QCOMPARE(body.value("project_id").toString(), QString("tallyra-local"));
    QVERIFY(!body.value("refresh_token").toString().isEmpty());

    const QJsonObject claims = claimsOf(idToken);
    QVERIFY(claims.value("iat").toDouble() > authTime);
    QCOMPARE(qint64(claims.value("auth_time").toDouble()), authTime); // still the sign-in's
    QCOMPARE(claims.value("account_id"), QJsonValue(9));

    // The console reads the server's clock from the Date header.
    const QDateTime date = QLocale::c().toDateTime(QString::fromLatin1(
                                                       result.headers.value("date")),
                                                   "ddd, dd MMM yyyy hh:mm:ss 'GMT'");
    QVERIFY(date.isValid());
    QVERIFY(qAbs(date.toSecsSinceEpoch() - QDateTime::currentSecsSinceEpoch()) < 5);

    QCOMPARE(m_rest->send("GET", "/services/7/accounts/9.json?auth=" + idToken).status, 200);
    // The refresh token survives a restart of the service.
    QVERIFY(m_local.restart());
    QCOMPARE(m_rest->refresh(body.value("refresh_token").toString()).status, 200);
    QCOMPARE(m_rest->send("GET", "/services/7/accounts/9.json?auth=" + idToken).status, 200);
}

void TestLocalIdentity::exchangeErrors()
{
    const QByteArray custom = m_local.service()->mintCustomToken(7, 9, "u");
    const QString path = "/identitytoolkit/v3/relyingparty/verifyCustomToken";

    const HttpResult noKey = m_rest->send("POST", path, "{}");
    QCOMPARE(noKey.status, 403);
    QCOMPARE(noKey.json.toObject().value("error").toObject().value("status").toString(),
             QString("PERMISSION_DENIED"));
    QCOMPARE(m_rest->send("GET", path + "?key=k").status, 405);
    QCOMPARE(errorMessage(m_rest->send("POST", path + "?key=k", "{not json")),
             QString("Invalid JSON payload received."));
    QCOMPARE(errorMessage(m_rest->send("POST", path + "?key=k", "{}")),
             QString("MISSING_CUSTOM_TOKEN"));

    QByteArray tampered = custom;
    tampered[tampered.size() - 3] = tampered.at(tampered.size() - 3) == 'A' ? 'B' : 'A';
    const QString idToken = m_local.idToken(9, "u");
    for (const QByteArray &token : {tampered, QByteArray("abc"), idToken.toLatin1()}) {
        const HttpResult result = m_rest->exchangeCustomToken(token);
        QCOMPARE(result.status, 400);
        QCOMPARE(errorMessage(result), QString("INVALID_CUSTOM_TOKEN"));
        QCOMPARE(result.json.toObject().value("error").toObject().value("code").toInt(), 400);
    }

    QString error;
    const QByteArray secret
        = TokenIssuer::loadOrCreateSecret(QDir(m_local.dataDirectory()).filePath("secret"), &error);
    const TokenIssuer issuer(secret, "tallyra-local");
    const qint64 twoHoursAgo = QDateTime::currentSecsSinceEpoch() - 7200;
    const HttpResult expired = m_rest->exchangeCustomToken(
        issuer.mintCustomToken(7, 9, "u", twoHoursAgo));
    QCOMPARE(expired.status, 400);
    QCOMPARE(errorMessage(expired), QString("TOKEN_EXPIRED"));
    // The same issuer with this secret makes tokens the service accepts.
    QCOMPARE(m_rest->exchangeCustomToken(issuer.mintCustomToken(7, 9, "u")).status, 200);
}

void TestLocalIdentity::refreshErrors()
{
    const QString refreshToken = m_rest
                                     ->exchangeCustomToken(
                                         m_local.service()->mintCustomToken(7, 9, "u"))
                                     .json.toObject()
                                     .value("refreshToken")
                                     .toString();
    const auto form = [](const QString &grant, const QString &token) {
        QUrlQuery query;
        if (!grant.isNull())
            query.addQueryItem("grant_type", grant);
        if (!token.isNull())
            query.addQueryItem("refresh_token", token);
        return query.toString(QUrl::FullyEncoded).toUtf8();
    };
    const QList<QPair<QByteArray, QByteArray>> formHeader{
        {"Content-Type", "application/x-www-form-urlencoded"}};
    QCOMPARE(errorMessage(
                 m_rest->send("POST", "/v1/token?key=k", form("password", refreshToken), formHeader)),
             QString("INVALID_GRANT_TYPE"));
    QCOMPARE(errorMessage(
                 m_rest->send("POST", "/v1/token?key=k", form(QString(), refreshToken), formHeader)),
             QString("INVALID_GRANT_TYPE"));
    QCOMPARE(errorMessage(m_rest->send("POST",
                                       "/v1/token?key=k",
                                       form("refresh_token", QString()),
                                       formHeader)),
             QString("MISSING_REFRESH_TOKEN"));
    QCOMPARE(errorMessage(m_rest->refresh(refreshToken.left(refreshToken.size() - 2) + "xx")),
             QString("INVALID_REFRESH_TOKEN"));
    QCOMPARE(errorMessage(m_rest->refresh(m_local.idToken(9, "u"))),
             QString("INVALID_REFRESH_TOKEN"));
    QCOMPARE(m_rest->refresh(refreshToken, QString()).status, 403);

    // Refused refreshes answer without an ID token until the fault is lifted.
    m_local.service()->faults()->setRefuseTokenRefresh(true);
    const HttpResult refused = m_rest->refresh(refreshToken);
    QCOMPARE(refused.status, 400);
    QCOMPARE(errorMessage(refused), QString("TOKEN_EXPIRED"));
    QVERIFY(!refused.json.toObject().contains("id_token"));
    m_local.service()->faults()->setRefuseTokenRefresh(false);
    QCOMPARE(m_rest->refresh(refreshToken).status, 200);
}

void TestLocalIdentity::apiKeyAndBasePathsAreConfigurable()
{
    LocalService::Options options;
    options.apiKey = "the-key";
    options.identityBasePath = "/identity";
    options.tokenBasePath = "/securetoken/";
    LocalTestService keyed(options);
    QVERIFY(keyed.start());
    RestClient rest(&keyed);
    const QByteArray custom = keyed.service()->mintCustomToken(7, 9, "u");
    const QByteArray body = QJsonDocument(QJsonObject{{"token", QString::fromLatin1(custom)}})
                                .toJson(QJsonDocument::Compact);
    const QString exchange = "/identity/identitytoolkit/v3/relyingparty/verifyCustomToken?key=";

    const HttpResult wrongKey = rest.send("POST", exchange + "other", body);
    QCOMPARE(wrongKey.status, 400);
    QCOMPARE(errorMessage(wrongKey), QString("API key not valid. Please pass a valid API key."));
    QCOMPARE(rest.send("POST",
                       "/identitytoolkit/v3/relyingparty/verifyCustomToken?key=the-key",
                       body)
                 .status,
             404);
    const HttpResult signedIn = rest.send("POST", exchange + "the-key", body);
    QCOMPARE(signedIn.status, 200);

    QUrlQuery form;
    form.addQueryItem("grant_type", "refresh_token");
    form.addQueryItem("refresh_token", signedIn.json.toObject().value("refreshToken").toString());
    const HttpResult refreshed = rest.send("POST",
                                           "/securetoken/v1/token?key=the-key",
                                           form.toString(QUrl::FullyEncoded).toUtf8(),
                                           {{"Content-Type", "application/x-www-form-urlencoded"}});
    QCOMPARE(refreshed.status, 200);

    QFile env(keyed.service()->envFile());
    QVERIFY(env.open(QIODevice::ReadOnly));
    const QByteArray text = env.readAll();
    QVERIFY(text.contains("TALLYRA_IDENTITY_URL=" + keyed.baseUrl().toLatin1() + "/identity\n"));
    QVERIFY(text.contains("TALLYRA_TOKEN_URL=" + keyed.baseUrl().toLatin1() + "/securetoken\n"));
}

void TestLocalIdentity::expiredTokensAreRefusedUntilRefreshed()
{
    // The service's clock stands still, so the test decides which instant it is.
    ServiceClock *clock = m_local.service()->clock();
    clock->freeze();
    const QJsonObject signIn
        = m_rest->exchangeCustomToken(m_local.service()->mintCustomToken(7, 9, "u")).json.toObject();
    const QString token = signIn.value("idToken").toString();
    const qint64 expiresAt = qint64(claimsOf(token).value("exp").toDouble());
    const QString chats = "/services/7/accounts/9/chats";

    RealtimeClient stream(&m_local);
    QVERIFY(stream.open());
    QCOMPARE(stream.auth(token).value("s").toString(), QString("ok"));
    QCOMPARE(stream.listen(chats).value("s").toString(), QString("ok"));
    stream.nextPush();

    // A millisecond before the expiry instant the token holds for the stream and for REST alike.
    clock->advance(expiresAt * 1000 - 1 - clock->nowMs());
    QCOMPARE(stream.auth(token).value("s").toString(), QString("ok"));
    QCOMPARE(m_rest->send("GET", chats + ".json?auth=" + token).status, 200);

    // From that instant on it holds nowhere: the stream is told at once and loses the listen.
    clock->advance(1);
    QCOMPARE(stream.nextPush(),
             (QJsonObject{{"a", "ac"},
                          {"b",
                           QJsonObject{{"s", "expired_token"}, {"d", "Auth token is expired."}}}}));
    QCOMPARE(stream.nextPush(), (QJsonObject{{"a", "c"}, {"b", QJsonObject{{"p", chats.mid(1)}}}}));
    QCOMPARE(stream.request("p", {{"p", QString(chats + "/a")}, {"d", 1}}).value("s").toString(),
             QString("permission_denied"));
    QCOMPARE(stream.auth(token).value("s").toString(), QString("expired_token"));
    const HttpResult expired = m_rest->send("GET", chats + ".json?auth=" + token);
    QCOMPARE(expired.status, 401);
    QCOMPARE(expired.json, QJsonValue(QJsonObject{{"error", "Auth token is expired"}}));

    const QString fresh = m_rest->refresh(signIn.value("refreshToken").toString())
                              .json.toObject()
                              .value("id_token")
                              .toString();
    QCOMPARE(m_rest->send("GET", chats + ".json?auth=" + fresh).status, 200);
    QCOMPARE(stream.auth(fresh).value("s").toString(), QString("ok"));
    QCOMPARE(stream.listen(chats).value("s").toString(), QString("ok"));
}

QTEST_GUILESS_MAIN(TestLocalIdentity)
#include "tst_localidentity.moc"
