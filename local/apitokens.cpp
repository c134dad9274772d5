#include "local/apitokens.h"

#include "local/tokenissuer.h"

ApiTokens::ApiTokens(const TokenIssuer *issuer, int lifetimeSeconds)
    : m_issuer(issuer)
    , m_lifetime(qMax(60, lifetimeSeconds))
{}

QByteArray ApiTokens::mint(qint64 serviceId,
                           qint64 accountId,
                           const QString &userKey,
                           qint64 issuedAt) const
{
    return m_issuer->mintCustomToken(serviceId, accountId, userKey, issuedAt, m_lifetime);
}

ApiTokens::Verdict ApiTokens::check(const QByteArray &authorization, Holder *holder) const
{
    QByteArray token = authorization.trimmed();
    if (token.left(7).toLower() == "bearer ")
        token = token.mid(7).trimmed();
    if (token.isEmpty())
        return Verdict::Missing;
    const TokenIssuer::Check check = m_issuer->verifyCustomToken(token);
    if (check.verdict == TokenIssuer::Verdict::Expired)
        return Verdict::Expired;
    if (check.verdict != TokenIssuer::Verdict::Valid)
        return Verdict::Invalid;
    bool serviceOk = false;
    bool accountOk = false;
    holder->serviceId = check.identity.serviceKey().toLongLong(&serviceOk);
    holder->accountId = check.identity.accountKey().toLongLong(&accountOk);
    holder->userKey = check.identity.uid();
    holder->expiresAt = check.identity.expiresAt();
    return serviceOk && accountOk ? Verdict::Valid : Verdict::Invalid;
}

QByteArray ApiTokens::renewal(const Holder &holder) const
{
    const qint64 left = holder.expiresAt - m_issuer->clock()->nowSecs();
    if (left * 4 >= m_lifetime)
        return {};
    return mint(holder.serviceId, holder.accountId, holder.userKey);
}
