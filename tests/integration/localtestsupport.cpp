#include "localtestsupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonDocument>
#include <QNetworkRequest>
#include <QSslSocket>
#include <QTimer>
#include <QUrlQuery>
#include <QtTest>

#include "local/jsoncodec.h"

// Waits on the event loop without QTest::qWaitFor's fixed 10 ms naps: client and service share
// this thread, so each nap would add to every hop of every request.
bool waitUntil(const std::function<bool()> &done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    QTimer wake;
    wake.start(20);
    while (!done()) {
        if (timer.hasExpired(timeoutMs))
            return done();
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

QByteArray jsonBytes(const QString &text)
{
    return QString(text).replace('\'', '"').toUtf8();
}

QJsonValue jsonValue(const QString &text)
{
    QJsonValue value;
    return JsonCodec::decode(jsonBytes(text), &value) ? value : QJsonValue(QJsonValue::Undefined);
}

void addRow(const char *name, const QString &row)
{
    QTest::newRow(name) << row.split('|');
}

LocalTestService::LocalTestService(const LocalService::Options &options)
    : m_options(options)
{
    m_options.port = 0;
    m_options.dataDirectory = m_dir.path();
}

bool LocalTestService::start(QString *error)
{
    QString message;
    m_service = std::make_unique<LocalService>(m_options);
    const bool started = m_service->start(&message);
    if (!started)
        qWarning().noquote() << "local service did not start:" << message;
    if (error)
        *error = message;
    return started;
}

bool LocalTestService::restart()
{
    const quint16 port = m_service->port();
    stop();
    m_options.port = port;
    m_options.reset = false;
    return start();
}

QSslConfiguration LocalTestService::sslConfiguration() const
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(m_service->caCertificates());
    configuration.setPeerVerifyMode(QSslSocket::VerifyPeer);
    return configuration;
}

QString LocalTestService::idToken(qint64 accountId, const QString &userKey) const
{
    return QString::fromLatin1(m_service->signIn(7, accountId, userKey).idToken);
}

ServiceClock *LocalTestService::frozenClock() const
{
    m_service->clock()->freeze();
    m_service->clock()->advance(-60 * 1000);
    return m_service->clock();
}

HttpResult RestClient::send(const QByteArray &verb,
                            const QString &pathAndQuery,
                            const QByteArray &body,
                            const Headers &headers)
{
    QNetworkRequest request(m_service->url(pathAndQuery));
    if (m_service->service()->isSecure())
        request.setSslConfiguration(m_service->sslConfiguration());
    request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
    for (const auto &header : headers)
        request.setRawHeader(header.first, header.second);
    QNetworkReply *reply = m_manager.sendCustomRequest(request, verb, body);
    waitUntil([reply] { return reply->isFinished(); }, 30000);
    if (!reply->isFinished())
        reply->abort();
    HttpResult result;
    result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    result.body = reply->readAll();
    if (!JsonCodec::decode(result.body, &result.json))
        result.json = QJsonValue(QJsonValue::Undefined);
    for (const auto &pair : reply->rawHeaderPairs())
        result.headers.insert(pair.first.toLower(), pair.second);
    delete reply;
    return result;
}

HttpResult RestClient::database(const QByteArray &verb,
                                const QString &path,
                                const QString &body,
                                const Headers &headers)
{
    const QString query = path.contains('?') ? "&" + path.section('?', 1) : QString();
    const QString target = path.section('?', 0, 0) + ".json?auth=" + token + query;
    return send(verb, target, jsonBytes(body), headers);
}

HttpResult RestClient::exchangeCustomToken(const QByteArray &customToken, const QString &key)
{
    return send("POST",
                "/identitytoolkit/v3/relyingparty/verifyCustomToken?key=" + key,
                "{\"token\":\"" + customToken + "\",\"returnSecureToken\":true}");
}

RawConnection::RawConnection(const LocalTestService &service)
{
    auto *tls = service.service()->isSecure() ? new QSslSocket : nullptr;
    m_socket.reset(tls ? tls : new QTcpSocket);
    if (tls) {
        tls->setSslConfiguration(service.sslConfiguration());
        tls->connectToHostEncrypted("127.0.0.1", service.service()->port());
    } else {
        m_socket->connectToHost("127.0.0.1", service.service()->port());
    }
    // The service runs on this thread: wait on the event loop, not with the blocking calls.
    QTcpSocket *socket = m_socket.get();
    waitUntil(
        [socket, tls] {
            return socket->state() == QAbstractSocket::UnconnectedState
                   || (tls ? tls->isEncrypted()
                           : socket->state() == QAbstractSocket::ConnectedState);
        },
        10000);
}

QList<RawConnection::Response> RawConnection::responses(int count, int timeoutMs)
{
    QList<Response> result;
    waitUntil(
        [&] {
            m_buffer += m_socket->readAll();
            Response response;
            while (result.size() < count && takeResponse(&response))
                result.append(response);
            return result.size() >= count || m_socket->state() == QAbstractSocket::UnconnectedState;
        },
        timeoutMs);
    return result;
}

bool RawConnection::waitForClosed(int timeoutMs)
{
    return waitUntil(
        [this] {
            m_buffer += m_socket->readAll();
            return m_socket->state() == QAbstractSocket::UnconnectedState;
        },
        timeoutMs);
}

QByteArray RawConnection::request(const QByteArray &method,
                                  const QByteArray &target,
                                  const QByteArray &body,
                                  const QByteArray &headers)
{
    QByteArray text = method + ' ' + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + headers;
    if (!body.isNull())
        text += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    return text + "\r\n" + body;
}

bool RawConnection::takeResponse(Response *response)
{
    const int end = m_buffer.indexOf("\r\n\r\n");
    if (end < 0)
        return false;
    const QList<QByteArray> lines = m_buffer.left(end).split('\n');
    *response = Response();
    response->status = lines.first().split(' ').value(1).toInt();
    for (int i = 1; i < lines.size(); ++i) {
        const int colon = lines.at(i).indexOf(':');
        response->headers.insert(lines.at(i).left(colon).trimmed().toLower(),
                                 lines.at(i).mid(colon + 1).trimmed());
    }
    const int length = response->headers.value("content-length").toInt();
    if (m_buffer.size() < end + 4 + length)
        return false;
    response->body = m_buffer.mid(end + 4, length);
    m_buffer.remove(0, end + 4 + length);
    return true;
}

RealtimeClient::RealtimeClient(const LocalTestService *service, QObject *parent)
    : QObject(parent)
    , m_service(service)
{
    connect(&m_socket, &QWebSocket::textMessageReceived, this, &RealtimeClient::onText);
}

bool RealtimeClient::open(const QString &query)
{
    QString base = m_service->baseUrl();
    base.replace(QStringLiteral("https://"), QStringLiteral("wss://"));
    base.replace(QStringLiteral("http://"), QStringLiteral("ws://"));
    QNetworkRequest request(QUrl(base + "/.ws?" + query));
    if (m_service->service()->isSecure())
        m_socket.setSslConfiguration(m_service->sslConfiguration());
    m_handshake = QJsonObject();
    m_socket.open(request);
    const bool settled = waitUntil(
        [this] {
            return !m_handshake.isEmpty() || m_socket.state() == QAbstractSocket::UnconnectedState;
        },
        10000);
    return settled && !m_handshake.isEmpty();
}

bool RealtimeClient::waitForDisconnected()
{
    return waitUntil([this] { return m_socket.state() == QAbstractSocket::UnconnectedState; },
                     10000);
}

qint64 RealtimeClient::send(const QString &action, const QJsonObject &body)
{
    const qint64 number = m_nextRequest++;
    const QJsonObject message{{"t", "d"},
                              {"d", QJsonObject{{"r", number}, {"a", action}, {"b", body}}}};
    m_socket.sendTextMessage(
        QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact)));
    return number;
}

QJsonObject RealtimeClient::waitForAnswer(qint64 requestNumber)
{
    waitUntil([&] { return m_answers.contains(requestNumber); }, 10000);
    return m_answers.take(requestNumber);
}

QJsonObject RealtimeClient::nextPush()
{
    waitUntil([this] { return !m_pushes.isEmpty(); }, 10000);
    return m_pushes.isEmpty() ? QJsonObject() : m_pushes.takeFirst();
}

QString RealtimeClient::nextPushText()
{
    const QJsonObject push = nextPush();
    const QJsonObject body = push.value("b").toObject();
    QString text = push.value("a").toString() + ' '
                   + body.value("p").toString().remove(QStringLiteral("services/7/accounts/"));
    if (body.contains("d"))
        text += ' ' + QString::fromUtf8(JsonCodec::encode(body.value("d"))).replace('"', '\'');
    return text;
}

void RealtimeClient::onText(const QString &text)
{
    m_frames.append(text);
    QString message;
    if (m_pendingFrames > 0) {
        m_buffer += text;
        if (--m_pendingFrames > 0)
            return;
        message = m_buffer;
        m_buffer.clear();
    } else if (!text.startsWith(QLatin1Char('{'))) {
        m_pendingFrames = text.toInt();
        return;
    } else {
        message = text;
    }
    const QJsonObject object = QJsonDocument::fromJson(message.toUtf8()).object();
    m_messages.append(object);
    const QJsonObject data = object.value("d").toObject();
    if (object.value("t").toString() == QLatin1String("c")) {
        if (data.value("t").toString() == QLatin1String("h"))
            m_handshake = data.value("d").toObject();
        return;
    }
    if (data.contains("r"))
        m_answers.insert(qint64(data.value("r").toDouble()), data.value("b").toObject());
    else
        m_pushes.append(data);
}
