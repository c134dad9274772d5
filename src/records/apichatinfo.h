#pragma once

#include "records/apichatvisitinfo.h"

#include <QDateTime>
#include <QMetaType>
#include <QString>

// The service's card of one chat: ids, start and the visit behind it.
class ApiChatInfo
{
public:
    int getAccountId() const { return m_accountId; }
    void setAccountId(int accountId) { m_accountId = accountId; }

    int getId() const { return m_id; }
    void setId(int id) { m_id = id; }

    qint64 getSiteId() const { return m_siteId; }
    void setSiteId(qint64 siteId) { m_siteId = siteId; }

    QDateTime getCreatedAt() const { return m_createdAt; }
    void setCreatedAt(const QDateTime &createdAt) { m_createdAt = createdAt; }

    QString getLink() const { return m_link; }
    void setLink(const QString &link) { m_link = link; }

    ApiChatVisitInfo getVisit() const { return m_visit; }
    void setVisit(const ApiChatVisitInfo &visit) { m_visit = visit; }

    bool operator==(const ApiChatInfo &other) const
    {
        return m_accountId == other.m_accountId && m_id == other.m_id && m_siteId == other.m_siteId
               && m_createdAt == other.m_createdAt && m_link == other.m_link
               && m_visit == other.m_visit;
    }
    bool operator!=(const ApiChatInfo &other) const { return !(*this == other); }

private:
    int m_accountId = 0;
    int m_id = 0;
    qint64 m_siteId = 0;
    QDateTime m_createdAt;
    QString m_link;
    ApiChatVisitInfo m_visit;
};

Q_DECLARE_METATYPE(ApiChatInfo)
