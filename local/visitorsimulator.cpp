#include "local/visitorsimulator.h"

#include "local/demofiles.h"
#include "local/demoseed.h"

#include <QDateTime>
#include <QJsonArray>
#include <QTimer>

namespace {

const QJsonObject kServerTime{{".sv", "timestamp"}};

const QVector<QString> kNames = {"Анна",
                                 "Дмитрий",
                                 "Екатерина",
                                 "Игорь",
                                 "Ксения",
                                 "Михаил",
                                 "Наталья",
                                 "Олег",
                                 "Полина",
                                 "Роман",
                                 "Софья",
                                 "",
                                 "",
                                 ""};
const QVector<QString> kPlaces = {"Россия, Москва",
                                  "Россия, Санкт-Петербург",
                                  "Россия, Казань",
                                  "Россия, Новосибирск",
                                  "Россия, Екатеринбург",
                                  "Беларусь, Минск",
                                  "Казахстан, Алматы"};
const QVector<QString> kPages
    = {"/", "/catalog/", "/catalog/laptops/", "/delivery/", "/faq/", "/cart/", "/contacts/"};
const QVector<QString> kOpeners = {
    "Здравствуйте! Подскажите, есть ли этот товар в наличии?",
    "Добрый день. Сколько стоит доставка в Казань?",
    "Здравствуйте, можно оплатить заказ при получении?",
    "Привет! Как оформить возврат?",
    "Добрый вечер. У вас есть скидки для постоянных покупателей?",
    "Здравствуйте, не могу оформить заказ: кнопка не нажимается.",
};
const QVector<QString> kReplies = {
    "Спасибо, понятно.",
    "А если заказать сегодня, когда привезут?",
    "Хорошо, а гарантия сколько?",
    "Отлично, так и сделаю.",
    "Можно подробнее?",
    "Понял, спасибо за помощь!",
    "А самовывоз есть?",
};
const QVector<QString> kColleagueAnswers = {
    "Да, есть в наличии, можем отправить сегодня.",
    "Доставка по России от 3 дней, по Москве — на следующий день.",
    "Гарантия — 12 месяцев, чек придёт на почту.",
    "Оформил заказ, номер пришлю письмом.",
};
const QVector<QString> kColleagueGreetings = {
    "Здравствуйте! Сейчас посмотрю и отвечу.",
    "Добрый день! Уточняю у коллег, минуту.",
};

} // namespace

VisitorSimulator::VisitorSimulator(ChatApi *api,
                                   const ChatService::Account &account,
                                   const QString &baseUrl,
                                   QObject *parent)
    : QObject(parent)
    , m_api(api)
    , m_service(api->chatService())
    , m_account(account)
    , m_baseUrl(baseUrl)
    , m_arrivalTimer(new QTimer(this))
    , m_loadTimer(new QTimer(this))
{
    connect(m_loadTimer, &QTimer::timeout, this, &VisitorSimulator::sendLoad);
    DatabasePath chats;
    DatabasePath::parse(path(QStringLiteral("chat-messages")), &chats);
    m_api->database()->addListener(this, chats, -1, DatabaseQuery());
    connect(m_arrivalTimer, &QTimer::timeout, this, [this] {
        arrive(m_random.bounded(10) < 6 ? between(3000, 8000) : -1);
        if (m_random.bounded(10) == 0)
            colleagueComesOrGoes();
        m_arrivalTimer->start(
            int(60000 / m_settings.visitorsPerMinute * (0.5 + m_random.generateDouble())));
    });
}

VisitorSimulator::~VisitorSimulator()
{
    DatabasePath chats;
    DatabasePath::parse(path(QStringLiteral("chat-messages")), &chats);
    m_api->database()->removeListener(this, chats, -1);
}

void VisitorSimulator::start(const Settings &settings)
{
    m_settings = settings;
    m_random.seed(settings.seed ? settings.seed : QRandomGenerator::system()->generate());
    m_arrivalTimer->stop();
    if (settings.visitorsPerMinute > 0)
        m_arrivalTimer->start(2000);
    m_loadTimer->stop();
    if (settings.eventsPerSecond > 0) {
        m_loadChats = value(QStringLiteral("chats")).toObject().keys();
        m_loadDue = 0;
        m_loadTimer->start(50);
    }
}

void VisitorSimulator::sendLoad()
{
    // Twenty ticks a second, each sending its share; the fractions add up over the ticks.
    m_loadDue += m_settings.eventsPerSecond / 20.0;
    for (; m_loadDue >= 1 && !m_loadChats.isEmpty(); m_loadDue -= 1)
        m_service->visitorWrites(m_account,
                                 m_loadChats.at(int(m_random.bounded(quint32(m_loadChats.size())))),
                                 pick(kReplies));
}

QJsonValue VisitorSimulator::value(const QString &rest) const
{
    DatabasePath parsed;
    return DatabasePath::parse(path(rest), &parsed) ? m_api->database()->value(parsed)
                                                    : QJsonValue();
}

QString VisitorSimulator::path(const QString &rest) const
{
    return QStringLiteral("services/%1/accounts/%2/")
               .arg(m_account.serviceId)
               .arg(m_account.accountId)
           + rest;
}

void VisitorSimulator::later(int milliseconds,
                             const QString &visitorKey,
                             void (VisitorSimulator::*step)(Visitor &))
{
    QTimer::singleShot(milliseconds, this, [this, visitorKey, step] {
        const auto found = m_visitors.find(visitorKey);
        if (found != m_visitors.end())
            (this->*step)(found.value());
    });
}

QString VisitorSimulator::arrive(int chatAfterMs)
{
    const QJsonObject widgets
        = m_api->record(QStringLiteral("accounts/%1/settings").arg(m_account.accountId))
              .value(QLatin1String("chat_widgets"))
              .toObject();
    if (widgets.isEmpty())
        return {};
    const QJsonObject widget = widgets
                                   .value(widgets.keys().at(
                                       int(m_random.bounded(quint32(widgets.size())))))
                                   .toObject();
    const QString key = m_pushIds.next(QDateTime::currentMSecsSinceEpoch());
    const int hits = between(1, 12);
    m_api->write(path(QStringLiteral("visitors/") + key),
                 QJsonObject{{"apiVisitId", double(between(900000, 999999))},
                             {"chatWidgetId", widget.value(QLatin1String("id"))},
                             {"currentUrl",
                              QString(QStringLiteral("https://")
                                      + widget.value(QLatin1String("site")).toString()
                                      + pick(kPages))},
                             {"hits", hits},
                             {"createdAt", kServerTime},
                             {"lastActiveAt", kServerTime},
                             {"location", pick(kPlaces)},
                             {"name", pick(kNames)},
                             {"online", true},
                             {"photo",
                              QString(m_baseUrl
                                      + DemoFiles::avatarPath(
                                          // Picture names take letters, digits and "-".
                                          QStringLiteral("sim-")
                                          + key.mid(1).toLower().replace(QLatin1Char('_'),
                                                                         QLatin1Char('-'))))},
                             {"ip",
                              QStringLiteral("95.%1.%2.%3")
                                  .arg(between(1, 254))
                                  .arg(between(1, 254))
                                  .arg(between(1, 254))},
                             {"said", false},
                             {"autoInvite", hits > 5}});
    m_visitors.insert(key, Visitor{key, QString(), 0, false});
    m_arrivals.append(key);
    while (m_arrivals.size() > m_settings.maxVisitors) {
        const auto oldest = m_visitors.find(m_arrivals.constFirst());
        if (oldest != m_visitors.end())
            leave(oldest.value());
        else
            m_arrivals.removeFirst();
    }
    if (chatAfterMs == 0)
        startChat(m_visitors[key]);
    else if (chatAfterMs > 0)
        later(chatAfterMs, key, &VisitorSimulator::startChat);
    else
        later(between(60000, 180000), key, &VisitorSimulator::leave);
    return key;
}

void VisitorSimulator::startChat(Visitor &visitor)
{
    visitor.chatKey = m_service->openChat(m_account,
                                          visitor.key,
                                          QStringLiteral("Здравствуйте! Чем можем помочь?"));
    if (visitor.chatKey.isEmpty())
        return;
    m_chats.insert(visitor.chatKey, visitor.key);
    m_service->visitorWrites(m_account, visitor.chatKey, pick(kOpeners));
    // Nobody answers in two minutes: the visitor goes, and the chat is missed.
    later(120000, visitor.key, &VisitorSimulator::giveUp);
    if (m_random.bounded(10) < 3)
        later(between(5000, 15000), visitor.key, &VisitorSimulator::colleagueTakes);
}

void VisitorSimulator::databaseEvent(const DatabaseEvent &event)
{
    // services/S/accounts/A/chat-messages/CHAT/MESSAGE: an operator's new message to one of ours.
    const QStringList &keys = event.path.keys();
    if (keys.size() != 7 || event.kind != DatabaseEvent::Kind::Put)
        return;
    const auto chat = m_chats.constFind(keys.at(5));
    if (chat == m_chats.constEnd())
        return;
    const QJsonObject message = event.data.toObject();
    const QString sender = message.value(QLatin1String("sender")).toString();
    const QString type = message.value(QLatin1String("type")).toString();
    if (sender == chat.value() || sender.startsWith(QLatin1String("robot_"))
        || (type != QLatin1String("text") && type != QLatin1String("system")))
        return;
    const auto visitor = m_visitors.find(chat.value());
    if (visitor == m_visitors.end() || visitor->answered)
        return;
    // One reply per operator turn, however many messages the turn has.
    visitor->answered = true;
    later(between(m_settings.replyDelayMinMs, m_settings.replyDelayMaxMs),
          visitor->key,
          &VisitorSimulator::reply);
}

void VisitorSimulator::reply(Visitor &visitor)
{
    visitor.answered = false;
    m_service->visitorReads(m_account, visitor.chatKey);
    ++visitor.replies;
    if (visitor.replies == 2 && m_random.bounded(10) < 4) {
        m_service->introduce(m_account,
                             visitor.chatKey,
                             pick(kNames).isEmpty() ? QStringLiteral("Гость") : pick(kNames),
                             QStringLiteral("guest%1@example.ru").arg(between(100, 999)),
                             QStringLiteral("+7 900 %1-%2-%3")
                                 .arg(between(100, 999))
                                 .arg(between(10, 99))
                                 .arg(between(10, 99)));
        return;
    }
    if (m_random.bounded(10) < 2) {
        const QString name = QStringLiteral("photo-%1").arg(between(1, 9));
        m_service->visitorPosts(m_account,
                                visitor.chatKey,
                                {{"type", "image"},
                                 {"url", QString(m_baseUrl + DemoFiles::picturePath(name))},
                                 {"preview", QString(m_baseUrl + DemoFiles::previewPath(name))},
                                 {"filename", QString(name + QStringLiteral(".png"))},
                                 {"size", DemoFiles::picture(name).size()}});
        return;
    }
    m_service->visitorWrites(m_account, visitor.chatKey, pick(kReplies));
    if (visitor.replies >= between(3, 5))
        later(between(10000, 30000), visitor.key, &VisitorSimulator::leave);
    else if (!visitor.colleague.isEmpty())
        later(between(4000, 10000), visitor.key, &VisitorSimulator::colleagueAnswers);
}

void VisitorSimulator::giveUp(Visitor &visitor)
{
    if (visitor.replies == 0 && !visitor.answered)
        leave(visitor);
}

void VisitorSimulator::leave(Visitor &visitor)
{
    const QString key = visitor.key;
    m_service->visitorLeaves(m_account, key);
    m_chats.remove(visitor.chatKey);
    m_arrivals.removeOne(key);
    m_visitors.remove(key);
    // Gone from the visitors online a minute later, as the page's session ends.
    QTimer::singleShot(60000, this, [this, key] {
        m_api->write(path(QStringLiteral("visitors/") + key), QJsonValue());
    });
}

void VisitorSimulator::colleagueTakes(Visitor &visitor)
{
    const QJsonObject chat = value(QStringLiteral("chats/") + visitor.chatKey).toObject();
    if (chat.isEmpty() || !chat.value(QLatin1String("operators")).toArray().isEmpty())
        return;
    QString demoOperator;
    const QStringList online = colleagues(true, &demoOperator);
    if (online.isEmpty())
        return;
    const QString colleague = online.at(int(m_random.bounded(quint32(online.size()))));
    visitor.colleague = colleague;
    m_api->write(path(QStringLiteral("chats/%1/operators").arg(visitor.chatKey)),
                 QJsonArray{colleague});
    m_service->postMessage(m_account,
                           visitor.chatKey,
                           {{"sender", colleague},
                            {"sentAt", kServerTime},
                            {"status", "delivered"},
                            {"type", "joined"}});
    m_service->postMessage(m_account,
                           visitor.chatKey,
                           {{"sender", colleague},
                            {"sentAt", kServerTime},
                            {"status", "sent"},
                            {"type", "text"},
                            {"text", pick(kColleagueGreetings)}});
    // Now and then the colleague asks the demo operator for help.
    if (!demoOperator.isEmpty() && m_random.bounded(10) < 4) {
        m_api->write(path(QStringLiteral("chats/%1/userToNotification").arg(visitor.chatKey)),
                     QJsonObject{{colleague, true}, {demoOperator, true}});
        m_service->postMessage(m_account,
                               visitor.chatKey,
                               {{"sender", colleague},
                                {"target", demoOperator},
                                {"sentAt", kServerTime},
                                {"status", "sent"},
                                {"type", "invitation"}});
    }
}

void VisitorSimulator::colleagueAnswers(Visitor &visitor)
{
    m_service->postMessage(m_account,
                           visitor.chatKey,
                           {{"sender", visitor.colleague},
                            {"sentAt", kServerTime},
                            {"status", "sent"},
                            {"type", "text"},
                            {"text", pick(kColleagueAnswers)}});
}

QStringList VisitorSimulator::colleagues(bool onlineOnly, QString *demoOperator) const
{
    const QJsonObject users = value(QStringLiteral("users")).toObject();
    const QJsonObject keys = m_api->record(
        QStringLiteral("accounts/%1/user_keys").arg(m_account.accountId));
    QStringList found;
    for (auto it = keys.constBegin(); it != keys.constEnd(); ++it) {
        const QJsonObject apiUser = m_api->record(
            QStringLiteral("users/%1").arg(ChatApi::idOf(it.value())));
        if (apiUser.contains(QLatin1String("password"))) {
            const QString email = apiUser.value(QLatin1String("profile"))
                                      .toObject()
                                      .value(QLatin1String("email"))
                                      .toString();
            if (demoOperator && email == DemoSeed::operatorLogin)
                *demoOperator = it.key();
            continue;
        }
        if (!onlineOnly || users.value(it.key()).toObject().value(QLatin1String("online")).toBool())
            found.append(it.key());
    }
    return found;
}

void VisitorSimulator::colleagueComesOrGoes()
{
    const QStringList all = colleagues(false);
    if (all.isEmpty())
        return;
    const QString colleague = all.at(int(m_random.bounded(quint32(all.size()))));
    const bool online = value(QStringLiteral("users/%1/online").arg(colleague)).toBool();
    m_api->write(path(QStringLiteral("users/%1/online").arg(colleague)), !online);
    m_api->write(path(QStringLiteral("users/%1/lastActiveAt").arg(colleague)), kServerTime);
}
