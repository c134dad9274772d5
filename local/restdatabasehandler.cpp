#include "local/restdatabasehandler.h"

#include "local/databasequery.h"
#include "local/jsoncodec.h"
#include "local/pushidgenerator.h"
#include "local/realtimedatabase.h"
#include "local/tokenissuer.h"

#include <QDateTime>
#include <QJsonObject>

namespace {

HttpResponse error(int status, const QString &message)
{
    return HttpResponse::json(status, QJsonObject{{"error", message}});
}

HttpResponse permissionDenied()
{
    return error(401, QStringLiteral("Permission denied"));
}

} // namespace

RestDatabaseHandler::RestDatabaseHandler(RealtimeDatabase *database,
                                         const TokenIssuer *tokens,
                                         PushIdGenerator *pushIds,
                                         const QString &databaseNamespace,
                                         bool emulatorCredentials)
    : m_database(database)
    , m_tokens(tokens)
    , m_pushIds(pushIds)
    , m_namespace(databaseNamespace)
    , m_emulatorCredentials(emulatorCredentials)
{}

QByteArray RestDatabaseHandler::tokenOf(const HttpRequest &request)
{
    QByteArray token = request.queryItem(QStringLiteral("auth")).toUtf8();
    if (token.isEmpty())
        token = request.queryItem(QStringLiteral("access_token")).toUtf8();
    if (token.isEmpty()) {
        const QByteArray authorization = request.header("authorization");
        if (authorization.startsWith("Bearer ") || authorization.startsWith("bearer "))
            token = authorization.mid(7).trimmed();
    }
    return token;
}

bool RestDatabaseHandler::hasValidToken(const HttpRequest &request) const
{
    const QByteArray token = tokenOf(request);
    return !token.isEmpty()
           && m_tokens->verifyIdToken(token, m_emulatorCredentials).verdict
                  == TokenIssuer::Verdict::Valid;
}

bool RestDatabaseHandler::authenticate(const HttpRequest &request,
                                       AuthIdentity *identity,
                                       HttpResponse *refusal) const
{
    const QByteArray token = tokenOf(request);
    if (token.isEmpty()) {
        *identity = AuthIdentity::anonymous();
        return true;
    }
    const TokenIssuer::Check check = m_tokens->verifyIdToken(token, m_emulatorCredentials);
    switch (check.verdict) {
    case TokenIssuer::Verdict::Valid:
        *identity = check.identity;
        return true;
    case TokenIssuer::Verdict::Expired:
        *refusal = error(401, QStringLiteral("Auth token is expired"));
        return false;
    case TokenIssuer::Verdict::Invalid:
        break;
    }
    *refusal = error(401, QStringLiteral("Could not parse auth token."));
    return false;
}

HttpResponse RestDatabaseHandler::handle(const HttpRequest &request)
{
    HttpResponse response = [&] {
        if (request.method == "OPTIONS") {
            HttpResponse preflight(200);
            preflight.setHeader("Access-Control-Allow-Methods",
                                "GET, PUT, POST, PATCH, DELETE, OPTIONS");
            preflight.setHeader("Access-Control-Allow-Headers",
                                "Authorization, Content-Type, If-Match, X-Firebase-ETag, "
                                "X-HTTP-Method-Override");
            preflight.setHeader("Access-Control-Max-Age", "3600");
            return preflight;
        }
        const QString ns = request.queryItem(QStringLiteral("ns"));
        if (!ns.isEmpty() && ns != m_namespace)
            return error(404, QStringLiteral("Database %1 not found").arg(ns));

        QString pathText = request.path;
        pathText.chop(5); // ".json"
        DatabasePath path;
        QString pathError;
        if (!DatabasePath::parse(pathText, &path, &pathError))
            return error(400, pathError);

        AuthIdentity auth;
        HttpResponse refusal;
        if (!authenticate(request, &auth, &refusal))
            return refusal;

        QByteArray method = request.method;
        const QByteArray override = request.header("x-http-method-override").toUpper();
        if (method == "POST" && !override.isEmpty())
            method = override;
        if (method == "GET" || method == "HEAD")
            return read(request, path, auth);
        if (method == "PUT" || method == "PATCH" || method == "POST" || method == "DELETE")
            return write(request, method, path, auth);
        HttpResponse notAllowed = error(405, QStringLiteral("Method not allowed"));
        notAllowed.setHeader("Allow", "GET, PUT, POST, PATCH, DELETE, OPTIONS");
        return notAllowed;
    }();
    // With --plain no credential is a secret, so only pages of this machine may read answers;
    // the service refuses other origins before they get here.
    if (!m_emulatorCredentials) {
        response.setHeader("Access-Control-Allow-Origin", "*");
    } else if (request.hasHeader("origin")) {
        response.setHeader("Access-Control-Allow-Origin", request.header("origin"));
        response.setHeader("Vary", "Origin");
    }
    response.setHeader("Cache-Control", "no-cache");
    return response;
}

QByteArray RestDatabaseHandler::etag(const DatabasePath &path) const
{
    const QString hash = m_database->hash(path);
    return hash.isEmpty() ? QByteArray("null_etag") : hash.toLatin1();
}

HttpResponse RestDatabaseHandler::read(const HttpRequest &request,
                                       const DatabasePath &path,
                                       const AuthIdentity &auth)
{
    if (!auth.canAccess(path))
        return permissionDenied();
    DatabaseQuery query;
    QString queryError;
    if (!DatabaseQuery::fromRest(request.query, &query, &queryError))
        return error(400, queryError);
    const bool shallow = request.queryItem(QStringLiteral("shallow")) == QLatin1String("true");
    if (shallow && !query.isDefault())
        return error(400,
                     QStringLiteral("Mixing 'shallow' and querying parameters is not supported"));

    const QString print = request.queryItem(QStringLiteral("print"));
    HttpResponse response(204);
    if (print == QLatin1String("pretty"))
        response = HttpResponse::json(200,
                                      shallow ? m_database->shallowValue(path)
                                              : m_database->value(path, query),
                                      true);
    else if (print != QLatin1String("silent"))
        response = HttpResponse::jsonText(200,
                                          shallow
                                              ? JsonCodec::encode(m_database->shallowValue(path))
                                              : m_database->encodedValue(path, query));
    if (request.header("x-firebase-etag") == "true")
        response.setHeader("ETag", etag(path));
    return response;
}

HttpResponse RestDatabaseHandler::write(const HttpRequest &request,
                                        const QByteArray &method,
                                        const DatabasePath &path,
                                        const AuthIdentity &auth)
{
    // Nobody without a token may write anywhere: refused before the body is even parsed.
    if (!auth.isAuthenticated())
        return permissionDenied();
    const qint64 now = m_tokens->clock()->nowMs();
    const bool silent = request.queryItem(QStringLiteral("print")) == QLatin1String("silent");
    const bool pretty = request.queryItem(QStringLiteral("print")) == QLatin1String("pretty");

    QJsonValue body;
    if (method != "DELETE" && !JsonCodec::decode(request.body, &body))
        return error(400,
                     QStringLiteral("Invalid data; couldn't parse JSON object, array, or value."));

    if (method == "PATCH") {
        if (!body.isObject())
            return error(400,
                         QStringLiteral("Invalid data; couldn't parse JSON object. Are you sending "
                                        "a JSON object with valid key names?"));
        if (!auth.canAccessUpdate(path, body.toObject()))
            return permissionDenied();
        QVector<RealtimeDatabase::MergeChild> children;
        QString invalid;
        if (!m_database->prepareMerge(path, body.toObject(), now, &children, &invalid))
            return error(400, invalid);
        for (const auto &child : qAsConst(children)) {
            if (!auth.canAccess(path.child(child.relative)))
                return permissionDenied();
        }
        // An empty update changes nothing, wherever it points.
        if (!m_database->merge(path, children, &invalid))
            return error(413, invalid);
        QJsonObject echo;
        for (const auto &child : qAsConst(children))
            echo.insert(child.relative.toWireString(),
                        m_database->value(path.child(child.relative)));
        return silent ? HttpResponse(204) : HttpResponse::json(200, echo, pretty);
    }

    DatabasePath target = path;
    QString pushName;
    if (method == "POST") {
        pushName = m_pushIds->next(now);
        target = path.child(pushName);
    }
    if (!auth.canAccess(target))
        return permissionDenied();
    const QByteArray ifMatch = request.header("if-match");
    if (!ifMatch.isEmpty() && ifMatch != etag(target)) {
        HttpResponse mismatch = error(412, QStringLiteral("ETag mismatch."));
        mismatch.setHeader("ETag", etag(target));
        return mismatch;
    }
    QJsonValue prepared;
    QString invalid;
    if (!m_database->prepareValue(target, body, now, &prepared, &invalid))
        return error(400, invalid);
    if (!m_database->set(target, prepared, &invalid))
        return error(413, invalid);
    if (silent)
        return HttpResponse(204);
    HttpResponse response;
    if (method == "POST")
        response = HttpResponse::json(200, QJsonObject{{"name", pushName}}, pretty);
    else
        response = HttpResponse::json(200, m_database->value(target), pretty);
    if (request.header("x-firebase-etag") == "true")
        response.setHeader("ETag", etag(target));
    return response;
}
