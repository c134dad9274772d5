#include "local/realtimesockethandler.h"

#include "local/httprouter.h"
#include "local/websocketconnection.h"

RealtimeSocketHandler::RealtimeSocketHandler(const RealtimeSession::Context &context,
                                             const QString &databaseNamespace,
                                             QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_namespace(databaseNamespace)
{}

RealtimeSocketHandler::~RealtimeSocketHandler()
{
    // Before the batcher, which the sessions' connections tell when they go.
    qDeleteAll(m_sessions);
}

void RealtimeSocketHandler::install(HttpRouter &router)
{
    router.addWebSocket(
        QStringLiteral("/.ws"),
        [this](const HttpRequest &request, HttpResponse *refusal) {
            const QString version = request.queryItem(QStringLiteral("v"));
            if (!version.isEmpty() && version != QLatin1String("5")) {
                *refusal = HttpResponse::text(400, "Unsupported protocol version");
                return false;
            }
            const QString ns = request.queryItem(QStringLiteral("ns"));
            if (!ns.isEmpty() && ns != m_namespace) {
                *refusal = HttpResponse::text(404, "Database not found");
                return false;
            }
            return true;
        },
        [this](WebSocketConnection *socket, const HttpRequest &request) {
            QString host = QString::fromLatin1(request.header("host"));
            if (host.isEmpty())
                host = m_fallbackHost;
            socket->setWriteBatcher(&m_batcher);
            auto *session = new RealtimeSession(socket, host, m_context, this);
            m_sessions.insert(session);
            connect(session, &RealtimeSession::finished, this, [this, session] {
                m_sessions.remove(session);
                session->deleteLater();
            });
            session->start();
        });
}

void RealtimeSocketHandler::dropAll()
{
    const QSet<RealtimeSession *> sessions = m_sessions;
    for (RealtimeSession *session : sessions)
        session->drop();
}
