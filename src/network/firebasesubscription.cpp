#include "network/firebasesubscription.h"

#include "util/jsonparser.h"

#include <QDebug>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaObject>
#include <QSslError>
#include <QUrl>

namespace {

// A frame count beyond this is not trusted for reserving the buffer up front; the buffer then
// grows as frames arrive.
constexpr quint64 kMaxReservedChars = 64 * 1024 * 1024;

} // namespace

FirebaseSubscription::FirebaseSubscription(
    QString host, QString path, QObject *receiver, const char *slot, QObject *parent)
    : QObject(parent)
    , m_host(std::move(host))
    , m_path(std::move(path))
    , m_receiver(receiver)
    , m_slot(slot)
    , m_socket(QString(), QWebSocketProtocol::Version13)
{
    // The queued slot call needs the type by this name, whoever owns the subscription.
    qRegisterMetaType<FirebaseReply>("FirebaseReply");

    connect(&m_socket, &QWebSocket::textMessageReceived, this, &FirebaseSubscription::onTextMessage);
    connect(&m_socket, &QWebSocket::connected, this, &FirebaseSubscription::onConnected);
    connect(&m_socket, &QWebSocket::disconnected, this, &FirebaseSubscription::onDisconnected);
    connect(&m_socket, &QWebSocket::stateChanged, this, &FirebaseSubscription::onSocketStateChanged);
    // Certificates stay checked: the errors are only reported, never ignored.
    connect(&m_socket, &QWebSocket::sslErrors, this, [this](const QList<QSslError> &errors) {
        for (const QSslError &error : errors)
            qDebug().noquote() << "SSL ERROR" << m_path << error.errorString();
    });

    m_reconnectTimer.setInterval(1000);
    connect(&m_reconnectTimer, &QTimer::timeout, this, &FirebaseSubscription::tryReconnect);
    m_reconnectTimer.start();

    m_keepTimer.setInterval(20000);
    connect(&m_keepTimer, &QTimer::timeout, this, &FirebaseSubscription::sendKeepPacket);
}

FirebaseSubscription::~FirebaseSubscription()
{
    // The socket closes in its own destructor, after this object's slots are gone.
    m_socket.disconnect(this);
}

void FirebaseSubscription::listen()
{
    // From here until shutdown() the reconnect timer retries every failed open, the first one
    // and the reopen after a new token included.
    m_stopped = false;
    const QUrl url(QStringLiteral("wss://%1/.ws?v=5&ns=%2").arg(m_host, m_namespace));
    m_socket.open(url);
    qDebug().noquote() << "Listening to:" << url.toString();
}

void FirebaseSubscription::shutdown()
{
    m_stopped = true;
    m_initDone = false;
    m_socket.close(QWebSocketProtocol::CloseCodeNormal, QString());
    m_keepTimer.stop();
    // A reopen right after this replaces the socket without a disconnected() for the old one.
    setOpen(false);
}

void FirebaseSubscription::setToken(const QString &token)
{
    m_token = token;
    // A stream authenticates once per connection, so a new token takes a new connection.
    if (!m_stopped) {
        shutdown();
        listen();
    }
}

void FirebaseSubscription::onConnected()
{
    qDebug().noquote() << "FirebaseSubscription::onConnected" << m_path;
    // Shut down while the connection was being made.
    if (m_stopped) {
        m_socket.close(QWebSocketProtocol::CloseCodeNormal, QString());
        return;
    }
    // Frames of a message cut off with the previous connection belong to no message of this
    // one, which starts as the very first did: its first message is taken as content.
    m_buffer.clear();
    m_pendingFrames = 1;
    setOpen(true);
    sendRequest(QStringLiteral("s"),
                QJsonObject{
                    {QStringLiteral("c"), QJsonObject{{QStringLiteral("sdk.js.4-6-1"), 1}}}});
    sendRequest(QStringLiteral("auth"), QJsonObject{{QStringLiteral("cred"), m_token}});
    sendRequest(QStringLiteral("q"),
                QJsonObject{{QStringLiteral("p"), m_path}, {QStringLiteral("h"), QString()}});
    m_keepTimer.stop();
    m_keepTimer.start();
}

void FirebaseSubscription::sendRequest(const QString &action, const QJsonObject &body)
{
    const QJsonObject data{{QStringLiteral("r"), qint64(m_requestNumber++)},
                           {QStringLiteral("a"), action},
                           {QStringLiteral("b"), body}};
    const QJsonObject message{{QStringLiteral("t"), QStringLiteral("d")},
                              {QStringLiteral("d"), data}};
    m_socket.sendTextMessage(
        QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact)));
}

void FirebaseSubscription::onTextMessage(const QString &message)
{
    updateKeepTimer();

    if (m_pendingFrames == 0 && !message.startsWith(QLatin1Char('{'))) {
        m_pendingFrames = message.toULongLong();
        return;
    }

    // Frames are gathered in one buffer sized for all of them and parsed once at the end, so a
    // large snapshot costs time linear in its size.
    if (m_buffer.isEmpty() && m_pendingFrames > 1 && m_pendingFrames <= kMaxReservedChars) {
        const quint64 expected = quint64(message.size()) * m_pendingFrames;
        if (expected <= kMaxReservedChars)
            m_buffer.reserve(int(expected));
    }
    m_buffer.append(message);
    if (m_pendingFrames > 0)
        --m_pendingFrames;
    if (m_pendingFrames > 0)
        return;

    FirebaseReply reply = parseReply(m_buffer);
    m_buffer.clear();
    if (reply.getEvent().isEmpty())
        return;
    if (!m_initDone) {
        m_initDone = true;
        reply.setEvent(QStringLiteral("init"));
    }
    if (!m_receiver)
        return;
    // Queued: the receiver may write to the database or re-enter the event loop, which must not
    // happen in the middle of this socket's signal.
    if (!QMetaObject::invokeMethod(m_receiver.data(),
                                   m_slot.constData(),
                                   Qt::QueuedConnection,
                                   Q_ARG(FirebaseReply, reply))) {
        qDebug().noquote() << "NO SLOT" << m_slot << "FOR" << m_path;
    }
}

FirebaseReply FirebaseSubscription::parseReply(const QString &message)
{
    const QJsonObject object = JsonParser::fromString(message);
    const QJsonObject data = object.value(QLatin1String("d")).toObject();

    if (data.contains(QLatin1String("r"))) {
        const QJsonObject token = data.value(QLatin1String("b"))
                                      .toObject()
                                      .value(QLatin1String("d"))
                                      .toObject()
                                      .value(QLatin1String("auth"))
                                      .toObject()
                                      .value(QLatin1String("token"))
                                      .toObject();
        if (token.contains(QLatin1String("auth_time"))) {
            const qint64 seconds = qint64(token.value(QLatin1String("auth_time")).toDouble());
            m_authTime = QDateTime::fromSecsSinceEpoch(seconds);
        }
        return FirebaseReply();
    }

    QJsonObject body = data.value(QLatin1String("b")).toObject();
    if (!body.contains(QLatin1String("d")))
        return FirebaseReply();

    body.insert(QLatin1String("p"), getRelativePath(body.value(QLatin1String("p")).toString()));
    const QString action = data.value(QLatin1String("a")).toString();
    QString event;
    if (action == QLatin1String("d"))
        event = QStringLiteral("put");
    else if (action == QLatin1String("m"))
        event = QStringLiteral("patch");
    else
        event = QStringLiteral("keep-live");
    return FirebaseReply(event, body, m_authTime);
}

QString FirebaseSubscription::getRelativePath(QString path) const
{
    QString own = m_path;
    if (own.startsWith(QLatin1Char('/')))
        own.remove(0, 1);
    if (own.isEmpty())
        return path;
    return path.remove(own, Qt::CaseSensitive);
}

void FirebaseSubscription::onDisconnected()
{
    qDebug().noquote() << "DISCONNECTED" << m_path;
    m_initDone = false;
    setOpen(false);
}

void FirebaseSubscription::setOpen(bool open)
{
    if (m_open == open)
        return;
    m_open = open;
    emit openChanged(open);
}

void FirebaseSubscription::onError()
{
    qDebug().noquote() << m_socket.errorString();
}

void FirebaseSubscription::onSocketStateChanged(QAbstractSocket::SocketState state)
{
    Q_UNUSED(state)
}

void FirebaseSubscription::tryReconnect()
{
    if (!m_stopped && m_socket.state() == QAbstractSocket::UnconnectedState)
        listen();
}

void FirebaseSubscription::sendKeepPacket()
{
    if (m_socket.state() != QAbstractSocket::UnconnectedState)
        m_socket.sendTextMessage(QStringLiteral("0"));
}

void FirebaseSubscription::updateKeepTimer()
{
    m_keepTimer.start();
}
