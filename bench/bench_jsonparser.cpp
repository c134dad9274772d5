// Cost of turning the account's first snapshots into records: QJsonDocument parsing alone
// against parsing plus the mappings that the realtime handlers run on "init".
//
//   bench_jsonparser [small|large] [--rounds N] [--write DIR]
//
// The snapshot is generated with a fixed seed in the shapes the database sends; --write keeps
// the three bodies for inspection.
#include "network/firebasereply.h"
#include "util/jsonparser.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QTextStream>

#include <algorithm>
#include <vector>

namespace {

struct Profile
{
    const char *name;
    int chats;
    int visitorUsers;
    int operators;
    int visitorsOnline;
};

constexpr Profile Profiles[] = {
    {"small", 100, 100, 10, 500},
    {"large", 3000, 3000, 200, 20000},
};

const qint64 Now = 1709641234567; // a fixed "now" keeps the bodies identical between runs

const QStringList FirstNames = {"Анна",
                                "Мария",
                                "Елена",
                                "Ольга",
                                "Ирина",
                                "Дмитрий",
                                "Алексей",
                                "Сергей",
                                "Павел",
                                "Наталья",
                                "Юлия",
                                "Андрей"};
const QStringList LastNames = {"Петрова",
                               "Смирнова",
                               "Иванова",
                               "Кузнецова",
                               "Соколов",
                               "Попов",
                               "Лебедев",
                               "Козлов",
                               "Новикова",
                               "Морозов"};
const QStringList Positions = {"Менеджер по продажам",
                               "Консультант",
                               "Старший специалист",
                               "Служба поддержки",
                               "Руководитель отдела"};
const QStringList Cities = {"Россия, Москва",
                            "Россия, Санкт-Петербург",
                            "Россия, Казань",
                            "Россия, Новосибирск",
                            "Казахстан, Алматы",
                            "Беларусь, Минск"};
const QStringList Pages = {"/",
                           "/catalog/",
                           "/catalog/smartfony/",
                           "/catalog/noutbuki/",
                           "/delivery/",
                           "/contacts/",
                           "/cart/",
                           "/product/8812-naushniki/"};
const QStringList Texts = {"Здравствуйте! Подскажите, есть ли доставка в Казань?",
                           "Добрый день, заказ №48213 ещё не пришёл, можно уточнить статус?",
                           "Спасибо, всё понятно",
                           "Какая гарантия на этот ноутбук?",
                           "Можно оплатить картой при получении?",
                           "Здравствуйте, чем могу помочь?",
                           "Сейчас проверю наличие на складе, одну минуту."};

class Generator
{
public:
    explicit Generator(const Profile &profile)
        : m_profile(profile)
    {
        for (int i = 0; i < 12; ++i)
            m_widgets.append(10200 + i * 17);
        for (int i = 0; i < profile.operators; ++i)
            m_operatorKeys.append(pushKey());
        for (int i = 0; i < profile.visitorUsers; ++i)
            m_visitorKeys.append(pushKey());
        for (int i = 0; i < profile.chats; ++i)
            m_chatKeys.append(pushKey());
    }

    QJsonObject users()
    {
        QJsonObject users;
        for (int i = 0; i < m_operatorKeys.size(); ++i) {
            const QString name = pick(FirstNames) + ' ' + pick(LastNames);
            QJsonObject aliases;
            for (int w = 0; w < 3; ++w) {
                aliases.insert(QString::number(pick(m_widgets)),
                               QJsonObject{{"name", name.section(' ', 0, 0)},
                                           {"photo", avatar(i)},
                                           {"position", pick(Positions)}});
            }
            users.insert(m_operatorKeys[i],
                         QJsonObject{{"apiId", 1000 + i},
                                     {"name", name},
                                     {"online", chance(60)},
                                     {"photo", avatar(i)},
                                     {"position", pick(Positions)},
                                     {"role", "operator"},
                                     {"hasEmail", true},
                                     {"integrationType", ""},
                                     {"reauth", false},
                                     {"lastActiveAt", Now - bounded(86400000)},
                                     {"aliases", aliases}});
        }
        for (int i = 0; i < m_visitorKeys.size(); ++i) {
            QJsonObject user{{"name", QString("Посетитель " + QString::number(10000 + i))},
                             {"online", chance(70)},
                             {"photo", ""},
                             {"role", "visitor"},
                             {"hasEmail", chance(20)},
                             {"integrationType", chance(10) ? "vk" : ""},
                             {"lastActiveAt", Now - bounded(3600000)},
                             {"visitUrl", page()}};
            users.insert(m_visitorKeys[i], user);
        }
        return users;
    }

    QJsonObject chats()
    {
        QJsonObject chats;
        for (int i = 0; i < m_chatKeys.size(); ++i) {
            const QString visitor = m_visitorKeys[i % m_visitorKeys.size()];
            const QString op = pick(m_operatorKeys);
            const qint64 created = Now - bounded(7200000);
            const bool fromVisitor = chance(50);
            QJsonObject chat{
                {"apiId", 5500000 + i},
                {"createdAt", created},
                {"lastMessage",
                 QJsonObject{{"sender", fromVisitor ? visitor : op},
                             {"sentAt", created + bounded(600000)},
                             {"status", chance(50) ? "read" : "delivered"},
                             {"text", pick(Texts)},
                             {"type", "text"}}},
                {"link", page()},
                {"messagesCount", int(bounded(40))},
                {"noAnswerRequired", chance(5)},
                {"robot", QString("robot_" + QString::number(pick(m_widgets)))},
                {"status", chance(80) ? "work" : "ended"},
                {"unreadCount", fromVisitor ? int(bounded(4)) : 0},
                {"visitor", visitor},
                {"visitorBlocked", chance(2)},
                {"widgetId", pick(m_widgets)},
                {"messageTarget", "all"},
            };
            if (chance(85)) {
                chat.insert("startedAt", created + 15000);
                chat.insert("operators", QJsonArray{op});
            }
            if (chance(20)) {
                chat.insert("userActivity", QJsonObject{{visitor, "text"}});
                chat.insert("userText", QJsonObject{{visitor, "Подскажите, пожалуйста"}});
            }
            if (chance(10))
                chat.insert("userToNotification", QJsonObject{{pick(m_operatorKeys), true}});
            chats.insert(m_chatKeys[i], chat);
        }
        return chats;
    }

    QJsonObject visitors()
    {
        QJsonObject visitors;
        for (int i = 0; i < m_profile.visitorsOnline; ++i) {
            const bool withChat = i < m_chatKeys.size() && chance(50);
            const qint64 created = Now - bounded(5400000);
            QJsonObject visitor{
                {"apiVisitId", double(88000000 + i)},
                // Visitor ids outgrow 2^53 on the service side, so they travel as text.
                {"apiVisitorId", QString::number(4412345678000LL + i)},
                {"autoInvite", chance(30)},
                {QStringLiteral("chat\u0421reated"), withChat},
                {"chatKey", withChat ? m_chatKeys[i] : ""},
                {"chatWidgetId", pick(m_widgets)},
                {"currentUrl", page()},
                {"email",
                 chance(10) ? QString("client" + QString::number(i) + "@mail.ru") : QString()},
                {"hits", int(1 + bounded(30))},
                {"lastActiveAt", created + bounded(600000)},
                {"createdAt", created},
                {"location", pick(Cities)},
                {"name", chance(15) ? pick(FirstNames) : ""},
                {"online", true},
                {"phone", chance(5) ? "+7 916 555-12-34" : ""},
                {"photo", ""},
                {"ip", QString("95.%1.%2.%3").arg(bounded(255)).arg(bounded(255)).arg(bounded(255))},
                {"said", withChat},
            };
            if (chance(30)) {
                visitor.insert("params",
                               QJsonObject{{"cart",
                                            QJsonObject{{"key", "cart_total"},
                                                        {"title", "Сумма корзины"},
                                                        {"value", "4 590 ₽"}}},
                                           {"city",
                                            QJsonObject{{"key", "city"},
                                                        {"title", "Город доставки"},
                                                        {"value", "Москва"}}}});
            }
            visitors.insert(pushKey(), visitor);
        }
        return visitors;
    }

private:
    // Keys in the shape of the database's push ids: 20 characters of its alphabet.
    QString pushKey()
    {
        static const char alphabet[]
            = "-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
        QString key = QStringLiteral("-N");
        for (int i = 0; i < 18; ++i)
            key += QLatin1Char(alphabet[bounded(64)]);
        return key;
    }
    QString avatar(int i) const
    {
        return QStringLiteral("https://cdn.tallyra.example/avatars/%1.jpg").arg(1000 + i);
    }
    QString page()
    {
        return "https://shop-" + QString::number(bounded(9)) + ".example.ru" + pick(Pages);
    }
    qint64 bounded(qint64 n) { return m_random.bounded(quint32(n)); }
    bool chance(int percent) { return bounded(100) < percent; }
    template<typename T>
    T pick(const QList<T> &list)
    {
        return list.at(int(bounded(list.size())));
    }

    const Profile m_profile;
    QRandomGenerator m_random{20240305};
    QList<qint64> m_widgets;
    QStringList m_operatorKeys;
    QStringList m_visitorKeys;
    QStringList m_chatKeys;
};

// A stream's first event as the subscription hands it over: {"p": "/", "d": snapshot}.
QByteArray initBody(const QJsonObject &snapshot)
{
    return QJsonDocument(QJsonObject{{"p", "/"}, {"d", snapshot}}).toJson(QJsonDocument::Compact);
}

struct Bodies
{
    QByteArray users;
    QByteArray chats;
    QByteArray visitors;
};

// Each run stops the clock once its product exists (the document; the records), before anything
// is released, so that both figures count building only.

qint64 parseOnly(const QByteArray &body)
{
    QElapsedTimer timer;
    timer.start();
    const QJsonDocument document = QJsonDocument::fromJson(body);
    return timer.nsecsElapsed();
}

// What the users, chats and visitors handlers do with an "init" event.
qint64 mapUsers(const QByteArray &body)
{
    QElapsedTimer timer;
    timer.start();
    const FirebaseReply reply(QStringLiteral("init"), QJsonDocument::fromJson(body).object());
    const QJsonObject json = reply.getData().value("d").toObject();
    QList<FirebaseUser> users;
    users.reserve(json.size());
    for (auto it = json.begin(); it != json.end(); ++it) {
        FirebaseUser user = JsonParser::getFirebaseUserFromJson(it.value().toObject());
        user.setId(it.key());
        users.append(user);
    }
    return timer.nsecsElapsed();
}

qint64 mapChats(const QByteArray &body)
{
    QElapsedTimer timer;
    timer.start();
    const FirebaseReply reply(QStringLiteral("init"), QJsonDocument::fromJson(body).object());
    const QJsonObject json = reply.getData().value("d").toObject();
    QList<FirebaseChat> chats;
    chats.reserve(json.size());
    for (auto it = json.begin(); it != json.end(); ++it) {
        FirebaseChat chat = JsonParser::getFirebaseChatFromJson(it.value().toObject());
        chat.setId(it.key());
        chats.append(chat);
    }
    return timer.nsecsElapsed();
}

qint64 mapVisitors(const QByteArray &body)
{
    QElapsedTimer timer;
    timer.start();
    const FirebaseReply reply(QStringLiteral("init"), QJsonDocument::fromJson(body).object());
    const QJsonObject json = JsonParser::fromFirebaseReply(reply);
    QHash<QString, FirebaseVisitor> visitors;
    visitors.reserve(json.size());
    for (auto it = json.begin(); it != json.end(); ++it) {
        FirebaseVisitor visitor = JsonParser::getFirebaseVisitorFromJson(it.value().toObject());
        visitor.setId(it.key());
        visitors.insert(it.key(), visitor);
    }
    return timer.nsecsElapsed();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);

    const Profile *profile = &Profiles[1];
    int rounds = 9;
    QString writeDir;
    const QStringList args = app.arguments().mid(1);
    for (int i = 0; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--rounds") && i + 1 < args.size()) {
            rounds = qMax(1, args[++i].toInt());
        } else if (args[i] == QLatin1String("--write") && i + 1 < args.size()) {
            writeDir = args[++i];
        } else {
            profile = nullptr;
            for (const Profile &p : Profiles) {
                if (args[i] == QLatin1String(p.name))
                    profile = &p;
            }
            if (!profile) {
                out << "usage: bench_jsonparser [small|large] [--rounds N] [--write DIR]\n";
                return 2;
            }
        }
    }

    Generator generator(*profile);
    Bodies bodies;
    bodies.users = initBody(generator.users());
    bodies.chats = initBody(generator.chats());
    bodies.visitors = initBody(generator.visitors());

    if (!writeDir.isEmpty()) {
        QDir().mkpath(writeDir);
        const QList<QPair<QString, QByteArray>> files = {{"users.json", bodies.users},
                                                         {"chats.json", bodies.chats},
                                                         {"visitors.json", bodies.visitors}};
        for (const auto &file : files) {
            QFile f(QDir(writeDir).filePath(file.first));
            if (f.open(QIODevice::WriteOnly))
                f.write(file.second);
        }
    }

    out << "profile " << profile->name << ": " << profile->chats << " chats, "
        << profile->visitorUsers << " visitor users + " << profile->operators << " operators, "
        << profile->visitorsOnline << " visitors online; "
        << (bodies.users.size() + bodies.chats.size() + bodies.visitors.size()) / 1024
        << " KiB of JSON\n";
    out.flush();

    // Each round parses and then parses + maps every body, so that both meet the same machine
    // load; every figure is the median over the rounds. Round 0 only warms up.
    const char *names[] = {"users", "chats", "visitors"};
    const QByteArray *parts[] = {&bodies.users, &bodies.chats, &bodies.visitors};
    qint64 (*maps[])(const QByteArray &) = {mapUsers, mapChats, mapVisitors};
    std::vector<double> parseMs[3], parseMapMs[3], totalParseMs, totalParseMapMs, ratios;
    for (int round = 0; round <= rounds; ++round) {
        double parse = 0;
        double parseMap = 0;
        for (int part = 0; part < 3; ++part) {
            const double p = parseOnly(*parts[part]) / 1e6;
            const double pm = maps[part](*parts[part]) / 1e6;
            parseMs[part].push_back(p);
            parseMapMs[part].push_back(pm);
            parse += p;
            parseMap += pm;
        }
        if (round == 0) {
            for (int part = 0; part < 3; ++part) {
                parseMs[part].clear();
                parseMapMs[part].clear();
            }
            continue;
        }
        totalParseMs.push_back(parse);
        totalParseMapMs.push_back(parseMap);
        ratios.push_back(parseMap / parse);
    }

    out << QStringLiteral("%1 %2 %3\n").arg("", -10).arg("parse ms", 10).arg("+ map ms", 10);
    for (int part = 0; part < 3; ++part) {
        out << QStringLiteral("%1 %2 %3\n")
                   .arg(names[part], -10)
                   .arg(median(parseMs[part]), 10, 'f', 1)
                   .arg(median(parseMapMs[part]), 10, 'f', 1);
    }
    out << QStringLiteral("%1 %2 %3\n")
               .arg("total", -10)
               .arg(median(totalParseMs), 10, 'f', 1)
               .arg(median(totalParseMapMs), 10, 'f', 1);
    const double ratio = median(ratios);
    out << QStringLiteral("ratio %1 (median of %2 rounds; limit 2.00)\n")
               .arg(ratio, 0, 'f', 2)
               .arg(rounds);
    return ratio <= 2.0 ? 0 : 1;
}
