#include "local/websocketconnection.h"

#include "local/socketflow.h"
#include "local/tcpquickack.h"
#include "local/writebatcher.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QTcpSocket>
#include <QtEndian>

#include <cstring>

namespace {

enum Opcode { Continuation = 0x0, Text = 0x1, Binary = 0x2, Close = 0x8, Ping = 0x9, Pong = 0xA };

QByteArray frameHeader(int opcode, qint64 length)
{
    QByteArray header;
    header.append(char(0x80 | opcode));
    if (length < 126) {
        header.append(char(length));
    } else if (length <= 0xffff) {
        header.append(char(126));
        uchar size[2];
        qToBigEndian<quint16>(quint16(length), size);
        header.append(reinterpret_cast<const char *>(size), 2);
    } else {
        header.append(char(127));
        uchar size[8];
        qToBigEndian<quint64>(quint64(length), size);
        header.append(reinterpret_cast<const char *>(size), 8);
    }
    return header;
}

void unmask(char *data, qint64 length, const uchar mask[4])
{
    quint32 word;
    std::memcpy(&word, mask, 4);
    const quint64 wide = (quint64(word) << 32) | word;
    qint64 i = 0;
    for (; i + 8 <= length; i += 8) {
        quint64 chunk;
        std::memcpy(&chunk, data + i, 8);
        chunk ^= wide;
        std::memcpy(data + i, &chunk, 8);
    }
    for (; i < length; ++i)
        data[i] = char(data[i] ^ mask[i % 4]);
}

} // namespace

WebSocketConnection::WebSocketConnection(QTcpSocket *socket,
                                         const QByteArray &buffered,
                                         QObject *parent)
    : QObject(parent)
    , m_socket(socket)
    , m_buffer(buffered)
{
    m_socket->setParent(this);
    m_closeTimer.setSingleShot(true);
    connect(&m_closeTimer, &QTimer::timeout, this, &WebSocketConnection::abort);
    m_stallTimer.setSingleShot(true);
    m_stallTimer.setInterval(10 * 1000);
    connect(&m_stallTimer, &QTimer::timeout, this, &WebSocketConnection::abort);
    m_idleTimer.setSingleShot(true);
    connect(&m_idleTimer, &QTimer::timeout, this, [this] { close(1001, "Idle connection"); });
    watchOutputProgress(m_socket, this, [this] { onOutputProgress(); });
}

WebSocketConnection::~WebSocketConnection()
{
    if (m_scheduled)
        m_batcher->forget(this);
    m_socket->disconnect(this);
}

QByteArray WebSocketConnection::acceptKey(const QByteArray &clientKey)
{
    return QCryptographicHash::hash(clientKey + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11",
                                    QCryptographicHash::Sha1)
        .toBase64();
}

QByteArray WebSocketConnection::textFrame(const QByteArray &utf8)
{
    QByteArray frame = frameHeader(Text, utf8.size());
    frame.append(utf8);
    return frame;
}

bool WebSocketConnection::isValidUtf8(const QByteArray &text)
{
    const auto *p = reinterpret_cast<const uchar *>(text.constData());
    const auto *end = p + text.size();
    while (p < end) {
        const uchar c = *p;
        if (c < 0x80) {
            ++p;
            continue;
        }
        int extra;
        quint32 code;
        quint32 minimum;
        if ((c & 0xe0) == 0xc0) {
            extra = 1;
            code = c & 0x1f;
            minimum = 0x80;
        } else if ((c & 0xf0) == 0xe0) {
            extra = 2;
            code = c & 0x0f;
            minimum = 0x800;
        } else if ((c & 0xf8) == 0xf0) {
            extra = 3;
            code = c & 0x07;
            minimum = 0x10000;
        } else {
            return false;
        }
        if (end - p <= extra)
            return false;
        for (int i = 1; i <= extra; ++i) {
            if ((p[i] & 0xc0) != 0x80)
                return false;
            code = (code << 6) | (p[i] & 0x3f);
        }
        if (code < minimum || code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff))
            return false;
        p += extra + 1;
    }
    return true;
}

void WebSocketConnection::start()
{
    connect(m_socket, &QTcpSocket::readyRead, this, &WebSocketConnection::onReadyRead);
    connect(m_socket, &QTcpSocket::disconnected, this, &WebSocketConnection::onDisconnected);
    if (m_socket->state() != QAbstractSocket::ConnectedState) {
        QTimer::singleShot(0, this, &WebSocketConnection::onDisconnected);
        return;
    }
    if (m_idleTimeoutMs > 0)
        m_idleTimer.start(m_idleTimeoutMs);
    onReadyRead();
}

void WebSocketConnection::setOutputLimit(qint64 maxUnsent, int stallTimeoutMs)
{
    m_maxUnsent = maxUnsent;
    m_stallTimer.setInterval(stallTimeoutMs);
}

qint64 WebSocketConnection::unsentBytes() const
{
    return ::unsentBytes(m_socket) + m_batch.size();
}

void WebSocketConnection::holdInput()
{
    if (m_inputHeld)
        return;
    m_inputHeld = true;
    m_stalledAt = unsentBytes();
    m_stallTimer.start();
}

void WebSocketConnection::onOutputProgress()
{
    if (!m_inputHeld || !m_open)
        return;
    // A slow reader is not a stalled one: the clock starts again whenever output leaves.
    const qint64 unsent = unsentBytes();
    if (unsent > m_maxUnsent) {
        if (unsent < m_stalledAt)
            m_stallTimer.start();
        m_stalledAt = unsent;
        return;
    }
    m_inputHeld = false;
    m_overflow = 0;
    m_stallTimer.stop();
    // Not from inside the socket's own signal: handling messages writes to it again.
    QMetaObject::invokeMethod(this, &WebSocketConnection::onReadyRead, Qt::QueuedConnection);
}

QHostAddress WebSocketConnection::peerAddress() const
{
    return m_socket->peerAddress();
}

void WebSocketConnection::sendFrame(const QByteArray &frame)
{
    if (!m_open || m_closeSent)
        return;
    // Pushes cannot wait for a slow reader the way answers do: past the limit they may add as
    // much again while it catches up, and a reader that falls further behind is cut.
    if (unsentBytes() + frame.size() > m_maxUnsent) {
        m_overflow += frame.size();
        if (m_overflow > m_maxUnsent) {
            abort();
            return;
        }
        holdInput();
    }
    if (!m_batcher) {
        m_socket->write(frame);
        return;
    }
    if (!m_scheduled) {
        m_scheduled = true;
        m_batcher->schedule(this);
    }
    m_batch += frame;
}

void WebSocketConnection::sendFrameNow(const QByteArray &frame)
{
    if (!m_open || m_closeSent)
        return;
    writeBatch();
    m_socket->write(frame);
    // Answers wait for the reader instead: no more requests are read until it catches up.
    if (unsentBytes() > m_maxUnsent)
        holdInput();
}

void WebSocketConnection::takeBatchTurn()
{
    m_scheduled = false;
    writeBatch();
}

void WebSocketConnection::writeBatch()
{
    if (m_batch.isEmpty())
        return;
    if (m_open)
        m_socket->write(m_batch);
    m_batch.clear();
}

void WebSocketConnection::sendControl(int opcode, const QByteArray &payload)
{
    writeBatch(); // frames keep their order
    QByteArray frame = frameHeader(opcode, payload.size());
    frame.append(payload);
    m_socket->write(frame);
    if (unsentBytes() > m_maxUnsent)
        holdInput();
}

void WebSocketConnection::close(quint16 code, const QByteArray &reason)
{
    if (!m_open || m_closeSent)
        return;
    uchar codeBytes[2];
    qToBigEndian<quint16>(code, codeBytes);
    sendControl(Close, QByteArray(reinterpret_cast<const char *>(codeBytes), 2) + reason.left(123));
    m_closeSent = true;
    m_closeTimer.start(2000);
}

void WebSocketConnection::abort()
{
    if (!m_open)
        return;
    m_socket->abort();
    onDisconnected();
}

void WebSocketConnection::failConnection(quint16 code, const QByteArray &reason)
{
    close(code, reason);
    m_buffer.clear();
    m_socket->disconnectFromHost();
}

void WebSocketConnection::onDisconnected()
{
    m_open = false;
    if (m_scheduled) {
        m_scheduled = false;
        m_batcher->forget(this);
    }
    m_batch.clear();
    m_closeTimer.stop();
    m_stallTimer.stop();
    m_idleTimer.stop();
    if (m_closedEmitted)
        return;
    m_closedEmitted = true;
    emit closed();
}

void WebSocketConnection::onReadyRead()
{
    if (!m_open || m_inputHeld || m_yielded)
        return;
    // More bytes only once the messages already here are handled.
    if (m_backlog) {
        processBuffer();
        if (m_backlog || !m_open)
            return;
    }
    m_buffer.append(m_socket->readAll());
    processBuffer();
}

void WebSocketConnection::processBuffer()
{
    QElapsedTimer turn;
    turn.start();
    int offset = 0;
    bool stopped = false;
    while (m_open) {
        const int available = m_buffer.size() - offset;
        if (available < 2)
            break;
        // Over the output limit, or long enough on this client: the rest waits.
        if (m_inputHeld || (offset > 0 && turn.elapsed() >= kInputTurnMs)) {
            stopped = true;
            break;
        }
        const auto *data = reinterpret_cast<const uchar *>(m_buffer.constData() + offset);
        const bool fin = data[0] & 0x80;
        const int opcode = data[0] & 0x0f;
        if (data[0] & 0x70) {
            failConnection(1002, "Reserved bits set");
            return;
        }
        if (!(data[1] & 0x80)) {
            failConnection(1002, "Client frames must be masked");
            return;
        }
        qint64 length = data[1] & 0x7f;
        int headerSize = 2;
        if (length == 126) {
            if (available < 4)
                break;
            length = qFromBigEndian<quint16>(data + 2);
            headerSize = 4;
        } else if (length == 127) {
            if (available < 10)
                break;
            const quint64 wide = qFromBigEndian<quint64>(data + 2);
            if (wide > quint64(m_maxMessageSize)) {
                failConnection(1009, "Message too big");
                return;
            }
            length = qint64(wide);
            headerSize = 10;
        }
        const bool control = opcode & 0x8;
        if (control && (!fin || length > 125)) {
            failConnection(1002, "Invalid control frame");
            return;
        }
        if (!control && m_message.size() + length > m_maxMessageSize) {
            failConnection(1009, "Message too big");
            return;
        }
        if (available < headerSize + 4 + length)
            break;
        uchar mask[4];
        std::memcpy(mask, data + headerSize, 4);
        QByteArray payload(m_buffer.constData() + offset + headerSize + 4, int(length));
        unmask(payload.data(), length, mask);
        offset += headerSize + 4 + int(length);
        if (!handleFrame(fin, opcode, std::move(payload)))
            return;
    }
    if (offset > 0)
        m_buffer.remove(0, offset);
    m_backlog = stopped;
    if (stopped && !m_inputHeld) {
        m_yielded = true;
        QMetaObject::invokeMethod(
            this,
            [this] {
                m_yielded = false;
                onReadyRead();
            },
            Qt::QueuedConnection);
    }
    if (!m_buffer.isEmpty())
        acknowledgeReceivedNow(m_socket); // the rest of the frame is waiting for our ACK
}

bool WebSocketConnection::handleFrame(bool fin, int opcode, QByteArray payload)
{
    // Any frame counts as a sign of life: the keep-alive "0", a ping or a pong.
    if (m_idleTimeoutMs > 0 && !m_closeSent)
        m_idleTimer.start(m_idleTimeoutMs);
    switch (opcode) {
    case Continuation:
        if (m_messageOpcode < 0) {
            failConnection(1002, "Unexpected continuation frame");
            return false;
        }
        m_message.append(payload);
        break;
    case Text:
    case Binary:
        if (m_messageOpcode >= 0) {
            failConnection(1002, "Expected a continuation frame");
            return false;
        }
        m_messageOpcode = opcode;
        m_message = std::move(payload);
        break;
    case Close: {
        quint16 code = 1000;
        if (payload.size() >= 2)
            code = qFromBigEndian<quint16>(reinterpret_cast<const uchar *>(payload.constData()));
        if (!m_closeSent) {
            uchar codeBytes[2];
            qToBigEndian<quint16>(code, codeBytes);
            sendControl(Close, QByteArray(reinterpret_cast<const char *>(codeBytes), 2));
            m_closeSent = true;
        }
        m_buffer.clear();
        m_socket->disconnectFromHost();
        return false;
    }
    case Ping:
        sendControl(Pong, payload);
        return true;
    case Pong:
        return true;
    default:
        failConnection(1002, "Unknown opcode");
        return false;
    }
    if (!fin)
        return true;
    const int messageOpcode = m_messageOpcode;
    m_messageOpcode = -1;
    QByteArray message = std::move(m_message);
    m_message = QByteArray();
    if (messageOpcode == Text && !isValidUtf8(message)) {
        failConnection(1007, "Invalid UTF-8");
        return false;
    }
    // The realtime protocol is text only; binary messages carry nothing for it.
    if (messageOpcode == Text)
        emit textMessageReceived(message);
    return m_open;
}
