#pragma once

#include "local/authidentity.h"
#include "local/realtimedatabase.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QObject>
#include <QQueue>
#include <QSet>
#include <QTimer>

class ServiceClock;

class FaultInjector;
class TokenIssuer;
class WebSocketConnection;

// One client of the realtime protocol (version 5) over its websocket: handshake, auth, listens,
// writes, gets and on-disconnect writes. Messages are handled strictly in arrival order, and
// pushes caused by a write reach every listener, the writer included, before the writer's "ok".
class RealtimeSession : public QObject, public DatabaseObserver
{
    Q_OBJECT

public:
    // What one connection may cost the service.
    struct Limits
    {
        // A connection that has not authenticated by then is closed; one that has is not,
        // even when its token later expires or it signs out.
        int authTimeoutMs = 30 * 1000;
        // The largest message, whole or split into frames, before and after authenticating.
        qint64 maxUnauthenticatedMessageBytes = 1024 * 1024;
        qint64 maxMessageBytes = 64 * 1024 * 1024;
        int maxListens = 1000;
    };

    struct Context
    {
        RealtimeDatabase *database = nullptr;
        const TokenIssuer *tokens = nullptr;
        const FaultInjector *faults = nullptr;
        bool emulatorCredentials = false;
        Limits limits;
    };

    static constexpr int maxFrameChars = 16384;

    // host: what the client reached us as; it reuses it for later connections.
    RealtimeSession(WebSocketConnection *socket,
                    const QString &host,
                    const Context &context,
                    QObject *parent = nullptr);
    ~RealtimeSession() override;

    void start();
    // Cuts the connection as a network failure would; on-disconnect writes still run.
    void drop();

    void databaseEvent(const DatabaseEvent &event) override;

    // The websocket frames of one protocol message: the message itself or, above the frame
    // size, the number of pieces followed by the pieces, concatenated.
    static QByteArray encodeFrames(const QByteArray &json);

signals:
    void finished();

private:
    struct Listen
    {
        DatabasePath path;
        qint64 tag;
        bool operator==(const Listen &other) const
        {
            return tag == other.tag && path == other.path;
        }
    };
    friend uint qHash(const Listen &listen, uint seed)
    {
        return qHash(listen.path.keys(), seed) ^ uint(listen.tag);
    }

    struct DisconnectWrite
    {
        bool merge;
        DatabasePath path;
        QJsonValue value;
    };

    void onText(const QByteArray &text);
    void onClosed();
    void handleMessage(const QByteArray &text);
    void handleRequest(const QJsonValue &requestId, const QString &action, const QJsonObject &body);

    QJsonObject authenticate(const QJsonObject &body);
    QJsonObject unauthenticate();
    QJsonObject listen(const QJsonObject &body);
    QJsonObject unlisten(const QJsonObject &body);
    QJsonObject put(const QJsonObject &body);
    QJsonObject merge(const QJsonObject &body);
    QJsonObject get(const QJsonObject &body, QByteArray *data);
    QJsonObject onDisconnect(const QJsonObject &body, bool merge);
    QJsonObject cancelOnDisconnect(const QJsonObject &body);

    void setAuth(const AuthIdentity &auth);
    const ServiceClock *clock() const;
    void armAuthTimer();
    void checkAuthExpiry();
    void onAuthExpired();
    qint64 maxMessageBytes() const;
    // Cancels the listens the current auth no longer allows, telling the client.
    void revokeListens();
    void runDisconnectWrites();

    // Answers and control messages go out at once; pushes may wait for the next batch.
    void sendJson(const QJsonObject &message);
    void sendFrames(const QByteArray &frames, bool push);
    void flushDelayed();

    WebSocketConnection *m_socket;
    QString m_host;
    Context m_context;
    AuthIdentity m_auth;
    QTimer m_authTimer;
    QTimer m_authDeadline;
    QSet<Listen> m_listens;
    QVector<DisconnectWrite> m_disconnectWrites;
    QByteArray m_frameBuffer;
    int m_pendingFrames = 0;
    bool m_closed = false;

    // Delayed output when the fault injector asks for slow replies, kept in order.
    struct DelayedOutput
    {
        qint64 due;
        QByteArray frames;
        bool push;
    };
    QQueue<DelayedOutput> m_delayed;
    QTimer m_delayTimer;
    QElapsedTimer m_clock;
};
