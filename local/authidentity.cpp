#include "local/authidentity.h"

#include <cmath>

AuthIdentity AuthIdentity::admin()
{
    AuthIdentity identity;
    identity.m_kind = Kind::Admin;
    return identity;
}

AuthIdentity AuthIdentity::user(const QString &uid,
                                const QString &serviceKey,
                                const QString &accountKey,
                                qint64 expiresAt,
                                const QJsonObject &claims)
{
    AuthIdentity identity;
    identity.m_kind = Kind::User;
    identity.m_uid = uid;
    identity.m_serviceKey = serviceKey;
    identity.m_accountKey = accountKey;
    identity.m_expiresAt = expiresAt;
    identity.m_claims = claims;
    return identity;
}

bool AuthIdentity::canAccess(const DatabasePath &path) const
{
    if (m_kind == Kind::Admin)
        return true;
    if (m_kind != Kind::User || m_serviceKey.isEmpty() || m_accountKey.isEmpty())
        return false;
    const QStringList &keys = path.keys();
    return keys.size() >= 4 && keys.at(0) == QLatin1String("services") && keys.at(1) == m_serviceKey
           && keys.at(2) == QLatin1String("accounts") && keys.at(3) == m_accountKey;
}

bool AuthIdentity::canAccessUpdate(const DatabasePath &path, const QJsonObject &update) const
{
    if (m_kind == Kind::Admin)
        return true;
    for (auto it = update.begin(); it != update.end(); ++it) {
        DatabasePath relative;
        if (DatabasePath::parse(it.key(), &relative) && !canAccess(path.child(relative)))
            return false;
    }
    return true;
}

QString AuthIdentity::claimKey(const QJsonValue &claim)
{
    if (claim.isString())
        return claim.toString();
    if (claim.isDouble()) {
        const double number = claim.toDouble();
        if (std::floor(number) == number && std::fabs(number) < 9.0e15)
            return QString::number(qint64(number));
    }
    return {};
}
