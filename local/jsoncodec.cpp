#include "local/jsoncodec.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

#include <cmath>

namespace JsonCodec {

namespace {

void append(QByteArray &out, const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Bool:
        out += value.toBool() ? "true" : "false";
        break;
    case QJsonValue::Double:
        appendNumber(out, value.toDouble());
        break;
    case QJsonValue::String:
        appendString(out, value.toString());
        break;
    case QJsonValue::Array: {
        const QJsonArray array = value.toArray();
        out += '[';
        for (int i = 0; i < array.size(); ++i) {
            if (i > 0)
                out += ',';
            append(out, array.at(i));
        }
        out += ']';
        break;
    }
    case QJsonValue::Object: {
        const QJsonObject object = value.toObject();
        out += '{';
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (it != object.begin())
                out += ',';
            appendString(out, it.key());
            out += ':';
            append(out, it.value());
        }
        out += '}';
        break;
    }
    default:
        out += "null";
        break;
    }
}

} // namespace

// Compact text is written here rather than by QJsonDocument, which copies every string into its
// own storage first: answers of megabytes go out on the event loop that serves everyone.
QByteArray encode(const QJsonValue &value, bool pretty)
{
    if (pretty && value.isObject())
        return QJsonDocument(value.toObject()).toJson(QJsonDocument::Indented).trimmed();
    if (pretty && value.isArray())
        return QJsonDocument(value.toArray()).toJson(QJsonDocument::Indented).trimmed();
    QByteArray out;
    append(out, value);
    return out;
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

void appendString(QByteArray &out, const QString &text)
{
    static const char hex[] = "0123456789abcdef";
    const int start = out.size();
    // Room for ASCII; other text grows it once, to three bytes a code unit.
    out.resize(start + text.size() + 16);
    char *cursor = out.data() + start;
    char *end = out.data() + out.size();
    *cursor++ = '"';
    const ushort *unit = reinterpret_cast<const ushort *>(text.constData());
    const ushort *last = unit + text.size();
    for (; unit < last; ++unit) {
        if (end - cursor < 8) {
            const int used = int(cursor - out.data());
            out.resize(out.size() + int(last - unit) * 3 + 64);
            cursor = out.data() + used;
            end = out.data() + out.size();
        }
        const ushort u = *unit;
        if (u >= 0x20 && u < 0x80 && u != '"' && u != '\\') {
            *cursor++ = char(u);
        } else if (u < 0x80) {
            *cursor++ = '\\';
            switch (u) {
            case '"':
            case '\\':
                *cursor++ = char(u);
                break;
            case '\b':
                *cursor++ = 'b';
                break;
            case '\f':
                *cursor++ = 'f';
                break;
            case '\n':
                *cursor++ = 'n';
                break;
            case '\r':
                *cursor++ = 'r';
                break;
            case '\t':
                *cursor++ = 't';
                break;
            default:
                *cursor++ = 'u';
                *cursor++ = '0';
                *cursor++ = '0';
                *cursor++ = hex[u >> 4];
                *cursor++ = hex[u & 0xf];
            }
        } else if (u < 0x800) {
            *cursor++ = char(0xc0 | (u >> 6));
            *cursor++ = char(0x80 | (u & 0x3f));
        } else if (QChar::isHighSurrogate(u) && unit + 1 < last && QChar::isLowSurrogate(unit[1])) {
            const uint code = QChar::surrogateToUcs4(u, unit[1]);
            ++unit;
            *cursor++ = char(0xf0 | (code >> 18));
            *cursor++ = char(0x80 | ((code >> 12) & 0x3f));
            *cursor++ = char(0x80 | ((code >> 6) & 0x3f));
            *cursor++ = char(0x80 | (code & 0x3f));
        } else if (QChar::isSurrogate(u)) {
            // A lone surrogate has no UTF-8 form; JSON can still carry it escaped.
            *cursor++ = '\\';
            *cursor++ = 'u';
            *cursor++ = hex[u >> 12];
            *cursor++ = hex[(u >> 8) & 0xf];
            *cursor++ = hex[(u >> 4) & 0xf];
            *cursor++ = hex[u & 0xf];
        } else {
            *cursor++ = char(0xe0 | (u >> 12));
            *cursor++ = char(0x80 | ((u >> 6) & 0x3f));
            *cursor++ = char(0x80 | (u & 0x3f));
        }
    }
    *cursor++ = '"';
    out.resize(int(cursor - out.data()));
}

void appendNumber(QByteArray &out, double number)
{
    // Whole numbers that a 64-bit integer holds are written as integers, as Qt stores them.
    if (!std::isfinite(number))
        out += "null";
    else if (std::floor(number) == number && std::fabs(number) < 9.2e18)
        out += QByteArray::number(qint64(number));
    else
        out += QByteArray::number(number, 'g', QLocale::FloatingPointShortest);
}

} // namespace JsonCodec
