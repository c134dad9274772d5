#include "local/chathistoryapi.h"

#include "local/apilistfilter.h"
#include "local/databasepath.h"
#include "local/httprouter.h"
#include "local/realtimedatabase.h"
#include "local/serviceclock.h"

#include <QSet>

#include <algorithm>
#include <memory>

namespace {

const QString kSearch = QStringLiteral("/api/chat/client/history");
const QString kInfo = QStringLiteral("/api/chat/client/history/info/");
const QString kMessages = QStringLiteral("/api/chat/client/history/");

// The history's three kinds; an ended chat that nobody answered is "lost".
QString kindOf(const QJsonObject &chat, bool ended)
{
    if (!ended)
        return QStringLiteral("work");
    return chat.value(QLatin1String("status")).toString() == QLatin1String("lost")
               ? QStringLiteral("lost")
               : QStringLiteral("completed");
}

// Everyone a chat names, so that its page can show them.
void addPeople(const QJsonObject &chat, QSet<QString> *keys)
{
    keys->insert(chat.value(QLatin1String("visitor")).toString());
    keys->insert(chat.value(QLatin1String("robot")).toString());
    for (const QJsonValue &op : chat.value(QLatin1String("operators")).toArray())
        keys->insert(op.toString());
}

HttpResponse notFound()
{
    return ChatApi::envelope(404, 404, QStringLiteral("Чат не найден"));
}

} // namespace

ChatHistoryApi::ChatHistoryApi(ChatApi *api, const ServiceClock *clock)
    : m_api(api)
    , m_clock(clock)
{}

void ChatHistoryApi::install(ChatApi *api, const ServiceClock *clock, HttpRouter &router)
{
    const auto self = std::make_shared<ChatHistoryApi>(api, clock);
    api->addAuthorized(router,
                       kSearch,
                       false,
                       "GET",
                       [self](const ChatApi::Caller &caller, const HttpRequest &request) {
                           return self->search(caller, request);
                       });
    api->addAuthorized(router,
                       kInfo,
                       true,
                       "GET",
                       [self](const ChatApi::Caller &caller, const HttpRequest &request) {
                           return self->chat(caller, request, kInfo, true);
                       });
    api->addAuthorized(router,
                       kMessages,
                       true,
                       "GET",
                       [self](const ChatApi::Caller &caller, const HttpRequest &request) {
                           return self->chat(caller, request, kMessages, false);
                       });
}

QJsonValue ChatHistoryApi::realtime(const ChatApi::Caller &caller, const QString &path) const
{
    DatabasePath parsed;
    if (!DatabasePath::parse(QStringLiteral("services/%1/accounts/%2/%3")
                                 .arg(caller.holder.serviceId)
                                 .arg(caller.holder.accountId)
                                 .arg(path),
                             &parsed))
        return {};
    return m_api->database()->value(parsed);
}

HttpResponse ChatHistoryApi::search(const ChatApi::Caller &caller, const HttpRequest &request) const
{
    ApiListFilter filter;
    QJsonObject errors;
    filter.parse(request, m_clock->nowMs(), &errors);
    const QString status = filter.item(QStringLiteral("filter[status]"));
    if (!status.isEmpty() && status != QLatin1String("all") && status != QLatin1String("completed")
        && status != QLatin1String("lost") && status != QLatin1String("work"))
        errors.insert(QStringLiteral("filter[status]"),
                      QJsonArray{QStringLiteral("Неизвестный статус")});
    if (!errors.isEmpty())
        return ChatApi::envelope(422, 422, QStringLiteral("Проверьте фильтры"), errors);

    const QJsonObject users = realtime(caller, QStringLiteral("users")).toObject();
    QString operatorKey;
    const QString operatorId = filter.item(QStringLiteral("filter[user_id]"));
    if (!operatorId.isEmpty()) {
        for (auto it = users.constBegin(); it != users.constEnd(); ++it) {
            if (QString::number(ApiListFilter::idOf(it.value().toObject().value("apiId")))
                == operatorId)
                operatorKey = it.key();
        }
    }

    // Ended chats first, so that one that has ended but not yet left the live list counts once.
    struct Entry
    {
        qint64 createdAt;
        QJsonObject chat;
        QString kind;
    };
    QVector<Entry> entries;
    QSet<qint64> seen;
    QJsonObject stat{{"all", 0}, {"completed", 0}, {"lost", 0}, {"work", 0}};
    const auto consider = [&](const QJsonObject &chat, bool ended) {
        const qint64 apiId = ApiListFilter::idOf(chat.value(QLatin1String("apiId")));
        if (seen.contains(apiId))
            return;
        seen.insert(apiId);
        const qint64 createdAt = ApiListFilter::msOf(chat.value(QLatin1String("createdAt")));
        if (!filter.admits(createdAt, ApiListFilter::idOf(chat.value(QLatin1String("widgetId"))))
            || (!operatorId.isEmpty()
                && (operatorKey.isEmpty()
                    || !chat.value(QLatin1String("operators")).toArray().contains(operatorKey))))
            return;
        const QString kind = kindOf(chat, ended);
        stat.insert(QStringLiteral("all"), stat.value(QLatin1String("all")).toInt() + 1);
        stat.insert(kind, stat.value(kind).toInt() + 1);
        if (status.isEmpty() || status == QLatin1String("all") || status == kind)
            entries.append({createdAt, chat, kind});
    };
    const QJsonObject history = m_api->accountRecord(caller, QStringLiteral("history"));
    for (const QJsonValue &record : history)
        consider(record.toObject().value(QLatin1String("chat")).toObject(), true);
    for (const QJsonValue &chat : realtime(caller, QStringLiteral("chats")).toObject())
        consider(chat.toObject(), false);

    std::sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) {
        return a.createdAt > b.createdAt;
    });
    QJsonArray chats;
    QSet<QString> people;
    for (int i = filter.pageStart(entries.size()); i < filter.pageEnd(entries.size()); ++i) {
        chats.append(entries.at(i).chat);
        addPeople(entries.at(i).chat, &people);
    }
    QJsonObject pageUsers;
    for (const QString &key : qAsConst(people)) {
        const QJsonObject user = users.value(key).toObject();
        if (user.isEmpty())
            continue;
        QJsonObject shown;
        for (const char *field :
             {"apiId", "name", "photo", "position", "role", "integrationType", "aliases"}) {
            if (user.contains(QLatin1String(field)))
                shown.insert(QLatin1String(field), user.value(QLatin1String(field)));
        }
        pageUsers.insert(key, shown);
    }
    return HttpResponse::json(200,
                              QJsonObject{{"chat_stat", stat},
                                          {"chat_widgets", widgets(caller)},
                                          {"users", pageUsers},
                                          {"chats", chats},
                                          {"pagination", filter.pagination(entries.size())}});
}

QJsonArray ChatHistoryApi::widgets(const ChatApi::Caller &caller) const
{
    const QJsonObject settings = caller.account.value(QLatin1String("settings")).toObject();
    QHash<qint64, qint64> siteOf;
    for (const QJsonValue &site : settings.value(QLatin1String("sites")).toObject()) {
        for (const QJsonValue &link : site.toArray()) {
            const QJsonObject object = link.toObject();
            siteOf.insert(ApiListFilter::idOf(object.value(QLatin1String("chat_widget_id"))),
                          ApiListFilter::idOf(object.value(QLatin1String("site_id"))));
        }
    }
    QJsonArray result;
    for (const QJsonValue &value : settings.value(QLatin1String("chat_widgets")).toObject()) {
        const QJsonObject widget = value.toObject();
        const qint64 id = ApiListFilter::idOf(widget.value(QLatin1String("id")));
        result.append(
            QJsonObject{{"id", id},
                        {"is_enabled", widget.value(QLatin1String("is_enabled")).toInt() != 0},
                        {"name", widget.value(QLatin1String("name"))},
                        {"site", widget.value(QLatin1String("site"))},
                        {"site_id", siteOf.value(id)},
                        {"step", 1}});
    }
    return result;
}

bool ChatHistoryApi::find(const ChatApi::Caller &caller, const QString &apiId, Found *found) const
{
    const QJsonObject record = DatabasePath::isValidKey(apiId)
                                   ? m_api->accountRecord(caller, QStringLiteral("history/") + apiId)
                                   : QJsonObject();
    if (!record.isEmpty()) {
        found->chat = record.value(QLatin1String("chat")).toObject();
        found->messages = record.value(QLatin1String("chat_messages")).toArray();
        found->ended = true;
        return true;
    }
    const QJsonObject chats = realtime(caller, QStringLiteral("chats")).toObject();
    for (auto it = chats.constBegin(); it != chats.constEnd(); ++it) {
        const QJsonObject chat = it.value().toObject();
        if (QString::number(ApiListFilter::idOf(chat.value(QLatin1String("apiId")))) != apiId)
            continue;
        found->chat = chat;
        for (const QJsonValue &message :
             realtime(caller, QStringLiteral("chat-messages/") + it.key()).toObject())
            found->messages.append(message);
        return true;
    }
    return false;
}

HttpResponse ChatHistoryApi::chat(const ChatApi::Caller &caller,
                                  const HttpRequest &request,
                                  const QString &prefix,
                                  bool info) const
{
    const QString apiId = request.path.mid(prefix.size());
    bool numeric = false;
    apiId.toLongLong(&numeric);
    Found found;
    if (!numeric || !find(caller, apiId, &found) || (!info && !found.ended))
        return notFound();

    QSet<QString> people;
    addPeople(found.chat, &people);
    for (const QJsonValue &message : qAsConst(found.messages)) {
        people.insert(message.toObject().value(QLatin1String("sender")).toString());
        people.insert(message.toObject().value(QLatin1String("target")).toString());
    }
    const QJsonObject users = realtime(caller, QStringLiteral("users")).toObject();
    QJsonObject named;
    for (const QString &key : qAsConst(people)) {
        if (users.value(key).isObject())
            named.insert(key, users.value(key));
    }
    QJsonObject reply{{"chat_messages", found.messages}, {"users", named}};
    if (info) {
        reply.insert(QStringLiteral("chat"), found.chat);
        reply.insert(QStringLiteral("visit"),
                     DatabasePath::isValidKey(apiId)
                         ? m_api->accountRecord(caller, QStringLiteral("chats/") + apiId)
                               .value(QLatin1String("visit"))
                         : QJsonValue());
    }
    return HttpResponse::json(200, reply);
}
