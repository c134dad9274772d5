#pragma once

#include "local/realtimesession.h"
#include "local/writebatcher.h"

#include <QObject>
#include <QSet>

class HttpRouter;

// Accepts the realtime protocol's websocket upgrades on "/.ws" and keeps the open sessions.
class RealtimeSocketHandler : public QObject
{
    Q_OBJECT

public:
    RealtimeSocketHandler(const RealtimeSession::Context &context,
                          const QString &databaseNamespace,
                          QObject *parent = nullptr);
    ~RealtimeSocketHandler() override;

    void install(HttpRouter &router);
    // Sent as the handshake's host when an upgrade carries no Host header.
    void setFallbackHost(const QString &host) { m_fallbackHost = host; }
    int sessionCount() const { return m_sessions.size(); }
    // Under load, pushes leave at most once per interval; answers never wait.
    void setPushBatchInterval(int milliseconds) { m_batcher.setInterval(milliseconds); }
    // For sessions opened from now on.
    void setLimits(const RealtimeSession::Limits &limits) { m_context.limits = limits; }
    // Cuts every open session, as a network failure would.
    void dropAll();

private:
    RealtimeSession::Context m_context;
    QString m_namespace;
    QString m_fallbackHost;
    QSet<RealtimeSession *> m_sessions;
    WriteBatcher m_batcher;
};
