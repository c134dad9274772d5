#pragma once

#include <QList>
#include <QMetaType>
#include <QString>

// A widget as the history search offers it for filtering.
class ApiChatHistoryWidget
{
public:
    qint64 getId() const { return m_id; }
    void setId(qint64 id) { m_id = id; }

    bool getIsEnabled() const { return m_isEnabled; }
    void setIsEnabled(bool isEnabled) { m_isEnabled = isEnabled; }

    // Site and widget name, "site - name".
    QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    QString getSite() const { return m_site; }
    void setSite(const QString &site) { m_site = site; }

    qint64 getSiteId() const { return m_siteId; }
    void setSiteId(qint64 siteId) { m_siteId = siteId; }

    qint64 getStep() const { return m_step; }
    void setStep(qint64 step) { m_step = step; }

    bool operator==(const ApiChatHistoryWidget &other) const
    {
        return m_id == other.m_id && m_isEnabled == other.m_isEnabled && m_name == other.m_name
               && m_site == other.m_site && m_siteId == other.m_siteId && m_step == other.m_step;
    }
    bool operator!=(const ApiChatHistoryWidget &other) const { return !(*this == other); }

private:
    qint64 m_id = 0;
    bool m_isEnabled = false;
    QString m_name;
    QString m_site;
    qint64 m_siteId = 0;
    qint64 m_step = 0;
};

Q_DECLARE_METATYPE(ApiChatHistoryWidget)
Q_DECLARE_METATYPE(QList<ApiChatHistoryWidget>)
