#include "local/httpconnection.h"

#include "local/faultinjector.h"
#include "local/httprouter.h"
#include "local/socketflow.h"
#include "local/tcpquickack.h"
#include "local/websocketconnection.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QTcpSocket>

#include <exception>

HttpConnection::HttpConnection(QTcpSocket *socket,
                               bool secure,
                               const HttpRouter *router,
                               const FaultInjector *faults,
                               const Settings &settings,
                               QObject *parent)
    : QObject(parent)
    , m_socket(socket)
    , m_secure(secure)
    , m_router(router)
    , m_faults(faults)
    , m_settings(settings)
    , m_parser(settings.limits)
{
    m_socket->setParent(this);
    m_socket->setReadBufferSize(kSocketReadAhead);
    m_parser.setCredentialCheck(router->credentialCheck());
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &HttpConnection::onTimeout);
    m_stallTimer.setSingleShot(true);
    connect(&m_stallTimer, &QTimer::timeout, this, [this] {
        if (m_socket)
            m_socket->abort();
    });
    watchOutputProgress(m_socket, this, [this] { onOutputProgress(); });
    connect(m_socket, &QTcpSocket::readyRead, this, &HttpConnection::processInput);
    connect(m_socket, &QTcpSocket::disconnected, this, &HttpConnection::onDisconnected);
    connect(m_socket,
            &QAbstractSocket::errorOccurred,
            this,
            [this](QAbstractSocket::SocketError error) {
                if (error != QAbstractSocket::RemoteHostClosedError)
                    m_socket->abort();
            });
    armTimer();
}

HttpConnection::~HttpConnection()
{
    if (m_socket)
        m_socket->disconnect(this);
}

void HttpConnection::armTimer()
{
    if (m_closing) {
        // A client that never reads its last answer must not keep the connection forever.
        if (!m_timer.isActive())
            m_timer.start(m_settings.requestTimeoutMs);
        return;
    }
    if (m_waiting) {
        m_timer.stop();
        return;
    }
    if (m_requestStarted) {
        if (!m_timer.isActive() || m_timer.interval() != m_settings.requestTimeoutMs)
            m_timer.start(m_settings.requestTimeoutMs);
    } else {
        m_timer.start(m_settings.idleTimeoutMs);
    }
}

void HttpConnection::onTimeout()
{
    // An idle client that has not read its answers would keep them here while they drain.
    if (m_closing || (!m_requestStarted && unsentBytes(m_socket) > 0))
        m_socket->abort();
    else if (m_requestStarted)
        refuse(408, "Request timed out");
    else
        m_socket->disconnectFromHost();
}

bool HttpConnection::isOverOutputLimit() const
{
    return unsentBytes(m_socket) > m_settings.maxUnsentBytes;
}

void HttpConnection::onOutputProgress()
{
    if (!m_throttled || !m_socket)
        return;
    // A slow reader is not a stalled one: the clock starts again whenever output leaves.
    const qint64 unsent = unsentBytes(m_socket);
    if (unsent > m_settings.maxUnsentBytes) {
        if (unsent < m_stalledAt)
            m_stallTimer.start(m_settings.stallTimeoutMs);
        m_stalledAt = unsent;
        return;
    }
    m_throttled = false;
    m_stallTimer.stop();
    // Not from inside the socket's own signal: answering writes to it again.
    QMetaObject::invokeMethod(this, &HttpConnection::processInput, Qt::QueuedConnection);
}

void HttpConnection::onDisconnected()
{
    m_timer.stop();
    if (m_finished)
        return;
    m_finished = true;
    emit finished();
}

void HttpConnection::processInput()
{
    if (m_waiting || m_closing || m_throttled || m_yielded || !m_socket)
        return;
    QElapsedTimer turn;
    turn.start();
    for (bool first = true; !m_waiting && !m_closing && m_socket; first = false) {
        // A client that does not read its answers gets no more of them until it does; what it
        // sends meanwhile waits in TCP's window, not here.
        if (isOverOutputLimit()) {
            m_throttled = true;
            m_stalledAt = unsentBytes(m_socket);
            m_stallTimer.start(m_settings.stallTimeoutMs);
            break;
        }
        if (!first && turn.elapsed() >= kInputTurnMs) {
            m_yielded = true;
            QMetaObject::invokeMethod(
                this,
                [this] {
                    m_yielded = false;
                    processInput();
                },
                Qt::QueuedConnection);
            break;
        }
        // More bytes only once the requests already here are answered.
        if (m_needInput || m_buffer.isEmpty())
            m_buffer.append(m_socket->readAll());
        if (m_buffer.isEmpty() && m_parser.isIdle()) {
            m_requestStarted = false;
            m_needInput = true;
            break;
        }
        const bool wasStarted = m_requestStarted;
        m_requestStarted = true;
        const HttpRequestParser::Status status = m_parser.feed(m_buffer);
        if (m_parser.takeContinueRequest())
            m_socket->write("HTTP/1.1 100 Continue\r\n\r\n");
        if (status == HttpRequestParser::Status::NeedMore) {
            m_needInput = true;
            if (!wasStarted)
                m_timer.stop(); // the request timer starts with its first byte
            if (m_socket->bytesAvailable() > 0)
                continue;
            acknowledgeReceivedNow(m_socket);
            break;
        }
        if (status == HttpRequestParser::Status::Error) {
            refuse(m_parser.errorStatus(), m_parser.errorMessage());
            return;
        }
        HttpRequest request = m_parser.takeRequest();
        m_needInput = false;
        m_requestStarted = false;
        m_timer.stop();
        dispatch(std::move(request));
    }
    if (m_socket)
        armTimer();
}

void HttpConnection::refuse(int status, const QByteArray &message)
{
    HttpResponse response = HttpResponse::json(status,
                                               QJsonObject{{"error", QString::fromUtf8(message)}});
    response.setClosesConnection(true);
    send(response, false, false);
}

HttpResponse HttpConnection::route(const HttpRequest &request) const
{
    const int failure = m_faults ? m_faults->failureStatus(request.path) : 0;
    if (failure > 0)
        return HttpResponse::json(failure, QJsonObject{{"error", "Injected failure"}});
    const HttpRouter::Handler *handler = m_router->find(request.path);
    if (!handler)
        return HttpResponse::json(404, QJsonObject{{"error", "Not Found"}});
    // A handler's failure costs one answer, never the service.
    try {
        return (*handler)(request);
    } catch (const std::exception &) {
        return HttpResponse::json(500, QJsonObject{{"error", "Internal error"}});
    }
}

void HttpConnection::dispatch(HttpRequest request)
{
    request.peerAddress = m_socket->peerAddress();
    request.secure = m_secure;
    HttpResponse refusal(403);
    if (!m_router->admits(request, &refusal)) {
        refusal.setClosesConnection(true);
        send(refusal, false, false);
        return;
    }
    if (request.isWebSocketUpgrade() && m_router->findWebSocket(request.path)) {
        upgrade(request);
        return;
    }
    const bool keepAlive = request.keepAlive();
    const bool head = request.method == "HEAD";
    const HttpResponse response = route(request);
    const int delay = (m_faults ? m_faults->replyDelay() : 0) + response.delayMs();
    if (delay <= 0) {
        send(response, keepAlive, head);
        return;
    }
    // Later pipelined requests wait behind this one, so answers keep their order.
    m_waiting = true;
    m_timer.stop();
    QTimer::singleShot(delay, this, [this, response, keepAlive, head] {
        m_waiting = false;
        send(response, keepAlive, head);
        processInput();
    });
}

void HttpConnection::upgrade(const HttpRequest &request)
{
    const HttpRouter::WebSocketRoute *route = m_router->findWebSocket(request.path);
    const QByteArray key = request.header("sec-websocket-key");
    if (request.header("sec-websocket-version") != "13") {
        HttpResponse response = HttpResponse::text(426, "Unsupported websocket version");
        response.setHeader("Sec-WebSocket-Version", "13");
        send(response, false, false);
        return;
    }
    if (!request.headerHasToken("connection", "upgrade")
        || QByteArray::fromBase64(key).size() != 16) {
        send(HttpResponse::text(400, "Malformed websocket upgrade"), false, false);
        return;
    }
    // A refused upgrade closes the connection: websocket clients wait for it rather than reuse it.
    HttpResponse refusal(400);
    if (route->check && !route->check(request, &refusal)) {
        send(refusal, false, false);
        return;
    }
    m_socket->write("HTTP/1.1 101 Switching Protocols\r\n"
                    "Upgrade: websocket\r\n"
                    "Connection: Upgrade\r\n"
                    "Sec-WebSocket-Accept: "
                    + WebSocketConnection::acceptKey(key) + "\r\n\r\n");
    m_timer.stop();
    m_stallTimer.stop();
    m_closing = true;
    QTcpSocket *socket = m_socket;
    socket->disconnect(this);
    m_socket = nullptr;
    auto *webSocket = new WebSocketConnection(socket, m_buffer);
    m_buffer.clear();
    webSocket->setOutputLimit(m_settings.maxUnsentBytes, m_settings.stallTimeoutMs);
    webSocket->setIdleTimeout(m_settings.idleTimeoutMs);
    webSocket->setMaxMessageSize(
        qMin(m_settings.limits.maxUnauthenticatedBodyBytes, m_settings.limits.maxBodyBytes));
    emit handedOver(webSocket);
    route->accepted(webSocket, request);
    webSocket->start();
    m_finished = true;
    emit finished();
}

void HttpConnection::send(const HttpResponse &response, bool keepAlive, bool omitBody)
{
    if (!m_socket)
        return;
    const bool keep = keepAlive && !response.closesConnection();
    m_socket->write(response.serialize(keep, omitBody));
    if (!keep) {
        m_closing = true;
        m_timer.stop();
        armTimer();
        m_socket->disconnectFromHost();
    }
}
