#include "local/httpresponse.h"

#include "local/jsoncodec.h"

#include <QDateTime>
#include <QLocale>

HttpResponse::HttpResponse(int status)
    : m_status(status)
{}

HttpResponse HttpResponse::json(int status, const QJsonValue &value, bool pretty)
{
    return jsonText(status, JsonCodec::encode(value, pretty));
}

HttpResponse HttpResponse::jsonText(int status, const QByteArray &json)
{
    HttpResponse response(status);
    response.setBody(json, "application/json; charset=utf-8");
    return response;
}

HttpResponse HttpResponse::text(int status, const QByteArray &text)
{
    HttpResponse response(status);
    response.setBody(text, "text/plain; charset=utf-8");
    return response;
}

void HttpResponse::setBody(const QByteArray &body, const QByteArray &contentType)
{
    m_body = body;
    setHeader("Content-Type", contentType);
}

void HttpResponse::setHeader(const QByteArray &name, const QByteArray &value)
{
    for (auto &header : m_headers) {
        if (header.first.compare(name, Qt::CaseInsensitive) == 0) {
            header.second = value;
            return;
        }
    }
    m_headers.append({name, value});
}

QByteArray HttpResponse::header(const QByteArray &name) const
{
    for (const auto &header : m_headers) {
        if (header.first.compare(name, Qt::CaseInsensitive) == 0)
            return header.second;
    }
    return {};
}

QByteArray HttpResponse::serialize(bool keepAlive, bool omitBody) const
{
    QByteArray out;
    out.reserve(256 + (omitBody ? 0 : m_body.size()));
    out += "HTTP/1.1 " + QByteArray::number(m_status) + ' ' + reasonPhrase(m_status) + "\r\n";
    out += "Date: " + httpDate() + "\r\n";
    for (const auto &header : m_headers)
        out += header.first + ": " + header.second + "\r\n";
    // 1xx, 204 and 304 answers carry no body and no length.
    const bool bodyless = m_status == 204 || m_status == 304 || m_status < 200;
    if (!bodyless)
        out += "Content-Length: " + QByteArray::number(m_body.size()) + "\r\n";
    out += keepAlive ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n";
    if (!omitBody && !bodyless)
        out += m_body;
    return out;
}

QByteArray HttpResponse::reasonPhrase(int status)
{
    switch (status) {
    case 100:
        return "Continue";
    case 101:
        return "Switching Protocols";
    case 200:
        return "OK";
    case 201:
        return "Created";
    case 204:
        return "No Content";
    case 304:
        return "Not Modified";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 408:
        return "Request Timeout";
    case 411:
        return "Length Required";
    case 412:
        return "Precondition Failed";
    case 413:
        return "Payload Too Large";
    case 414:
        return "URI Too Long";
    case 426:
        return "Upgrade Required";
    case 429:
        return "Too Many Requests";
    case 431:
        return "Request Header Fields Too Large";
    case 500:
        return "Internal Server Error";
    case 501:
        return "Not Implemented";
    case 502:
        return "Bad Gateway";
    case 503:
        return "Service Unavailable";
    case 504:
        return "Gateway Timeout";
    case 505:
        return "HTTP Version Not Supported";
    default:
        return "Status";
    }
}

QByteArray HttpResponse::httpDate()
{
    // Formatting a date costs more than a small answer: reuse it within the second.
    static qint64 cachedSecond = -1;
    static QByteArray cached;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const qint64 second = now.toSecsSinceEpoch();
    if (second != cachedSecond) {
        cachedSecond = second;
        cached = QLocale::c()
                     .toString(now, QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT'"))
                     .toLatin1();
    }
    return cached;
}
