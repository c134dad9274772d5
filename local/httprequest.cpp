#include "local/httprequest.h"

#include <QUrl>

QByteArray HttpRequest::header(const QByteArray &name) const
{
    for (const auto &header : headers) {
        if (header.first == name)
            return header.second;
    }
    return {};
}

bool HttpRequest::hasHeader(const QByteArray &name) const
{
    for (const auto &header : headers) {
        if (header.first == name)
            return true;
    }
    return false;
}

bool HttpRequest::headerHasToken(const QByteArray &name, const QByteArray &token) const
{
    for (const auto &header : headers) {
        if (header.first != name)
            continue;
        for (const QByteArray &item : header.second.split(',')) {
            if (item.trimmed().toLower() == token)
                return true;
        }
    }
    return false;
}

QString HttpRequest::queryItem(const QString &key) const
{
    return query.queryItemValue(key, QUrl::FullyDecoded);
}

bool HttpRequest::keepAlive() const
{
    if (headerHasToken("connection", "close"))
        return false;
    if (version == "HTTP/1.0")
        return headerHasToken("connection", "keep-alive");
    return true;
}

bool HttpRequest::isWebSocketUpgrade() const
{
    return method == "GET" && headerHasToken("upgrade", "websocket");
}

bool HttpRequest::setTarget(const QByteArray &rawTarget)
{
    target = rawTarget;
    QByteArray origin = rawTarget;
    if (origin == "*") {
        path = QStringLiteral("*");
        return true;
    }
    // Absolute form, as proxies send it: keep only the path and query.
    if (origin.startsWith("http://") || origin.startsWith("https://")) {
        const int hostStart = origin.indexOf("//") + 2;
        const int pathStart = origin.indexOf('/', hostStart);
        origin = pathStart < 0 ? QByteArray("/") : origin.mid(pathStart);
    }
    if (!origin.startsWith('/'))
        return false;
    const int queryStart = origin.indexOf('?');
    const QByteArray rawPath = queryStart < 0 ? origin : origin.left(queryStart);
    const int fragment = rawPath.indexOf('#');
    path = QString::fromUtf8(
        QByteArray::fromPercentEncoding(fragment < 0 ? rawPath : rawPath.left(fragment)));
    query = queryStart < 0 ? QUrlQuery() : QUrlQuery(QString::fromUtf8(origin.mid(queryStart + 1)));
    return true;
}

QUrlQuery parseFormBody(const QByteArray &body)
{
    QByteArray text = body.trimmed();
    text.replace('+', ' ');
    return QUrlQuery(QString::fromUtf8(text));
}
