#pragma once

#include "local/httprequest.h"

#include <QHash>
#include <QJsonObject>
#include <QString>

// The filters that the history and offline-request lists share, read from the query: a period
// ("filter[date_type]": "today", "yesterday", "week", "month", or "period" with
// "filter[date_start]" and "filter[date_end]" as yyyy-MM-dd, both days included), a widget
// ("filter[widget_id]") and a page ("page" from 1, "per_page" up to 100, 20 by default). Days
// are the service's (Moscow time), as its dates are.
class ApiListFilter
{
public:
    static constexpr int defaultPerPage = 20;
    static constexpr int maxPerPage = 100;

    // False with the errors per query item when the query cannot be read.
    bool parse(const HttpRequest &request, qint64 nowMs, QJsonObject *errors);

    // A query item by its decoded name ("filter[status]"); empty when absent.
    QString item(const QString &name) const { return m_items.value(name); }
    bool admits(qint64 atMs, qint64 widgetId) const;
    // Where the page starts among total items (total when it lies beyond them).
    int pageStart(int total) const;
    int pageEnd(int total) const;
    QJsonObject pagination(int total) const;

    // The service's ids and times arrive as numbers or as text: ids as digits, times as epoch
    // milliseconds or ISO 8601; -1 when unreadable.
    static qint64 idOf(const QJsonValue &value);
    static qint64 msOf(const QJsonValue &value);
    // The service's date-time as a person reads it, in its own zone.
    static QString localTime(qint64 ms);

private:
    QHash<QString, QString> m_items;
    qint64 m_from;
    qint64 m_to;
    qint64 m_widget = 0;
    qint64 m_page = 1;
    qint64 m_perPage = defaultPerPage;
};
