#pragma once

#include "local/chatapi.h"

// What operators do through the chat API besides reading: block and unblock a visitor and their
// address, send a chat's contact to the CRM or a message to an offline visitor's e-mail, note the
// first operator of a chat, create payment links, and keep the quick answers, which the service
// writes into the account's realtime "quick-answers" for every console to see.
//
// Mail and CRM hand-overs are kept as JSON lines in "outbox/crm.jsonl" and "outbox/email.jsonl"
// in the data directory, since nothing leaves this machine.
class ChatOperations
{
public:
    explicit ChatOperations(ChatApi *api);

    void install(HttpRouter &router);

    // An outbox file stops growing here; later hand-overs are refused.
    static constexpr qint64 maxOutboxBytes = 16 * 1024 * 1024;

private:
    using Caller = ChatApi::Caller;

    HttpResponse visitorBlock(const Caller &caller, const HttpRequest &request);
    HttpResponse handOver(const Caller &caller, const HttpRequest &request);
    HttpResponse firstOperator(const Caller &caller, const HttpRequest &request);
    HttpResponse createPayLink(const Caller &caller, const HttpRequest &request);
    HttpResponse createAnswer(const Caller &caller, const HttpRequest &request);
    HttpResponse changeAnswer(const Caller &caller, const HttpRequest &request);
    HttpResponse paymentPage(const HttpRequest &request) const;

    // The request's JSON object; false (with the envelope in *refusal) when it is none.
    static bool body(const HttpRequest &request, QJsonObject *object, HttpResponse *refusal);
    // The body and its answer text ("message"), refused when empty or too long.
    static bool answerText(const HttpRequest &request,
                           QJsonObject *object,
                           QString *text,
                           HttpResponse *refusal);
    QString accountPath(const Caller &caller) const;
    QString realtimePath(const Caller &caller, const QString &rest) const;
    bool appendToOutbox(const QString &name, const QJsonObject &entry) const;

    ChatApi *m_api;
};
