#pragma once

#include <QString>

// A chat widget of the account and the site it is installed on.
class ApiChatWidget
{
public:
    quint64 getId() const { return m_id; }
    void setId(quint64 id) { m_id = id; }

    QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    int getIsEnabled() const { return m_isEnabled; }
    void setIsEnabled(int isEnabled) { m_isEnabled = isEnabled; }

    QString getSiteName() const { return m_siteName; }
    void setSiteName(const QString &siteName) { m_siteName = siteName; }

    bool operator==(const ApiChatWidget &other) const
    {
        return m_id == other.m_id && m_name == other.m_name && m_isEnabled == other.m_isEnabled
               && m_siteName == other.m_siteName;
    }
    bool operator!=(const ApiChatWidget &other) const { return !(*this == other); }

private:
    quint64 m_id = 0;
    QString m_name;
    int m_isEnabled = 0;
    QString m_siteName;
};
