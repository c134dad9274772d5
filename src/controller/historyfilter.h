#pragma once

#include <QDate>
#include <QJsonObject>
#include <QMetaType>
#include <QString>
#include <QUrlQuery>

// The filters of the dialog history and of the offline requests, as the service's list
// endpoints take them.
struct HistoryFilter
{
    enum Period { Today, Yesterday, Week, Month, Range };

    Period period = Today;
    // The first and last day of a Range, both included.
    QDate start;
    QDate end;
    // 0 for every widget, operator.
    qint64 widgetId = 0;
    qint64 operatorId = 0;
    // "" or "all", "completed", "lost", "work" (the history only).
    QString status;

    // A Range needs both days, in order.
    bool isValid() const;
    // The "filter[...]" items.
    QUrlQuery query() const;
    // The same with "page" (from 1) and "per_page".
    QUrlQuery query(int page, int perPage) const;
    // Pages of a list answer's "pagination" ({"page", "per_page", "total"}); at least 1.
    static int pageCount(const QJsonObject &answer);

    bool operator==(const HistoryFilter &other) const;
    bool operator!=(const HistoryFilter &other) const { return !(*this == other); }
};

Q_DECLARE_METATYPE(HistoryFilter)
