#include "local/apilistfilter.h"

#include <QDateTime>
#include <QJsonArray>

#include <limits>

namespace {

constexpr int kZoneOffset = 3 * 3600;
constexpr qint64 kDayMs = 24 * 3600 * 1000;

qint64 dayStart(const QDate &date)
{
    return QDateTime(date, QTime(0, 0), Qt::OffsetFromUTC, kZoneOffset).toMSecsSinceEpoch();
}

QJsonArray problem(const char *text)
{
    return QJsonArray{QString::fromUtf8(text)};
}

} // namespace

bool ApiListFilter::parse(const HttpRequest &request, qint64 nowMs, QJsonObject *errors)
{
    const auto items = request.query.queryItems(QUrl::FullyDecoded);
    for (const auto &item : items)
        m_items.insert(item.first, item.second);

    m_from = std::numeric_limits<qint64>::min();
    m_to = std::numeric_limits<qint64>::max();
    const QDate today = QDateTime::fromMSecsSinceEpoch(nowMs, Qt::OffsetFromUTC, kZoneOffset).date();
    const QString type = item(QStringLiteral("filter[date_type]"));
    QDate first;
    QDate last = today;
    if (type == QLatin1String("today")) {
        first = today;
    } else if (type == QLatin1String("yesterday")) {
        first = last = today.addDays(-1);
    } else if (type == QLatin1String("week")) {
        first = today.addDays(-6);
    } else if (type == QLatin1String("month")) {
        first = today.addDays(-29);
    } else if (type == QLatin1String("period")) {
        first = QDate::fromString(item(QStringLiteral("filter[date_start]")), Qt::ISODate);
        last = QDate::fromString(item(QStringLiteral("filter[date_end]")), Qt::ISODate);
        if (!first.isValid())
            errors->insert(QStringLiteral("filter[date_start]"), problem("Укажите дату"));
        if (!last.isValid())
            errors->insert(QStringLiteral("filter[date_end]"), problem("Укажите дату"));
    } else if (!type.isEmpty()) {
        errors->insert(QStringLiteral("filter[date_type]"), problem("Неизвестный период"));
    }
    if (first.isValid() && last.isValid()) {
        m_from = dayStart(first);
        m_to = dayStart(last) + kDayMs - 1;
    }

    const auto number = [this, errors](const char *name, qint64 low, qint64 high, qint64 *target) {
        const QString text = item(QLatin1String(name));
        bool ok = false;
        const qint64 value = text.toLongLong(&ok);
        if (ok && value >= low && value <= high)
            *target = value;
        else if (!text.isEmpty())
            errors->insert(QLatin1String(name), problem("Недопустимое значение"));
    };
    number("filter[widget_id]", 1, std::numeric_limits<qint64>::max(), &m_widget);
    number("page", 1, std::numeric_limits<int>::max(), &m_page);
    number("per_page", 1, maxPerPage, &m_perPage);
    return errors->isEmpty();
}

bool ApiListFilter::admits(qint64 atMs, qint64 widgetId) const
{
    return atMs >= m_from && atMs <= m_to && (m_widget == 0 || widgetId == m_widget);
}

int ApiListFilter::pageStart(int total) const
{
    return int(qMin<qint64>(total, (m_page - 1) * m_perPage));
}

int ApiListFilter::pageEnd(int total) const
{
    return int(qMin<qint64>(total, pageStart(total) + m_perPage));
}

QJsonObject ApiListFilter::pagination(int total) const
{
    return {{"page", m_page}, {"per_page", m_perPage}, {"total", total}};
}

qint64 ApiListFilter::idOf(const QJsonValue &value)
{
    if (value.isDouble()) {
        const double number = value.toDouble();
        return number >= 0 && number < 9007199254740992.0 ? qint64(number) : -1;
    }
    bool ok = false;
    const qint64 id = value.toString().toLongLong(&ok);
    return ok && id >= 0 ? id : -1;
}

qint64 ApiListFilter::msOf(const QJsonValue &value)
{
    if (value.isDouble())
        return qint64(value.toDouble());
    const QDateTime time = QDateTime::fromString(value.toString(), Qt::ISODate);
    return time.isValid() ? time.toMSecsSinceEpoch() : -1;
}

QString ApiListFilter::localTime(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(ms, Qt::OffsetFromUTC, kZoneOffset)
        .toString(QStringLiteral("dd.MM.yyyy HH:mm"));
}
