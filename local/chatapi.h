#pragma once

#include "local/apitokens.h"
#include "local/httprequest.h"
#include "local/httpresponse.h"
#include "local/loginthrottle.h"

#include <QJsonObject>

#include <functional>

class HttpRouter;
class RealtimeDatabase;
class TokenIssuer;

// The chat service's REST API that the console calls under "/api/": sign-in, the operator's
// profile, the account's settings and chat facts. Its records live in the database under
// "chat-api", a key no account's token reaches: "services/ID", "users/API_ID" (profile, user
// key, password hash) and "accounts/ACCOUNT_ID" (service id, user keys, settings, chats).
//
// Errors come as the service's envelope ("errors" per field, "status_code", "message"). Sign-in
// errors are answered with HTTP 200, since the console reads only bodies that are not HTTP
// errors; a request without a valid token gets 401 and an unknown chat 404, both with the
// envelope, so that the console's "status 200 only" readers ignore them.
class ChatApi
{
public:
    ChatApi(RealtimeDatabase *database, const TokenIssuer *issuer);

    void install(HttpRouter &router);

    ApiTokens &tokens() { return m_tokens; }
    LoginThrottle &throttle() { return m_throttle; }

    static HttpResponse envelope(int httpStatus,
                                 int statusCode,
                                 const QString &message,
                                 const QJsonObject &errors = QJsonObject());

private:
    struct Caller
    {
        ApiTokens::Holder holder;
        QJsonObject account; // chat-api/accounts/ID
        QJsonObject user;    // chat-api/users/API_ID
    };
    using AuthorizedHandler = std::function<HttpResponse(const Caller &, const HttpRequest &)>;

    HttpResponse login(const HttpRequest &request);
    HttpResponse me(const Caller &caller) const;
    HttpResponse chatInfo(const Caller &caller, const HttpRequest &request) const;
    // Checks the token and the method, runs the handler, and renews the token on the reply.
    HttpResponse authorized(const HttpRequest &request,
                            const QByteArray &method,
                            const AuthorizedHandler &handler) const;

    QJsonObject record(const QString &path) const;

    RealtimeDatabase *m_database;
    ApiTokens m_tokens;
    LoginThrottle m_throttle;
};
