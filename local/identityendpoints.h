#pragma once

#include "local/httprequest.h"
#include "local/httpresponse.h"

class FaultInjector;
class HttpRouter;
class TokenIssuer;

// The sign-in endpoints: a custom token exchanged for an ID token and a refresh token, and the
// refresh token traded for a fresh ID token. Both want the Web API key as "key=".
class IdentityEndpoints
{
public:
    IdentityEndpoints(const TokenIssuer *tokens, const FaultInjector *faults);

    // Empty: any key is taken, but one must be given.
    void setApiKey(const QString &key) { m_apiKey = key; }
    // basePath: the path part of the configured base URL, "" for the listener's root.
    void install(HttpRouter &router, const QString &identityBasePath, const QString &tokenBasePath);

    HttpResponse exchangeCustomToken(const HttpRequest &request) const;
    HttpResponse refreshToken(const HttpRequest &request) const;

private:
    // False with the answer when the key is missing or not the configured one.
    bool checkRequest(const HttpRequest &request, HttpResponse *refusal) const;

    const TokenIssuer *m_tokens;
    const FaultInjector *m_faults;
    QString m_apiKey;
};
