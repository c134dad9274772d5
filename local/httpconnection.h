#pragma once

#include "local/httprequestparser.h"
#include "local/httpresponse.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

class FaultInjector;
class HttpRouter;
class QTcpSocket;

// One client connection: reads requests one at a time (so pipelined requests are answered in
// order), answers through the route table, keeps the connection alive between requests and
// hands websocket upgrades over to the route that asked for them.
class HttpConnection : public QObject
{
    Q_OBJECT

public:
    struct Settings
    {
        HttpRequestParser::Limits limits;
        int idleTimeoutMs = 120 * 1000;
        int requestTimeoutMs = 30 * 1000;
        // Output the client has not taken yet: above this a connection reads no more requests
        // (or websocket messages), and one whose output then stands still for stallTimeoutMs
        // is cut.
        qint64 maxUnsentBytes = 4 * 1024 * 1024;
        int stallTimeoutMs = 10 * 1000;
        // HTTP connections and websockets together.
        int maxConnections = 4096;
    };

    HttpConnection(QTcpSocket *socket,
                   bool secure,
                   const HttpRouter *router,
                   const FaultInjector *faults,
                   const Settings &settings,
                   QObject *parent = nullptr);
    ~HttpConnection() override;

signals:
    // Once the request that upgraded it has been answered, the socket belongs to webSocket.
    void handedOver(QObject *webSocket);
    void finished();

private:
    void processInput();
    void dispatch(HttpRequest request);
    HttpResponse route(const HttpRequest &request) const;
    void upgrade(const HttpRequest &request);
    void send(const HttpResponse &response, bool keepAlive, bool omitBody);
    void refuse(int status, const QByteArray &message);
    void onDisconnected();
    void onTimeout();
    void armTimer();
    bool isOverOutputLimit() const;
    void onOutputProgress();

    QTcpSocket *m_socket;
    bool m_secure;
    const HttpRouter *m_router;
    const FaultInjector *m_faults;
    Settings m_settings;
    HttpRequestParser m_parser;
    QByteArray m_buffer;
    QTimer m_timer;
    QTimer m_stallTimer;
    bool m_throttled = false;
    qint64 m_stalledAt = 0;  // unsent bytes when output was last seen to move
    bool m_yielded = false;  // a turn is over; the rest of the input waits for the next
    bool m_needInput = true; // the buffer holds no complete request
    bool m_waiting = false;
    bool m_closing = false;
    bool m_requestStarted = false;
    bool m_finished = false;
};
