#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QMetaType>
#include <QString>

// One answer of the realtime database: a plain REST reply (empty event) or a stream event
// ("init", "put", "patch", "keep-live") whose data holds "p" (relative path) and "d" (value).
class FirebaseReply
{
public:
    FirebaseReply() = default;
    FirebaseReply(const QString &event, const QJsonObject &data, const QDateTime &date = {})
        : m_event(event)
        , m_data(data)
        , m_date(date)
    {}

    QString getEvent() const { return m_event; }
    void setEvent(const QString &event) { m_event = event; }

    QJsonObject getData() const { return m_data; }
    void setData(const QJsonObject &data) { m_data = data; }

    QDateTime getDate() const { return m_date; }
    void setDate(const QDateTime &date) { m_date = date; }

private:
    QString m_event;
    QJsonObject m_data;
    QDateTime m_date;
};

Q_DECLARE_METATYPE(FirebaseReply)
