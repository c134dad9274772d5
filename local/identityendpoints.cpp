#include "local/identityendpoints.h"

#include "local/faultinjector.h"
#include "local/httprouter.h"
#include "local/jsoncodec.h"
#include "local/tokenissuer.h"

#include <QJsonArray>
#include <QJsonObject>

namespace {

HttpResponse googleError(int code, const QString &message, const QString &status)
{
    const QJsonObject detail{{"message", message}, {"domain", "global"}, {"reason", "invalid"}};
    return HttpResponse::json(code,
                              QJsonObject{{"error",
                                           QJsonObject{{"code", code},
                                                       {"message", message},
                                                       {"status", status},
                                                       {"errors", QJsonArray{detail}}}}});
}

HttpResponse invalid(const QString &message)
{
    return googleError(400, message, QStringLiteral("INVALID_ARGUMENT"));
}

QString joinPath(const QString &base, const QString &path)
{
    QString prefix = base;
    while (prefix.endsWith(QLatin1Char('/')))
        prefix.chop(1);
    if (!prefix.isEmpty() && !prefix.startsWith(QLatin1Char('/')))
        prefix.prepend(QLatin1Char('/'));
    return prefix + path;
}

} // namespace

IdentityEndpoints::IdentityEndpoints(const TokenIssuer *tokens, const FaultInjector *faults)
    : m_tokens(tokens)
    , m_faults(faults)
{}

void IdentityEndpoints::install(HttpRouter &router,
                                const QString &identityBasePath,
                                const QString &tokenBasePath)
{
    const auto exchange = [this](const HttpRequest &request) {
        return exchangeCustomToken(request);
    };
    router.addExact(joinPath(identityBasePath,
                             QStringLiteral("/identitytoolkit/v3/relyingparty/verifyCustomToken")),
                    exchange);
    router.addExact(joinPath(identityBasePath, QStringLiteral("/v1/accounts:signInWithCustomToken")),
                    exchange);
    router.addExact(joinPath(tokenBasePath, QStringLiteral("/v1/token")),
                    [this](const HttpRequest &request) { return refreshToken(request); });
}

bool IdentityEndpoints::checkRequest(const HttpRequest &request, HttpResponse *refusal) const
{
    if (request.method != "POST") {
        *refusal = googleError(405,
                               QStringLiteral("Method not allowed"),
                               QStringLiteral("INVALID_ARGUMENT"));
        return false;
    }
    const QString key = request.queryItem(QStringLiteral("key"));
    if (key.isEmpty()) {
        *refusal = googleError(403,
                               QStringLiteral("Method doesn't allow unregistered callers (callers "
                                              "without established identity). Please use API Key "
                                              "or other form of API consumer identity to call "
                                              "this API."),
                               QStringLiteral("PERMISSION_DENIED"));
        return false;
    }
    if (!m_apiKey.isEmpty() && key != m_apiKey) {
        *refusal = invalid(QStringLiteral("API key not valid. Please pass a valid API key."));
        return false;
    }
    return true;
}

HttpResponse IdentityEndpoints::exchangeCustomToken(const HttpRequest &request) const
{
    HttpResponse refusal;
    if (!checkRequest(request, &refusal))
        return refusal;
    QJsonValue body;
    if (!JsonCodec::decode(request.body, &body) || !body.isObject())
        return invalid(QStringLiteral("Invalid JSON payload received."));
    const QString token = body.toObject().value(QLatin1String("token")).toString();
    if (token.isEmpty())
        return invalid(QStringLiteral("MISSING_CUSTOM_TOKEN"));
    const TokenIssuer::Check check = m_tokens->verifyCustomToken(token.toUtf8());
    if (check.verdict == TokenIssuer::Verdict::Expired)
        return invalid(QStringLiteral("TOKEN_EXPIRED"));
    if (check.verdict != TokenIssuer::Verdict::Valid)
        return invalid(QStringLiteral("INVALID_CUSTOM_TOKEN"));

    const TokenIssuer::Grant grant = m_tokens->signIn(check.identity);
    return HttpResponse::json(200,
                              QJsonObject{
                                  {"kind", "identitytoolkit#VerifyCustomTokenResponse"},
                                  {"idToken", QString::fromLatin1(grant.idToken)},
                                  {"refreshToken", QString::fromLatin1(grant.refreshToken)},
                                  {"expiresIn", QString::number(grant.expiresIn)},
                                  {"isNewUser", false},
                              });
}

HttpResponse IdentityEndpoints::refreshToken(const HttpRequest &request) const
{
    HttpResponse refusal;
    if (!checkRequest(request, &refusal))
        return refusal;
    QString grantType;
    QString refreshToken;
    if (request.header("content-type").startsWith("application/json")) {
        QJsonValue body;
        JsonCodec::decode(request.body, &body);
        grantType = body.toObject().value(QLatin1String("grant_type")).toString();
        refreshToken = body.toObject().value(QLatin1String("refresh_token")).toString();
    } else {
        const QUrlQuery form = parseFormBody(request.body);
        grantType = form.queryItemValue(QStringLiteral("grant_type"), QUrl::FullyDecoded);
        refreshToken = form.queryItemValue(QStringLiteral("refresh_token"), QUrl::FullyDecoded);
    }
    if (grantType != QLatin1String("refresh_token"))
        return invalid(QStringLiteral("INVALID_GRANT_TYPE"));
    if (refreshToken.isEmpty())
        return invalid(QStringLiteral("MISSING_REFRESH_TOKEN"));
    TokenIssuer::Grant grant;
    if (!m_tokens->refresh(refreshToken.toUtf8(), &grant))
        return invalid(QStringLiteral("INVALID_REFRESH_TOKEN"));
    // A refused refresh looks like a revoked sign-in: the caller has to sign in again.
    if (m_faults && m_faults->refusesTokenRefresh())
        return invalid(QStringLiteral("TOKEN_EXPIRED"));

    const QString idToken = QString::fromLatin1(grant.idToken);
    return HttpResponse::json(200,
                              QJsonObject{
                                  {"access_token", idToken},
                                  {"expires_in", QString::number(grant.expiresIn)},
                                  {"token_type", "Bearer"},
                                  {"refresh_token", QString::fromLatin1(grant.refreshToken)},
                                  {"id_token", idToken},
                                  {"user_id", grant.uid},
                                  {"project_id", m_tokens->projectId()},
                              });
}
