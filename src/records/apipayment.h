#pragma once

#include <QMetaType>
#include <QString>

// A payment link created for a chat.
class ApiPayment
{
public:
    QString getLink() const { return m_link; }
    void setLink(const QString &link) { m_link = link; }

    QString getPaySystem() const { return m_paySystem; }
    void setPaySystem(const QString &paySystem) { m_paySystem = paySystem; }

    bool operator==(const ApiPayment &other) const
    {
        return m_link == other.m_link && m_paySystem == other.m_paySystem;
    }
    bool operator!=(const ApiPayment &other) const { return !(*this == other); }

private:
    QString m_link;
    QString m_paySystem;
};

Q_DECLARE_METATYPE(ApiPayment)
