#pragma once

#include <QtGlobal>

// How an operator is assigned to a site's widget.
class ApiUserToSite
{
public:
    quint64 getAccountId() const { return m_accountId; }
    void setAccountId(quint64 accountId) { m_accountId = accountId; }

    quint64 getChatWidgetId() const { return m_chatWidgetId; }
    void setChatWidgetId(quint64 chatWidgetId) { m_chatWidgetId = chatWidgetId; }

    quint64 getDistributionPercent() const { return m_distributionPercent; }
    void setDistributionPercent(quint64 distributionPercent)
    {
        m_distributionPercent = distributionPercent;
    }

    quint64 getSiteId() const { return m_siteId; }
    void setSiteId(quint64 siteId) { m_siteId = siteId; }

    quint64 getUserId() const { return m_userId; }
    void setUserId(quint64 userId) { m_userId = userId; }

    bool operator==(const ApiUserToSite &other) const
    {
        return m_accountId == other.m_accountId && m_chatWidgetId == other.m_chatWidgetId
               && m_distributionPercent == other.m_distributionPercent && m_siteId == other.m_siteId
               && m_userId == other.m_userId;
    }
    bool operator!=(const ApiUserToSite &other) const { return !(*this == other); }

private:
    quint64 m_accountId = 0;
    quint64 m_chatWidgetId = 0;
    quint64 m_distributionPercent = 0;
    quint64 m_siteId = 0;
    quint64 m_userId = 0;
};
