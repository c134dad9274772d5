#include "local/chatapi.h"

#include "local/chatoperations.h"
#include "local/chatservice.h"
#include "local/databasepath.h"
#include "local/httprouter.h"
#include "local/jsoncodec.h"
#include "local/passwordhash.h"
#include "local/realtimedatabase.h"
#include "local/serviceclock.h"
#include "local/tokenissuer.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace {

const QString kRoot = QStringLiteral("chat-api");

HttpResponse badMethod()
{
    return ChatApi::envelope(405, 405, QStringLiteral("Метод не поддерживается"));
}

} // namespace

ChatApi::ChatApi(RealtimeDatabase *database, const TokenIssuer *issuer)
    : m_database(database)
    , m_issuer(issuer)
    , m_tokens(issuer)
    , m_throttle([issuer] { return issuer->clock()->nowMs(); })
    , m_operations(std::make_unique<ChatOperations>(this))
    , m_service(std::make_unique<ChatService>(this, issuer->clock()))
{}

ChatApi::~ChatApi() = default;

qint64 ChatApi::idOf(const QJsonValue &value)
{
    if (value.isDouble()) {
        const double number = value.toDouble();
        return number >= 0 && number < 9007199254740992.0 && number == qint64(number)
                   ? qint64(number)
                   : -1;
    }
    bool ok = false;
    const qint64 id = value.toString().toLongLong(&ok);
    return ok && id >= 0 ? id : -1;
}

HttpResponse ChatApi::envelope(int httpStatus,
                               int statusCode,
                               const QString &message,
                               const QJsonObject &errors)
{
    QJsonObject body{{"status_code", statusCode}, {"message", message}};
    if (!errors.isEmpty())
        body.insert(QStringLiteral("errors"), errors);
    return HttpResponse::json(httpStatus, body);
}

void ChatApi::install(HttpRouter &router)
{
    router.addExact(QStringLiteral("/api/auth/login"),
                    [this](const HttpRequest &request) { return login(request); });
    addAuthorized(router,
                  QStringLiteral("/api/auth/me"),
                  false,
                  "GET",
                  [this](const Caller &caller, const HttpRequest &) { return me(caller); });
    addAuthorized(router,
                  QStringLiteral("/api/chat/client"),
                  false,
                  "GET",
                  [](const Caller &caller, const HttpRequest &) {
                      return HttpResponse::json(200,
                                                caller.account.value(QLatin1String("settings")));
                  });
    addAuthorized(router,
                  QStringLiteral("/api/chat/client/info/"),
                  true,
                  "GET",
                  [this](const Caller &caller, const HttpRequest &request) {
                      return chatInfo(caller, request);
                  });
    m_operations->install(router);
    m_service->install(router);
    router.addPrefix(QStringLiteral("/api/"), [](const HttpRequest &) {
        return envelope(404, 404, QStringLiteral("Не найдено"));
    });
}

void ChatApi::addAuthorized(HttpRouter &router,
                            const QString &path,
                            bool prefix,
                            const QByteArray &method,
                            AuthorizedHandler handler)
{
    const HttpRouter::Handler route = [this, method, handler](const HttpRequest &request) {
        return authorized(request, method, handler);
    };
    if (prefix)
        router.addPrefix(path, route);
    else
        router.addExact(path, route);
}

QJsonObject ChatApi::record(const QString &path) const
{
    DatabasePath parsed;
    if (!DatabasePath::parse(kRoot + QLatin1Char('/') + path, &parsed))
        return {};
    return m_database->value(parsed).toObject();
}

bool ChatApi::write(const QString &path, const QJsonValue &value) const
{
    DatabasePath parsed;
    QJsonValue prepared;
    QString error;
    return DatabasePath::parse(path, &parsed)
           && m_database->prepareValue(parsed, value, m_issuer->clock()->nowMs(), &prepared, &error)
           && m_database->set(parsed, prepared, &error);
}

HttpResponse ChatApi::login(const HttpRequest &request)
{
    if (request.method != "POST")
        return badMethod();
    QJsonValue parsed;
    if (!JsonCodec::decode(request.body, &parsed) || !parsed.isObject())
        return envelope(200, 400, QStringLiteral("Некорректный запрос"));
    const QJsonObject body = parsed.toObject();
    const QString email = body.value(QLatin1String("email")).toString().trimmed();
    const QString password = body.value(QLatin1String("password")).toString();
    QJsonObject errors;
    if (email.isEmpty())
        errors.insert(QStringLiteral("email"), QJsonArray{QStringLiteral("Введите e-mail")});
    if (password.isEmpty())
        errors.insert(QStringLiteral("password"), QJsonArray{QStringLiteral("Введите пароль")});
    if (!errors.isEmpty())
        return envelope(200, 422, QStringLiteral("Проверьте введённые данные"), errors);

    // Every record of the login, one per service it belongs to, in id order.
    QVector<QJsonObject> candidates;
    const QJsonObject users = record(QStringLiteral("users"));
    for (auto it = users.constBegin(); it != users.constEnd(); ++it) {
        const QJsonObject user = it.value().toObject();
        if (user.contains(QLatin1String("password"))
            && user.value(QLatin1String("profile"))
                       .toObject()
                       .value(QLatin1String("email"))
                       .toString()
                       .compare(email, Qt::CaseInsensitive)
                   == 0)
            candidates.append(user);
    }
    if (candidates.isEmpty())
        return envelope(200,
                        422,
                        QStringLiteral("Проверьте введённые данные"),
                        {{"email",
                          QJsonArray{QStringLiteral("Пользователь с таким e-mail не найден")}}});
    // Only logins that exist are throttled, so strangers cannot fill the table.
    const QString login = email.toLower();
    if (!m_throttle.admits(login))
        return envelope(200,
                        429,
                        QStringLiteral("Слишком много попыток входа. Повторите попытку позже"));
    // With a service chosen, that service's record is the one whose password counts.
    const QJsonValue serviceValue = body.value(QLatin1String("service_id"));
    const bool serviceChosen = !serviceValue.isUndefined() && !serviceValue.isNull();
    const qint64 wanted = idOf(serviceValue);
    const auto chosen = serviceChosen
                            ? std::find_if(candidates.cbegin(),
                                           candidates.cend(),
                                           [wanted](const QJsonObject &candidate) {
                                               return idOf(candidate.value(QLatin1String("profile"))
                                                               .toObject()
                                                               .value("service_id"))
                                                      == wanted;
                                           })
                            : candidates.cbegin();
    const QJsonObject &target = chosen == candidates.cend() ? candidates.first() : *chosen;
    const bool correct = PasswordHash::matches(password,
                                               target.value(QLatin1String("password")).toString());
    const int delay = m_throttle.answerDelay(login, correct);
    HttpResponse response;
    if (!correct) {
        response = envelope(200,
                            422,
                            QStringLiteral("Проверьте введённые данные"),
                            {{"password", QJsonArray{QStringLiteral("Неверный пароль")}}});
        response.setDelayMs(delay);
        return response;
    }
    if (chosen == candidates.cend())
        return envelope(200, 403, QStringLiteral("Нет доступа к выбранному сервису"));
    if (!serviceChosen && candidates.size() > 1) {
        QJsonArray services;
        for (const QJsonObject &candidate : qAsConst(candidates)) {
            const qint64 serviceId = idOf(
                candidate.value(QLatin1String("profile")).toObject().value("service_id"));
            services.append(record(QStringLiteral("services/%1").arg(serviceId)));
        }
        response = HttpResponse::json(200,
                                      QJsonObject{{"message", "Выберите сервис"},
                                                  {"services", services}});
        response.setDelayMs(delay);
        return response;
    }

    const QJsonObject user = target;
    const QJsonObject profile = user.value(QLatin1String("profile")).toObject();
    response = HttpResponse::json(200, QJsonObject{{"user", profile}});
    response.setHeader("Authorization",
                       m_tokens.mint(idOf(profile.value(QLatin1String("service_id"))),
                                     idOf(profile.value(QLatin1String("account_id"))),
                                     user.value(QLatin1String("user_key")).toString()));
    response.setDelayMs(delay);
    return response;
}

HttpResponse ChatApi::authorized(const HttpRequest &request,
                                 const QByteArray &method,
                                 const AuthorizedHandler &handler) const
{
    Caller caller;
    switch (m_tokens.check(request.header("authorization"), &caller.holder)) {
    case ApiTokens::Verdict::Missing:
        return envelope(401, 401, QStringLiteral("Требуется авторизация"));
    case ApiTokens::Verdict::Expired:
        return envelope(401, 401, QStringLiteral("Сессия истекла, войдите снова"));
    case ApiTokens::Verdict::Invalid:
        return envelope(401, 401, QStringLiteral("Недействительный токен"));
    case ApiTokens::Verdict::Valid:
        break;
    }
    const QString accountPath = QStringLiteral("accounts/%1").arg(caller.holder.accountId);
    DatabasePath serviceId;
    if (DatabasePath::parse(kRoot + QLatin1Char('/') + accountPath + QStringLiteral("/service_id"),
                            &serviceId))
        caller.account.insert(QStringLiteral("service_id"), m_database->value(serviceId));
    caller.account.insert(QStringLiteral("user_keys"),
                          record(accountPath + QStringLiteral("/user_keys")));
    caller.account.insert(QStringLiteral("settings"),
                          record(accountPath + QStringLiteral("/settings")));
    const QJsonValue apiId
        = caller.account.value(QLatin1String("user_keys")).toObject().value(caller.holder.userKey);
    if (idOf(caller.account.value(QLatin1String("service_id"))) != caller.holder.serviceId
        || apiId.isUndefined())
        return envelope(401, 401, QStringLiteral("Недействительный токен"));
    caller.user = record(QStringLiteral("users/%1").arg(idOf(apiId)));
    if (!method.isEmpty() && request.method != method)
        return badMethod();
    HttpResponse response = handler(caller, request);
    const QByteArray renewed = m_tokens.renewal(caller.holder);
    if (!renewed.isEmpty())
        response.setHeader("Authorization", renewed);
    return response;
}

HttpResponse ChatApi::me(const Caller &caller) const
{
    QJsonArray colleagues;
    const QJsonObject keys = caller.account.value(QLatin1String("user_keys")).toObject();
    QVector<qint64> ids;
    for (auto it = keys.constBegin(); it != keys.constEnd(); ++it)
        ids.append(idOf(it.value()));
    std::sort(ids.begin(), ids.end());
    for (const qint64 id : qAsConst(ids))
        colleagues.append(
            record(QStringLiteral("users/%1").arg(id)).value(QLatin1String("profile")));
    return HttpResponse::json(200,
                              QJsonObject{{"user", caller.user.value(QLatin1String("profile"))},
                                          {"users", colleagues}});
}

HttpResponse ChatApi::chatInfo(const Caller &caller, const HttpRequest &request) const
{
    const QString id = request.path.mid(request.path.lastIndexOf(QLatin1Char('/')) + 1);
    const QJsonObject info = DatabasePath::isValidKey(id)
                                 ? accountRecord(caller, QStringLiteral("chats/") + id)
                                 : QJsonObject();
    if (info.isEmpty())
        return envelope(404, 404, QStringLiteral("Чат не найден"));
    return HttpResponse::json(200, info);
}
