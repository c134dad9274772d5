#pragma once

#include <QByteArray>
#include <QString>

class TokenIssuer;

// The chat API's session tokens. Each is a custom token of the identity endpoint with a session's
// lifetime, so the string that sign-in hands out is both the API's bearer token and what the
// console exchanges for its database credentials.
class ApiTokens
{
public:
    enum class Verdict { Valid, Missing, Invalid, Expired };

    struct Holder
    {
        qint64 serviceId = 0;
        qint64 accountId = 0;
        QString userKey;
        qint64 expiresAt = 0; // seconds since the epoch
    };

    static constexpr int defaultLifetime = 24 * 3600;

    explicit ApiTokens(const TokenIssuer *issuer, int lifetimeSeconds = defaultLifetime);

    void setLifetime(int seconds) { m_lifetime = qMax(60, seconds); }
    int lifetime() const { return m_lifetime; }

    // issuedAt in seconds since the epoch; -1 for now.
    QByteArray mint(qint64 serviceId,
                    qint64 accountId,
                    const QString &userKey,
                    qint64 issuedAt = -1) const;
    // Reads an "Authorization" request header: the token, with or without "bearer ".
    Verdict check(const QByteArray &authorization, Holder *holder) const;
    // A fresh token for the holder once less than a quarter of the lifetime is left; empty
    // before that.
    QByteArray renewal(const Holder &holder) const;

private:
    const TokenIssuer *m_issuer;
    int m_lifetime;
};
