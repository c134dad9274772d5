#include "local/chatoperations.h"

#include "local/databasepath.h"
#include "local/httprouter.h"
#include "local/jsoncodec.h"
#include "local/privatefiles.h"
#include "local/realtimedatabase.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>

namespace {

constexpr int kMaxAnswerChars = 4096;

HttpResponse ok(const QJsonObject &extra = QJsonObject())
{
    QJsonObject body = extra;
    body.insert(QStringLiteral("status"), QStringLiteral("ok"));
    return HttpResponse::json(200, body);
}

// Operations the console reads answer their refusals with HTTP 200, as the sign-in does.
HttpResponse refusal(int statusCode, const QString &message, const QJsonObject &errors = {})
{
    return ChatApi::envelope(200, statusCode, message, errors);
}

HttpResponse fieldError(const QString &field, const QString &message)
{
    return refusal(422,
                   QStringLiteral("Проверьте введённые данные"),
                   {{field, QJsonArray{message}}});
}

HttpResponse chatNotFound()
{
    return refusal(404, QStringLiteral("Чат не найден"));
}

QString lastSegment(const QString &path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString isoTime(qint64 msecs)
{
    return QDateTime::fromMSecsSinceEpoch(msecs, Qt::OffsetFromUTC, 3 * 3600).toString(Qt::ISODate);
}

} // namespace

ChatOperations::ChatOperations(ChatApi *api)
    : m_api(api)
{}

void ChatOperations::install(HttpRouter &router)
{
    const auto route =
        [this,
         &router](const QString &path,
                  bool prefix,
                  const QByteArray &method,
                  HttpResponse (ChatOperations::*handler)(const Caller &, const HttpRequest &)) {
            m_api->addAuthorized(router,
                                 QStringLiteral("/api/chat/client/") + path,
                                 prefix,
                                 method,
                                 [this, handler](const Caller &caller, const HttpRequest &request) {
                                     return (this->*handler)(caller, request);
                                 });
        };
    route(QStringLiteral("visitor/"), true, "POST", &ChatOperations::visitorBlock);
    route(QStringLiteral("send_crm"), false, "POST", &ChatOperations::handOver);
    route(QStringLiteral("send_to_email"), false, "POST", &ChatOperations::handOver);
    route(QStringLiteral("first_operator_connect_to_chat"),
          false,
          "POST",
          &ChatOperations::firstOperator);
    route(QStringLiteral("create_pay_link"), false, "POST", &ChatOperations::createPayLink);
    route(QStringLiteral("fast_message"), false, "POST", &ChatOperations::createAnswer);
    route(QStringLiteral("fast_message/"), true, QByteArray(), &ChatOperations::changeAnswer);
    // Where a payment link leads: the payer's page, without a token.
    router.addPrefix(QStringLiteral("/pay/"),
                     [this](const HttpRequest &request) { return paymentPage(request); });
}

HttpResponse ChatOperations::paymentPage(const HttpRequest &request) const
{
    const QString id = lastSegment(request.path);
    const QJsonObject accounts = m_api->record(QStringLiteral("accounts"));
    QJsonObject payment;
    for (auto it = accounts.constBegin(); it != accounts.constEnd() && payment.isEmpty(); ++it)
        payment
            = it.value().toObject().value(QLatin1String("payments")).toObject().value(id).toObject();
    if (id.isEmpty() || payment.isEmpty())
        return HttpResponse::text(404, "Платёж не найден\n");
    const QString text
        = QStringLiteral("<!doctype html><meta charset=\"utf-8\"><title>Оплата</title>"
                         "<body style=\"font-family:sans-serif;max-width:28em;margin:4em auto\">"
                         "<h1>%1</h1><p>К оплате: %2 %3</p><p>Платёжная система: %4</p>"
                         "<p><button disabled>Оплатить</button> (демонстрация)</p></body>")
              .arg(payment.value(QLatin1String("title")).toString().toHtmlEscaped(),
                   QString::number(payment.value(QLatin1String("amount")).toDouble()),
                   payment.value(QLatin1String("currency")).toString().toHtmlEscaped(),
                   payment.value(QLatin1String("pay_system")).toString().toHtmlEscaped());
    HttpResponse response(200);
    response.setBody(text.toUtf8(), "text/html; charset=utf-8");
    return response;
}

bool ChatOperations::body(const HttpRequest &request, QJsonObject *object, HttpResponse *refused)
{
    QJsonValue parsed;
    if (!JsonCodec::decode(request.body, &parsed) || !parsed.isObject()) {
        *refused = refusal(400, QStringLiteral("Некорректный запрос"));
        return false;
    }
    *object = parsed.toObject();
    return true;
}

QString ChatOperations::accountPath(const Caller &caller) const
{
    return QStringLiteral("accounts/%1/").arg(caller.holder.accountId);
}

QString ChatOperations::realtimePath(const Caller &caller, const QString &rest) const
{
    return QStringLiteral("services/%1/accounts/%2/")
               .arg(caller.holder.serviceId)
               .arg(caller.holder.accountId)
           + rest;
}

HttpResponse ChatOperations::visitorBlock(const Caller &caller, const HttpRequest &request)
{
    QJsonObject object;
    HttpResponse refused;
    if (!body(request, &object, &refused))
        return refused;
    const QString action = lastSegment(request.path);
    const qint64 chatId = ChatApi::idOf(object.value(QLatin1String("chat_id")));
    const QJsonObject info = chatId < 0
                                 ? QJsonObject()
                                 : m_api->accountRecord(caller,
                                                        QStringLiteral("chats/%1").arg(chatId));
    if (chatId < 0 || info.isEmpty())
        return chatNotFound();
    const QString chatPath = accountPath(caller) + QStringLiteral("chats/%1/visit/").arg(chatId);
    if (action == QLatin1String("block") || action == QLatin1String("unblock")) {
        m_api->writeRecord(chatPath + QStringLiteral("blocked"),
                           action == QLatin1String("block") ? 1 : 0);
        return ok();
    }
    if (action != QLatin1String("block_ip") && action != QLatin1String("unblock_ip"))
        return ChatApi::envelope(404, 404, QStringLiteral("Не найдено"));
    const QString ip
        = info.value(QLatin1String("visit")).toObject().value(QLatin1String("visit_ip")).toString();
    if (ip.isEmpty() || !DatabasePath::isValidKey(QString(ip).replace(QLatin1Char('.'), '_')))
        return refusal(422, QStringLiteral("IP-адрес посетителя неизвестен"));
    // Dots may not stand in a database key.
    m_api->writeRecord(accountPath(caller) + QStringLiteral("blocked_ips/")
                           + QString(ip).replace(QLatin1Char('.'), QLatin1Char('_')),
                       action == QLatin1String("block_ip") ? QJsonValue(true) : QJsonValue());
    return ok();
}

HttpResponse ChatOperations::handOver(const Caller &caller, const HttpRequest &request)
{
    QJsonObject object;
    HttpResponse refused;
    if (!body(request, &object, &refused))
        return refused;
    const qint64 chatId = ChatApi::idOf(object.value(QLatin1String("chat_id")));
    const QJsonObject visit = chatId < 0
                                  ? QJsonObject()
                                  : m_api
                                        ->accountRecord(caller,
                                                        QStringLiteral("chats/%1").arg(chatId))
                                        .value(QLatin1String("visit"))
                                        .toObject();
    if (chatId < 0 || visit.isEmpty())
        return chatNotFound();
    QJsonObject entry{{"time", isoTime(QDateTime::currentMSecsSinceEpoch())},
                      {"account_id", caller.holder.accountId},
                      {"chat_id", chatId},
                      {"operator",
                       caller.user.value(QLatin1String("profile"))
                           .toObject()
                           .value(QLatin1String("email"))}};
    const bool crm = request.path.endsWith(QLatin1String("send_crm"));
    if (crm) {
        const QJsonObject data = object.value(QLatin1String("data")).toObject();
        QJsonObject contact;
        for (const char *field : {"name", "email", "phone", "comment"})
            contact.insert(QLatin1String(field), data.value(QLatin1String(field)).toString());
        if (contact.value("name").toString().trimmed().isEmpty()
            && contact.value("email").toString().trimmed().isEmpty()
            && contact.value("phone").toString().trimmed().isEmpty())
            return fieldError(QStringLiteral("name"),
                              QStringLiteral("Укажите имя, e-mail или телефон"));
        entry.insert(QStringLiteral("data"), contact);
    } else {
        const QString message = object.value(QLatin1String("message")).toString();
        const QString email = visit.value(QLatin1String("email")).toString();
        if (message.trimmed().isEmpty())
            return fieldError(QStringLiteral("message"), QStringLiteral("Введите текст сообщения"));
        if (email.isEmpty())
            return refusal(422, QStringLiteral("У посетителя не указан e-mail"));
        entry.insert(QStringLiteral("to"), email);
        entry.insert(QStringLiteral("message"), message);
    }
    if (!appendToOutbox(crm ? QStringLiteral("crm.jsonl") : QStringLiteral("email.jsonl"), entry))
        return refusal(503, QStringLiteral("Не удалось отправить, повторите позже"));
    return ok({{"message", crm ? "Контакт отправлен в CRM" : "Письмо отправлено"}});
}

bool ChatOperations::appendToOutbox(const QString &name, const QJsonObject &entry) const
{
    const QString directory = QDir(m_api->dataDirectory()).filePath(QStringLiteral("outbox"));
    QString error;
    if (m_api->dataDirectory().isEmpty() || !PrivateFiles::makeDirectory(directory, &error))
        return false;
    QFile file(QDir(directory).filePath(name));
    const QByteArray line = QJsonDocument(entry).toJson(QJsonDocument::Compact) + '\n';
    if (!file.open(QIODevice::Append) || file.size() + line.size() > maxOutboxBytes)
        return false;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    return file.write(line) == line.size();
}

HttpResponse ChatOperations::firstOperator(const Caller &caller, const HttpRequest &request)
{
    QJsonObject object;
    HttpResponse refused;
    if (!body(request, &object, &refused))
        return refused;
    const QString chatKey = object.value(QLatin1String("chatId")).toString();
    const QString userKey = object.value(QLatin1String("userId")).toString();
    DatabasePath chat;
    if (!DatabasePath::isValidKey(chatKey) || !DatabasePath::isValidKey(userKey)
        || !DatabasePath::parse(realtimePath(caller, QStringLiteral("chats/") + chatKey), &chat)
        || !m_api->database()->value(chat).isObject())
        return chatNotFound();
    // The first one to answer stays the first.
    const QString path = accountPath(caller) + QStringLiteral("first_operators/") + chatKey;
    if (m_api->record(accountPath(caller) + QStringLiteral("first_operators")).contains(chatKey))
        return ok({{"first", false}});
    m_api->writeRecord(path, userKey);
    return ok({{"first", true}});
}

HttpResponse ChatOperations::createPayLink(const Caller &caller, const HttpRequest &request)
{
    QJsonObject object;
    HttpResponse refused;
    if (!body(request, &object, &refused))
        return refused;
    const qint64 widgetId = ChatApi::idOf(object.value(QLatin1String("widget_id")));
    const QJsonObject widget = caller.account.value(QLatin1String("settings"))
                                   .toObject()
                                   .value(QLatin1String("chat_widget_settings"))
                                   .toObject()
                                   .value(QString::number(widgetId))
                                   .toObject();
    if (widgetId < 0 || widget.isEmpty())
        return refusal(404, QStringLiteral("Виджет не найден"));
    const QString paySystem = widget.value(QLatin1String("pay_system")).toString();
    if (paySystem.isEmpty() || paySystem == QLatin1String("none"))
        return refusal(422, QStringLiteral("Для этого виджета не подключена платёжная система"));
    const QJsonValue amountValue = object.value(QLatin1String("amount"));
    const double amount = amountValue.isString() ? amountValue.toString().toDouble()
                                                 : amountValue.toDouble();
    if (!(amount > 0 && amount < 1e9))
        return fieldError(QStringLiteral("amount"), QStringLiteral("Укажите сумму больше нуля"));
    const QString title = object.value(QLatin1String("title")).toString().trimmed();
    if (title.isEmpty())
        return fieldError(QStringLiteral("title"), QStringLiteral("Укажите назначение платежа"));

    const QString id = QString::number(QRandomGenerator::global()->generate64(), 16);
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    m_api->writeRecord(accountPath(caller) + QStringLiteral("payments/") + id,
                       QJsonObject{{"title", title.left(500)},
                                   {"amount", amount},
                                   {"quantity", object.value(QLatin1String("quantity")).toInt(1)},
                                   {"currency",
                                    object.value(QLatin1String("currency")).toString("RUB").left(8)},
                                   {"widget_id", widgetId},
                                   {"pay_system", paySystem},
                                   {"status", "created"},
                                   {"created_at", double(now)}});
    const QByteArray host = request.header("host");
    return HttpResponse::json(200,
                              QJsonObject{{"link",
                                           QStringLiteral("https://%1/pay/%2")
                                               .arg(QString::fromLatin1(host), id)},
                                          {"pay_system", paySystem},
                                          {"expires_at", isoTime(now + 24 * 3600 * 1000)}});
}

bool ChatOperations::answerText(const HttpRequest &request,
                                QJsonObject *object,
                                QString *text,
                                HttpResponse *refused)
{
    if (!body(request, object, refused))
        return false;
    *text = object->value(QLatin1String("message")).toString().trimmed();
    if (!text->isEmpty() && text->size() <= kMaxAnswerChars)
        return true;
    *refused = fieldError(QStringLiteral("message"),
                          QStringLiteral("Введите текст ответа (до %1 знаков)").arg(kMaxAnswerChars));
    return false;
}

HttpResponse ChatOperations::createAnswer(const Caller &caller, const HttpRequest &request)
{
    QJsonObject object;
    QString text;
    HttpResponse refused;
    if (!answerText(request, &object, &text, &refused))
        return refused;
    const qint64 type = ChatApi::idOf(object.value(QLatin1String("type")));
    const qint64 ownId = ChatApi::idOf(
        caller.user.value(QLatin1String("profile")).toObject().value(QLatin1String("id")));
    QJsonObject answer{{"accountId", caller.holder.accountId},
                       {"userId", 0},
                       {"siteId", 0},
                       {"text", text}};
    if (type == 0) {
        const QJsonValue site = object.value(QLatin1String("site_id"));
        if (site.isNull() || site.isUndefined()) {
            answer.insert(QStringLiteral("type"), QStringLiteral("account"));
        } else {
            const qint64 siteId = ChatApi::idOf(site);
            if (siteId < 0
                || !caller.account.value(QLatin1String("settings"))
                        .toObject()
                        .value(QLatin1String("sites"))
                        .toObject()
                        .contains(QString::number(siteId)))
                return fieldError(QStringLiteral("site_id"), QStringLiteral("Сайт не найден"));
            answer.insert(QStringLiteral("siteId"), siteId);
            answer.insert(QStringLiteral("type"), QStringLiteral("site"));
        }
    } else if (type == 1) {
        // A personal answer is the operator's own.
        if (ChatApi::idOf(object.value(QLatin1String("user_id"))) != ownId)
            return refusal(403, QStringLiteral("Личный ответ можно создать только для себя"));
        answer.insert(QStringLiteral("userId"), ownId);
        answer.insert(QStringLiteral("type"), QStringLiteral("user"));
    } else {
        return fieldError(QStringLiteral("type"), QStringLiteral("Неизвестный вид ответа"));
    }

    DatabasePath answers;
    DatabasePath::parse(realtimePath(caller, QStringLiteral("quick-answers")), &answers);
    qint64 id = 0;
    const QJsonObject existing = m_api->database()->shallowValue(answers).toObject();
    for (auto it = existing.constBegin(); it != existing.constEnd(); ++it)
        id = qMax(id, qMax<qint64>(0, ChatApi::idOf(it.key()))); // -1 for keys past 2^53
    ++id;
    if (!m_api->write(realtimePath(caller, QStringLiteral("quick-answers/%1").arg(id)), answer))
        return refusal(507, QStringLiteral("Не удалось сохранить ответ"));
    return ok({{"id", id}});
}

HttpResponse ChatOperations::changeAnswer(const Caller &caller, const HttpRequest &request)
{
    if (request.method != "PUT" && request.method != "DELETE")
        return ChatApi::envelope(405, 405, QStringLiteral("Метод не поддерживается"));
    const qint64 id = ChatApi::idOf(lastSegment(request.path));
    const QString path = realtimePath(caller, QStringLiteral("quick-answers/%1").arg(id));
    DatabasePath parsed;
    const QJsonObject answer = id >= 0 && DatabasePath::parse(path, &parsed)
                                   ? m_api->database()->value(parsed).toObject()
                                   : QJsonObject();
    if (answer.isEmpty())
        return refusal(404, QStringLiteral("Ответ не найден"));
    const qint64 ownId = ChatApi::idOf(
        caller.user.value(QLatin1String("profile")).toObject().value(QLatin1String("id")));
    if (answer.value(QLatin1String("type")).toString() == QLatin1String("user")
        && ChatApi::idOf(answer.value(QLatin1String("userId"))) != ownId)
        return refusal(403, QStringLiteral("Это личный ответ другого оператора"));
    if (request.method == "DELETE") {
        m_api->write(path, QJsonValue());
        return ok({{"id", id}});
    }
    QJsonObject object;
    QString text;
    HttpResponse refused;
    if (!answerText(request, &object, &text, &refused))
        return refused;
    m_api->write(path + QStringLiteral("/text"), text);
    return ok({{"id", id}});
}
