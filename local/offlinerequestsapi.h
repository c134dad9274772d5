#pragma once

#include "local/apilistfilter.h"
#include "local/chatapi.h"

#include <QVector>

class ServiceClock;

// The offline requests that visitors left while nobody was online, kept under
// "chat-api/accounts/ID/offline_messages": "/api/chat/client/offline_messages" lists them newest
// first with the filters of ApiListFilter, and "/api/chat/client/offline_messages/export" gives
// every request that the same filters admit as a CSV file for a spreadsheet.
class OfflineRequestsApi
{
public:
    OfflineRequestsApi(const ChatApi *api, const ServiceClock *clock);

    // The routes keep the instance alive.
    static void install(ChatApi *api, const ServiceClock *clock, HttpRouter &router);

private:
    // The admitted requests, newest first; false with the error reply when the filters are wrong.
    bool select(const ChatApi::Caller &caller,
                const HttpRequest &request,
                ApiListFilter *filter,
                QVector<QJsonObject> *selected,
                HttpResponse *refusal) const;
    HttpResponse list(const ChatApi::Caller &caller, const HttpRequest &request) const;
    HttpResponse exportCsv(const ChatApi::Caller &caller, const HttpRequest &request) const;

    const ChatApi *m_api;
    const ServiceClock *m_clock;
};
