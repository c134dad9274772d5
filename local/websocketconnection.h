#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QObject>
#include <QTimer>

class QTcpSocket;
class WriteBatcher;

// The server side of RFC 6455 over a socket whose HTTP upgrade has already been answered.
// Frames written with sendFrame() can be built once and shared by many connections.
class WebSocketConnection : public QObject
{
    Q_OBJECT

public:
    // Takes ownership of the socket; buffered holds bytes that arrived after the upgrade request.
    WebSocketConnection(QTcpSocket *socket, const QByteArray &buffered, QObject *parent = nullptr);
    ~WebSocketConnection() override;

    static QByteArray acceptKey(const QByteArray &clientKey);
    static QByteArray textFrame(const QByteArray &utf8);
    static bool isValidUtf8(const QByteArray &text);

    // Starts reading; call once the signals are connected.
    void start();
    void sendText(const QByteArray &utf8) { sendFrame(textFrame(utf8)); }
    // With a batcher, waits for the batcher's turn (with the frames before it).
    void sendFrame(const QByteArray &frame);
    // Goes out at the end of this turn of the event loop, after the frames before it.
    void sendFrameNow(const QByteArray &frame);
    void close(quint16 code = 1000, const QByteArray &reason = QByteArray());
    // Drops the connection without a closing handshake, as a network failure would.
    void abort();

    bool isOpen() const { return m_open; }
    QHostAddress peerAddress() const;
    void setMaxMessageSize(qint64 bytes) { m_maxMessageSize = bytes; }
    // Output the peer has not taken yet: above maxUnsent the connection reads no more messages
    // and pushes may add at most maxUnsent again; one whose output then stands still for
    // stallTimeoutMs, or that falls further behind, is cut.
    void setOutputLimit(qint64 maxUnsent, int stallTimeoutMs);
    // Closes the connection when the peer sends no frame for this long (0: never).
    void setIdleTimeout(int milliseconds) { m_idleTimeoutMs = milliseconds; }
    qint64 unsentBytes() const;
    // Frames then wait for the batcher's turn instead of going to the socket one by one.
    void setWriteBatcher(WriteBatcher *batcher) { m_batcher = batcher; }
    // The batcher's call: hands the frames gathered so far to the socket.
    void takeBatchTurn();

signals:
    void textMessageReceived(const QByteArray &message);
    void closed();

private:
    void onReadyRead();
    void onDisconnected();
    void processBuffer();
    // Handles one complete frame; false when the connection must stop reading.
    bool handleFrame(bool fin, int opcode, QByteArray payload);
    void failConnection(quint16 code, const QByteArray &reason);
    void sendControl(int opcode, const QByteArray &payload);
    void writeBatch();
    void holdInput();
    void onOutputProgress();

    QTcpSocket *m_socket;
    QByteArray m_buffer;
    QByteArray m_message;
    int m_messageOpcode = -1;
    bool m_open = true;
    bool m_closeSent = false;
    bool m_closedEmitted = false;
    qint64 m_maxMessageSize = 64 * 1024 * 1024;
    qint64 m_maxUnsent = 4 * 1024 * 1024;
    qint64 m_overflow = 0; // pushes queued above m_maxUnsent
    bool m_inputHeld = false;
    qint64 m_stalledAt = 0; // unsent bytes when output was last seen to move
    bool m_yielded = false; // a turn is over; the rest of the input waits for the next
    bool m_backlog = false; // the buffer may hold complete frames not handled yet
    QTimer m_stallTimer;
    int m_idleTimeoutMs = 0;
    QTimer m_idleTimer;
    QTimer m_closeTimer;
    WriteBatcher *m_batcher = nullptr;
    QByteArray m_batch;
    bool m_scheduled = false; // the batcher holds a pointer to this until its turn
};
