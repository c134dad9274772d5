#pragma once

#include <QList>
#include <QMetaType>
#include <QString>

// A canned reply. The type says to whom it belongs: "account" (everyone), "site" (siteId) or
// "user" (operatorId).
class FirebaseQuickAnswer
{
public:
    // The database key read as a number.
    qint64 getId() const { return m_id; }
    void setId(qint64 id) { m_id = id; }

    qint64 getAccountId() const { return m_accountId; }
    void setAccountId(qint64 accountId) { m_accountId = accountId; }

    // JSON key "userId".
    qint64 getOperatorId() const { return m_operatorId; }
    void setOperatorId(qint64 operatorId) { m_operatorId = operatorId; }

    qint64 getSiteId() const { return m_siteId; }
    void setSiteId(qint64 siteId) { m_siteId = siteId; }

    QString getText() const { return m_text; }
    void setText(const QString &text) { m_text = text; }

    QString getType() const { return m_type; }
    void setType(const QString &type) { m_type = type; }

    bool operator==(const FirebaseQuickAnswer &other) const
    {
        return m_id == other.m_id && m_accountId == other.m_accountId
               && m_operatorId == other.m_operatorId && m_siteId == other.m_siteId
               && m_text == other.m_text && m_type == other.m_type;
    }
    bool operator!=(const FirebaseQuickAnswer &other) const { return !(*this == other); }

private:
    qint64 m_id = 0;
    qint64 m_accountId = 0;
    qint64 m_operatorId = 0;
    qint64 m_siteId = 0;
    QString m_text;
    QString m_type;
};

Q_DECLARE_METATYPE(FirebaseQuickAnswer)
