#pragma once

#include "local/apitokens.h"
#include "local/httprequest.h"
#include "local/httpresponse.h"
#include "local/loginthrottle.h"

#include <QJsonObject>

#include <functional>
#include <memory>

class ChatOperations;
class ChatService;
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
    // Who a request comes from, once its token has been checked.
    struct Caller
    {
        ApiTokens::Holder holder;
        // The small part of chat-api/accounts/ID: service_id, user_keys and settings. Chats,
        // history and the like are read where needed, so a request costs what it uses.
        QJsonObject account;
        QJsonObject user; // chat-api/users/API_ID
    };
    using AuthorizedHandler = std::function<HttpResponse(const Caller &, const HttpRequest &)>;

    ChatApi(RealtimeDatabase *database, const TokenIssuer *issuer);
    ~ChatApi();

    void install(HttpRouter &router);
    // Serves path (or everything under it, for a prefix) to callers with a valid token, with that
    // method only (any, when empty: the handler tells them apart); the token is renewed on the
    // reply when its time runs short.
    void addAuthorized(HttpRouter &router,
                       const QString &path,
                       bool prefix,
                       const QByteArray &method,
                       AuthorizedHandler handler);

    ApiTokens &tokens() { return m_tokens; }
    LoginThrottle &throttle() { return m_throttle; }
    RealtimeDatabase *database() const { return m_database; }
    // The service's own writes into chats: visitors' side, delivery, the move to history.
    ChatService *chatService() const { return m_service.get(); }
    // Where outboxes and uploaded files are kept.
    void setDataDirectory(const QString &path) { m_dataDirectory = path; }
    QString dataDirectory() const { return m_dataDirectory; }

    // A record under "chat-api/"; empty when there is none.
    QJsonObject record(const QString &path) const;
    // A record under the caller's "chat-api/accounts/ID/".
    QJsonObject accountRecord(const Caller &caller, const QString &path) const
    {
        return record(QStringLiteral("accounts/%1/").arg(caller.holder.accountId) + path);
    }
    // Writes a value (null deletes) at a database path, server values resolved and listeners
    // told, as the hosted service's own writes are; false when the database refuses it.
    bool write(const QString &path, const QJsonValue &value) const;
    // The same under "chat-api/".
    bool writeRecord(const QString &path, const QJsonValue &value) const
    {
        return write(QStringLiteral("chat-api/") + path, value);
    }

    // The service's ids arrive as numbers or as strings of digits; -1 for anything else.
    static qint64 idOf(const QJsonValue &value);

    static HttpResponse envelope(int httpStatus,
                                 int statusCode,
                                 const QString &message,
                                 const QJsonObject &errors = QJsonObject());

private:
    HttpResponse login(const HttpRequest &request);
    HttpResponse me(const Caller &caller) const;
    HttpResponse chatInfo(const Caller &caller, const HttpRequest &request) const;
    HttpResponse authorized(const HttpRequest &request,
                            const QByteArray &method,
                            const AuthorizedHandler &handler) const;

    RealtimeDatabase *m_database;
    const TokenIssuer *m_issuer;
    ApiTokens m_tokens;
    LoginThrottle m_throttle;
    QString m_dataDirectory;
    std::unique_ptr<ChatOperations> m_operations;
    std::unique_ptr<ChatService> m_service;
};
