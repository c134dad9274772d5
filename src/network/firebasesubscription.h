#pragma once

#include "network/firebasereply.h"

#include <QAbstractSocket>
#include <QByteArray>
#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QWebSocket>

// Keeps one database path under live observation over the database's websocket protocol
// (version 5) and hands every data push to a receiver by a queued call of one of its slots,
// named at construction. The first push after each connect is the full snapshot, sent as "init".
class FirebaseSubscription : public QObject
{
    Q_OBJECT

public:
    // host: "host" or "host:port"; path: the observed path with its leading "/"; slot: the bare
    // name of a receiver's slot taking one FirebaseReply.
    FirebaseSubscription(
        QString host, QString path, QObject *receiver, const char *slot, QObject *parent = nullptr);
    ~FirebaseSubscription() override;

    // The "ns" of the stream URL.
    void setDatabaseNamespace(const QString &databaseNamespace) { m_namespace = databaseNamespace; }

    void listen();
    void shutdown();
    void setToken(const QString &token);
    void setAuthTime(const QDateTime &authTime) { m_authTime = authTime; }

    QString host() const { return m_host; }
    QString path() const { return m_path; }
    QDateTime authTime() const { return m_authTime; }
    // Shut down on purpose or never started; otherwise the stream reopens until it is open.
    bool isStopped() const { return m_stopped; }
    // The websocket is connected; openChanged() reports every change.
    bool isOpen() const { return m_open; }
    // The "r" number the next outgoing request will carry.
    quint64 requestNumber() const { return m_requestNumber; }

    // Test hooks; the defaults are the production values (1,000 ms and 20,000 ms).
    void setReconnectInterval(int milliseconds) { m_reconnectTimer.setInterval(milliseconds); }
    void setKeepAliveInterval(int milliseconds) { m_keepTimer.setInterval(milliseconds); }
    // Milliseconds until the next keep-alive, -1 while none is due.
    int keepAliveRemainingTime() const { return m_keepTimer.remainingTime(); }

public slots:
    void onConnected();
    void onTextMessage(const QString &message);
    void onDisconnected();
    void onError();
    void onSocketStateChanged(QAbstractSocket::SocketState state);
    void tryReconnect();
    void sendKeepPacket();

signals:
    // Declared for the receivers' sake and never emitted: data goes to the named slot and
    // connectivity comes from the client's probe.
    void dataAvailable(const QString &data);
    void error(const QString &message);
    void connectionChanged(bool connected);
    // For FirebaseClient's connection state, which counts a stream closed for long as a loss.
    void openChanged(bool open);

private:
    void updateKeepTimer();
    FirebaseReply parseReply(const QString &message);
    QString getRelativePath(QString path) const;
    void sendRequest(const QString &action, const QJsonObject &body);
    void setOpen(bool open);

    QString m_host;
    QString m_path;
    QString m_token;
    QString m_buffer;
    QPointer<QObject> m_receiver;
    QByteArray m_slot;
    bool m_initDone = false;
    bool m_stopped = true;
    bool m_open = false;
    QTimer m_reconnectTimer;
    QTimer m_keepTimer;
    QWebSocket m_socket;
    quint64 m_requestNumber = 1;
    // Starts at 1 like the request number, so the first message is always taken as content.
    quint64 m_pendingFrames = 1;
    QDateTime m_authTime;
    QString m_namespace;
};
