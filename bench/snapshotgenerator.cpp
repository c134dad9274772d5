#include "snapshotgenerator.h"

#include <QJsonArray>

namespace {

const qint64 Now = SnapshotGenerator::Now;

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

} // namespace

SnapshotGenerator::SnapshotGenerator(const Profile &profile)
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

QJsonObject SnapshotGenerator::users()
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

QJsonObject SnapshotGenerator::chats()
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

QJsonObject SnapshotGenerator::visitors()
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
            {"email", chance(10) ? QString("client" + QString::number(i) + "@mail.ru") : QString()},
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

// Each operator is keyed to every other widget, the first operator (the one signed in) to the
// even ones. Computed, not drawn, so that asking for the keys leaves the other bodies as they
// are.
QJsonObject SnapshotGenerator::userKeys() const
{
    QJsonObject keys;
    for (int w = 0; w < m_widgets.size(); ++w) {
        QJsonObject users;
        for (int i = 0; i < m_operatorKeys.size(); ++i)
            users.insert(m_operatorKeys[i], (w + i) % 2 == 0);
        keys.insert(QString::number(m_widgets[w]), users);
    }
    return keys;
}

QString SnapshotGenerator::pushKey()
{
    static const char alphabet[]
        = "-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
    QString key = QStringLiteral("-N");
    for (int i = 0; i < 18; ++i)
        key += QLatin1Char(alphabet[bounded(64)]);
    return key;
}

QString SnapshotGenerator::avatar(int i) const
{
    return QStringLiteral("https://cdn.tallyra.example/avatars/%1.jpg").arg(1000 + i);
}

QString SnapshotGenerator::page()
{
    return "https://shop-" + QString::number(bounded(9)) + ".example.ru" + pick(Pages);
}
