#include "records/timestamp.h"

Timestamp::Timestamp(const QDateTime &dateTime)
{
    if (!dateTime.isValid())
        return;
    m_msecs = dateTime.toMSecsSinceEpoch();
    m_valid = true;
    m_conversion = std::make_shared<Conversion>();
    std::call_once(m_conversion->once, [&] { m_conversion->dateTime = dateTime; });
}

Timestamp Timestamp::fromMSecsSinceEpoch(qint64 msecs)
{
    Timestamp timestamp;
    timestamp.m_msecs = msecs;
    timestamp.m_valid = true;
    timestamp.m_conversion = std::make_shared<Conversion>();
    return timestamp;
}

QDateTime Timestamp::toDateTime() const
{
    if (!m_conversion)
        return QDateTime();
    std::call_once(m_conversion->once,
                   [this] { m_conversion->dateTime = QDateTime::fromMSecsSinceEpoch(m_msecs); });
    return m_conversion->dateTime;
}
