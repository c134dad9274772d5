#include "controller/historyfilter.h"

#include <cmath>
#include <limits>

bool HistoryFilter::isValid() const
{
    return period != Range || (start.isValid() && end.isValid() && start <= end);
}

QUrlQuery HistoryFilter::query(int page, int perPage) const
{
    QUrlQuery paged = query();
    paged.addQueryItem(QStringLiteral("page"), QString::number(page));
    paged.addQueryItem(QStringLiteral("per_page"), QString::number(perPage));
    return paged;
}

int HistoryFilter::pageCount(const QJsonObject &answer)
{
    const QJsonObject pagination = answer.value(QLatin1String("pagination")).toObject();
    const int perPage = pagination.value(QLatin1String("per_page")).toInt();
    // As a double: a huge or fractional total must not overflow.
    const double total = pagination.value(QLatin1String("total")).toDouble();
    if (perPage <= 0 || !(total > 0))
        return 1;
    const double pages = std::ceil(total / perPage);
    return pages >= std::numeric_limits<int>::max() ? std::numeric_limits<int>::max() : int(pages);
}

QUrlQuery HistoryFilter::query() const
{
    static const char *const periods[] = {"today", "yesterday", "week", "month", "period"};
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("filter[date_type]"), QLatin1String(periods[period]));
    if (period == Range) {
        query.addQueryItem(QStringLiteral("filter[date_start]"), start.toString(Qt::ISODate));
        query.addQueryItem(QStringLiteral("filter[date_end]"), end.toString(Qt::ISODate));
    }
    if (widgetId > 0)
        query.addQueryItem(QStringLiteral("filter[widget_id]"), QString::number(widgetId));
    if (operatorId > 0)
        query.addQueryItem(QStringLiteral("filter[user_id]"), QString::number(operatorId));
    if (!status.isEmpty())
        query.addQueryItem(QStringLiteral("filter[status]"), status);
    return query;
}

bool HistoryFilter::operator==(const HistoryFilter &other) const
{
    return period == other.period && start == other.start && end == other.end
           && widgetId == other.widgetId && operatorId == other.operatorId
           && status == other.status;
}
