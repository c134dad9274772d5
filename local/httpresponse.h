#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QList>
#include <QPair>

class HttpResponse
{
public:
    HttpResponse() = default;
    explicit HttpResponse(int status);

    static HttpResponse json(int status, const QJsonValue &value, bool pretty = false);
    static HttpResponse jsonText(int status, const QByteArray &json);
    static HttpResponse text(int status, const QByteArray &text);

    int status() const { return m_status; }
    const QByteArray &body() const { return m_body; }
    void setBody(const QByteArray &body, const QByteArray &contentType);
    // Replaces a header of that name (case-insensitive).
    void setHeader(const QByteArray &name, const QByteArray &value);
    QByteArray header(const QByteArray &name) const;
    bool closesConnection() const { return m_close; }
    void setClosesConnection(bool close) { m_close = close; }
    // Held back this long before it is sent, without holding up anyone else.
    int delayMs() const { return m_delayMs; }
    void setDelayMs(int milliseconds) { m_delayMs = qMax(0, milliseconds); }

    QByteArray serialize(bool keepAlive, bool omitBody) const;

    static QByteArray reasonPhrase(int status);
    // The current time as an HTTP date ("Tue, 15 Nov 1994 08:12:31 GMT").
    static QByteArray httpDate();

private:
    int m_status = 200;
    QList<QPair<QByteArray, QByteArray>> m_headers;
    QByteArray m_body;
    bool m_close = false;
    int m_delayMs = 0;
};
