#include "local/jsoncodec.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace JsonCodec {

QByteArray encode(const QJsonValue &value, bool pretty)
{
    const QJsonDocument::JsonFormat format = pretty ? QJsonDocument::Indented
                                                    : QJsonDocument::Compact;
    if (value.isObject())
        return QJsonDocument(value.toObject()).toJson(format).trimmed();
    if (value.isArray())
        return QJsonDocument(value.toArray()).toJson(format).trimmed();
    if (value.isNull() || value.isUndefined())
        return QByteArrayLiteral("null");
    const QByteArray wrapped = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return wrapped.mid(1, wrapped.size() - 2);
}

bool decode(const QByteArray &text, QJsonValue *value)
{
    QJsonParseError error;
    // Wrapping in brackets lets Qt parse a scalar; "1,2" becomes two elements and is refused.
    const QJsonDocument doc = QJsonDocument::fromJson('[' + text + ']', &error);
    if (error.error != QJsonParseError::NoError || !doc.isArray())
        return false;
    const QJsonArray array = doc.array();
    if (array.size() != 1)
        return false;
    *value = array.at(0);
    return true;
}

} // namespace JsonCodec
