#pragma once

#include <QByteArray>
#include <QJsonValue>

// JSON text <-> QJsonValue for any value, scalars included: the database stores and answers
// bare strings, numbers and booleans, which QJsonDocument alone cannot read or write.
namespace JsonCodec {

QByteArray encode(const QJsonValue &value, bool pretty = false);
// False when the text is not exactly one JSON value.
bool decode(const QByteArray &text, QJsonValue *value);

// Compact JSON of one string or number appended to out, as QJsonDocument writes them.
void appendString(QByteArray &out, const QString &text);
void appendNumber(QByteArray &out, double number);

} // namespace JsonCodec
