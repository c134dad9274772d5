#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrlQuery>

// One parsed HTTP/1.x request; header names are lower case.
class HttpRequest
{
public:
    QByteArray method;
    QByteArray target;
    QByteArray version;
    QString path; // percent-decoded
    QUrlQuery query;
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;
    QHostAddress peerAddress;
    bool secure = false;

    QByteArray header(const QByteArray &name) const;
    bool hasHeader(const QByteArray &name) const;
    // Whether a comma-separated header such as "Connection" lists the token (case-insensitive).
    bool headerHasToken(const QByteArray &name, const QByteArray &token) const;
    bool hasQueryItem(const QString &key) const { return query.hasQueryItem(key); }
    QString queryItem(const QString &key) const;
    bool keepAlive() const;
    bool isWebSocketUpgrade() const;

    // Splits the target into path and query; false when the target cannot be a request path.
    bool setTarget(const QByteArray &target);
};

// Reads "a=b&c=d" as a form body does: "+" is a space.
QUrlQuery parseFormBody(const QByteArray &body);
