#include "local/multipartform.h"

#include <QList>

namespace {

// The parameters of a header value such as `form-data; name="file"; filename="a;b.txt"`,
// quoted strings kept whole; the first item (the type) is returned under the empty name.
QList<QPair<QByteArray, QByteArray>> parameters(const QByteArray &value)
{
    QList<QPair<QByteArray, QByteArray>> result;
    QByteArray item;
    bool quoted = false;
    const auto flush = [&result, &item] {
        const int equals = item.indexOf('=');
        QByteArray name = equals < 0 ? QByteArray() : item.left(equals).trimmed().toLower();
        QByteArray text = (equals < 0 ? item : item.mid(equals + 1)).trimmed();
        if (text.size() >= 2 && text.startsWith('"') && text.endsWith('"'))
            text = text.mid(1, text.size() - 2).replace("\\\"", "\"").replace("\\\\", "\\");
        result.append({name, text});
        item.clear();
    };
    for (int i = 0; i < value.size(); ++i) {
        const char c = value.at(i);
        if (c == '"' && (i == 0 || value.at(i - 1) != '\\'))
            quoted = !quoted;
        if (c == ';' && !quoted)
            flush();
        else
            item.append(c);
    }
    flush();
    return result;
}

} // namespace

bool MultipartForm::parse(const QByteArray &contentType, const QByteArray &body)
{
    m_parts.clear();
    QByteArray boundary;
    const auto params = parameters(contentType);
    if (params.isEmpty() || params.first().second.toLower() != "multipart/form-data")
        return false;
    for (const auto &param : params) {
        if (param.first == "boundary")
            boundary = param.second;
    }
    if (boundary.isEmpty() || boundary.size() > 70)
        return false;

    const QByteArray delimiter = "\r\n--" + boundary;
    // The first delimiter may open the body without the line break before it.
    int position = body.startsWith(delimiter.mid(2)) ? 0 : body.indexOf(delimiter);
    if (position < 0)
        return false;
    position += body.startsWith(delimiter.mid(2)) ? delimiter.size() - 2 : delimiter.size();
    for (;;) {
        if (body.mid(position, 2) == "--")
            return !m_parts.isEmpty();
        while (position < body.size() && (body.at(position) == ' ' || body.at(position) == '\t'))
            ++position;
        if (body.mid(position, 2) != "\r\n" || m_parts.size() == maxParts)
            return false;
        // Headers end at an empty line; the line break that ends the delimiter line starts it
        // when there are none.
        const QByteArray window = QByteArray::fromRawData(body.constData() + position,
                                                          qMin(body.size() - position,
                                                               maxHeaderBytes + 4));
        const int headersEnd = window.indexOf("\r\n\r\n");
        if (headersEnd < 0)
            return false;
        Part part;
        if (!parseHeaders(window.mid(2, qMax(0, headersEnd - 2)), &part))
            return false;
        const int start = position + headersEnd + 4;
        const int end = body.indexOf(delimiter, start);
        if (end < 0)
            return false;
        part.body = body.mid(start, end - start);
        m_parts.append(part);
        position = end + delimiter.size();
    }
}

bool MultipartForm::parseHeaders(const QByteArray &headers, Part *part) const
{
    bool named = false;
    for (const QByteArray &line : headers.split('\n')) {
        const int colon = line.indexOf(':');
        if (colon < 0)
            continue;
        if (line.left(colon).trimmed().toLower() != "content-disposition")
            continue;
        const auto params = parameters(line.mid(colon + 1).trimmed());
        if (params.first().second.toLower() != "form-data")
            return false;
        for (const auto &param : params) {
            if (param.first == "name") {
                part->name = QString::fromUtf8(param.second);
                named = true;
            } else if (param.first == "filename") {
                part->fileName = QString::fromUtf8(param.second);
            }
        }
    }
    return named;
}

const MultipartForm::Part *MultipartForm::part(const QString &name) const
{
    for (const Part &candidate : m_parts) {
        if (candidate.name == name)
            return &candidate;
    }
    return nullptr;
}
