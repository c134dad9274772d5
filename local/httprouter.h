#pragma once

#include "local/httprequest.h"
#include "local/httpresponse.h"

#include <QHash>
#include <QString>
#include <QVector>

#include <functional>

class WebSocketConnection;

// The service's route table: exact paths first, then the longest matching prefix, then path
// suffixes (the database's ".json"). Later parts of the service add their routes here.
class HttpRouter
{
public:
    using Handler = std::function<HttpResponse(const HttpRequest &)>;
    // Decides whether an upgrade may proceed; fills the refusal otherwise.
    using UpgradeCheck = std::function<bool(const HttpRequest &, HttpResponse *refusal)>;
    using UpgradeHandler = std::function<void(WebSocketConnection *, const HttpRequest &)>;

    struct WebSocketRoute
    {
        UpgradeCheck check;
        UpgradeHandler accepted;
    };

    void addExact(const QString &path, Handler handler);
    void addPrefix(const QString &prefix, Handler handler);
    void addSuffix(const QString &suffix, Handler handler);
    void addWebSocket(const QString &path, UpgradeCheck check, UpgradeHandler accepted);

    // Runs before every route and upgrade; a request it turns down gets the refusal it filled.
    void setRequestFilter(UpgradeCheck filter) { m_filter = std::move(filter); }
    bool admits(const HttpRequest &request, HttpResponse *refusal) const
    {
        return !m_filter || m_filter(request, refusal);
    }
    // Whether a request's head carries a valid credential; only those may send big bodies.
    using CredentialCheck = std::function<bool(const HttpRequest &)>;
    void setCredentialCheck(CredentialCheck check) { m_credentialCheck = std::move(check); }
    const CredentialCheck &credentialCheck() const { return m_credentialCheck; }

    // Null when no route matches.
    const Handler *find(const QString &path) const;
    const WebSocketRoute *findWebSocket(const QString &path) const;

private:
    QHash<QString, Handler> m_exact;
    QVector<QPair<QString, Handler>> m_prefixes; // longest first
    QVector<QPair<QString, Handler>> m_suffixes;
    QHash<QString, WebSocketRoute> m_webSockets;
    UpgradeCheck m_filter;
    CredentialCheck m_credentialCheck;
};
