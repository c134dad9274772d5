#pragma once

#include "local/authidentity.h"
#include "local/httprequest.h"
#include "local/httpresponse.h"

class PushIdGenerator;
class RealtimeDatabase;
class TokenIssuer;

// The database's REST interface: GET, PUT, PATCH, POST and DELETE on "path.json", with the
// ID token in "auth=" or a bearer header.
class RestDatabaseHandler
{
public:
    RestDatabaseHandler(RealtimeDatabase *database,
                        const TokenIssuer *tokens,
                        PushIdGenerator *pushIds,
                        const QString &databaseNamespace,
                        bool emulatorCredentials);

    HttpResponse handle(const HttpRequest &request);
    // Whether the request's head carries a token that is valid now.
    bool hasValidToken(const HttpRequest &request) const;

private:
    static QByteArray tokenOf(const HttpRequest &request);
    // False with the answer to send when the token is present but not acceptable.
    bool authenticate(const HttpRequest &request,
                      AuthIdentity *identity,
                      HttpResponse *refusal) const;
    HttpResponse read(const HttpRequest &request,
                      const DatabasePath &path,
                      const AuthIdentity &auth);
    HttpResponse write(const HttpRequest &request,
                       const QByteArray &method,
                       const DatabasePath &path,
                       const AuthIdentity &auth);
    QByteArray etag(const DatabasePath &path) const;

    RealtimeDatabase *m_database;
    const TokenIssuer *m_tokens;
    PushIdGenerator *m_pushIds;
    QString m_namespace;
    bool m_emulatorCredentials;
};
