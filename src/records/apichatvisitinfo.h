#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>

// What the service knows of the visit behind a chat.
class ApiChatVisitInfo
{
public:
    QString getEmail() const { return m_email; }
    void setEmail(const QString &email) { m_email = email; }

    QString getPhone() const { return m_phone; }
    void setPhone(const QString &phone) { m_phone = phone; }

    QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    QString getIp() const { return m_ip; }
    void setIp(const QString &ip) { m_ip = ip; }

    QString getIpPlace() const { return m_ipPlace; }
    void setIpPlace(const QString &ipPlace) { m_ipPlace = ipPlace; }

    QString getLastHost() const { return m_lastHost; }
    void setLastHost(const QString &lastHost) { m_lastHost = lastHost; }

    QString getLastUrl() const { return m_lastUrl; }
    void setLastUrl(const QString &lastUrl) { m_lastUrl = lastUrl; }

    QDateTime getCreatedAt() const { return m_createdAt; }
    void setCreatedAt(const QDateTime &createdAt) { m_createdAt = createdAt; }

    int getChatQuant() const { return m_chatQuant; }
    void setChatQuant(int chatQuant) { m_chatQuant = chatQuant; }

    QString getSite() const { return m_site; }
    void setSite(const QString &site) { m_site = site; }

    int getBlocked() const { return m_blocked; }
    void setBlocked(int blocked) { m_blocked = blocked; }

    qint64 getVisitQuant() const { return m_visitQuant; }
    void setVisitQuant(qint64 visitQuant) { m_visitQuant = visitQuant; }

    int getIntroduced() const { return m_introduced; }
    void setIntroduced(int introduced) { m_introduced = introduced; }

    QString getReferrer() const { return m_referrer; }
    void setReferrer(const QString &referrer) { m_referrer = referrer; }

    // The site's own parameters, the UTM marks and the promo code, by name.
    QHash<QString, QString> getCustomParams() const { return m_customParams; }
    void setCustomParams(const QHash<QString, QString> &customParams)
    {
        m_customParams = customParams;
    }

    // The visitor's social-network profile.
    QString getUrl() const { return m_url; }
    void setUrl(const QString &url) { m_url = url; }

    QHash<QString, QString> getUtmMarks() const { return m_utmMarks; }
    void setUtmMarks(const QHash<QString, QString> &utmMarks) { m_utmMarks = utmMarks; }

    bool operator==(const ApiChatVisitInfo &other) const
    {
        return m_email == other.m_email && m_phone == other.m_phone && m_name == other.m_name
               && m_ip == other.m_ip && m_ipPlace == other.m_ipPlace
               && m_lastHost == other.m_lastHost && m_lastUrl == other.m_lastUrl
               && m_createdAt == other.m_createdAt && m_chatQuant == other.m_chatQuant
               && m_site == other.m_site && m_blocked == other.m_blocked
               && m_visitQuant == other.m_visitQuant && m_introduced == other.m_introduced
               && m_referrer == other.m_referrer && m_customParams == other.m_customParams
               && m_url == other.m_url && m_utmMarks == other.m_utmMarks;
    }
    bool operator!=(const ApiChatVisitInfo &other) const { return !(*this == other); }

private:
    QString m_email;
    QString m_phone;
    QString m_name;
    QString m_ip;
    QString m_ipPlace;
    QString m_lastHost;
    QString m_lastUrl;
    QDateTime m_createdAt;
    int m_chatQuant = 0;
    QString m_site;
    int m_blocked = 0;
    qint64 m_visitQuant = 0;
    int m_introduced = 0;
    QString m_referrer;
    QHash<QString, QString> m_customParams;
    QString m_url;
    QHash<QString, QString> m_utmMarks;
};
