#include "local/realtimesession.h"

#include "local/databasequery.h"
#include "local/faultinjector.h"
#include "local/jsoncodec.h"
#include "local/tokenissuer.h"
#include "local/websocketconnection.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QRandomGenerator>

#include <cmath>

namespace {

QJsonObject ok(const QJsonValue &data = QString())
{
    return QJsonObject{{"s", "ok"}, {"d", data}};
}

QJsonObject failure(const QString &status, const QString &reason)
{
    return QJsonObject{{"s", status}, {"d", reason}};
}

QJsonObject permissionDenied()
{
    return failure(QStringLiteral("permission_denied"), QStringLiteral("Permission denied"));
}

QString newSessionId()
{
    static const char alphabet[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    QString id;
    for (int i = 0; i < 32; ++i)
        id.append(QLatin1Char(alphabet[QRandomGenerator::global()->bounded(62)]));
    return id;
}

bool parsePath(const QJsonObject &body, DatabasePath *path)
{
    const QJsonValue p = body.value(QLatin1String("p"));
    return p.isString() && DatabasePath::parse(p.toString(), path);
}

QByteArray encode(const QJsonObject &message)
{
    return JsonCodec::encode(message);
}

// A data push around a value that is JSON text already: shared text goes in as it is.
QByteArray dataPush(const DatabasePath &path, const QByteArray &data, qint64 tag)
{
    QByteArray text = "{\"t\":\"d\",\"d\":{\"a\":\"d\",\"b\":{\"p\":";
    JsonCodec::appendString(text, path.toWireString());
    text += ",\"d\":" + data;
    if (tag >= 0)
        text += ",\"t\":" + QByteArray::number(tag);
    return text + "}}}";
}

// A listen's tag, when it has one, is a whole number that a 64-bit integer holds exactly.
bool parseTag(const QJsonObject &body, qint64 *tag)
{
    const QJsonValue value = body.value(QLatin1String("t"));
    if (value.isUndefined() || value.isNull()) {
        *tag = -1;
        return true;
    }
    const double number = value.toDouble(-1);
    if (!value.isDouble() || number < 0 || number > 9007199254740991.0
        || number != std::floor(number))
        return false;
    *tag = qint64(number);
    return true;
}

} // namespace

RealtimeSession::RealtimeSession(WebSocketConnection *socket,
                                 const QString &host,
                                 const Context &context,
                                 QObject *parent)
    : QObject(parent)
    , m_socket(socket)
    , m_host(host)
    , m_context(context)
{
    m_socket->setParent(this);
    m_socket->setMaxMessageSize(m_context.limits.maxUnauthenticatedMessageBytes);
    m_authDeadline.setSingleShot(true);
    connect(&m_authDeadline, &QTimer::timeout, this, [this] {
        m_socket->close(1008, "Not authenticated");
    });
    // Precise, and checked against the clock when it fires: a timer that fires early re-arms
    // instead of revoking a token the checks still accept.
    m_authTimer.setSingleShot(true);
    m_authTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_authTimer, &QTimer::timeout, this, &RealtimeSession::checkAuthExpiry);
    connect(clock(), &ServiceClock::advanced, this, &RealtimeSession::checkAuthExpiry);
    m_delayTimer.setSingleShot(true);
    connect(&m_delayTimer, &QTimer::timeout, this, &RealtimeSession::flushDelayed);
    m_clock.start();
    connect(m_socket, &WebSocketConnection::textMessageReceived, this, &RealtimeSession::onText);
    // Queued: a socket can close while the database is pushing to it, and the clean-up changes
    // listeners and data, which must not happen in the middle of a push.
    connect(m_socket,
            &WebSocketConnection::closed,
            this,
            &RealtimeSession::onClosed,
            Qt::QueuedConnection);
}

RealtimeSession::~RealtimeSession()
{
    for (const Listen &listen : qAsConst(m_listens))
        m_context.database->removeListener(this, listen.path, listen.tag);
}

void RealtimeSession::start()
{
    m_authDeadline.start(m_context.limits.authTimeoutMs);
    const QJsonObject handshake{{"ts", clock()->nowMs()},
                                {"v", "5"},
                                {"h", m_host},
                                {"s", newSessionId()}};
    m_socket->sendFrameNow(WebSocketConnection::textFrame(
        encode(QJsonObject{{"t", "c"}, {"d", QJsonObject{{"t", "h"}, {"d", handshake}}}})));
}

void RealtimeSession::drop()
{
    m_socket->abort();
}

QByteArray RealtimeSession::encodeFrames(const QByteArray &json)
{
    // UTF-8 never has fewer bytes than UTF-16 has code units, so short messages need no count.
    if (json.size() <= maxFrameChars)
        return WebSocketConnection::textFrame(json);
    // Pieces of at most maxFrameChars UTF-16 code units, counted on the UTF-8 bytes: a
    // character of four bytes is two units, a surrogate pair, which stays in one piece.
    QVector<QByteArray> pieces;
    const auto *bytes = reinterpret_cast<const uchar *>(json.constData());
    int start = 0;
    int units = 0;
    for (int i = 0; i < json.size(); ++i) {
        const uchar c = bytes[i];
        if ((c & 0xc0) == 0x80)
            continue; // inside a character
        const int width = c >= 0xf0 ? 2 : 1;
        if (units + width > maxFrameChars) {
            pieces.append(json.mid(start, i - start));
            start = i;
            units = 0;
        }
        units += width;
    }
    if (pieces.isEmpty())
        return WebSocketConnection::textFrame(json);
    pieces.append(json.mid(start));
    QByteArray frames = WebSocketConnection::textFrame(QByteArray::number(pieces.size()));
    frames.reserve(json.size() + 14 * pieces.size() + 16);
    for (const QByteArray &piece : qAsConst(pieces))
        frames += WebSocketConnection::textFrame(piece);
    return frames;
}

void RealtimeSession::sendJson(const QJsonObject &message)
{
    sendFrames(encodeFrames(encode(message)), false);
}

void RealtimeSession::sendFrames(const QByteArray &frames, bool push)
{
    const int delay = m_context.faults ? m_context.faults->replyDelay() : 0;
    if (delay <= 0 && m_delayed.isEmpty()) {
        if (push)
            m_socket->sendFrame(frames);
        else
            m_socket->sendFrameNow(frames);
        return;
    }
    m_delayed.enqueue({m_clock.elapsed() + delay, frames, push});
    if (!m_delayTimer.isActive())
        m_delayTimer.start(int(qMax<qint64>(0, m_delayed.head().due - m_clock.elapsed())));
}

void RealtimeSession::flushDelayed()
{
    while (!m_delayed.isEmpty() && m_delayed.head().due <= m_clock.elapsed()) {
        const DelayedOutput output = m_delayed.dequeue();
        if (output.push)
            m_socket->sendFrame(output.frames);
        else
            m_socket->sendFrameNow(output.frames);
    }
    if (!m_delayed.isEmpty())
        m_delayTimer.start(int(qMax<qint64>(0, m_delayed.head().due - m_clock.elapsed())));
}

void RealtimeSession::databaseEvent(const DatabaseEvent &event)
{
    if (m_closed || !m_socket->isOpen())
        return;
    QByteArray frames;
    if (event.tag < 0 && !event.encoded.isEmpty()) {
        frames = event.encoded;
    } else if (event.tag >= 0) {
        // Tagged listens with the same filter share the event and the data's text; only the
        // tag differs.
        if (event.encodedData.isNull())
            event.encodedData = JsonCodec::encode(event.data);
        frames = encodeFrames(dataPush(event.path, event.encodedData, event.tag));
    } else {
        const QJsonObject body{{"p", event.path.toWireString()}, {"d", event.data}};
        const QString action = event.kind == DatabaseEvent::Kind::Put ? QStringLiteral("d")
                                                                      : QStringLiteral("m");
        frames = encodeFrames(
            encode(QJsonObject{{"t", "d"}, {"d", QJsonObject{{"a", action}, {"b", body}}}}));
        event.encoded = frames;
    }
    sendFrames(frames, true);
}

void RealtimeSession::onText(const QByteArray &text)
{
    if (m_pendingFrames > 0) {
        m_frameBuffer += text;
        if (m_frameBuffer.size() > maxMessageBytes()) {
            m_socket->close(1009, "Message too big");
            return;
        }
        if (--m_pendingFrames == 0) {
            const QByteArray message = m_frameBuffer;
            m_frameBuffer.clear();
            handleMessage(message);
        }
        return;
    }
    // A short number is a frame count, and "0" the keep-alive, which needs no answer.
    if (!text.isEmpty() && text.size() <= 6) {
        bool isNumber = true;
        for (const char c : text)
            isNumber = isNumber && c >= '0' && c <= '9';
        if (isNumber) {
            m_pendingFrames = text.toInt();
            return;
        }
    }
    handleMessage(text);
}

void RealtimeSession::handleMessage(const QByteArray &text)
{
    const QJsonDocument doc = QJsonDocument::fromJson(text);
    if (!doc.isObject())
        return;
    const QJsonObject message = doc.object();
    const QString type = message.value(QLatin1String("t")).toString();
    const QJsonObject data = message.value(QLatin1String("d")).toObject();
    if (type == QLatin1String("c")) {
        if (data.value(QLatin1String("t")).toString() == QLatin1String("p"))
            sendJson(QJsonObject{{"t", "c"}, {"d", QJsonObject{{"t", "o"}, {"d", QJsonValue()}}}});
        return;
    }
    if (type == QLatin1String("d")) {
        // Whatever the timer did, a request after the expiry instant meets an expired session.
        checkAuthExpiry();
        handleRequest(data.value(QLatin1String("r")),
                      data.value(QLatin1String("a")).toString(),
                      data.value(QLatin1String("b")).toObject());
    }
}

void RealtimeSession::handleRequest(const QJsonValue &requestId,
                                    const QString &action,
                                    const QJsonObject &body)
{
    QJsonObject answer;
    QByteArray data; // the answer's value as JSON text, for a get
    if (action == QLatin1String("q"))
        answer = listen(body);
    else if (action == QLatin1String("n"))
        answer = unlisten(body);
    else if (action == QLatin1String("p"))
        answer = put(body);
    else if (action == QLatin1String("m"))
        answer = merge(body);
    else if (action == QLatin1String("g"))
        answer = get(body, &data);
    else if (action == QLatin1String("auth") || action == QLatin1String("gauth"))
        answer = authenticate(body);
    else if (action == QLatin1String("unauth"))
        answer = unauthenticate();
    else if (action == QLatin1String("o"))
        answer = onDisconnect(body, false);
    else if (action == QLatin1String("om"))
        answer = onDisconnect(body, true);
    else if (action == QLatin1String("oc"))
        answer = cancelOnDisconnect(body);
    else if (action == QLatin1String("s") || action == QLatin1String("appcheck")
             || action == QLatin1String("unappcheck"))
        answer = ok();
    else
        answer = failure(QStringLiteral("invalid_request"), QStringLiteral("Unknown action"));
    if (requestId.isUndefined() || requestId.isNull() || m_closed)
        return;
    if (data.isNull()) {
        sendJson(QJsonObject{{"t", "d"}, {"d", QJsonObject{{"r", requestId}, {"b", answer}}}});
        return;
    }
    sendFrames(encodeFrames("{\"t\":\"d\",\"d\":{\"r\":" + JsonCodec::encode(requestId)
                            + ",\"b\":{\"s\":\"ok\",\"d\":" + data + "}}}"),
               false);
}

QJsonObject RealtimeSession::authenticate(const QJsonObject &body)
{
    const QByteArray credential = body.value(QLatin1String("cred")).toString().toUtf8();
    const TokenIssuer::Check check = m_context.tokens->verifyIdToken(credential,
                                                                     m_context.emulatorCredentials);
    if (check.verdict != TokenIssuer::Verdict::Valid) {
        setAuth(AuthIdentity::anonymous());
        return failure(check.verdict == TokenIssuer::Verdict::Expired
                           ? QStringLiteral("expired_token")
                           : QStringLiteral("invalid_token"),
                       check.reason);
    }
    setAuth(check.identity);
    const AuthIdentity &identity = check.identity;
    if (identity.isAdmin())
        return ok(QJsonObject{{"auth", QJsonValue()}, {"admin", true}, {"expires", 0}});
    // The "auth" the rules see: the claims, the provider, and every claim again under "token".
    QJsonObject authVariable = identity.claims();
    authVariable.insert(QStringLiteral("uid"), identity.uid());
    authVariable.insert(QStringLiteral("provider"), QStringLiteral("custom"));
    authVariable.insert(QStringLiteral("token"), identity.claims());
    return ok(QJsonObject{{"auth", authVariable}, {"expires", identity.expiresAt()}});
}

QJsonObject RealtimeSession::unauthenticate()
{
    setAuth(AuthIdentity::anonymous());
    return ok(QStringLiteral("unauthenticated"));
}

void RealtimeSession::setAuth(const AuthIdentity &auth)
{
    m_auth = auth;
    m_authTimer.stop();
    if (auth.isAuthenticated() && auth.expiresAt() > 0)
        armAuthTimer();
    if (auth.isAuthenticated())
        m_authDeadline.stop();
    m_socket->setMaxMessageSize(maxMessageBytes());
    revokeListens();
}

qint64 RealtimeSession::maxMessageBytes() const
{
    return m_auth.isAuthenticated() ? m_context.limits.maxMessageBytes
                                    : m_context.limits.maxUnauthenticatedMessageBytes;
}

const ServiceClock *RealtimeSession::clock() const
{
    return m_context.tokens ? m_context.tokens->clock() : ServiceClock::system();
}

void RealtimeSession::armAuthTimer()
{
    // Long lifetimes are rechecked once a day rather than overflowing the timer.
    m_authTimer.start(
        int(qBound<qint64>(1, clock()->msUntil(m_auth.expiresAt()), 24 * 3600 * 1000)));
}

void RealtimeSession::checkAuthExpiry()
{
    if (m_closed || !m_auth.isAuthenticated() || m_auth.expiresAt() <= 0)
        return;
    if (clock()->isExpired(m_auth.expiresAt()))
        onAuthExpired();
    else
        armAuthTimer();
}

void RealtimeSession::onAuthExpired()
{
    sendJson(QJsonObject{{"t", "d"},
                         {"d",
                          QJsonObject{{"a", "ac"},
                                      {"b",
                                       QJsonObject{{"s", "expired_token"},
                                                   {"d", "Auth token is expired."}}}}}});
    setAuth(AuthIdentity::anonymous());
}

void RealtimeSession::revokeListens()
{
    const QSet<Listen> listens = m_listens;
    for (const Listen &listen : listens) {
        if (m_auth.canAccess(listen.path))
            continue;
        m_context.database->removeListener(this, listen.path, listen.tag);
        m_listens.remove(listen);
        QJsonObject body{{"p", listen.path.toWireString()}};
        if (listen.tag >= 0)
            body.insert(QStringLiteral("t"), listen.tag);
        sendJson(QJsonObject{{"t", "d"}, {"d", QJsonObject{{"a", "c"}, {"b", body}}}});
    }
}

QJsonObject RealtimeSession::listen(const QJsonObject &body)
{
    DatabasePath path;
    if (!parsePath(body, &path))
        return failure(QStringLiteral("invalid_path"), QStringLiteral("Invalid path"));
    if (!m_auth.canAccess(path))
        return permissionDenied();
    qint64 tag = -1;
    if (!parseTag(body, &tag))
        return failure(QStringLiteral("invalid_request"), QStringLiteral("Invalid tag"));
    if (m_listens.size() >= m_context.limits.maxListens && !m_listens.contains({path, tag}))
        return failure(QStringLiteral("too_big"),
                       QStringLiteral("Too many listens on one connection (at most %1)")
                           .arg(m_context.limits.maxListens));
    const DatabaseQuery query = DatabaseQuery::fromWire(body.value(QLatin1String("q")).toObject());
    m_context.database->addListener(this, path, tag, query);
    m_listens.insert({path, tag});

    // The first push carries the whole value, null included.
    sendFrames(encodeFrames(dataPush(path, m_context.database->encodedValue(path, query), tag)),
               false);
    return ok(QJsonObject());
}

QJsonObject RealtimeSession::unlisten(const QJsonObject &body)
{
    DatabasePath path;
    if (!parsePath(body, &path))
        return failure(QStringLiteral("invalid_path"), QStringLiteral("Invalid path"));
    Listen listen{path, -1};
    if (!parseTag(body, &listen.tag))
        return failure(QStringLiteral("invalid_request"), QStringLiteral("Invalid tag"));
    if (m_listens.remove(listen))
        m_context.database->removeListener(this, listen.path, listen.tag);
    return ok();
}

QJsonObject RealtimeSession::put(const QJsonObject &body)
{
    DatabasePath path;
    if (!parsePath(body, &path))
        return failure(QStringLiteral("invalid_path"), QStringLiteral("Invalid path"));
    if (!m_auth.canAccess(path))
        return permissionDenied();
    // A conditional write (a transaction) carries the hash of the value it was computed from.
    const QJsonValue expectedHash = body.value(QLatin1String("h"));
    if (expectedHash.isString() && expectedHash.toString() != m_context.database->hash(path))
        return failure(QStringLiteral("datastale"),
                       QStringLiteral("Transaction hash does not match"));
    QJsonValue prepared;
    QString error;
    if (!m_context.database->prepareValue(path,
                                          body.value(QLatin1String("d")),
                                          clock()->nowMs(),
                                          &prepared,
                                          &error))
        return failure(QStringLiteral("invalid_data"), error);
    if (!m_context.database->set(path, prepared, &error))
        return failure(QStringLiteral("too_big"), error);
    return ok();
}

QJsonObject RealtimeSession::merge(const QJsonObject &body)
{
    DatabasePath path;
    if (!parsePath(body, &path))
        return failure(QStringLiteral("invalid_path"), QStringLiteral("Invalid path"));
    const QJsonValue data = body.value(QLatin1String("d"));
    if (!data.isObject())
        return failure(QStringLiteral("invalid_data"),
                       QStringLiteral("Merge data must be an object"));
    if (!m_auth.canAccessUpdate(path, data.toObject()))
        return permissionDenied();
    QVector<RealtimeDatabase::MergeChild> children;
    QString error;
    if (!m_context.database->prepareMerge(path, data.toObject(), clock()->nowMs(), &children, &error))
        return failure(QStringLiteral("invalid_data"), error);
    for (const auto &child : qAsConst(children)) {
        if (!m_auth.canAccess(path.child(child.relative)))
            return permissionDenied();
    }
    if (!m_context.database->merge(path, children, &error))
        return failure(QStringLiteral("too_big"), error);
    return ok();
}

QJsonObject RealtimeSession::get(const QJsonObject &body, QByteArray *data)
{
    DatabasePath path;
    if (!parsePath(body, &path))
        return failure(QStringLiteral("invalid_path"), QStringLiteral("Invalid path"));
    if (!m_auth.canAccess(path))
        return permissionDenied();
    const DatabaseQuery query = DatabaseQuery::fromWire(body.value(QLatin1String("q")).toObject());
    *data = m_context.database->encodedValue(path, query);
    return ok();
}

QJsonObject RealtimeSession::onDisconnect(const QJsonObject &body, bool merge)
{
    DatabasePath path;
    if (!parsePath(body, &path))
        return failure(QStringLiteral("invalid_path"), QStringLiteral("Invalid path"));
    const QJsonValue data = body.value(QLatin1String("d"));
    QString error;
    const qint64 now = clock()->nowMs();
    if (merge) {
        if (data.isObject() && !m_auth.canAccessUpdate(path, data.toObject()))
            return permissionDenied();
        QVector<RealtimeDatabase::MergeChild> children;
        if (!data.isObject()
            || !m_context.database->prepareMerge(path, data.toObject(), now, &children, &error))
            return failure(QStringLiteral("invalid_data"), error);
        for (const auto &child : qAsConst(children)) {
            if (!m_auth.canAccess(path.child(child.relative)))
                return permissionDenied();
        }
    } else {
        if (!m_auth.canAccess(path))
            return permissionDenied();
        QJsonValue prepared;
        if (!m_context.database->prepareValue(path, data, now, &prepared, &error))
            return failure(QStringLiteral("invalid_data"), error);
    }
    // Kept as sent: server values resolve when the writes run.
    m_disconnectWrites.append({merge, path, data});
    return ok();
}

QJsonObject RealtimeSession::cancelOnDisconnect(const QJsonObject &body)
{
    DatabasePath path;
    if (!parsePath(body, &path))
        return failure(QStringLiteral("invalid_path"), QStringLiteral("Invalid path"));
    if (!m_auth.canAccess(path))
        return permissionDenied();
    for (int i = m_disconnectWrites.size() - 1; i >= 0; --i) {
        if (path.isAncestorOrSelf(m_disconnectWrites.at(i).path))
            m_disconnectWrites.remove(i);
    }
    return ok();
}

void RealtimeSession::runDisconnectWrites()
{
    const qint64 now = clock()->nowMs();
    for (const DisconnectWrite &write : qAsConst(m_disconnectWrites)) {
        QString error;
        if (write.merge) {
            QVector<RealtimeDatabase::MergeChild> children;
            if (m_context.database
                    ->prepareMerge(write.path, write.value.toObject(), now, &children, &error))
                m_context.database->merge(write.path, children);
        } else {
            QJsonValue prepared;
            if (m_context.database->prepareValue(write.path, write.value, now, &prepared, &error))
                m_context.database->set(write.path, prepared);
        }
    }
    m_disconnectWrites.clear();
}

void RealtimeSession::onClosed()
{
    if (m_closed)
        return;
    m_closed = true;
    m_authTimer.stop();
    m_authDeadline.stop();
    m_delayTimer.stop();
    for (const Listen &listen : qAsConst(m_listens))
        m_context.database->removeListener(this, listen.path, listen.tag);
    m_listens.clear();
    runDisconnectWrites();
    emit finished();
}
