// tallyra-local's secrets: owner-only files, a secret that --reset rotates, tokens with one
// spelling, refresh tokens that expire, and listen tags that are whole numbers.
#include "localtestsupport.h"

#include "local/privatefiles.h"
#include "local/serviceclock.h"
#include "local/tokenissuer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtTest>

class TestLocalSecrets : public QObject
{
    Q_OBJECT

private slots:
    void filesAreTheOwnersAloneAndResetRotatesTheSecret();
    void tokensHaveOneSpelling_data();
    void tokensHaveOneSpelling();
    void refreshTokensExpire();
    void listenTagsAreWholeNumbers();
};

void TestLocalSecrets::filesAreTheOwnersAloneAndResetRotatesTheSecret()
{
    QTemporaryDir parent;
    LocalService::Options options;
    options.port = 0;
    options.dataDirectory = parent.filePath("data");
    QString error;
    QVERIFY(PrivateFiles::makeDirectory(options.dataDirectory, &error));
    // An empty secret, as a crash of an older version could leave, is replaced, not fatal.
    QVERIFY(PrivateFiles::write(QDir(options.dataDirectory).filePath("secret"), "", &error));
    QByteArray token;
    {
        LocalService service(options);
        QVERIFY2(service.start(&error), qPrintable(error));
        token = service.signIn(1, 9, "u").idToken;
        QVERIFY(!token.isEmpty());
    }
    const auto verdictOf = [&](const QByteArray &idToken) {
        const QByteArray secret
            = TokenIssuer::loadOrCreateSecret(QDir(options.dataDirectory).filePath("secret"),
                                              &error);
        return TokenIssuer(secret, options.databaseNamespace).verifyIdToken(idToken, false).verdict;
    };
    QCOMPARE(verdictOf(token), TokenIssuer::Verdict::Valid);
    options.reset = true;
    {
        LocalService service(options);
        QVERIFY2(service.start(&error), qPrintable(error));
    }
    QCOMPARE(verdictOf(token), TokenIssuer::Verdict::Invalid);

    const QFileDevice::Permissions owner = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    const QFileDevice::Permissions all = QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                         | QFileDevice::ExeOwner | QFileDevice::ReadGroup
                                         | QFileDevice::WriteGroup | QFileDevice::ExeGroup
                                         | QFileDevice::ReadOther | QFileDevice::WriteOther
                                         | QFileDevice::ExeOther;
    QCOMPARE(QFileInfo(options.dataDirectory).permissions() & all, owner | QFileDevice::ExeOwner);
    for (const char *name : {"secret", "database.json", "env", "ca.key", "server.key"})
        QVERIFY2((QFileInfo(QDir(options.dataDirectory).filePath(name)).permissions() & all)
                     == owner,
                 name);
}

void TestLocalSecrets::tokensHaveOneSpelling_data()
{
    QTest::addColumn<int>("part");
    QTest::addColumn<bool>("padded");
    QTest::newRow("padded signature") << 2 << true;
    QTest::newRow("padded claims") << 1 << true;
    // 43 characters carry 258 bits for a 32-byte signature: the last one has 2 spare bits.
    QTest::newRow("spare bits of the signature") << 2 << false;
}

void TestLocalSecrets::tokensHaveOneSpelling()
{
    QFETCH(int, part);
    QFETCH(bool, padded);
    TokenIssuer issuer(QByteArray(32, 'k'), "ns");
    const QByteArray token = issuer.signIn(AuthIdentity::user("u", "1", "9", 0, {})).idToken;
    QCOMPARE(issuer.verifyIdToken(token, false).verdict, TokenIssuer::Verdict::Valid);
    QList<QByteArray> parts = token.split('.');
    if (padded) {
        parts[part] += '=';
    } else {
        const QByteArray alphabet
            = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
        parts[part].back() = alphabet.at(alphabet.indexOf(parts[part].back()) ^ 1);
        QCOMPARE(QByteArray::fromBase64(parts[part], QByteArray::Base64UrlEncoding),
                 QByteArray::fromBase64(token.split('.')[part], QByteArray::Base64UrlEncoding));
    }
    QCOMPARE(issuer.verifyIdToken(parts.join('.'), false).verdict, TokenIssuer::Verdict::Invalid);
}

void TestLocalSecrets::refreshTokensExpire()
{
    ServiceClock clock;
    clock.freeze();
    clock.advance(-(clock.nowMs() % 1000)); // tokens count whole seconds
    TokenIssuer issuer(QByteArray(32, 'k'), "ns", &clock);
    const TokenIssuer::Grant grant = issuer.signIn(AuthIdentity::user("u", "1", "9", 0, {}));
    TokenIssuer::Grant refreshed;
    clock.advance(TokenIssuer::refreshTokenLifetime * 1000 - 1);
    QVERIFY(issuer.refresh(grant.refreshToken, &refreshed));
    clock.advance(1);
    QVERIFY(!issuer.refresh(grant.refreshToken, &refreshed));
}

void TestLocalSecrets::listenTagsAreWholeNumbers()
{
    LocalTestService local;
    QVERIFY(local.start());
    RealtimeClient stream(&local);
    QVERIFY(stream.openAs(local.idToken(9)));
    const QString path = "services/7/accounts/9/chats";
    for (const QJsonValue tag : {QJsonValue(1.5), QJsonValue(-2), QJsonValue("7"), QJsonValue(1e20)})
        QCOMPARE(stream.status("q", {{"p", path}, {"t", tag}, {"q", QJsonObject{{"l", 1}}}}),
                 QString("invalid_request"));
    QCOMPARE(stream.status("q", {{"p", path}, {"t", 7}, {"q", QJsonObject{{"l", 1}}}}),
             QString("ok"));
}

QTEST_GUILESS_MAIN(TestLocalSecrets)
#include "tst_localsecrets.moc"
