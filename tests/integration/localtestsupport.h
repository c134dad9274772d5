#pragma once

#include "local/localservice.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslConfiguration>
#include <QTemporaryDir>
#include <QWebSocket>

#include <functional>
#include <memory>

// Runs the event loop until done() holds or the time is up; returns done().
bool waitUntil(const std::function<bool()> &done, int timeoutMs);

// JSON written with ' for " to keep tables short: as bytes to send, and parsed (undefined when
// it does not parse).
QByteArray jsonBytes(const QString &text);
QJsonValue jsonValue(const QString &text);
// A row of a text table, its columns separated by "|": the _data function adds the one column,
// QTest::addColumn<QStringList>("row"), and the test takes it with QFETCH(QStringList, row).
void addRow(const char *name, const QString &row);

// Runs tallyra-local in this process on an ephemeral loopback port with a fresh data directory;
// clients trust its development CA through their TLS configuration, as the console will.
class LocalTestService
{
public:
    explicit LocalTestService(const LocalService::Options &options = LocalService::Options());

    bool start(QString *error = nullptr);
    // Stops (saving) and starts again on the same data directory and port.
    bool restart();
    void stop() { m_service.reset(); }

    LocalService *service() const { return m_service.get(); }
    QString dataDirectory() const { return m_dir.path(); }
    QSslConfiguration sslConfiguration() const;
    QUrl url(const QString &pathAndQuery) const { return QUrl(baseUrl() + pathAndQuery); }
    QString baseUrl() const { return m_service->baseUrl(); }
    // The ID token a sign-in would give, without the exchange.
    QString idToken(qint64 accountId, const QString &userKey = QStringLiteral("u")) const;
    // Stops the service's clock a minute from the system's time, so that a value taken from the
    // system's clock differs from the service's; undone by clock()->reset().
    ServiceClock *frozenClock() const;
    // Waits until no websocket session is left (their on-disconnect writes done).
    bool waitForNoSessions() const
    {
        return waitUntil([this] { return m_service->realtimeSessionCount() == 0; }, 10000);
    }

private:
    QTemporaryDir m_dir;
    LocalService::Options m_options;
    std::unique_ptr<LocalService> m_service;
};

using Headers = QList<QPair<QByteArray, QByteArray>>;

struct HttpResult
{
    int status = 0;
    QByteArray body;
    QJsonValue json;
    QHash<QByteArray, QByteArray> headers; // lower-case names
};

// Synchronous requests through QNetworkAccessManager.
class RestClient
{
public:
    explicit RestClient(const LocalTestService *service)
        : m_service(service)
    {}

    HttpResult send(const QByteArray &verb,
                    const QString &pathAndQuery,
                    const QByteArray &body = {},
                    const Headers &headers = {});
    // A database request with token: path from the root without ".json", a query after it
    // kept; the body in single-quoted JSON (see jsonBytes).
    HttpResult database(const QByteArray &verb,
                        const QString &path,
                        const QString &body = {},
                        const Headers &headers = {});
    HttpResult exchangeCustomToken(const QByteArray &customToken, const QString &key = "test-key");

    QString token; // for database()

private:
    const LocalTestService *m_service;
    QNetworkAccessManager m_manager;
};

// A bare HTTP/1.1 client over a real socket (TLS unless the service is plain), for what
// QNetworkAccessManager never sends and for clients that never read.
class RawConnection
{
public:
    struct Response
    {
        int status = 0;
        QHash<QByteArray, QByteArray> headers; // lower-case names
        QByteArray body;
    };

    explicit RawConnection(const LocalTestService &service);

    QTcpSocket *socket() const { return m_socket.get(); }
    void write(const QByteArray &bytes) { m_socket->write(bytes); }
    // Waits for count complete answers (a 100 Continue counts as one), or the socket closing.
    QList<Response> responses(int count, int timeoutMs = 10000);
    bool waitForClosed(int timeoutMs = 10000);

    static QByteArray request(const QByteArray &method,
                              const QByteArray &target,
                              const QByteArray &body = QByteArray(),
                              const QByteArray &headers = QByteArray());

private:
    bool takeResponse(Response *response);

    std::unique_ptr<QTcpSocket> m_socket;
    QByteArray m_buffer;
};

// The client side of the realtime protocol over QWebSocket: joins split messages as clients
// do, and keeps answers and pushes apart.
class RealtimeClient : public QObject
{
    Q_OBJECT

public:
    explicit RealtimeClient(const LocalTestService *service, QObject *parent = nullptr);

    bool open(const QString &query = QStringLiteral("v=5&ns=tallyra-local"));
    // Opens and authenticates with the token.
    bool openAs(const QString &token) { return open() && auth(token).value("s") == "ok"; }
    void close() { m_socket.close(); }
    bool waitForDisconnected();

    QJsonObject handshake() const { return m_handshake; }
    qint64 send(const QString &action, const QJsonObject &body);
    void sendText(const QString &text) { m_socket.sendTextMessage(text); }
    // The "b" of the answer to request r; empty when none came in time.
    QJsonObject waitForAnswer(qint64 requestNumber);
    // Sends and waits for the answer.
    QJsonObject request(const QString &action, const QJsonObject &body)
    {
        return waitForAnswer(send(action, body));
    }
    // The answer's status ("ok", "permission_denied", ...).
    QString status(const QString &action, const QJsonObject &body)
    {
        return request(action, body).value("s").toString();
    }
    QJsonObject auth(const QString &token) { return request("auth", {{"cred", token}}); }
    QString listen(const QString &path) { return status("q", {{"p", path}, {"h", ""}}); }

    // The next server push ({"a": ..., "b": ...}) not yet taken; empty when none came in time.
    QJsonObject nextPush();
    // The same as text: action, path below "services/7/accounts/", and data as single-quoted
    // JSON when there is some: "d 9/chats/x {'s':1}".
    QString nextPushText();
    int pendingPushes() const { return m_pushes.size(); }

    // Everything received in order: complete messages, answers and pushes interleaved.
    const QList<QJsonObject> &messages() const { return m_messages; }
    // Every text frame as it arrived, counts and pieces included.
    const QStringList &frames() const { return m_frames; }

private:
    void onText(const QString &text);

    const LocalTestService *m_service;
    QWebSocket m_socket;
    QJsonObject m_handshake;
    QList<QJsonObject> m_messages;
    QList<QJsonObject> m_pushes;
    QHash<qint64, QJsonObject> m_answers;
    QStringList m_frames;
    QString m_buffer;
    int m_pendingFrames = 0;
    qint64 m_nextRequest = 1;
};
