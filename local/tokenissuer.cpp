#include "local/tokenissuer.h"

#include "local/privatefiles.h"

#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QMessageAuthenticationCode>
#include <QRandomGenerator>

namespace {

const QString kIssuer = QStringLiteral("tallyra-local");
const QString kCustomAudience = QStringLiteral("tallyra-local/custom-token");
// Tokens issued a little in the future come from a clock that runs ahead; allow some of it.
constexpr qint64 kClockSkew = 300;

QByteArray hmac(const QByteArray &key, const QByteArray &data)
{
    return QMessageAuthenticationCode::hash(data, key, QCryptographicHash::Sha256);
}

bool constantTimeEquals(const QByteArray &a, const QByteArray &b)
{
    if (a.size() != b.size())
        return false;
    unsigned char diff = 0;
    for (int i = 0; i < a.size(); ++i)
        diff |= static_cast<unsigned char>(a.at(i) ^ b.at(i));
    return diff == 0;
}

// Strict: URL-safe alphabet, no padding, and the one spelling that encodes the bytes, so that a
// token cannot be told apart from a respelling of itself.
QByteArray fromBase64Url(const QByteArray &text, bool *ok)
{
    const QByteArray::FromBase64Result decoded
        = QByteArray::fromBase64Encoding(text,
                                         QByteArray::Base64UrlEncoding
                                             | QByteArray::AbortOnBase64DecodingErrors);
    *ok = decoded && TokenIssuer::base64Url(decoded.decoded) == text;
    return *ok ? decoded.decoded : QByteArray();
}

} // namespace

TokenIssuer::TokenIssuer(const QByteArray &secret,
                         const QString &projectId,
                         const ServiceClock *clock)
    : m_clock(clock ? clock : ServiceClock::system())
    , m_customKey(hmac(secret, "custom-token"))
    , m_idKey(hmac(secret, "id-token"))
    , m_refreshKey(hmac(secret, "refresh-token"))
    , m_projectId(projectId)
{}

QByteArray TokenIssuer::loadOrCreateSecret(const QString &fileName, QString *error, bool rotate)
{
    QFile file(fileName);
    if (!rotate && file.exists()) {
        if (!file.open(QIODevice::ReadOnly)) {
            *error = QStringLiteral("cannot read %1: %2").arg(fileName, file.errorString());
            return {};
        }
        const QByteArray secret = QByteArray::fromHex(file.readAll().trimmed());
        if (secret.size() >= 32)
            return secret;
        // Unusable (an older version could leave it empty after a crash): no token can have been
        // signed with it, so a new one loses nothing.
        qWarning().noquote() << fileName << "holds no usable secret; making a new one";
    }
    QByteArray secret(32, Qt::Uninitialized);
    QRandomGenerator::system()->generate(reinterpret_cast<quint32 *>(secret.data()),
                                         reinterpret_cast<quint32 *>(secret.data() + secret.size()));
    if (!PrivateFiles::write(fileName, secret.toHex() + '\n', error))
        return {};
    return secret;
}

QByteArray TokenIssuer::base64Url(const QByteArray &data)
{
    return data.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QByteArray TokenIssuer::sign(const QByteArray &key, const QJsonObject &claims) const
{
    const QJsonObject header{{"alg", "HS256"}, {"typ", "JWT"}};
    const QByteArray signingInput = base64Url(QJsonDocument(header).toJson(QJsonDocument::Compact))
                                    + '.'
                                    + base64Url(
                                        QJsonDocument(claims).toJson(QJsonDocument::Compact));
    return signingInput + '.' + base64Url(hmac(key, signingInput));
}

bool TokenIssuer::decode(const QByteArray &token,
                         const QByteArray &key,
                         bool allowUnsigned,
                         QJsonObject *claims,
                         QString *reason) const
{
    const QList<QByteArray> parts = token.split('.');
    if (parts.size() != 3) {
        *reason = QStringLiteral("Could not parse auth token.");
        return false;
    }
    bool ok1 = false;
    bool ok2 = false;
    bool ok3 = false;
    const QByteArray headerJson = fromBase64Url(parts.at(0), &ok1);
    const QByteArray claimsJson = fromBase64Url(parts.at(1), &ok2);
    const QByteArray signature = fromBase64Url(parts.at(2), &ok3);
    const QJsonDocument headerDoc = QJsonDocument::fromJson(headerJson);
    const QJsonDocument claimsDoc = QJsonDocument::fromJson(claimsJson);
    if (!ok1 || !ok2 || !ok3 || !headerDoc.isObject() || !claimsDoc.isObject()) {
        *reason = QStringLiteral("Could not parse auth token.");
        return false;
    }
    const QString algorithm = headerDoc.object().value(QLatin1String("alg")).toString();
    if (algorithm == QLatin1String("none")) {
        if (!allowUnsigned || !parts.at(2).isEmpty()) {
            *reason = QStringLiteral("Unsigned auth tokens are not accepted.");
            return false;
        }
    } else if (algorithm != QLatin1String("HS256")
               || !constantTimeEquals(signature, hmac(key, parts.at(0) + '.' + parts.at(1)))) {
        *reason = QStringLiteral("Invalid token signature.");
        return false;
    }
    *claims = claimsDoc.object();
    return true;
}

QByteArray TokenIssuer::mintCustomToken(qint64 serviceId,
                                        qint64 accountId,
                                        const QString &userKey,
                                        qint64 issuedAt,
                                        qint64 lifetime) const
{
    if (issuedAt < 0)
        issuedAt = m_clock->nowSecs();
    const QJsonObject claims{
        {"iss", kIssuer},
        {"sub", kIssuer},
        {"aud", kCustomAudience},
        {"iat", issuedAt},
        {"exp", issuedAt + lifetime},
        {"uid", userKey},
        {"claims", QJsonObject{{"service_id", serviceId}, {"account_id", accountId}}},
    };
    return sign(m_customKey, claims);
}

TokenIssuer::Check TokenIssuer::verifyCustomToken(const QByteArray &token) const
{
    Check check;
    QJsonObject claims;
    if (!decode(token, m_customKey, false, &claims, &check.reason))
        return check;
    const QJsonObject custom = claims.value(QLatin1String("claims")).toObject();
    const QString uid = claims.value(QLatin1String("uid")).toString();
    const QString serviceKey = AuthIdentity::claimKey(custom.value(QLatin1String("service_id")));
    const QString accountKey = AuthIdentity::claimKey(custom.value(QLatin1String("account_id")));
    if (claims.value(QLatin1String("aud")).toString() != kCustomAudience || uid.isEmpty()
        || serviceKey.isEmpty() || accountKey.isEmpty()) {
        check.reason = QStringLiteral("Missing or invalid claims.");
        return check;
    }
    const qint64 expiresAt = qint64(claims.value(QLatin1String("exp")).toDouble());
    if (m_clock->isExpired(expiresAt)) {
        check.verdict = Verdict::Expired;
        check.reason = QStringLiteral("Token expired.");
        return check;
    }
    QJsonObject identityClaims{{"uid", uid},
                               {"service_id", custom.value(QLatin1String("service_id"))},
                               {"account_id", custom.value(QLatin1String("account_id"))}};
    check.verdict = Verdict::Valid;
    check.identity = AuthIdentity::user(uid, serviceKey, accountKey, expiresAt, identityClaims);
    return check;
}

QByteArray TokenIssuer::issueIdToken(const QString &uid,
                                     const QJsonValue &serviceId,
                                     const QJsonValue &accountId,
                                     qint64 authTime) const
{
    const qint64 issuedAt = m_clock->nowSecs();
    const QJsonObject claims{
        {"iss", QString(kIssuer + QLatin1Char('/') + m_projectId)},
        {"aud", m_projectId},
        {"sub", uid},
        {"uid", uid},
        {"user_id", uid},
        {"service_id", serviceId},
        {"account_id", accountId},
        {"auth_time", authTime},
        {"iat", issuedAt},
        {"exp", issuedAt + m_lifetime},
        {"sign_in_provider", "custom"},
    };
    return sign(m_idKey, claims);
}

TokenIssuer::Grant TokenIssuer::signIn(const AuthIdentity &identity) const
{
    const qint64 authTime = m_clock->nowSecs();
    const QJsonObject &claims = identity.claims();
    Grant grant;
    grant.uid = identity.uid();
    grant.expiresIn = m_lifetime;
    grant.idToken = issueIdToken(identity.uid(),
                                 claims.value(QLatin1String("service_id")),
                                 claims.value(QLatin1String("account_id")),
                                 authTime);
    // The refresh token carries what a refresh needs, so it survives a restart of the service.
    const QJsonObject refreshClaims{{"uid", identity.uid()},
                                    {"service_id", claims.value(QLatin1String("service_id"))},
                                    {"account_id", claims.value(QLatin1String("account_id"))},
                                    {"auth_time", authTime},
                                    {"exp", authTime + refreshTokenLifetime}};
    const QByteArray payload = base64Url(
        QJsonDocument(refreshClaims).toJson(QJsonDocument::Compact));
    grant.refreshToken = payload + '.' + base64Url(hmac(m_refreshKey, payload));
    return grant;
}

bool TokenIssuer::refresh(const QByteArray &refreshToken, Grant *grant) const
{
    const QList<QByteArray> parts = refreshToken.split('.');
    if (parts.size() != 2)
        return false;
    bool ok = false;
    const QByteArray mac = fromBase64Url(parts.at(1), &ok);
    if (!ok || !constantTimeEquals(mac, hmac(m_refreshKey, parts.at(0))))
        return false;
    const QJsonObject claims = QJsonDocument::fromJson(fromBase64Url(parts.at(0), &ok)).object();
    const QString uid = claims.value(QLatin1String("uid")).toString();
    const QJsonValue expiresAt = claims.value(QLatin1String("exp"));
    if (!ok || uid.isEmpty() || !expiresAt.isDouble()
        || m_clock->isExpired(qint64(expiresAt.toDouble())))
        return false;
    grant->uid = uid;
    grant->expiresIn = m_lifetime;
    grant->refreshToken = refreshToken;
    grant->idToken = issueIdToken(uid,
                                  claims.value(QLatin1String("service_id")),
                                  claims.value(QLatin1String("account_id")),
                                  qint64(claims.value(QLatin1String("auth_time")).toDouble()));
    return true;
}

AuthIdentity TokenIssuer::identityFromClaims(const QJsonObject &claims, qint64 expiresAt)
{
    QString uid = claims.value(QLatin1String("uid")).toString();
    if (uid.isEmpty())
        uid = claims.value(QLatin1String("user_id")).toString();
    if (uid.isEmpty())
        uid = claims.value(QLatin1String("sub")).toString();
    return AuthIdentity::user(uid,
                              AuthIdentity::claimKey(claims.value(QLatin1String("service_id"))),
                              AuthIdentity::claimKey(claims.value(QLatin1String("account_id"))),
                              expiresAt,
                              claims);
}

TokenIssuer::Check TokenIssuer::verifyIdToken(const QByteArray &token,
                                              bool emulatorCredentials) const
{
    Check check;
    if (emulatorCredentials && token == "owner") {
        check.verdict = Verdict::Valid;
        check.identity = AuthIdentity::admin();
        return check;
    }
    QJsonObject claims;
    if (!decode(token, m_idKey, emulatorCredentials, &claims, &check.reason))
        return check;
    const bool isUnsigned = token.endsWith('.');
    if (!isUnsigned && claims.value(QLatin1String("aud")).toString() != m_projectId) {
        check.reason = QStringLiteral("Invalid claim 'aud' in auth token.");
        return check;
    }
    if (isUnsigned) {
        // The official SDK's emulator mode dates its unsigned tokens at the epoch (iat 0,
        // exp 3600): an emulator takes them at face value, without times.
        check.verdict = Verdict::Valid;
        check.identity = identityFromClaims(claims, 0);
        return check;
    }
    const qint64 nowMs = m_clock->nowMs();
    const qint64 current = nowMs / 1000;
    const QJsonValue exp = claims.value(QLatin1String("exp"));
    const qint64 expiresAt = exp.isDouble() ? qint64(exp.toDouble()) : 0;
    if (expiresAt == 0) {
        check.reason = QStringLiteral("Missing claim 'exp' in auth token.");
        return check;
    }
    if (claims.value(QLatin1String("iat")).toDouble() > double(current + kClockSkew)) {
        check.reason = QStringLiteral("Invalid claim 'iat' in auth token.");
        return check;
    }
    if (ServiceClock::isExpired(expiresAt, nowMs)) {
        check.verdict = Verdict::Expired;
        check.reason = QStringLiteral("Auth token is expired.");
        return check;
    }
    check.verdict = Verdict::Valid;
    check.identity = identityFromClaims(claims, expiresAt);
    return check;
}
