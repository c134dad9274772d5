#include "local/demoseed.h"

#include "local/demofiles.h"
#include "local/passwordhash.h"

#include <QDateTime>
#include <QJsonArray>
#include <QVector>

const QString DemoSeed::operatorLogin = QStringLiteral("operator@demo.tallyra.local");
const QString DemoSeed::managerLogin = QStringLiteral("manager@demo.tallyra.local");
const QString DemoSeed::password = QStringLiteral("demo12345");

namespace {

constexpr qint64 kMinute = 60 * 1000;
constexpr qint64 kHour = 60 * kMinute;
constexpr qint64 kDay = 24 * kHour;

constexpr int kShopAccount = 101;
constexpr int kPartnerAccount = 201;

struct Service
{
    int id;
    int accountId;
    const char *name;
    const char *domain;
};

const Service kServices[] = {
    {1, kShopAccount, "Tallyra Онлайн чат", "chat.demo.tallyra.local"},
    {2, kPartnerAccount, "Tallyra Партнёры", "partners.demo.tallyra.local"},
};

struct Widget
{
    int id;
    int accountId;
    int siteId;
    const char *site;
    const char *name;
    const char *paySystem;
    const char *sound;
    const char *messageSound;
    const char *rateView;
};

const Widget kWidgets[] = {
    {601,
     kShopAccount,
     501,
     "shop.demo.tallyra.local",
     "Магазин",
     "yookassa",
     "chat7",
     "chat3",
     "stars"},
    {602,
     kShopAccount,
     501,
     "shop.demo.tallyra.local",
     "Доставка",
     "robokassa",
     "chat2",
     "chat5",
     "thumbs"},
    {603, kShopAccount, 502, "help.demo.tallyra.local", "Поддержка", "none", "chat4", "chat9", "none"},
    {611,
     kPartnerAccount,
     511,
     "partners.demo.tallyra.local",
     "Партнёрам",
     "none",
     "chat1",
     "chat1",
     "stars"},
};

const Widget &widget(int id)
{
    for (const Widget &candidate : kWidgets) {
        if (candidate.id == id)
            return candidate;
    }
    return kWidgets[0];
}

// Role codes as the service sends them: 1 owner, 2 manager, 3 operator.
struct Operator
{
    int apiId;
    int accountId;
    const char *key;
    const char *name;
    const char *surname;
    const char *login; // empty: cannot sign in
    const char *position;
    int role;
    bool online;
    QVector<int> widgets;
};

const QVector<Operator> kOperators = {
    {1001,
     kShopAccount,
     "-DemoOpOlga000001",
     "Ольга",
     "Смирнова",
     "operator@demo.tallyra.local",
     "Консультант",
     3,
     true,
     {601, 602, 603}},
    {1002,
     kShopAccount,
     "-DemoOpMaxim00002",
     "Максим",
     "Орлов",
     "manager@demo.tallyra.local",
     "Руководитель отдела продаж",
     2,
     true,
     {601, 602, 603}},
    {1003,
     kShopAccount,
     "-DemoOpIrina00003",
     "Ирина",
     "Котова",
     "",
     "Старший консультант",
     3,
     true,
     {601, 603}},
    {1004,
     kShopAccount,
     "-DemoOpSergey0004",
     "Сергей",
     "Белов",
     "",
     "Специалист по доставке",
     3,
     false,
     {602}},
    {1005,
     kShopAccount,
     "-DemoOpAnna000005",
     "Анна",
     "Лебедева",
     "",
     "Инженер поддержки",
     3,
     false,
     {603}},
    {2002,
     kPartnerAccount,
     "-DemoOpMaxim02002",
     "Максим",
     "Орлов",
     "manager@demo.tallyra.local",
     "Руководитель отдела продаж",
     2,
     true,
     {611}},
    {2003,
     kPartnerAccount,
     "-DemoOpDaria02003",
     "Дарья",
     "Ким",
     "",
     "Менеджер по партнёрам",
     3,
     true,
     {611}},
};

const char *const kOlga = "-DemoOpOlga000001";
const char *const kMaxim = "-DemoOpMaxim00002";
const char *const kIrina = "-DemoOpIrina00003";
const char *const kSergey = "-DemoOpSergey0004";
const char *const kDaria = "-DemoOpDaria02003";

struct Visitor
{
    const char *key;
    int accountId;
    const char *name;
    bool online;
    const char *email;
    const char *phone;
    const char *city;
    const char *ip;
    const char *page; // path on the widget's site
    int widgetId;
    const char *integration; // "", "vk", "telegram"
    qint64 visitId;
    int hits;
    const char *referrer;
};

const QVector<Visitor> kVisitors = {
    {"-DemoVisElena0001",
     kShopAccount,
     "Елена Васильева",
     true,
     "elena.v@example.ru",
     "+7 915 200-14-88",
     "Россия, Москва",
     "95.31.18.119",
     "/cart/",
     601,
     "",
     880001,
     14,
     "yandex.ru"},
    {"-DemoVisPavel0002",
     kShopAccount,
     "Павел",
     true,
     "",
     "+7 903 410-22-17",
     "Россия, Санкт-Петербург",
     "188.242.7.31",
     "/faq/returns/",
     603,
     "vk",
     880002,
     5,
     "vk.com"},
    {"-DemoVisSveta0003",
     kShopAccount,
     "Светлана",
     true,
     "",
     "",
     "Россия, Казань",
     "85.26.164.2",
     "/delivery/",
     602,
     "",
     880003,
     3,
     "google.com"},
    {"-DemoVisNikol0004",
     kShopAccount,
     "Николай",
     true,
     "",
     "",
     "Россия, Екатеринбург",
     "46.146.201.77",
     "/catalog/monitors/",
     601,
     "",
     880004,
     9,
     ""},
    {"-DemoVisSpam00005",
     kShopAccount,
     "Посетитель 4821",
     false,
     "",
     "",
     "Нидерланды, Амстердам",
     "185.220.101.4",
     "/",
     601,
     "",
     880005,
     1,
     ""},
    {"-DemoVisTanya0006",
     kShopAccount,
     "Татьяна",
     false,
     "tatiana.m@example.ru",
     "",
     "Россия, Новосибирск",
     "178.49.12.90",
     "/faq/warranty/",
     603,
     "",
     880006,
     4,
     "yandex.ru"},
    {"-DemoVisAlex00007",
     kShopAccount,
     "Алексей",
     false,
     "",
     "",
     "Россия, Самара",
     "94.180.3.12",
     "/delivery/",
     602,
     "telegram",
     880007,
     2,
     "t.me"},
    {"-DemoVisMarin0008",
     kShopAccount,
     "Марина",
     true,
     "marina.k@example.ru",
     "",
     "Россия, Москва",
     "93.80.44.5",
     "/faq/",
     603,
     "",
     880008,
     6,
     ""},
    // Browsing, no chat yet.
    {"-DemoVisGuest0011",
     kShopAccount,
     "",
     true,
     "",
     "",
     "Россия, Москва",
     "95.24.10.11",
     "/catalog/laptops/",
     601,
     "",
     880011,
     3,
     "yandex.ru"},
    {"-DemoVisGuest0012",
     kShopAccount,
     "",
     true,
     "",
     "",
     "Беларусь, Минск",
     "37.214.2.80",
     "/catalog/aero-14/",
     601,
     "",
     880012,
     7,
     "google.com"},
    {"-DemoVisGuest0013",
     kShopAccount,
     "",
     true,
     "",
     "",
     "Россия, Тверь",
     "176.59.8.1",
     "/delivery/",
     602,
     "",
     880013,
     2,
     ""},
    {"-DemoVisGuest0014",
     kShopAccount,
     "",
     true,
     "",
     "",
     "Казахстан, Алматы",
     "2.134.7.9",
     "/faq/warranty/",
     603,
     "",
     880014,
     11,
     "mail.ru"},
    {"-DemoVisGuest0015",
     kShopAccount,
     "Гость с промокодом",
     true,
     "",
     "",
     "Россия, Сочи",
     "31.173.80.2",
     "/",
     601,
     "",
     880015,
     1,
     "instagram.com"},
    {"-DemoVisGuest0016",
     kPartnerAccount,
     "Олег",
     true,
     "",
     "",
     "Россия, Пермь",
     "92.50.7.3",
     "/partners/",
     611,
     "",
     880016,
     2,
     ""},
};

const Visitor &visitor(const QString &key)
{
    for (const Visitor &candidate : kVisitors) {
        if (key == QLatin1String(candidate.key))
            return candidate;
    }
    return kVisitors.first();
}

QString siteUrl(const Widget &w, const QString &path)
{
    return QStringLiteral("https://") + QLatin1String(w.site) + path;
}

// The service's date-times: ISO 8601 in Moscow time, as its replies carry them.
QString isoTime(qint64 msecs)
{
    return QDateTime::fromMSecsSinceEpoch(msecs, Qt::OffsetFromUTC, 3 * 3600).toString(Qt::ISODate);
}

QString robotKey(int widgetId)
{
    return QStringLiteral("robot_%1").arg(widgetId);
}

// One chat and its messages, written in the order they happened.
class ChatScript
{
public:
    ChatScript(const QString &key, int apiId, int widgetId, const QString &visitor, qint64 start)
        : m_key(key)
        , m_apiId(apiId)
        , m_widgetId(widgetId)
        , m_visitor(visitor)
        , m_createdAt(start)
        , m_clock(start)
    {}

    QString key() const { return m_key; }
    int apiId() const { return m_apiId; }
    int widgetId() const { return m_widgetId; }
    QString visitorKey() const { return m_visitor; }
    qint64 createdAt() const { return m_createdAt; }
    QString robot() const { return robotKey(m_widgetId); }

    ChatScript &at(qint64 msecs)
    {
        m_clock = msecs;
        return *this;
    }
    ChatScript &add(const QString &sender, QJsonObject message, qint64 gap = 40 * 1000)
    {
        m_clock += gap;
        message.insert("sender", sender);
        message.insert("sentAt", double(m_clock));
        if (!message.contains("status"))
            message.insert("status", "read");
        if (m_startedAt == 0 && sender != m_visitor && sender != robot())
            m_startedAt = m_clock;
        m_messages.append(message);
        return *this;
    }
    ChatScript &text(const QString &sender, const QString &text, const QString &status = "read")
    {
        return add(sender, {{"type", "text"}, {"text", text}, {"status", status}});
    }
    ChatScript &greeting(const QString &text)
    {
        return add(robot(), {{"type", "text"}, {"text", text}, {"autoInvitation", true}}, 0);
    }
    ChatScript &event(const QString &sender, const QString &type, const QString &target = {})
    {
        QJsonObject message{{"type", type}, {"status", "delivered"}};
        if (!target.isEmpty())
            message.insert("target", target);
        return add(sender, message);
    }
    ChatScript &system(const QString &subType,
                       const QString &text,
                       const QJsonObject &attributes = {},
                       const QString &sender = {})
    {
        QJsonObject message{{"type", "system"}, {"subType", subType}, {"status", "delivered"}};
        if (!text.isEmpty())
            message.insert("text", text);
        if (!attributes.isEmpty())
            message.insert("attributes", attributes);
        return add(sender.isEmpty() ? robot() : sender, message);
    }
    ChatScript &image(const QString &sender, const QString &base, const QString &name)
    {
        return add(sender,
                   {{"type", "image"},
                    {"url", QString(base + DemoFiles::picturePath(name))},
                    {"preview", QString(base + DemoFiles::previewPath(name))},
                    {"filename", QString(name + QStringLiteral(".png"))},
                    {"size", DemoFiles::picture(name).size()},
                    {"status", "delivered"}});
    }
    ChatScript &file(const QString &sender,
                     const QString &base,
                     const QString &fileName,
                     const QString &shownName)
    {
        return add(sender,
                   {{"type", "file"},
                    {"url", QString(base + DemoFiles::documentPath(fileName))},
                    {"icon", QString(base + DemoFiles::logoPath(QStringLiteral("file")))},
                    {"filename", shownName},
                    {"size", DemoFiles::document(fileName).size()},
                    {"status", "read"}});
    }

    // The realtime record; the newest visitor messages not yet read count as unread.
    QJsonObject chat(const QStringList &operators, const QJsonObject &extra = {}) const
    {
        const Widget &w = widget(m_widgetId);
        const QJsonObject &last = m_messages.constLast();
        QJsonObject lastMessage;
        for (const char *field : {"sender", "sentAt", "status", "text", "type", "target"}) {
            if (last.contains(QLatin1String(field)))
                lastMessage.insert(QLatin1String(field), last.value(QLatin1String(field)));
        }
        int unread = 0;
        for (int i = m_messages.size() - 1; i >= 0; --i) {
            const QJsonObject &message = m_messages.at(i);
            if (message.value("sender").toString() != m_visitor
                || message.value("status").toString() == QLatin1String("read"))
                break;
            ++unread;
        }
        QJsonObject chat{
            {"apiId", m_apiId},
            {"createdAt", double(m_createdAt)},
            {"lastMessage", lastMessage},
            {"link", siteUrl(w, QLatin1String(visitor(m_visitor).page))},
            {"messageTarget", "all"},
            {"messagesCount", m_messages.size()},
            {"noAnswerRequired", false},
            {"operators", QJsonArray::fromStringList(operators)},
            {"robot", robot()},
            {"status", "work"},
            {"unreadCount", unread},
            {"visitor", m_visitor},
            {"visitorBlocked", false},
            {"widgetId", m_widgetId},
        };
        if (m_startedAt > 0)
            chat.insert("startedAt", double(m_startedAt));
        for (auto it = extra.begin(); it != extra.end(); ++it)
            chat.insert(it.key(), it.value());
        return chat;
    }
    // Keyed so that the keys sort in time order, as pushed keys do.
    QJsonObject messages() const
    {
        QJsonObject keyed;
        for (int i = 0; i < m_messages.size(); ++i)
            keyed.insert(QStringLiteral("%1-m%2").arg(m_key).arg(i + 1, 3, 10, QLatin1Char('0')),
                         m_messages.at(i));
        return keyed;
    }
    const QVector<QJsonObject> &messageList() const { return m_messages; }

private:
    QString m_key;
    int m_apiId;
    int m_widgetId;
    QString m_visitor;
    qint64 m_createdAt;
    qint64 m_startedAt = 0;
    qint64 m_clock;
    QVector<QJsonObject> m_messages;
};

class Builder
{
public:
    Builder(const QString &baseUrl, qint64 now)
        : m_base(baseUrl)
        , m_now(now)
    {}

    QJsonObject build();

private:
    QString photo(const QString &name) const { return m_base + DemoFiles::avatarPath(name); }
    QJsonObject operatorProfile(const Operator &op) const;
    QJsonObject realtimeUsers(int accountId) const;
    QJsonObject userKeys(int accountId) const;
    QJsonObject quickAnswers(int accountId) const;
    QJsonObject visitorRecord(const Visitor &v) const;
    QJsonObject visit(const Visitor &v, int chats, bool blocked, bool introduced) const;
    QJsonObject settings(int accountId) const;
    QVector<ChatScript> liveChats(QHash<QString, QJsonObject> *chats) const;
    QJsonObject history(QJsonObject *infos) const;
    QJsonObject offlineMessages() const;
    QJsonObject chatInfo(const ChatScript &script, const QString &status, bool blocked) const;

    QString m_base;
    qint64 m_now;
};

QJsonObject Builder::operatorProfile(const Operator &op) const
{
    QJsonArray permissions;
    // Function ids: 1 chats, 2 history, 3 visitors online, 4 offline requests, 5 settings.
    const int functions = op.role <= 2 ? 5 : 4;
    for (int function = 1; function <= functions; ++function)
        permissions.append(QJsonObject{{"id", op.apiId * 10 + function},
                                       {"function_id", function},
                                       {"user_id", op.apiId}});
    const QString login = QLatin1String(op.login);
    return {
        {"id", op.apiId},
        {"role", op.role},
        {"name", QString::fromUtf8(op.name)},
        {"surname", QString::fromUtf8(op.surname)},
        {"email",
         login.isEmpty() ? QStringLiteral("user%1@demo.tallyra.local").arg(op.apiId) : login},
        {"phone", QStringLiteral("+7 495 100-%1").arg(op.apiId % 10000, 4, 10, QLatin1Char('0'))},
        {"user_logo", DemoFiles::avatarPath(QString::fromLatin1(op.key).mid(1).toLower())},
        {"profession", QString::fromUtf8(op.position)},
        {"service_id", op.accountId == kShopAccount ? 1 : 2},
        {"account_id", op.accountId},
        {"name_full",
         QString(QString::fromUtf8(op.name) + QLatin1Char(' ') + QString::fromUtf8(op.surname))},
        {"logo_path", DemoFiles::logoPath(QStringLiteral("account-%1").arg(op.accountId))},
        {"online_visitor_enabled", op.accountId == kShopAccount ? 1 : 0},
        {"permissions", permissions},
    };
}

QJsonObject Builder::realtimeUsers(int accountId) const
{
    QJsonObject users;
    int index = 0;
    for (const Operator &op : kOperators) {
        if (op.accountId != accountId)
            continue;
        const QString key = QLatin1String(op.key);
        const QString avatar = key.mid(1).toLower();
        QJsonObject aliases;
        for (const int widgetId : op.widgets) {
            // Visitors of the support widget see the full name; the shop's, a first name.
            const QString name = widgetId == 603 ? QString::fromUtf8(op.name) + QLatin1Char(' ')
                                                       + QString::fromUtf8(op.surname).left(1)
                                                       + QLatin1Char('.')
                                                 : QString::fromUtf8(op.name);
            aliases.insert(QString::number(widgetId),
                           QJsonObject{{"name", name},
                                       {"photo",
                                        photo(avatar + QStringLiteral("-w%1").arg(widgetId))},
                                       {"position", QString::fromUtf8(widget(widgetId).name)}});
        }
        users.insert(key,
                     QJsonObject{{"apiId", op.apiId},
                                 {"name",
                                  QString(QString::fromUtf8(op.name) + QLatin1Char(' ')
                                          + QString::fromUtf8(op.surname))},
                                 {"online", op.online},
                                 {"photo", photo(avatar)},
                                 {"position", QString::fromUtf8(op.position)},
                                 {"role", "operator"},
                                 {"hasEmail", true},
                                 {"integrationType", ""},
                                 {"reauth", false},
                                 {"lastActiveAt",
                                  double(m_now - (op.online ? 1 : 26 + 7 * index) * kMinute)},
                                 {"aliases", aliases}});
        ++index;
    }
    for (const Widget &w : kWidgets) {
        if (w.accountId != accountId)
            continue;
        users.insert(robotKey(w.id),
                     QJsonObject{{"name", QStringLiteral("Бот «%1»").arg(QString::fromUtf8(w.name))},
                                 {"online", true},
                                 {"photo",
                                  QString(m_base
                                          + DemoFiles::logoPath(robotKey(w.id).replace('_', '-')))},
                                 {"role", "robot"}});
    }
    for (const Visitor &v : kVisitors) {
        if (v.accountId != accountId)
            continue;
        const QString name = QString::fromUtf8(v.name);
        users.insert(QLatin1String(v.key),
                     QJsonObject{{"name", name.isEmpty() ? QStringLiteral("Посетитель") : name},
                                 {"online", v.online},
                                 {"photo", photo(QString::fromLatin1(v.key).mid(1).toLower())},
                                 {"role", "visitor"},
                                 {"hasEmail", !QByteArray(v.email).isEmpty()},
                                 {"integrationType", QLatin1String(v.integration)},
                                 {"lastActiveAt", double(m_now - (v.online ? 0 : 3) * kHour)},
                                 {"visitUrl", siteUrl(widget(v.widgetId), QLatin1String(v.page))}});
    }
    return users;
}

QJsonObject Builder::userKeys(int accountId) const
{
    QJsonObject keys;
    for (const Widget &w : kWidgets) {
        if (w.accountId != accountId)
            continue;
        QJsonObject enabled;
        for (const Operator &op : kOperators) {
            if (op.widgets.contains(w.id))
                enabled.insert(QLatin1String(op.key), true);
        }
        keys.insert(QString::number(w.id), enabled);
    }
    if (accountId == kShopAccount) {
        // A key the demo operator used before: switched off, so it must not count.
        QJsonObject shop = keys.value("601").toObject();
        shop.insert("-DemoOpOlgaOld001", false);
        keys.insert("601", shop);
    }
    return keys;
}

QJsonObject Builder::quickAnswers(int accountId) const
{
    if (accountId == kPartnerAccount) {
        return {{"401",
                 QJsonObject{{"accountId", accountId},
                             {"userId", 0},
                             {"siteId", 0},
                             {"text", "Добрый день! Расскажу об условиях партнёрства."},
                             {"type", "account"}}}};
    }
    struct Answer
    {
        int id;
        const char *type;
        int siteId;
        int userId;
        const char *text;
    };
    const Answer answers[] = {
        {301, "account", 0, 0, "Здравствуйте! Чем могу помочь?"},
        {302, "account", 0, 0, "Спасибо за обращение! Хорошего дня."},
        {303, "site", 501, 0, "Доставка по Москве — 1–2 дня, по России — от 3 дней."},
        {304, "site", 502, 0, "Гарантия на всю технику — 12 месяцев."},
        {305, "user", 0, 1001, "Одну минуту, уточняю у склада."},
        {306, "user", 0, 1002, "Передаю ваш вопрос руководителю, ответим сегодня."},
    };
    QJsonObject result;
    for (const Answer &answer : answers) {
        result.insert(QString::number(answer.id),
                      QJsonObject{{"accountId", accountId},
                                  {"userId", answer.userId},
                                  {"siteId", answer.siteId},
                                  {"text", QString::fromUtf8(answer.text)},
                                  {"type", QLatin1String(answer.type)}});
    }
    return result;
}

QJsonObject Builder::visitorRecord(const Visitor &v) const
{
    const Widget &w = widget(v.widgetId);
    QJsonObject params{{"-DemoPar1",
                        QJsonObject{{"key", "city"},
                                    {"title", "Город"},
                                    {"value", QString::fromUtf8(v.city).section(", ", 1)}}}};
    if (v.widgetId == 601) {
        params.insert("-DemoPar2",
                      QJsonObject{{"key", "cart_total"},
                                  {"title", "Сумма корзины"},
                                  {"value", QStringLiteral("%1 ₽").arg(v.hits * 6130)}});
    }
    return {
        {"apiVisitId", double(v.visitId)},
        {"apiVisitorId", double(v.visitId + 4400000)},
        {"autoInvite", v.hits > 5},
        {QStringLiteral("chat\u0421reated"), false},
        {"chatKey", ""},
        {"chatWidgetId", v.widgetId},
        {"currentUrl", siteUrl(w, QLatin1String(v.page))},
        {"email", QLatin1String(v.email)},
        {"hits", v.hits},
        {"lastActiveAt", double(m_now - (v.online ? 1 : 180) * kMinute)},
        {"createdAt", double(m_now - (v.hits * 4 + 10) * kMinute)},
        {"location", QString::fromUtf8(v.city)},
        {"name", QString::fromUtf8(v.name)},
        {"online", v.online},
        {"phone", QLatin1String(v.phone)},
        {"photo", photo(QString::fromLatin1(v.key).mid(1).toLower())},
        {"ip", QLatin1String(v.ip)},
        {"said", false},
        {"params", params},
    };
}

QJsonObject Builder::visit(const Visitor &v, int chats, bool blocked, bool introduced) const
{
    const Widget &w = widget(v.widgetId);
    QJsonObject result{
        {"email", QLatin1String(v.email)},
        {"phone", QLatin1String(v.phone)},
        {"name", QString::fromUtf8(v.name)},
        {"visit_ip", QLatin1String(v.ip)},
        {"ip_place", QString::fromUtf8(v.city)},
        {"last_host", QLatin1String(w.site)},
        {"last_url", siteUrl(w, QLatin1String(v.page))},
        {"created_at", isoTime(m_now - (v.hits * 4 + 10) * kMinute)},
        {"chat_quant", chats},
        {"site", QLatin1String(w.site)},
        {"blocked", blocked ? 1 : 0},
        {"visit_quant", v.hits},
        {"introduced", introduced ? 1 : 0},
        {"referrer_host", QLatin1String(v.referrer)},
        {"custom_params",
         QJsonArray{QJsonObject{{"param", "client_id"}, {"value", QString::number(v.visitId * 7)}}}},
        {"vkontakte_url",
         QLatin1String(v.integration) == QLatin1String("vk")
             ? QStringLiteral("https://vk.com/id%1").arg(v.visitId)
             : QString()},
    };
    if (QLatin1String(v.referrer) == QLatin1String("yandex.ru")) {
        result.insert("utm_source", "yandex");
        result.insert("utm_medium", "cpc");
        result.insert("utm_campaign", "autumn_sale");
        result.insert("roistat_promo", 4821);
    }
    return result;
}

QJsonObject Builder::settings(int accountId) const
{
    QJsonObject sites;
    QJsonObject widgetSettings;
    QJsonObject chatWidgets;
    for (const Widget &w : kWidgets) {
        if (w.accountId != accountId)
            continue;
        QVector<const Operator *> staff;
        for (const Operator &op : kOperators) {
            if (op.widgets.contains(w.id))
                staff.append(&op);
        }
        QJsonArray site = sites.value(QString::number(w.siteId)).toArray();
        for (const Operator *op : staff) {
            site.append(QJsonObject{{"account_id", accountId},
                                    {"chat_widget_id", w.id},
                                    {"distribution_percent", 100 / staff.size()},
                                    {"site_id", w.siteId},
                                    {"user_id", op->apiId}});
        }
        sites.insert(QString::number(w.siteId), site);
        widgetSettings.insert(QString::number(w.id),
                              QJsonObject{{"name", QString::fromUtf8(w.name)},
                                          {"pay_system", QLatin1String(w.paySystem)},
                                          {"message_sound", QLatin1String(w.messageSound)},
                                          {"sound", QLatin1String(w.sound)},
                                          {"rate_chat_view", QLatin1String(w.rateView)}});
        chatWidgets.insert(QString::number(w.id),
                           QJsonObject{{"id", w.id},
                                       {"name", QString::fromUtf8(w.name)},
                                       {"is_enabled", 1},
                                       {"site", QLatin1String(w.site)}});
    }
    return {
        {"sites", sites},
        {"default_settings",
         QJsonObject{{"name", "Виджет по умолчанию"},
                     {"pay_system", "none"},
                     {"message_sound", "chat1"},
                     {"sound", "chat1"},
                     {"rate_chat_view", "stars"}}},
        {"chat_widget_settings", widgetSettings},
        {"chat_tariff",
         QJsonObject{{"dialog_cost", accountId == kShopAccount ? "4.50" : "0"},
                     {"chat_pay_dialog", accountId == kShopAccount ? 1 : 0},
                     {"free_chat_widget", accountId == kShopAccount ? 0 : 1},
                     {"ispayed_chat", accountId == kShopAccount ? 1 : 0}}},
        {"chat_widgets", chatWidgets},
    };
}

QJsonObject Builder::chatInfo(const ChatScript &script, const QString &status, bool blocked) const
{
    const Visitor &v = visitor(script.visitorKey());
    bool introduced = false;
    for (const QJsonObject &message : script.messageList())
        introduced = introduced
                     || message.value("subType").toString() == QLatin1String("introduction");
    const Widget &w = widget(script.widgetId());
    return {
        {"chat_info",
         QJsonObject{{"account_id", w.accountId},
                     {"id", script.apiId()},
                     {"created_at", isoTime(script.createdAt())},
                     {"link", siteUrl(w, QLatin1String(v.page))},
                     {"status", status},
                     {"chat_key", script.key()}}},
        {"site_id", w.siteId},
        {"visit", visit(v, 1 + script.apiId() % 3, blocked, introduced)},
    };
}

// The chats open now, for every list of the demo operator (Ольга): her own, her colleagues'
// and the missed ones, with every kind of message.
QVector<ChatScript> Builder::liveChats(QHash<QString, QJsonObject> *chats) const
{
    QVector<ChatScript> scripts;
    const QString elena = "-DemoVisElena0001";
    ChatScript a("-DemoChat0001shop", 70001, 601, elena, m_now - kDay - 3 * kHour);
    a.greeting("Здравствуйте! Подсказать что-нибудь по ноутбукам?")
        .text(elena, "Здравствуйте. Выбираю ноутбук для работы, бюджет до 90 тысяч.")
        .event(kOlga, "joined")
        .text(kOlga, "Добрый день! Меня зовут Ольга. Для каких задач нужен ноутбук?")
        .text(elena, "Таблицы, почта, видеозвонки. Иногда обрабатываю фотографии.")
        .text(kOlga,
              "Посмотрите Aero 14: 16 ГБ памяти, экран 2.8K, вес 1,3 кг.\n"
              "https://shop.demo.tallyra.local/catalog/aero-14/")
        .system("link",
                {},
                {{"title", "Ноутбук Aero 14 — купить в демо-магазине"},
                 {"url", "https://shop.demo.tallyra.local/catalog/aero-14/"},
                 {"imageUrl", QString(m_base + DemoFiles::previewPath("aero-14"))},
                 {"icon", QString(m_base + DemoFiles::logoPath("account-101"))},
                 {"operator", kOlga}},
                kOlga)
        .text(elena,
              "Вот моё рабочее место — поместится 14 дюймов? "
              "🙂")
        .image(elena, m_base, "elena-desk")
        .text(kOlga, "Да, поместится с запасом. Вот Aero 14 на похожем столе:")
        .image(kOlga, m_base, "aero-14")
        .text(elena, "Красивый! А что с доставкой?")
        .file(kOlga, m_base, "delivery-terms.txt", "Условия доставки.txt")
        .text(kOlga,
              "Отправила условия. По Москве привезём за 1–2 дня, от 5 000 "
              "₽ "
              "бесплатно.")
        .text(elena, "Хорошо, подумаю до завтра.")
        .text(kOlga, "Конечно! Если появятся вопросы — пишите сюда же.")
        .at(m_now - 2 * kHour)
        .text(elena, "Доброе утро! Решилась, беру Aero 14.")
        .text(kOlga, "Отлично! Сейчас пришлю ссылку на оплату.")
        .system("pay_link",
                {},
                {{"title", "Ноутбук Aero 14"},
                 {"quantity", 1},
                 {"amount", "84990"},
                 {"link", "https://pay.demo.tallyra.local/i/1042"},
                 {"currency", "RUB"},
                 {"currencyText", "₽"},
                 {"status", "created"},
                 {"paySystem", "yookassa"},
                 {"operator", kOlga}})
        .text(elena, "Оплатила 👍")
        .system("introduction",
                {},
                {{"name", "Елена Васильева"},
                 {"email", "elena.v@example.ru"},
                 {"phone", "+7 915 200-14-88"}},
                elena)
        .text(kOlga, "Спасибо, Елена! Заказ № 1042 передан в доставку.")
        .file(kOlga, m_base, "order-1042.txt", "Заказ 1042.txt")
        .text(kOlga, "Прайс на аксессуары, если пригодится:")
        .file(kOlga, m_base, "price-list.csv", "Прайс-лист.csv")
        .text(elena, "А можно привезти после шести вечера?", "delivered")
        .text(elena, "И ещё: сумка на 15 дюймов к нему подойдёт?", "delivered");
    chats->insert(a.key(), a.chat({kOlga}));
    scripts.append(a);

    const QString pavel = "-DemoVisPavel0002";
    ChatScript b("-DemoChat0002help", 70002, 603, pavel, m_now - 50 * kMinute);
    b.greeting("Есть вопросы по возврату или гарантии?")
        .text(pavel, "Здравствуйте, хочу вернуть мышь, не подошла.")
        .event(kIrina, "joined")
        .text(kIrina, "Здравствуйте! Подскажите номер заказа?")
        .text(pavel, "Заказ 0987, вот чек")
        .image(pavel, m_base, "receipt-0987")
        .event(kIrina, "invitation", kOlga)
        .event(kOlga, "joined")
        .text(kOlga, "Павел, добрый день! Возврат оформим — пришлите, пожалуйста, фото упаковки.")
        .event(kIrina, "left")
        .text(pavel, "Сейчас пришлю", "delivered");
    chats->insert(b.key(),
                  b.chat({kOlga},
                         {{"userActivity", QJsonObject{{pavel, "text"}}},
                          {"userText", QJsonObject{{pavel, "Упаковка целая, только"}}}}));
    scripts.append(b);

    const QString sveta = "-DemoVisSveta0003";
    ChatScript c("-DemoChat0003ship", 70003, 602, sveta, m_now - 4 * kMinute);
    c.greeting("Подскажем по доставке и самовывозу!")
        .text(sveta, "Добрый день! Сколько стоит доставка в Казань?", "delivered");
    chats->insert(c.key(),
                  c.chat({}, {{"userToNotification", QJsonObject{{kOlga, true}, {kSergey, true}}}}));
    scripts.append(c);

    const QString nikolai = "-DemoVisNikol0004";
    ChatScript d("-DemoChat0004shop", 70004, 601, nikolai, m_now - 35 * kMinute);
    d.text(nikolai, "Есть мониторы 27 дюймов с USB-C?")
        .event(kIrina, "joined")
        .text(kIrina, "Да, три модели. Какой бюджет?")
        .text(nikolai, "До 35 тысяч.")
        .text(kIrina,
              "Тогда View 27C — 32 990 ₽, заряжает ноутбук по USB-C.",
              "delivered");
    chats->insert(d.key(), d.chat({kIrina}));
    scripts.append(d);

    const QString spam = "-DemoVisSpam00005";
    ChatScript e("-DemoChat0005shop", 70005, 601, spam, m_now - 5 * kHour);
    e.text(spam, "РЕКЛАМА!!! Продвижение сайтов дёшево http://spam.example/")
        .event(kMaxim, "joined")
        .text(kMaxim, "Нас это не интересует.")
        .system("visitor_blocked", "Посетитель заблокирован", {}, kMaxim);
    chats->insert(e.key(), e.chat({kMaxim}, {{"visitorBlocked", true}}));
    scripts.append(e);

    const QString tanya = "-DemoVisTanya0006";
    ChatScript f("-DemoChat0006help", 70006, 603, tanya, m_now - 3 * kHour);
    f.greeting("Есть вопросы по возврату или гарантии?")
        .text(tanya,
              "Как продлить гарантию на ноутбук? Пишу вечером — ответьте, пожалуйста, на почту.",
              "delivered");
    chats->insert(f.key(), f.chat({}));
    scripts.append(f);

    const QString alex = "-DemoVisAlex00007";
    ChatScript g("-DemoChat0007ship", 70007, 602, alex, m_now - 30 * kMinute);
    g.text(alex, "Вы работаете в выходные?", "delivered");
    chats->insert(g.key(), g.chat({}));
    scripts.append(g);

    const QString marina = "-DemoVisMarin0008";
    ChatScript h("-DemoChat0008help", 70008, 603, marina, m_now - 80 * kMinute);
    h.text(marina, "Подскажите, где посмотреть статус ремонта?")
        .event(kOlga, "joined")
        .text(kOlga, "В личном кабинете, раздел «Сервис». Номер заявки придёт в SMS.")
        .text(marina, "Спасибо, всё понятно!")
        .text(kOlga, "Рада помочь!", "delivered")
        .system("not_require_answer", "Ольга С. нажал \"Не ждет ответа\"");
    chats->insert(h.key(), h.chat({kOlga}, {{"noAnswerRequired", true}}));
    scripts.append(h);
    return scripts;
}

// Ended dialogs spread over five weeks, kept by the service for the history pages.
QJsonObject Builder::history(QJsonObject *infos) const
{
    const char *const topics[][2] = {
        {"Есть ли рассрочка на ноутбуки?", "Да, на 6 и 12 месяцев без переплаты."},
        {"Когда привезут заказ 0955?", "Завтра с 10 до 14, курьер позвонит заранее."},
        {"Не включается ноутбук после обновления.", "Зажмите питание на 15 секунд, затем включите."},
        {"Можно забрать заказ самовывозом?", "Да, с сегодняшнего дня, ул. Демонстрационная, 1."},
        {"Есть ли скидка для студентов?", "5 % по студенческому билету."},
        {"Как поменять адрес доставки?", "Напишите новый адрес, я поправлю заказ."},
    };
    const char *const operators[] = {kOlga, kIrina, kMaxim, kSergey};
    const char *const visitors[] = {"-DemoVisElena0001",
                                    "-DemoVisNikol0004",
                                    "-DemoVisTanya0006",
                                    "-DemoVisMarin0008",
                                    "-DemoVisAlex00007",
                                    "-DemoVisPavel0002"};
    QJsonObject history;
    for (int i = 0; i < 12; ++i) {
        const QString op = QLatin1String(operators[i % 4]);
        const QString guest = QLatin1String(visitors[i % 6]);
        const int widgetId = 601 + i % 3;
        ChatScript script(QStringLiteral("-DemoHist%1").arg(i + 1, 4, 10, QLatin1Char('0')),
                          71001 + i,
                          widgetId,
                          guest,
                          m_now - (2 + i * 3) * kDay - (i % 5) * kHour);
        // Now and then nobody answered before the visitor left: a lost chat.
        const bool lost = i % 5 == 4;
        script.text(guest, QString::fromUtf8(topics[i % 6][0]), lost ? "delivered" : "read");
        if (!lost) {
            script.event(op, "joined")
                .text(op, QString::fromUtf8(topics[i % 6][1]))
                .text(guest, "Спасибо!")
                .system("chat_ended", "Диалог завершён");
        }
        const QJsonObject chat = lost
                                     ? script.chat({}, {{"status", "lost"}})
                                     : script.chat({op}, {{"status", "ended"}, {"unreadCount", 0}});
        QJsonArray messages;
        for (const QJsonObject &message : script.messageList())
            messages.append(message);
        history.insert(QString::number(script.apiId()),
                       QJsonObject{{"chat", chat}, {"chat_messages", messages}});
        infos->insert(QString::number(script.apiId()), chatInfo(script, "ended", false));
    }
    return history;
}

QJsonObject Builder::offlineMessages() const
{
    struct Request
    {
        int id;
        const char *visitorKey;
        const char *message;
        const char *form;
        int hoursAgo;
    };
    const Request requests[] = {
        {9001, "-DemoVisTanya0006", "Перезвоните, пожалуйста, по поводу гарантии.", "offline", 14},
        {9002, "-DemoVisAlex00007", "Нужна доставка в субботу, это возможно?", "offline", 40},
        {9003, "-DemoVisElena0001", "Хочу оптовый прайс для офиса.", "callback", 75},
        {9004,
         "-DemoVisNikol0004",
         "Не нашёл монитор в наличии, сообщите о поступлении.",
         "offline",
         130},
        {9005, "-DemoVisMarin0008", "Оставлю телефон: +7 916 700-11-22.", "callback", 300},
    };
    QJsonObject result;
    for (const Request &request : requests) {
        const Visitor &v = visitor(QLatin1String(request.visitorKey));
        const Widget &w = widget(v.widgetId);
        result.insert(QString::number(request.id),
                      QJsonObject{{"id", request.id},
                                  {"created_at", isoTime(m_now - request.hoursAgo * kHour)},
                                  {"email", QLatin1String(v.email)},
                                  {"visit_ip", QLatin1String(v.ip)},
                                  {"ip_place", QString::fromUtf8(v.city)},
                                  {"message", QString::fromUtf8(request.message)},
                                  {"phone", QLatin1String(v.phone)},
                                  {"referrer", QLatin1String(v.referrer)},
                                  {"url", siteUrl(w, QLatin1String(v.page))},
                                  {"visit_created_at",
                                   isoTime(m_now - request.hoursAgo * kHour - 7 * kMinute)},
                                  {"name", QString::fromUtf8(v.name)},
                                  {"chat_widget_id", w.id},
                                  {"chat_widget_name", QString::fromUtf8(w.name)},
                                  {"type_form", QLatin1String(request.form)}});
    }
    return result;
}

QJsonObject Builder::build()
{
    // The chat API's records, laid out as ChatApi reads them.
    QJsonObject services;
    for (const Service &service : kServices) {
        services.insert(QString::number(service.id),
                        QJsonObject{{"id", service.id},
                                    {"name", QString::fromUtf8(service.name)},
                                    {"logo_path",
                                     DemoFiles::logoPath(
                                         QStringLiteral("service-%1").arg(service.id))},
                                    {"domain", QLatin1String(service.domain)},
                                    {"account_id", service.accountId}});
    }
    QJsonObject apiUsers;
    const QString passwordHash = PasswordHash::make(DemoSeed::password);
    for (const Operator &op : kOperators) {
        QJsonObject user{{"profile", operatorProfile(op)}, {"user_key", QLatin1String(op.key)}};
        if (*op.login)
            user.insert("password", passwordHash);
        apiUsers.insert(QString::number(op.apiId), user);
    }

    QJsonObject realtime;
    QJsonObject accounts;
    for (const Service &service : kServices) {
        const int accountId = service.accountId;
        QJsonObject keysToUsers;
        for (const Operator &op : kOperators) {
            if (op.accountId == accountId)
                keysToUsers.insert(QLatin1String(op.key), op.apiId);
        }
        QJsonObject visitors;
        for (const Visitor &v : kVisitors) {
            if (v.accountId == accountId && (v.online || *v.email))
                visitors.insert(QLatin1String(v.key), visitorRecord(v));
        }

        QHash<QString, QJsonObject> chats;
        QJsonObject chatMessages;
        QJsonObject infos;
        QJsonObject account{{"service_id", service.id},
                            {"user_keys", keysToUsers},
                            {"settings", settings(accountId)}};
        if (accountId == kShopAccount) {
            for (const ChatScript &script : liveChats(&chats)) {
                chatMessages.insert(script.key(), script.messages());
                const QJsonObject chat = chats.value(script.key());
                infos.insert(QString::number(script.apiId()),
                             chatInfo(script, "work", chat.value("visitorBlocked").toBool()));
                // The visitor's page shows the chat they started.
                QJsonObject record = visitors.value(script.visitorKey()).toObject();
                if (!record.isEmpty()) {
                    record.insert(QStringLiteral("chat\u0421reated"), true);
                    record.insert("chatKey", script.key());
                    record.insert("said", true);
                    visitors.insert(script.visitorKey(), record);
                }
            }
            account.insert("history", history(&infos));
            account.insert("offline_messages", offlineMessages());
        } else {
            const QString oleg = "-DemoVisGuest0016";
            ChatScript partner("-DemoChat0101part", 80001, 611, oleg, m_now - 20 * kMinute);
            partner.text(oleg, "Как стать партнёром?")
                .event(kDaria, "joined")
                .text(kDaria, "Заполните анкету, и я свяжусь с вами сегодня.", "delivered");
            chats.insert(partner.key(), partner.chat({kDaria}));
            chatMessages.insert(partner.key(), partner.messages());
            infos.insert(QString::number(partner.apiId()), chatInfo(partner, "work", false));
        }
        account.insert("chats", infos);
        accounts.insert(QString::number(accountId), account);

        QJsonObject chatsObject;
        for (auto it = chats.constBegin(); it != chats.constEnd(); ++it)
            chatsObject.insert(it.key(), it.value());
        const QJsonObject data{
            {"users", realtimeUsers(accountId)},
            {"chats", chatsObject},
            {"chat-messages", chatMessages},
            {"quick-answers", quickAnswers(accountId)},
            {"user-keys", userKeys(accountId)},
            {"visitors", visitors},
        };
        QJsonObject serviceNode = realtime.value(QString::number(service.id)).toObject();
        QJsonObject serviceAccounts = serviceNode.value("accounts").toObject();
        serviceAccounts.insert(QString::number(accountId), data);
        serviceNode.insert("accounts", serviceAccounts);
        realtime.insert(QString::number(service.id), serviceNode);
    }

    return {
        {"services", realtime},
        {"chat-api",
         QJsonObject{{"services", services}, {"users", apiUsers}, {"accounts", accounts}}},
    };
}

} // namespace

QJsonObject DemoSeed::build(const QString &baseUrl, qint64 nowMs)
{
    return Builder(baseUrl, nowMs < 0 ? QDateTime::currentMSecsSinceEpoch() : nowMs).build();
}
