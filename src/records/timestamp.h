#pragma once

#include <QDateTime>

#include <memory>
#include <mutex>

// A time stamp of the realtime database: milliseconds since the epoch, handed out as a local
// QDateTime (QDateTime::fromMSecsSinceEpoch).
//
// Building a local QDateTime costs a time-zone lookup of some microseconds; for the tens of
// thousands of time stamps of one account snapshot that would cost more than parsing the JSON.
// So the conversion runs on the first read, and its result is shared with every copy of the
// value made before or after. Comparisons work on the milliseconds and never convert.
class Timestamp
{
public:
    // Invalid, as a record that never saw a time.
    Timestamp() = default;
    // A given date-time is kept as it is; only its milliseconds are taken for comparisons.
    explicit Timestamp(const QDateTime &dateTime);

    static Timestamp fromMSecsSinceEpoch(qint64 msecs);

    bool isValid() const { return m_valid; }
    // 0 for an invalid time stamp.
    qint64 toMSecsSinceEpoch() const { return m_msecs; }
    QDateTime toDateTime() const;

    // Equal when both are invalid or both denote the same instant, as QDateTime compares.
    bool operator==(const Timestamp &other) const
    {
        return m_valid == other.m_valid && m_msecs == other.m_msecs;
    }
    bool operator!=(const Timestamp &other) const { return !(*this == other); }

private:
    struct Conversion
    {
        std::once_flag once;
        QDateTime dateTime;
    };

    qint64 m_msecs = 0;
    bool m_valid = false;
    // Null for an invalid time stamp; filled at most once, from any copy.
    std::shared_ptr<Conversion> m_conversion;
};
