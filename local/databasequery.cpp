#include "local/databasequery.h"

#include "local/jsoncodec.h"

#include <QJsonArray>
#include <QVector>

#include <algorithm>
#include <numeric>

namespace {

bool parseInt32Key(const QString &key, qint64 *value)
{
    if (key.isEmpty() || key.size() > 11)
        return false;
    int i = key.at(0) == QLatin1Char('-') ? 1 : 0;
    if (i == key.size())
        return false;
    // "0" but not "01" or "-0": those are ordinary names.
    if (key.at(i) == QLatin1Char('0') && (key.size() > i + 1 || i == 1))
        return false;
    for (int j = i; j < key.size(); ++j) {
        if (!key.at(j).isDigit() || key.at(j).unicode() > '9')
            return false;
    }
    bool ok = false;
    const qint64 number = key.toLongLong(&ok);
    if (!ok || number < -2147483648LL || number > 2147483647LL)
        return false;
    *value = number;
    return true;
}

int typeRank(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        return 0;
    case QJsonValue::Bool:
        return value.toBool() ? 2 : 1;
    case QJsonValue::Double:
        return 3;
    case QJsonValue::String:
        return 4;
    default:
        return 5;
    }
}

} // namespace

int DatabaseQuery::compareKeys(const QString &a, const QString &b)
{
    qint64 x = 0;
    qint64 y = 0;
    const bool aInt = parseInt32Key(a, &x);
    const bool bInt = parseInt32Key(b, &y);
    if (aInt && bInt)
        return x < y ? -1 : (x > y ? 1 : 0);
    if (aInt != bInt)
        return aInt ? -1 : 1;
    return a < b ? -1 : (a == b ? 0 : 1);
}

int DatabaseQuery::compareValues(const QJsonValue &a, const QJsonValue &b)
{
    const int rankA = typeRank(a);
    const int rankB = typeRank(b);
    if (rankA != rankB)
        return rankA < rankB ? -1 : 1;
    if (rankA == 3) {
        const double x = a.toDouble();
        const double y = b.toDouble();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    if (rankA == 4) {
        const QString x = a.toString();
        const QString y = b.toString();
        return x < y ? -1 : (x == y ? 0 : 1);
    }
    return 0;
}

DatabaseQuery DatabaseQuery::fromWire(const QJsonObject &object)
{
    DatabaseQuery query;
    const QString index = object.value(QLatin1String("i")).toString();
    if (index == QLatin1String(".key")) {
        query.m_index = Index::Key;
    } else if (index == QLatin1String(".value")) {
        query.m_index = Index::Value;
    } else if (!index.isEmpty() && index != QLatin1String(".priority")) {
        query.m_index = Index::Child;
        DatabasePath::parse(index, &query.m_childPath);
    }
    if (object.contains(QLatin1String("sp"))) {
        query.m_hasStart = true;
        query.m_startValue = object.value(QLatin1String("sp"));
        if (object.contains(QLatin1String("sn")))
            query.m_startName = object.value(QLatin1String("sn"));
        query.m_startInclusive = object.value(QLatin1String("sin")).toBool(true);
    }
    if (object.contains(QLatin1String("ep"))) {
        query.m_hasEnd = true;
        query.m_endValue = object.value(QLatin1String("ep"));
        if (object.contains(QLatin1String("en")))
            query.m_endName = object.value(QLatin1String("en"));
        query.m_endInclusive = object.value(QLatin1String("ein")).toBool(true);
    }
    query.m_limit = object.value(QLatin1String("l")).toInt(0);
    query.m_fromLeft = object.value(QLatin1String("vf")).toString() != QLatin1String("r");
    return query;
}

bool DatabaseQuery::fromRest(const QUrlQuery &url, DatabaseQuery *result, QString *error)
{
    DatabaseQuery query;
    const auto item = [&url](const char *name) {
        return url.queryItemValue(QLatin1String(name), QUrl::FullyDecoded).toUtf8();
    };
    const auto has = [&url](const char *name) { return url.hasQueryItem(QLatin1String(name)); };
    const auto value = [&](const char *name, QJsonValue *out) {
        if (!JsonCodec::decode(item(name), out)) {
            *error = QStringLiteral("%1 must be a valid JSON value").arg(QLatin1String(name));
            return false;
        }
        return true;
    };
    const bool filtered = has("startAt") || has("endAt") || has("equalTo") || has("startAfter")
                          || has("endBefore") || has("limitToFirst") || has("limitToLast");
    if (!has("orderBy")) {
        if (filtered) {
            *error = QStringLiteral(
                "orderBy must be defined when other query parameters are defined");
            return false;
        }
        *result = query;
        return true;
    }
    QJsonValue orderBy;
    if (!value("orderBy", &orderBy) || !orderBy.isString()) {
        *error = QStringLiteral("orderBy must be a valid JSON encoded path");
        return false;
    }
    const QString index = orderBy.toString();
    if (index == QLatin1String("$key")) {
        query.m_index = Index::Key;
    } else if (index == QLatin1String("$value")) {
        query.m_index = Index::Value;
    } else if (index == QLatin1String("$priority")) {
        query.m_index = Index::Priority;
    } else if (!DatabasePath::parse(index, &query.m_childPath) || query.m_childPath.isRoot()) {
        *error = QStringLiteral("orderBy must be a valid JSON encoded path");
        return false;
    } else {
        query.m_index = Index::Child;
    }
    if (has("equalTo")
        && (has("startAt") || has("endAt") || has("startAfter") || has("endBefore"))) {
        *error = QStringLiteral("equalTo cannot be combined with startAt or endAt");
        return false;
    }
    if (has("startAt") || has("startAfter") || has("equalTo")) {
        const char *name = has("startAt") ? "startAt"
                                          : (has("startAfter") ? "startAfter" : "equalTo");
        if (!value(name, &query.m_startValue))
            return false;
        query.m_hasStart = true;
        query.m_startInclusive = !has("startAfter");
    }
    if (has("endAt") || has("endBefore") || has("equalTo")) {
        const char *name = has("endAt") ? "endAt" : (has("endBefore") ? "endBefore" : "equalTo");
        if (!value(name, &query.m_endValue))
            return false;
        query.m_hasEnd = true;
        query.m_endInclusive = !has("endBefore");
    }
    if (query.m_index == Index::Key
        && ((query.m_hasStart && !query.m_startValue.isString())
            || (query.m_hasEnd && !query.m_endValue.isString()))) {
        *error = QStringLiteral("When using orderBy:\"$key\", the value must be a string");
        return false;
    }
    if (has("limitToFirst") && has("limitToLast")) {
        *error = QStringLiteral("limitToFirst and limitToLast cannot both be set");
        return false;
    }
    if (has("limitToFirst") || has("limitToLast")) {
        bool ok = false;
        const int limit = item(has("limitToFirst") ? "limitToFirst" : "limitToLast").toInt(&ok);
        if (!ok || limit <= 0) {
            *error = QStringLiteral("Limits must be positive integers");
            return false;
        }
        query.m_limit = limit;
        query.m_fromLeft = has("limitToFirst");
    }
    *result = query;
    return true;
}

QByteArray DatabaseQuery::cacheKey() const
{
    // An absent name and a null one filter alike.
    const auto name = [](const QJsonValue &value) {
        return value.isUndefined() ? QJsonValue() : value;
    };
    return JsonCodec::encode(QJsonArray{int(m_index),
                                        m_childPath.toWireString(),
                                        m_hasStart,
                                        m_startValue,
                                        name(m_startName),
                                        m_startInclusive,
                                        m_hasEnd,
                                        m_endValue,
                                        name(m_endName),
                                        m_endInclusive,
                                        m_limit,
                                        m_fromLeft});
}

bool DatabaseQuery::isDefault() const
{
    return m_index == Index::Priority && !m_hasStart && !m_hasEnd && m_limit == 0;
}

QJsonValue DatabaseQuery::indexValue(const QString &key, const QJsonValue &child) const
{
    switch (m_index) {
    case Index::Key:
        return key;
    case Index::Value:
        return child;
    case Index::Child: {
        QJsonValue current = child;
        for (const QString &part : m_childPath.keys()) {
            if (!current.isObject())
                return QJsonValue();
            current = current.toObject().value(part);
        }
        return current.isUndefined() ? QJsonValue() : current;
    }
    case Index::Priority:
        break;
    }
    return QJsonValue(); // no priorities are kept: every child has the null priority
}

int DatabaseQuery::compareBound(const QString &key,
                                const QJsonValue &index,
                                const QJsonValue &boundValue,
                                const QJsonValue &boundName) const
{
    if (m_index == Index::Key)
        return compareKeys(key, boundValue.toString());
    const int byValue = compareValues(index, boundValue);
    if (byValue != 0 || !boundName.isString())
        return byValue;
    return compareKeys(key, boundName.toString());
}

// Every step is linear or n log n: values of hundreds of thousands of children are filtered
// on the event loop that serves everyone.
QJsonValue DatabaseQuery::apply(const QJsonValue &value) const
{
    if (isDefault() || (!value.isObject() && !value.isArray()))
        return value;
    struct Entry
    {
        QString key;
        QJsonValue child;
        QJsonValue index;
        bool isInt32; // the key, parsed once rather than at every comparison
        qint64 number;
    };
    QVector<Entry> entries;
    const auto consider = [&](const QString &key, const QJsonValue &child) {
        const QJsonValue index = indexValue(key, child);
        if (m_hasStart) {
            const int c = compareBound(key, index, m_startValue, m_startName);
            if (c < 0 || (c == 0 && !m_startInclusive))
                return;
        }
        if (m_hasEnd) {
            const int c = compareBound(key, index, m_endValue, m_endName);
            if (c > 0 || (c == 0 && !m_endInclusive))
                return;
        }
        qint64 number = 0;
        const bool isInt32 = parseInt32Key(key, &number);
        entries.append({key, child, index, isInt32, number});
    };
    const bool fromArray = value.isArray();
    if (fromArray) {
        // Arrays are objects with index keys in the tree; a filter sees them that way.
        const QJsonArray array = value.toArray();
        entries.reserve(array.size());
        for (int i = 0; i < array.size(); ++i) {
            if (!array.at(i).isNull())
                consider(QString::number(i), array.at(i));
        }
    } else {
        const QJsonObject object = value.toObject();
        entries.reserve(object.size());
        for (auto it = object.begin(); it != object.end(); ++it)
            consider(it.key(), it.value());
    }
    // Positions are sorted, not the entries themselves.
    QVector<int> order(entries.size());
    std::iota(order.begin(), order.end(), 0);
    const bool byIndex = m_index != Index::Key && m_index != Index::Priority;
    std::sort(order.begin(), order.end(), [&](int i, int j) {
        const Entry &a = entries.at(i);
        const Entry &b = entries.at(j);
        if (byIndex) {
            const int c = compareValues(a.index, b.index);
            if (c != 0)
                return c < 0;
        }
        if (a.isInt32 != b.isInt32)
            return a.isInt32;
        return a.isInt32 ? a.number < b.number : a.key < b.key;
    });
    if (m_limit > 0 && order.size() > m_limit)
        order = m_fromLeft ? order.mid(0, m_limit) : order.mid(order.size() - m_limit);
    // Inserted in the object's own key order, each key is appended; an object's children
    // came in that order already.
    if (fromArray) {
        std::sort(order.begin(), order.end(), [&entries](int i, int j) {
            return entries.at(i).key < entries.at(j).key;
        });
    } else {
        std::sort(order.begin(), order.end());
    }
    QJsonObject result;
    for (const int i : qAsConst(order))
        result.insert(entries.at(i).key, entries.at(i).child);
    return result.isEmpty() ? QJsonValue() : QJsonValue(result);
}
