#include "local/visitorapi.h"

#include "local/databasepath.h"
#include "local/demofiles.h"
#include "local/httprouter.h"
#include "local/jsoncodec.h"
#include "local/privatefiles.h"
#include "local/serviceclock.h"

#include <QBuffer>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMimeDatabase>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QUrl>

// Resources of a static library are registered by hand, outside any namespace.
static void registerPageResources()
{
    Q_INIT_RESOURCE(visitorpage);
}

namespace {

const QString kApi = QStringLiteral("/visitor-api/");
const QString kPage = QStringLiteral("/visitor/");
const QJsonObject kServerTime{{".sv", "timestamp"}};
constexpr int kMaxFieldLength = 200;

HttpResponse failure(int status, const QString &message)
{
    return HttpResponse::json(status, QJsonObject{{"error", message}});
}

QString randomHex(int words)
{
    QString text;
    for (int i = 0; i < words; ++i)
        text += QStringLiteral("%1").arg(QRandomGenerator::system()->generate(),
                                         8,
                                         16,
                                         QLatin1Char('0'));
    return text;
}

// A file's name without a client's directories or control characters.
QString cleanName(const QString &given)
{
    QString name = given.mid(
        qMax(given.lastIndexOf(QLatin1Char('/')), given.lastIndexOf(QLatin1Char('\\'))) + 1);
    name.remove(QRegularExpression(QStringLiteral("[\\x00-\\x1f\\x7f]")));
    name = name.trimmed().left(kMaxFieldLength);
    return name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..")
               ? QStringLiteral("file")
               : name;
}

// The picture format browsers show, or empty for any other file.
QByteArray pictureFormat(const QByteArray &data)
{
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    static const QList<QByteArray> shown{"png", "jpeg", "gif", "bmp", "webp"};
    return reader.canRead() && shown.contains(reader.format()) ? reader.format() : QByteArray();
}

} // namespace

VisitorApi::VisitorApi(ChatApi *api, const ServiceClock *clock)
    : m_api(api)
    , m_clock(clock)
{
    registerPageResources();
}

std::unique_ptr<VisitorApi> VisitorApi::install(ChatApi *api,
                                                const ServiceClock *clock,
                                                HttpRouter &router)
{
    auto self = std::make_unique<VisitorApi>(api, clock);
    VisitorApi *raw = self.get();
    router.addPrefix(kApi, [raw](const HttpRequest &request) { return raw->handle(request); });
    router.addPrefix(kPage, [raw](const HttpRequest &request) { return raw->page(request); });
    router.addExact(kPage.chopped(1), [](const HttpRequest &) {
        HttpResponse response(301);
        response.setHeader("Location", kPage.toLatin1());
        return response;
    });
    return self;
}

HttpResponse VisitorApi::page(const HttpRequest &request) const
{
    if (request.method != "GET" && request.method != "HEAD")
        return failure(405, QStringLiteral("Метод не поддерживается"));
    static const QHash<QString, QByteArray> types{{"index.html", "text/html; charset=utf-8"},
                                                  {"app.js", "text/javascript; charset=utf-8"},
                                                  {"style.css", "text/css; charset=utf-8"}};
    QString name = request.path.mid(kPage.size());
    if (name.isEmpty())
        name = QStringLiteral("index.html");
    QFile file(QStringLiteral(":/visitorpage/") + name);
    if (!types.contains(name) || !file.open(QIODevice::ReadOnly))
        return failure(404, QStringLiteral("Не найдено"));
    HttpResponse response(200);
    response.setBody(file.readAll(), types.value(name));
    response.setHeader("X-Content-Type-Options", "nosniff");
    response.setHeader("Cache-Control", "no-cache");
    // Photos may come from the demo's own address under another port; nothing else is loaded.
    response.setHeader("Content-Security-Policy",
                       "default-src 'self'; img-src * data: blob:; frame-ancestors 'none'");
    return response;
}

QString VisitorApi::path(const Session &session, const QString &rest) const
{
    return QStringLiteral("services/%1/accounts/%2/")
               .arg(session.account.serviceId)
               .arg(session.account.accountId)
           + rest;
}

QJsonValue VisitorApi::read(const QString &text) const
{
    DatabasePath parsed;
    return DatabasePath::parse(text, &parsed) ? m_api->database()->value(parsed) : QJsonValue();
}

HttpResponse VisitorApi::handle(const HttpRequest &request)
{
    const QString route = request.path.mid(kApi.size());
    if (route == QLatin1String("sites"))
        return request.method == "GET" ? sites()
                                       : failure(405, QStringLiteral("Метод не поддерживается"));
    static const QStringList
        sessionRoutes{"start", "send", "typing", "introduce", "read", "leave", "file", "poll"};
    if (route != QLatin1String("arrive") && !sessionRoutes.contains(route))
        return failure(404, QStringLiteral("Не найдено"));
    if (route == QLatin1String("poll") ? request.method != "GET" : request.method != "POST")
        return failure(405, QStringLiteral("Метод не поддерживается"));

    // The token first: a stranger's request costs nothing more.
    Session *session = nullptr;
    QByteArray token;
    if (route != QLatin1String("arrive")) {
        const QByteArray authorization = request.header("authorization");
        token = authorization.mid(7).trimmed();
        if (authorization.left(7).toLower() == "bearer ") {
            const auto found = m_sessions.find(token);
            session = found == m_sessions.end() ? nullptr : &found.value();
        }
        if (!session)
            return failure(401, QStringLiteral("Сеанс посетителя не найден. Обновите страницу"));
    }
    if (route == QLatin1String("poll")) {
        const QString since = request.queryItem(QStringLiteral("since"));
        if (!since.isEmpty() && !DatabasePath::isValidKey(since))
            return failure(400, QStringLiteral("Некорректный запрос"));
        return poll(*session, since);
    }
    if (route == QLatin1String("file"))
        return attach(*session, request);

    if (request.body.size() > maxJsonBytes)
        return failure(413, QStringLiteral("Слишком большой запрос"));
    QJsonValue parsed = QJsonObject();
    if (!request.body.isEmpty() && (!JsonCodec::decode(request.body, &parsed) || !parsed.isObject()))
        return failure(400, QStringLiteral("Некорректный запрос"));
    const QJsonObject body = parsed.toObject();
    if (route == QLatin1String("arrive"))
        return arrive(request, body);
    if (route == QLatin1String("start"))
        return start(*session);
    if (route == QLatin1String("leave")) {
        end(token);
        return HttpResponse::json(200, QJsonObject{{"ok", true}});
    }

    if (session->chatKey.isEmpty())
        return failure(409, QStringLiteral("Сначала начните диалог"));
    const QString text = body.value(QLatin1String("text")).toString();
    if (text.size() > maxTextLength)
        return failure(413, QStringLiteral("Сообщение длиннее %1 знаков").arg(maxTextLength));
    if (route == QLatin1String("send")) {
        if (text.trimmed().isEmpty())
            return failure(422, QStringLiteral("Пустое сообщение"));
        if (!m_api->chatService()->visitorWrites(session->account, session->chatKey, text))
            return failure(409, QStringLiteral("Диалог уже завершён"));
    } else if (route == QLatin1String("typing")) {
        m_api->chatService()->visitorTypes(session->account, session->chatKey, text);
    } else if (route == QLatin1String("read")) {
        m_api->chatService()->visitorReads(session->account, session->chatKey);
    } else {
        QHash<QString, QString> fields;
        for (const char *field : {"name", "email", "phone"})
            fields.insert(QLatin1String(field),
                          body.value(QLatin1String(field)).toString().simplified());
        const QString email = fields.value(QStringLiteral("email"));
        if (fields.value("name").isEmpty() && email.isEmpty() && fields.value("phone").isEmpty())
            return failure(422, QStringLiteral("Заполните хотя бы одно поле"));
        for (const QString &value : qAsConst(fields)) {
            if (value.size() > kMaxFieldLength)
                return failure(413, QStringLiteral("Слишком длинное значение"));
        }
        if (!email.isEmpty()
            && !QRegularExpression(QStringLiteral("^[^@\\s]+@[^@\\s]+\\.[^@\\s]+$"))
                    .match(email)
                    .hasMatch())
            return failure(422, QStringLiteral("Проверьте адрес e-mail"));
        if (!m_api->chatService()->introduce(session->account,
                                             session->chatKey,
                                             fields.value("name"),
                                             email,
                                             fields.value("phone")))
            return failure(409, QStringLiteral("Диалог уже завершён"));
        // The console names the visitor from now on.
        for (auto it = fields.constBegin(); it != fields.constEnd(); ++it) {
            if (!it.value().isEmpty())
                m_api->write(path(*session,
                                  QStringLiteral("visitors/%1/%2")
                                      .arg(session->visitorKey, it.key())),
                             it.value());
        }
        if (!fields.value("name").isEmpty())
            m_api->write(path(*session, QStringLiteral("users/%1/name").arg(session->visitorKey)),
                         fields.value("name"));
        if (!email.isEmpty())
            m_api->write(path(*session,
                              QStringLiteral("users/%1/hasEmail").arg(session->visitorKey)),
                         true);
    }
    return HttpResponse::json(200, QJsonObject{{"ok", true}});
}

QVector<VisitorApi::Site> VisitorApi::enabledSites() const
{
    // Account by account, reading only their widgets: the rest of an account may be big.
    QVector<Site> result;
    DatabasePath accounts;
    DatabasePath::parse(QStringLiteral("chat-api/accounts"), &accounts);
    const QJsonObject ids = m_api->database()->shallowValue(accounts).toObject();
    for (auto account = ids.constBegin(); account != ids.constEnd(); ++account) {
        if (!DatabasePath::isValidKey(account.key()))
            continue;
        const QString at = QStringLiteral("accounts/") + account.key();
        const QJsonObject widgets = m_api->record(at + QStringLiteral("/settings/chat_widgets"));
        if (widgets.isEmpty())
            continue;
        DatabasePath serviceId;
        DatabasePath::parse(QStringLiteral("chat-api/") + at + QStringLiteral("/service_id"),
                            &serviceId);
        const ChatService::Account owner{ChatApi::idOf(m_api->database()->value(serviceId)),
                                         account.key().toLongLong()};
        for (const QJsonValue &value : widgets) {
            const QJsonObject widget = value.toObject();
            if (widget.value(QLatin1String("is_enabled")).toInt(1) != 0)
                result.append({owner, widget});
        }
    }
    return result;
}

HttpResponse VisitorApi::sites() const
{
    QJsonArray list;
    for (const Site &site : enabledSites())
        list.append(QJsonObject{{"widget", ChatApi::idOf(site.widget.value(QLatin1String("id")))},
                                {"name", site.widget.value(QLatin1String("name"))},
                                {"site", site.widget.value(QLatin1String("site"))}});
    return HttpResponse::json(200, QJsonObject{{"sites", list}});
}

HttpResponse VisitorApi::arrive(const HttpRequest &request, const QJsonObject &body)
{
    const qint64 widgetId = ChatApi::idOf(body.value(QLatin1String("widget")));
    Session session;
    QString site;
    for (const Site &candidate : enabledSites()) {
        if (widgetId >= 0
            && ChatApi::idOf(candidate.widget.value(QLatin1String("id"))) == widgetId) {
            session.account = candidate.account;
            site = candidate.widget.value(QLatin1String("site")).toString();
            break;
        }
    }
    if (site.isEmpty())
        return failure(404, QStringLiteral("Такого сайта нет"));
    // One address may bring so many visitors a minute, so nobody can fill the database.
    const qint64 now = m_clock->nowMs();
    if (m_arrivalsByPeer.size() > 10000)
        m_arrivalsByPeer.clear();
    ArrivalWindow &window = m_arrivalsByPeer[request.peerAddress.toString()];
    if (now - window.start >= 60000)
        window = {now, 0};
    if (++window.count > maxArrivalsPerMinute)
        return failure(429,
                       QStringLiteral(
                           "Слишком много посетителей с этого адреса, подождите минуту"));

    session.widgetId = widgetId;
    session.visitorKey = m_pushIds.next(m_clock->nowMs());
    session.order = m_nextOrder++;
    const QJsonObject visitor{{"apiVisitId", double(QRandomGenerator::global()->bounded(1 << 30))},
                              {"autoInvite", false},
                              {QStringLiteral("chat\u0421reated"), false}, // Cyrillic ES
                              {"chatKey", ""},
                              {"chatWidgetId", widgetId},
                              {"currentUrl", QStringLiteral("https://%1/").arg(site)},
                              {"createdAt", kServerTime},
                              {"email", ""},
                              {"hits", 1},
                              {"ip", request.peerAddress.toString()},
                              {"lastActiveAt", kServerTime},
                              {"location", ""},
                              {"name", ""},
                              {"online", true},
                              {"phone", ""},
                              {"photo", ""},
                              {"said", false},
                              {"params", QJsonObject()}};
    if (!m_api->write(path(session, QStringLiteral("visitors/") + session.visitorKey), visitor))
        return failure(507, QStringLiteral("Не удалось сохранить посетителя"));
    while (m_sessions.size() >= m_maxSessions)
        end(QByteArray(m_arrivals.begin()->second));
    const QByteArray token = randomHex(4).toLatin1(); // 128 bits
    m_sessions.insert(token, session);
    m_arrivals.emplace(session.order, token);
    return HttpResponse::json(200,
                              QJsonObject{{"token", QString::fromLatin1(token)},
                                          {"visitor", session.visitorKey},
                                          {"site", site}});
}

void VisitorApi::end(const QByteArray &token)
{
    const auto found = m_sessions.find(token);
    if (found == m_sessions.end())
        return;
    // A visitor who never started a chat leaves no trace; one who did stays, offline, beside it.
    if (found->chatKey.isEmpty())
        m_api->write(path(*found, QStringLiteral("visitors/") + found->visitorKey), QJsonValue());
    else
        m_api->chatService()->visitorLeaves(found->account, found->visitorKey);
    m_arrivals.erase(found->order);
    m_sessions.erase(found);
}

HttpResponse VisitorApi::start(Session &session)
{
    if (!session.chatKey.isEmpty()
        && read(path(session, QStringLiteral("chats/%1/status").arg(session.chatKey))).toString()
               == QLatin1String("work"))
        return HttpResponse::json(200, QJsonObject{{"chat", session.chatKey}});
    session.chatKey = m_api->chatService()->openChat(session.account,
                                                     session.visitorKey,
                                                     QStringLiteral(
                                                         "Здравствуйте! Чем мы можем помочь?"));
    if (session.chatKey.isEmpty())
        return failure(409, QStringLiteral("Не удалось начать диалог"));
    return HttpResponse::json(200, QJsonObject{{"chat", session.chatKey}});
}

HttpResponse VisitorApi::attach(Session &session, const HttpRequest &request)
{
    if (session.chatKey.isEmpty())
        return failure(409, QStringLiteral("Сначала начните диалог"));
    if (request.body.size() > maxFileBytes)
        return failure(413, QStringLiteral("Файл больше 1 МБ"));
    if (session.files >= maxFilesPerSession)
        return failure(429,
                       QStringLiteral("В одном диалоге можно отправить не больше %1 файлов")
                           .arg(maxFilesPerSession));
    if (request.body.isEmpty())
        return failure(422, QStringLiteral("Файл пуст"));
    const QString chatPath = path(session, QStringLiteral("chats/") + session.chatKey);
    const QJsonObject chat = read(chatPath).toObject();
    if (chat.value(QLatin1String("status")).toString() != QLatin1String("work"))
        return failure(409, QStringLiteral("Диалог уже завершён"));

    // Kept as the chat API's uploads are, so that its "/files/uploads/" route serves them.
    const QString id = randomHex(4);
    const QString name = cleanName(request.queryItem(QStringLiteral("name")));
    const QByteArray format = pictureFormat(request.body);
    const QJsonObject
        meta{{"name", name},
             {"content_type",
              !format.isEmpty()
                  ? QStringLiteral("image/") + QString::fromLatin1(format)
                  : QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension).name()},
             {"account_id", session.account.accountId},
             {"chat_id", session.chatKey}};
    const QDir dir(QDir(m_api->dataDirectory()).absoluteFilePath(QStringLiteral("uploads")));
    QString error;
    if (!PrivateFiles::makeDirectory(dir.path(), &error)
        || !PrivateFiles::write(dir.filePath(id), request.body, &error)
        || !PrivateFiles::write(dir.filePath(id + QStringLiteral(".json")),
                                QJsonDocument(meta).toJson(QJsonDocument::Compact),
                                &error)) {
        qWarning().noquote() << error;
        return failure(507, QStringLiteral("Не удалось сохранить файл"));
    }

    const QString base = (request.secure ? QStringLiteral("https://") : QStringLiteral("http://"))
                         + QString::fromLatin1(request.header("host"));
    const QString url = base + QStringLiteral("/files/uploads/") + id + QLatin1Char('/')
                        + QString::fromLatin1(QUrl::toPercentEncoding(name));
    const double now = double(m_clock->nowMs());
    QJsonObject message{{"sender", session.visitorKey},
                        {"sentAt", now},
                        {"status", "sent"},
                        {"type", format.isEmpty() ? "file" : "image"},
                        {"url", url},
                        {"filename", name},
                        {"size", request.body.size()}};
    if (format.isEmpty())
        message.insert(QStringLiteral("icon"), QString(base + DemoFiles::logoPath("file")));
    else
        message.insert(QStringLiteral("preview"), url);
    m_api->chatService()->visitorTypes(session.account, session.chatKey, QString());
    m_api->write(path(session,
                      QStringLiteral("chat-messages/%1/%2")
                          .arg(session.chatKey, m_pushIds.next(m_clock->nowMs()))),
                 message);
    m_api->write(chatPath + QStringLiteral("/lastMessage"),
                 QJsonObject{{"sender", session.visitorKey},
                             {"sentAt", now},
                             {"status", "sent"},
                             {"type", message.value(QLatin1String("type"))}});
    m_api->write(chatPath + QStringLiteral("/messagesCount"),
                 chat.value(QLatin1String("messagesCount")).toInt() + 1);
    m_api->write(chatPath + QStringLiteral("/unreadCount"),
                 chat.value(QLatin1String("unreadCount")).toInt() + 1);
    ++session.files;
    return HttpResponse::json(200, QJsonObject{{"ok", true}, {"url", url}});
}

QJsonObject VisitorApi::person(const Session &session, const QString &key) const
{
    if (!DatabasePath::isValidKey(key))
        return {};
    const QJsonObject user = read(path(session, QStringLiteral("users/") + key)).toObject();
    // Operators show themselves to a widget's visitors under its alias.
    const QJsonObject alias = user.value(QLatin1String("aliases"))
                                  .toObject()
                                  .value(QString::number(session.widgetId))
                                  .toObject();
    const QJsonObject shown = alias.isEmpty() ? user : alias;
    return {{"name", shown.value(QLatin1String("name")).toString()},
            {"photo", shown.value(QLatin1String("photo")).toString()},
            {"role", user.value(QLatin1String("role")).toString()}};
}

HttpResponse VisitorApi::poll(const Session &session, const QString &since) const
{
    QJsonObject answer{{"visitor", session.visitorKey}, {"chat", session.chatKey}};
    if (session.chatKey.isEmpty())
        return HttpResponse::json(200, answer);
    const QJsonObject chat = read(path(session, QStringLiteral("chats/") + session.chatKey))
                                 .toObject();
    // An archived chat has left "chats": it is over for the visitor too.
    answer.insert(QStringLiteral("status"),
                  chat.isEmpty() ? QStringLiteral("ended")
                                 : chat.value(QLatin1String("status")).toString());
    // The visitor's newest messages the operators have not read yet.
    answer.insert(QStringLiteral("unread"), chat.value(QLatin1String("unreadCount")).toInt());
    QJsonObject people;
    const auto meet = [&](const QString &key) {
        if (key != session.visitorKey && !people.contains(key))
            people.insert(key, person(session, key));
    };
    for (const QJsonValue &key : chat.value(QLatin1String("operators")).toArray())
        meet(key.toString());

    QJsonArray messages;
    const QJsonObject stored
        = read(path(session, QStringLiteral("chat-messages/") + session.chatKey)).toObject();
    for (auto it = stored.constBegin(); it != stored.constEnd(); ++it) {
        // Pushed keys sort in time order.
        if (it.key() <= since)
            continue;
        QJsonObject message = it.value().toObject();
        message.insert(QStringLiteral("key"), it.key());
        meet(message.value(QLatin1String("sender")).toString());
        messages.append(message);
    }
    // Someone types when either map names them: an activity, or a text being written.
    QJsonObject typists;
    const QJsonObject texts = chat.value(QLatin1String("userText")).toObject();
    const QJsonObject activity = chat.value(QLatin1String("userActivity")).toObject();
    for (auto it = activity.constBegin(); it != activity.constEnd(); ++it) {
        if (!it.value().isNull() && it.value() != QJsonValue(false))
            typists.insert(it.key(), texts.value(it.key()).toString());
    }
    for (auto it = texts.constBegin(); it != texts.constEnd(); ++it) {
        if (!it.value().toString().isEmpty())
            typists.insert(it.key(), it.value());
    }
    QJsonArray typing;
    for (auto it = typists.constBegin(); it != typists.constEnd(); ++it) {
        if (it.key() == session.visitorKey)
            continue;
        meet(it.key());
        typing.append(QJsonObject{{"sender", it.key()}, {"text", it.value()}});
    }
    answer.insert(QStringLiteral("messages"), messages);
    answer.insert(QStringLiteral("typing"), typing);
    answer.insert(QStringLiteral("people"), people);
    return HttpResponse::json(200, answer);
}
