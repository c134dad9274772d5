#pragma once

#include "local/databasepath.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QUrlQuery>

// A filtered view of a location's children: order by key, value, priority or a child, a range
// and a limit. Read from the websocket's "q" object or from REST query parameters.
class DatabaseQuery
{
public:
    enum class Index { Priority, Key, Value, Child };

    // The websocket form: {"i": ..., "sp", "sn", "sin", "ep", "en", "ein", "l", "vf"}.
    static DatabaseQuery fromWire(const QJsonObject &object);
    // The REST form (orderBy, startAt, endAt, equalTo, startAfter, endBefore, limitToFirst,
    // limitToLast); false with a message on a malformed or incomplete query.
    static bool fromRest(const QUrlQuery &query, DatabaseQuery *result, QString *error);

    bool isDefault() const;
    // Equal for queries that filter alike.
    QByteArray cacheKey() const;
    QJsonValue apply(const QJsonValue &value) const;

    // Firebase's order of keys: 32-bit integer keys first, numerically, then the others.
    static int compareKeys(const QString &a, const QString &b);
    // null < false < true < numbers < strings < objects.
    static int compareValues(const QJsonValue &a, const QJsonValue &b);

private:
    QJsonValue indexValue(const QString &key, const QJsonValue &child) const;
    int compareBound(const QString &key,
                     const QJsonValue &index,
                     const QJsonValue &boundValue,
                     const QJsonValue &boundName) const;

    Index m_index = Index::Priority;
    DatabasePath m_childPath;
    bool m_hasStart = false;
    QJsonValue m_startValue;
    QJsonValue m_startName = QJsonValue(QJsonValue::Undefined);
    bool m_startInclusive = true;
    bool m_hasEnd = false;
    QJsonValue m_endValue;
    QJsonValue m_endName = QJsonValue(QJsonValue::Undefined);
    bool m_endInclusive = true;
    int m_limit = 0;
    bool m_fromLeft = true;
};
