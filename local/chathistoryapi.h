#pragma once

#include "local/chatapi.h"

#include <QJsonArray>

class ServiceClock;

// The dialog history of the chat API: "/api/chat/client/history" searches the account's chats
// (ended ones kept under "chat-api/accounts/ID/history", and those still in work) with the
// filters of ApiListFilter plus "filter[user_id]" (an operator's API id) and "filter[status]"
// ("completed", "lost" or "work"), newest first; "/api/chat/client/history/info/API_ID" gives
// one of them with its messages, people and visit, and "/api/chat/client/history/API_ID" an
// ended chat's messages and people.
class ChatHistoryApi
{
public:
    ChatHistoryApi(ChatApi *api, const ServiceClock *clock);

    // The routes keep the instance alive.
    static void install(ChatApi *api, const ServiceClock *clock, HttpRouter &router);

private:
    struct Found
    {
        QJsonObject chat;
        QJsonArray messages;
        bool ended = false;
    };

    HttpResponse search(const ChatApi::Caller &caller, const HttpRequest &request) const;
    HttpResponse chat(const ChatApi::Caller &caller,
                      const HttpRequest &request,
                      const QString &prefix,
                      bool info) const;
    // A value of the caller's account in the realtime database ("users", "chats", ...).
    QJsonValue realtime(const ChatApi::Caller &caller, const QString &path) const;
    bool find(const ChatApi::Caller &caller, const QString &apiId, Found *found) const;
    QJsonArray widgets(const ChatApi::Caller &caller) const;

    ChatApi *m_api;
    const ServiceClock *m_clock;
};
