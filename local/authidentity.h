#pragma once

#include "local/databasepath.h"

#include <QJsonObject>
#include <QString>

// Who a request or a websocket acts as, after its token has been checked.
class AuthIdentity
{
public:
    enum class Kind { Anonymous, User, Admin };

    static AuthIdentity anonymous() { return {}; }
    static AuthIdentity admin();
    // serviceKey and accountKey as they appear in database paths ("7", "9").
    static AuthIdentity user(const QString &uid,
                             const QString &serviceKey,
                             const QString &accountKey,
                             qint64 expiresAt,
                             const QJsonObject &claims);

    Kind kind() const { return m_kind; }
    bool isAuthenticated() const { return m_kind != Kind::Anonymous; }
    bool isAdmin() const { return m_kind == Kind::Admin; }
    QString uid() const { return m_uid; }
    QString serviceKey() const { return m_serviceKey; }
    QString accountKey() const { return m_accountKey; }
    // Seconds since the epoch; 0 when it never expires.
    qint64 expiresAt() const { return m_expiresAt; }
    const QJsonObject &claims() const { return m_claims; }

    // A user of service S and account A reaches only /services/S/accounts/A and below.
    bool canAccess(const DatabasePath &path) const;
    // The same for every target of an update, whose keys are paths below path. Checked before
    // the values are looked at; keys that are not paths are left to the update's validation.
    bool canAccessUpdate(const DatabasePath &path, const QJsonObject &update) const;

    // The number or string of a claim as a path key; empty when it is neither.
    static QString claimKey(const QJsonValue &claim);

private:
    Kind m_kind = Kind::Anonymous;
    QString m_uid;
    QString m_serviceKey;
    QString m_accountKey;
    qint64 m_expiresAt = 0;
    QJsonObject m_claims;
};
