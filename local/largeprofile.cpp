#include "local/largeprofile.h"

#include "local/demofiles.h"

#include <QJsonArray>

namespace {

constexpr qint64 kMinute = 60 * 1000;

const char *const kWidgets[] = {"601", "602", "603"};
const char *const kOperators[] = {"-DemoOpOlga000001", "-DemoOpIrina00003", "-DemoOpMaxim00002"};

// Sets root[path...] = value, creating the objects on the way.
void place(QJsonObject *root, const QStringList &path, const QJsonValue &value)
{
    if (path.size() == 1) {
        root->insert(path.first(), value);
        return;
    }
    QJsonObject child = root->value(path.first()).toObject();
    place(&child, path.mid(1), value);
    root->insert(path.first(), child);
}

} // namespace

void LargeProfile::addTo(QJsonObject *seed, const QString &baseUrl, qint64 nowMs)
{
    const QStringList account{"services", "1", "accounts", "101"};
    QJsonObject data = seed->value("services")
                           .toObject()
                           .value("1")
                           .toObject()
                           .value("accounts")
                           .toObject()
                           .value("101")
                           .toObject();
    QJsonObject chatsNode = data.value("chats").toObject();
    QJsonObject messagesNode = data.value("chat-messages").toObject();
    QJsonObject usersNode = data.value("users").toObject();
    QJsonObject visitorsNode = data.value("visitors").toObject();

    for (int i = 0; i < visitors; ++i) {
        const QString key = QStringLiteral("-LoadVis%1").arg(i, 9, 10, QLatin1Char('0'));
        const char *widget = kWidgets[i % 3];
        QJsonObject visitor{
            {"apiVisitId", 5000000 + i},
            {"chatWidgetId", QString::fromLatin1(widget).toInt()},
            {"currentUrl",
             QStringLiteral("https://shop.demo.tallyra.local/catalog/%1/").arg(i % 97)},
            {"hits", 1 + i % 17},
            {"createdAt", double(nowMs - (i % 240) * kMinute)},
            {"lastActiveAt", double(nowMs - (i % 5) * kMinute)},
            {"location", "Россия, Москва"},
            {"name", i % 3 ? QString() : QStringLiteral("Посетитель %1").arg(i)},
            {"online", true},
            {"ip",
             QStringLiteral("10.%1.%2.%3").arg(i / 65536 % 256).arg(i / 256 % 256).arg(i % 256)},
            {"said", i < users},
            {"params", QJsonObject()}};
        // The first visitors are the ones with chats, and users of the account.
        if (i < chats) {
            const QString chatKey = QStringLiteral("-LoadChat%1").arg(i, 8, 10, QLatin1Char('0'));
            visitor.insert(QStringLiteral("chat\u0421reated"), true);
            visitor.insert("chatKey", chatKey);
            const qint64 start = nowMs - (i % 600) * kMinute;
            const QString robot = QStringLiteral("robot_%1").arg(QLatin1String(widget));
            QJsonObject messages;
            const QJsonObject greeting{{"sender", robot},
                                       {"sentAt", double(start)},
                                       {"status", "delivered"},
                                       {"text", "Здравствуйте! Чем можем помочь?"},
                                       {"type", "text"}};
            const QJsonObject question{{"sender", key},
                                       {"sentAt", double(start + 20000)},
                                       {"status", "sent"},
                                       {"text",
                                        QStringLiteral("Вопрос номер %1: есть ли товар в наличии?")
                                            .arg(i)},
                                       {"type", "text"}};
            messages.insert(chatKey + "-m001", greeting);
            messages.insert(chatKey + "-m002", question);
            // Every third chat is someone's, every seventh the demo operator's; the rest wait.
            QJsonArray operators;
            if (i % 3 == 0)
                operators.append(QLatin1String(kOperators[i % 7 == 0 ? 0 : 1 + i % 2]));
            chatsNode.insert(chatKey,
                             QJsonObject{{"apiId", 200000 + i},
                                         {"createdAt", double(start)},
                                         {"lastMessage", question},
                                         {"link", visitor.value("currentUrl")},
                                         {"messageTarget", "all"},
                                         {"messagesCount", 2},
                                         {"noAnswerRequired", false},
                                         {"operators", operators},
                                         {"robot", robot},
                                         {"status", "work"},
                                         {"unreadCount", 1},
                                         {"visitor", key},
                                         {"visitorBlocked", false},
                                         {"widgetId", QString::fromLatin1(widget).toInt()}});
            messagesNode.insert(chatKey, messages);
        }
        if (i < users)
            usersNode.insert(key,
                             QJsonObject{{"name",
                                          visitor.value("name").toString().isEmpty()
                                              ? QStringLiteral("Посетитель")
                                              : visitor.value("name")},
                                         {"online", i % 4 != 0},
                                         {"photo",
                                          QString(baseUrl
                                                  + DemoFiles::avatarPath(key.mid(1).toLower()))},
                                         {"role", "visitor"},
                                         {"lastActiveAt", double(nowMs - (i % 30) * kMinute)}});
        visitorsNode.insert(key, visitor);
    }
    data.insert("chats", chatsNode);
    data.insert("chat-messages", messagesNode);
    data.insert("users", usersNode);
    data.insert("visitors", visitorsNode);
    place(seed, account, data);
}
