#include "local/chatservice.h"

#include "local/httprouter.h"
#include "local/jsoncodec.h"
#include "local/serviceclock.h"

#include <QDateTime>
#include <QJsonArray>
#include <QTimer>

namespace {

const QString kChatCreated = QStringLiteral("chat\u0421reated"); // Cyrillic ES, as stored
const QJsonObject kServerTime{{".sv", "timestamp"}};

QString isoTime(qint64 msecs)
{
    return QDateTime::fromMSecsSinceEpoch(msecs, Qt::OffsetFromUTC, 3 * 3600).toString(Qt::ISODate);
}

QJsonObject lastMessageOf(const QJsonObject &message)
{
    QJsonObject last;
    for (const char *field : {"sender", "sentAt", "status", "text", "type", "target"}) {
        if (message.contains(QLatin1String(field)))
            last.insert(QLatin1String(field), message.value(QLatin1String(field)));
    }
    return last;
}

} // namespace

ChatService::ChatService(ChatApi *api, const ServiceClock *clock, QObject *parent)
    : QObject(parent)
    , m_api(api)
    , m_clock(clock)
{
    DatabasePath services;
    DatabasePath::parse(QStringLiteral("services"), &services);
    m_api->database()->addListener(this, services, -1, DatabaseQuery());
}

ChatService::~ChatService()
{
    DatabasePath services;
    DatabasePath::parse(QStringLiteral("services"), &services);
    m_api->database()->removeListener(this, services, -1);
}

void ChatService::install(HttpRouter &router)
{
    m_api->addAuthorized(router,
                         QStringLiteral("/api/chat/client/visitor/talk"),
                         false,
                         "POST",
                         [this](const ChatApi::Caller &caller, const HttpRequest &request) {
                             return talk(caller, request);
                         });
}

QString ChatService::path(const Account &account, const QString &rest) const
{
    return QStringLiteral("services/%1/accounts/%2/").arg(account.serviceId).arg(account.accountId)
           + rest;
}

QJsonValue ChatService::read(const QString &text) const
{
    DatabasePath parsed;
    return DatabasePath::parse(text, &parsed) ? m_api->database()->value(parsed) : QJsonValue();
}

void ChatService::pushMessage(const Account &account,
                              const QString &chatKey,
                              const QJsonObject &pushed)
{
    // One instant for the message and the chat's copy of it.
    QJsonObject message = pushed;
    if (message.value(QLatin1String("sentAt")).isObject())
        message.insert(QStringLiteral("sentAt"), double(m_clock->nowMs()));
    write(path(account,
               QStringLiteral("chat-messages/%1/%2").arg(chatKey, m_pushIds.next(m_clock->nowMs()))),
          message);
    const QJsonObject chat = read(path(account, QStringLiteral("chats/") + chatKey)).toObject();
    write(path(account, QStringLiteral("chats/%1/lastMessage").arg(chatKey)),
          lastMessageOf(message));
    write(path(account, QStringLiteral("chats/%1/messagesCount").arg(chatKey)),
          chat.value(QLatin1String("messagesCount")).toInt() + 1);
}

QString ChatService::openChat(const Account &account,
                              const QString &visitorKey,
                              const QString &greeting,
                              const QString &operatorKey)
{
    const QJsonObject visitor = read(path(account, QStringLiteral("visitors/") + visitorKey))
                                    .toObject();
    if (!DatabasePath::isValidKey(visitorKey) || visitor.isEmpty())
        return {};
    const qint64 widgetId = ChatApi::idOf(visitor.value(QLatin1String("chatWidgetId")));
    const QString robot = QStringLiteral("robot_%1").arg(widgetId);
    const QString accountRecord = QStringLiteral("accounts/%1/").arg(account.accountId);
    qint64 apiId = 0;
    const QJsonObject infos = m_api->record(accountRecord + QStringLiteral("chats"));
    for (auto it = infos.constBegin(); it != infos.constEnd(); ++it)
        apiId = qMax(apiId, it.key().toLongLong());
    const QJsonObject history = m_api->record(accountRecord + QStringLiteral("history"));
    for (auto it = history.constBegin(); it != history.constEnd(); ++it)
        apiId = qMax(apiId, it.key().toLongLong());
    ++apiId;

    const QString chatKey = m_pushIds.next(m_clock->nowMs());
    const QString name = visitor.value(QLatin1String("name")).toString();
    const QJsonObject user = read(path(account, QStringLiteral("users/") + visitorKey)).toObject();
    QJsonObject visitorUser = user;
    visitorUser.insert(QStringLiteral("name"), name.isEmpty() ? QStringLiteral("Посетитель") : name);
    visitorUser.insert(QStringLiteral("online"), visitor.value(QLatin1String("online")).toBool());
    visitorUser.insert(QStringLiteral("role"), QStringLiteral("visitor"));
    visitorUser.insert(QStringLiteral("photo"), visitor.value(QLatin1String("photo")));
    visitorUser.insert(QStringLiteral("hasEmail"),
                       !visitor.value(QLatin1String("email")).toString().isEmpty());
    visitorUser.insert(QStringLiteral("lastActiveAt"), kServerTime);
    write(path(account, QStringLiteral("users/") + visitorKey), visitorUser);

    const QJsonObject first = operatorKey.isEmpty() ? QJsonObject{{"sender", robot},
                                                                  {"sentAt", kServerTime},
                                                                  {"status", "delivered"},
                                                                  {"text", greeting},
                                                                  {"type", "text"},
                                                                  {"autoInvitation", true}}
                                                    : QJsonObject{{"sender", operatorKey},
                                                                  {"sentAt", kServerTime},
                                                                  {"status", "delivered"},
                                                                  {"type", "joined"}};
    write(path(account, QStringLiteral("chats/") + chatKey),
          QJsonObject{{"apiId", apiId},
                      {"createdAt", kServerTime},
                      {"lastMessage", lastMessageOf(first)},
                      {"link", visitor.value(QLatin1String("currentUrl"))},
                      {"messageTarget", "all"},
                      {"messagesCount", 0},
                      {"noAnswerRequired", false},
                      {"operators", operatorKey.isEmpty() ? QJsonArray() : QJsonArray{operatorKey}},
                      {"robot", robot},
                      {"status", "work"},
                      {"unreadCount", 0},
                      {"visitor", visitorKey},
                      {"visitorBlocked", false},
                      {"widgetId", widgetId}});
    pushMessage(account, chatKey, first);
    QJsonObject marked = visitor;
    marked.insert(kChatCreated, true);
    marked.insert(QStringLiteral("chatKey"), chatKey);
    write(path(account, QStringLiteral("visitors/") + visitorKey), marked);

    // The chat API's facts about the chat, as the conversation info panel reads them.
    const QString host = visitor.value(QLatin1String("currentUrl")).toString().section('/', 2, 2);
    m_api->writeRecord(
        accountRecord + QStringLiteral("chats/%1").arg(apiId),
        QJsonObject{{"chat_info",
                     QJsonObject{{"account_id", account.accountId},
                                 {"id", apiId},
                                 {"created_at", isoTime(m_clock->nowMs())},
                                 {"link", visitor.value(QLatin1String("currentUrl"))},
                                 {"status", "work"},
                                 {"chat_key", chatKey}}},
                    {"visit",
                     QJsonObject{{"email", visitor.value(QLatin1String("email"))},
                                 {"phone", visitor.value(QLatin1String("phone"))},
                                 {"name", name},
                                 {"visit_ip", visitor.value(QLatin1String("ip"))},
                                 {"ip_place", visitor.value(QLatin1String("location"))},
                                 {"last_host", host},
                                 {"last_url", visitor.value(QLatin1String("currentUrl"))},
                                 {"created_at", isoTime(m_clock->nowMs())},
                                 {"chat_quant", 1},
                                 {"site", host},
                                 {"blocked", 0},
                                 {"visit_quant", visitor.value(QLatin1String("hits"))},
                                 {"introduced", 0}}}});
    return chatKey;
}

bool ChatService::visitorWrites(const Account &account, const QString &chatKey, const QString &text)
{
    if (text.trimmed().isEmpty())
        return false;
    return visitorPosts(account, chatKey, {{"text", text}, {"type", "text"}});
}

bool ChatService::visitorPosts(const Account &account,
                               const QString &chatKey,
                               const QJsonObject &posted)
{
    const QJsonObject chat = read(path(account, QStringLiteral("chats/") + chatKey)).toObject();
    const QString visitor = chat.value(QLatin1String("visitor")).toString();
    if (!DatabasePath::isValidKey(chatKey) || visitor.isEmpty())
        return false;
    visitorTypes(account, chatKey, QString());
    QJsonObject message = posted;
    message.insert(QStringLiteral("sender"), visitor);
    message.insert(QStringLiteral("sentAt"), kServerTime);
    message.insert(QStringLiteral("status"), QStringLiteral("sent"));
    pushMessage(account, chatKey, message);
    write(path(account, QStringLiteral("chats/%1/unreadCount").arg(chatKey)),
          chat.value(QLatin1String("unreadCount")).toInt() + 1);
    write(path(account, QStringLiteral("users/%1/lastActiveAt").arg(visitor)), kServerTime);
    return true;
}

void ChatService::visitorTypes(const Account &account, const QString &chatKey, const QString &text)
{
    const QString visitor = read(path(account, QStringLiteral("chats/%1/visitor").arg(chatKey)))
                                .toString();
    if (!DatabasePath::isValidKey(chatKey) || visitor.isEmpty())
        return;
    const bool typing = !text.isEmpty();
    write(path(account, QStringLiteral("chats/%1/userText/%2").arg(chatKey, visitor)),
          typing ? QJsonValue(text) : QJsonValue());
    write(path(account, QStringLiteral("chats/%1/userActivity/%2").arg(chatKey, visitor)),
          typing ? QJsonValue("text") : QJsonValue());
}

bool ChatService::introduce(const Account &account,
                            const QString &chatKey,
                            const QString &name,
                            const QString &email,
                            const QString &phone)
{
    const QJsonObject chat = read(path(account, QStringLiteral("chats/") + chatKey)).toObject();
    if (!DatabasePath::isValidKey(chatKey) || chat.isEmpty())
        return false;
    pushMessage(account,
                chatKey,
                {{"sender", chat.value(QLatin1String("visitor"))},
                 {"sentAt", kServerTime},
                 {"status", "sent"},
                 {"type", "system"},
                 {"subType", "introduction"},
                 {"attributes", QJsonObject{{"name", name}, {"email", email}, {"phone", phone}}}});
    const qint64 apiId = ChatApi::idOf(chat.value(QLatin1String("apiId")));
    const QString visit
        = QStringLiteral("accounts/%1/chats/%2/visit/").arg(account.accountId).arg(apiId);
    if (!m_api->record(QStringLiteral("accounts/%1/chats/%2").arg(account.accountId).arg(apiId))
             .isEmpty()) {
        m_api->writeRecord(visit + QStringLiteral("introduced"), 1);
        m_api->writeRecord(visit + QStringLiteral("name"), name);
        m_api->writeRecord(visit + QStringLiteral("email"), email);
        m_api->writeRecord(visit + QStringLiteral("phone"), phone);
    }
    return true;
}

void ChatService::visitorReads(const Account &account, const QString &chatKey)
{
    const QJsonObject chat = read(path(account, QStringLiteral("chats/") + chatKey)).toObject();
    const QString visitor = chat.value(QLatin1String("visitor")).toString();
    if (!DatabasePath::isValidKey(chatKey) || visitor.isEmpty())
        return;
    const QJsonObject messages = read(path(account, QStringLiteral("chat-messages/") + chatKey))
                                     .toObject();
    for (auto it = messages.constBegin(); it != messages.constEnd(); ++it) {
        const QJsonObject message = it.value().toObject();
        if (message.value(QLatin1String("sender")).toString() != visitor
            && message.value(QLatin1String("status")).toString() != QLatin1String("read"))
            write(path(account, QStringLiteral("chat-messages/%1/%2/status").arg(chatKey, it.key())),
                  QStringLiteral("read"));
    }
    if (chat.value(QLatin1String("lastMessage")).toObject().value(QLatin1String("sender")).toString()
        != visitor)
        write(path(account, QStringLiteral("chats/%1/lastMessage/status").arg(chatKey)),
              QStringLiteral("read"));
}

void ChatService::visitorLeaves(const Account &account, const QString &visitorKey)
{
    if (!DatabasePath::isValidKey(visitorKey))
        return;
    // A chat nobody answered becomes a missed one by this alone.
    if (read(path(account, QStringLiteral("users/") + visitorKey)).isObject()) {
        write(path(account, QStringLiteral("users/%1/online").arg(visitorKey)), false);
        write(path(account, QStringLiteral("users/%1/lastActiveAt").arg(visitorKey)), kServerTime);
    }
    if (read(path(account, QStringLiteral("visitors/") + visitorKey)).isObject())
        write(path(account, QStringLiteral("visitors/%1/online").arg(visitorKey)), false);
}

void ChatService::databaseEvent(const DatabaseEvent &event)
{
    // services/S/accounts/A/(chats|chat-messages)/KEY[/...]; the work waits until the write that
    // told us has finished.
    const QStringList &keys = event.path.keys();
    if (keys.size() < 6 || keys.at(2) != QLatin1String("accounts"))
        return;
    const Account account{keys.at(1).toLongLong(), keys.at(3).toLongLong()};
    const QString kind = keys.at(4);
    const QString chatKey = keys.at(5);
    if (kind == QLatin1String("chat-messages") && keys.size() == 7
        && event.kind == DatabaseEvent::Kind::Put) {
        const QJsonObject message = event.data.toObject();
        if (message.value(QLatin1String("status")).toString() != QLatin1String("sent"))
            return;
        const QString messageKey = keys.at(6);
        QTimer::singleShot(m_deliveryDelayMs, this, [this, account, chatKey, messageKey] {
            deliver(account, chatKey, messageKey);
        });
        return;
    }
    if (kind != QLatin1String("chats"))
        return;
    bool ended = false;
    if (keys.size() == 7 && keys.at(6) == QLatin1String("status"))
        ended = event.data.toString() == QLatin1String("ended");
    else if (keys.size() == 6)
        ended = event.data.toObject().value(QLatin1String("status")).toString()
                == QLatin1String("ended");
    if (ended)
        QTimer::singleShot(m_archiveDelayMs, this, [this, account, chatKey] {
            archive(account, chatKey);
        });
}

void ChatService::deliver(const Account &account, const QString &chatKey, const QString &messageKey)
{
    const QString messagePath = path(account,
                                     QStringLiteral("chat-messages/%1/%2").arg(chatKey, messageKey));
    const QJsonObject message = read(messagePath).toObject();
    const QJsonObject chat = read(path(account, QStringLiteral("chats/") + chatKey)).toObject();
    const QString visitor = chat.value(QLatin1String("visitor")).toString();
    // Only what operators send reaches a visitor's page, and only while it is open.
    if (message.value(QLatin1String("status")).toString() != QLatin1String("sent")
        || message.value(QLatin1String("sender")).toString() == visitor
        || !read(path(account, QStringLiteral("users/%1/online").arg(visitor))).toBool())
        return;
    write(messagePath + QStringLiteral("/status"), QStringLiteral("delivered"));
    const QJsonObject last = chat.value(QLatin1String("lastMessage")).toObject();
    if (last.value(QLatin1String("sender")) == message.value(QLatin1String("sender"))
        && last.value(QLatin1String("sentAt")) == message.value(QLatin1String("sentAt")))
        write(path(account, QStringLiteral("chats/%1/lastMessage/status").arg(chatKey)),
              QStringLiteral("delivered"));
}

void ChatService::archive(const Account &account, const QString &chatKey)
{
    const QString chatPath = path(account, QStringLiteral("chats/") + chatKey);
    QJsonObject chat = read(chatPath).toObject();
    if (chat.value(QLatin1String("status")).toString() != QLatin1String("ended"))
        return;
    const QJsonObject keyed = read(path(account, QStringLiteral("chat-messages/") + chatKey))
                                  .toObject();
    QJsonArray messages; // pushed keys sort in time order
    for (auto it = keyed.constBegin(); it != keyed.constEnd(); ++it)
        messages.append(it.value());
    // The chat's API id is what an operator's token could have written: it never replaces a
    // chat the history already holds.
    const qint64 apiId = ChatApi::idOf(chat.value(QLatin1String("apiId")));
    const QString historyPath
        = QStringLiteral("accounts/%1/history/%2").arg(account.accountId).arg(apiId);
    const QString account_ = QStringLiteral("accounts/%1/").arg(account.accountId);
    const QJsonObject info = m_api->record(account_ + QStringLiteral("chats/%1").arg(apiId));
    const QString infoKey = info.value(QLatin1String("chat_info"))
                                .toObject()
                                .value(QLatin1String("chat_key"))
                                .toString();
    if (apiId < 0 || !m_api->record(historyPath).isEmpty()
        || (!info.isEmpty() && infoKey != chatKey))
        return;
    m_api->writeRecord(account_ + QStringLiteral("history/%1").arg(apiId),
                       QJsonObject{{"chat", chat}, {"chat_messages", messages}});
    if (!info.isEmpty())
        m_api->writeRecord(account_ + QStringLiteral("chats/%1/chat_info/status").arg(apiId),
                           QStringLiteral("ended"));
    write(chatPath, QJsonValue());
    write(path(account, QStringLiteral("chat-messages/") + chatKey), QJsonValue());
    const QString visitor = chat.value(QLatin1String("visitor")).toString();
    const QString visitorPath = path(account, QStringLiteral("visitors/") + visitor);
    if (DatabasePath::isValidKey(visitor) && read(visitorPath).isObject()) {
        write(visitorPath + QLatin1Char('/') + kChatCreated, false);
        write(visitorPath + QStringLiteral("/chatKey"), QString());
    }
}

HttpResponse ChatService::talk(const ChatApi::Caller &caller, const HttpRequest &request)
{
    QJsonValue parsed;
    if (!JsonCodec::decode(request.body, &parsed) || !parsed.isObject())
        return ChatApi::envelope(200, 400, QStringLiteral("Некорректный запрос"));
    const QString visitorKey = parsed.toObject().value(QLatin1String("visitor")).toString();
    const Account account{caller.holder.serviceId, caller.holder.accountId};
    const QJsonObject visitor = DatabasePath::isValidKey(visitorKey)
                                    ? read(path(account, QStringLiteral("visitors/") + visitorKey))
                                          .toObject()
                                    : QJsonObject();
    if (visitor.isEmpty())
        return ChatApi::envelope(200, 404, QStringLiteral("Посетитель не найден"));
    if (!visitor.value(QLatin1String("online")).toBool())
        return ChatApi::envelope(200, 422, QStringLiteral("Посетитель уже ушёл с сайта"));
    // A chat in work already is the one to continue.
    const QString existing = visitor.value(QLatin1String("chatKey")).toString();
    if (visitor.value(kChatCreated).toBool() && DatabasePath::isValidKey(existing)
        && read(path(account, QStringLiteral("chats/%1/status").arg(existing))).toString()
               == QLatin1String("work"))
        return HttpResponse::json(200, QJsonObject{{"status", "ok"}, {"chat_key", existing}});
    const QString chatKey = openChat(account, visitorKey, QString(), caller.holder.userKey);
    return HttpResponse::json(200, QJsonObject{{"status", "ok"}, {"chat_key", chatKey}});
}
