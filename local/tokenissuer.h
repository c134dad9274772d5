#pragma once

#include "local/authidentity.h"
#include "local/serviceclock.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

// Mints and checks the service's tokens: custom tokens (handed out by sign-in, exchanged at the
// identity endpoint), ID tokens (JWT, HMAC-SHA256, short-lived) and refresh tokens. Each kind
// is signed with its own key derived from one secret, so one kind never passes for another.
class TokenIssuer
{
public:
    enum class Verdict { Valid, Invalid, Expired };

    struct Check
    {
        Verdict verdict = Verdict::Invalid;
        QString reason;
        AuthIdentity identity;
    };

    struct Grant
    {
        QByteArray idToken;
        QByteArray refreshToken;
        int expiresIn = 0;
        QString uid;
    };

    static constexpr int customTokenLifetime = 3600;

    // clock: the service's, which every expiry check reads; nullptr for the system's.
    TokenIssuer(const QByteArray &secret,
                const QString &projectId,
                const ServiceClock *clock = nullptr);

    // A sign-in can be refreshed for so long; after that the operator signs in again.
    static constexpr qint64 refreshTokenLifetime = 30 * 24 * 3600;

    // Reads the secret kept in the file, creating it (owner-only) when absent or unusable;
    // rotate: always a new one, so that every token signed before dies.
    static QByteArray loadOrCreateSecret(const QString &fileName,
                                         QString *error,
                                         bool rotate = false);

    void setIdTokenLifetime(int seconds) { m_lifetime = qMax(1, seconds); }
    int idTokenLifetime() const { return m_lifetime; }
    QString projectId() const { return m_projectId; }
    const ServiceClock *clock() const { return m_clock; }

    // issuedAt in seconds since the epoch; -1 for now. The chat API's session tokens are custom
    // tokens with a longer lifetime.
    QByteArray mintCustomToken(qint64 serviceId,
                               qint64 accountId,
                               const QString &userKey,
                               qint64 issuedAt = -1,
                               qint64 lifetime = customTokenLifetime) const;
    Check verifyCustomToken(const QByteArray &token) const;

    // A new ID token and refresh token for the identity a custom token carried.
    Grant signIn(const AuthIdentity &identity) const;
    // False when the refresh token is not one of this service's.
    bool refresh(const QByteArray &refreshToken, Grant *grant) const;

    // emulatorCredentials: also accept unsigned ("alg":"none") tokens and the admin "owner".
    Check verifyIdToken(const QByteArray &token, bool emulatorCredentials) const;

    static QByteArray base64Url(const QByteArray &data);

private:
    QByteArray sign(const QByteArray &key, const QJsonObject &claims) const;
    // Splits and checks a JWT; false with a reason when it is not well formed or badly signed.
    bool decode(const QByteArray &token,
                const QByteArray &key,
                bool allowUnsigned,
                QJsonObject *claims,
                QString *reason) const;
    QByteArray issueIdToken(const QString &uid,
                            const QJsonValue &serviceId,
                            const QJsonValue &accountId,
                            qint64 authTime) const;
    static AuthIdentity identityFromClaims(const QJsonObject &claims, qint64 expiresAt);

    const ServiceClock *m_clock;
    QByteArray m_customKey;
    QByteArray m_idKey;
    QByteArray m_refreshKey;
    QString m_projectId;
    int m_lifetime = 3600;
};
