#pragma once

#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QString>

// A request that a visitor left while no operator was online.
class ApiOfflineMessage
{
public:
    QDateTime getDate() const { return m_date; }
    void setDate(const QDateTime &date) { m_date = date; }

    QString getEmail() const { return m_email; }
    void setEmail(const QString &email) { m_email = email; }

    QString getIp() const { return m_ip; }
    void setIp(const QString &ip) { m_ip = ip; }

    QString getIpPlace() const { return m_ipPlace; }
    void setIpPlace(const QString &ipPlace) { m_ipPlace = ipPlace; }

    QString getMessage() const { return m_message; }
    void setMessage(const QString &message) { m_message = message; }

    QString getPhone() const { return m_phone; }
    void setPhone(const QString &phone) { m_phone = phone; }

    QString getReferrer() const { return m_referrer; }
    void setReferrer(const QString &referrer) { m_referrer = referrer; }

    // The page the request was sent from ("url").
    QString getSite() const { return m_site; }
    void setSite(const QString &site) { m_site = site; }

    QDateTime getVisitCreatedAt() const { return m_visitCreatedAt; }
    void setVisitCreatedAt(const QDateTime &visitCreatedAt) { m_visitCreatedAt = visitCreatedAt; }

    QString getVisitorName() const { return m_visitorName; }
    void setVisitorName(const QString &visitorName) { m_visitorName = visitorName; }

    QString getWidgetName() const { return m_widgetName; }
    void setWidgetName(const QString &widgetName) { m_widgetName = widgetName; }

    QString getTypeForm() const { return m_typeForm; }
    void setTypeForm(const QString &typeForm) { m_typeForm = typeForm; }

    bool operator==(const ApiOfflineMessage &other) const
    {
        return m_date == other.m_date && m_email == other.m_email && m_ip == other.m_ip
               && m_ipPlace == other.m_ipPlace && m_message == other.m_message
               && m_phone == other.m_phone && m_referrer == other.m_referrer
               && m_site == other.m_site && m_visitCreatedAt == other.m_visitCreatedAt
               && m_visitorName == other.m_visitorName && m_widgetName == other.m_widgetName
               && m_typeForm == other.m_typeForm;
    }
    bool operator!=(const ApiOfflineMessage &other) const { return !(*this == other); }

private:
    QDateTime m_date;
    QString m_email;
    QString m_ip;
    QString m_ipPlace;
    QString m_message;
    QString m_phone;
    QString m_referrer;
    QString m_site;
    QDateTime m_visitCreatedAt;
    QString m_visitorName;
    QString m_widgetName;
    QString m_typeForm;
};

Q_DECLARE_METATYPE(ApiOfflineMessage)
Q_DECLARE_METATYPE(QList<ApiOfflineMessage>)
