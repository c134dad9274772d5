// NetworkManager's realtime half and chat operations against tallyra-local's demo account, with
// the repositories the console creates: the account's snapshots fill them (again after a dropped
// stream), reading a chat marks it read only where the operator may, the service's own writes
// merge in, and every operation writes what the other consoles and the service read back.
#include "demoaccount.h"

#include "local/chatservice.h"
#include "local/demoseed.h"
#include "local/faultinjector.h"
#include "network/fileuploader.h"
#include "network/firebaseclient.h"
#include "network/networkmanager.h"
#include "repo/authsession.h"
#include "repo/chatrepository.h"
#include "repo/chatsrepository.h"
#include "repo/quickanswersrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include <algorithm>
#include <functional>

const QString kOlga = DemoAccount::operatorKey();
const QString kIrina = QStringLiteral("-DemoOpIrina00003");
// Typed text that a template would have broken: quotes, a backslash, a line feed, Cyrillic.
const QString kTyped = QStringLiteral("Цена \"от 5\" \\ 10%\nдо {завтра}");

// Whether every member that expected names holds the same in actual; null stands for absent.
bool holds(const QJsonValue &actual, const QJsonValue &expected)
{
    if (expected.isNull())
        return actual.isNull() || actual.isUndefined();
    if (!expected.isObject())
        return actual == expected;
    const QJsonObject want = expected.toObject();
    for (auto it = want.constBegin(); it != want.constEnd(); ++it) {
        if (!holds(actual.toObject().value(it.key()), it.value()))
            return false;
    }
    return true;
}

class TestNetworkManagerData : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_demo.start(this));
        // Offline before the start, so that only the start-up rule can bring her online.
        QVERIFY(m_demo.write("PUT", "users/" + kOlga + "/online", "false"));
        QVERIFY(m_demo.signIn(true));
    }

    void accountLoads()
    {
        QCOMPARE(AuthSession::getInstance()->getUserId(), kOlga);
        QVERIFY(waitUntil([&] { return stored("users/" + kOlga + "/online").toBool(); }, 20000));

        QSignalSpy users(UsersRepository::getInstance(), &UsersRepository::initialized);
        QSignalSpy chats(ChatsRepository::getInstance(), &ChatsRepository::initialized);
        QSignalSpy qa(QuickAnswersRepository::getInstance(), &QuickAnswersRepository::initialized);
        QSignalSpy visitors(VisitorsRepository::getInstance(), &VisitorsRepository::initialized);
        m_demo.local.service()->faults()->dropStreamsNow();
        // Each stream delivers its snapshot again, and each repository starts over from it.
        QVERIFY(
            waitUntil([&] { return users.size() && chats.size() && qa.size() && visitors.size(); },
                      20000));
        QVERIFY(m_demo.loaded());
    }

    void readingMarksRead_data()
    {
        // chat|force|requests on connecting|on reading
        QTest::addColumn<QStringList>("row");
        addRow("own chat", "-DemoChat0001shop|0|2|3");
        addRow("foreign chat", "-DemoChat0003ship|0|0|0");
        addRow("foreign chat forced", "-DemoChat0003ship|1|0|3");
    }

    void readingMarksRead()
    {
        QFETCH(QStringList, row);
        const QString chat = row[0], text = QTest::currentDataTag();
        // Unread visitor messages as the service holds them, and the chat's own marks.
        const auto unread = [&] {
            const QJsonObject record = stored("chats/" + chat).toObject();
            int count = record.value("unreadCount").toInt()
                        + (record.value("lastMessage").toObject().value("status") != "read");
            for (const QJsonValue message : stored("chat-messages/" + chat).toObject())
                count += message.toObject().value("sender") == record.value("visitor")
                         && message.toObject().value("status") != "read";
            return count;
        };
        QVERIFY(unread() > 0);
        // Writes the realtime client has queued or in flight.
        const auto requests = [this] {
            return m_demo.manager->firebaseClient()->pendingAsyncRequests();
        };
        QSignalSpy messages(ChatRepository::getInstance(), &ChatRepository::initialized);
        int before = requests();
        m_demo.manager->connectToChat(chat);
        QCOMPARE(requests() - before, row[2].toInt());
        QVERIFY(messages.wait(20000));
        before = requests();
        m_demo.manager->readChat(chat, row[1].toInt());
        m_demo.manager->readChatMessages(row[1].toInt());
        // However many messages, one multi-path patch besides the chat's two.
        QCOMPARE(requests() - before, row[3].toInt());
        QVERIFY(waitUntil([&] { return (unread() == 0) == (row[3] != "0"); }, 20000));

        // The visitor's message reaches the chat list and the open chat.
        QVERIFY(
            m_demo.local.service()->chatApi()->chatService()->visitorWrites({1, 101}, chat, text));
        QVERIFY(waitUntil(
            [&] {
                return ChatRepository::getInstance()->getMessages().last().getText() == text
                       && ChatsRepository::getInstance()->getChatById(chat).getUnreadCount()
                              == stored("chats/" + chat + "/unreadCount").toInt();
            },
            20000));
        m_demo.manager->disconnectFromChat();
        QCOMPARE(m_demo.manager->firebaseClient()->subscribedPaths().size(), 5);
    }

    void operationsWrite_data()
    {
        // The open chat's count: what the people wrote, not the robot.
        QSignalSpy opened(ChatRepository::getInstance(), &ChatRepository::initialized);
        m_demo.manager->connectToChat("-DemoChat0002help");
        QVERIFY(opened.wait(20000));
        QSet<QString> people;
        for (const FirebaseChatMessage &message : ChatRepository::getInstance()->getMessages())
            people.insert(message.getSender());
        people.remove("robot_603");
        m_count = ChatRepository::getInstance()->getMessageCount(people.values());
        QVERIFY(m_count > 0);

        QTest::addColumn<QJsonValue>("expected");
        const auto row = [](const char *name, const QJsonObject &expected) {
            QTest::newRow(name) << QJsonValue(expected);
        };
        // In this order: the open chat's rows first, then the others, then the operator's own.
        row("typing",
            {{"userText", QJsonObject{{kOlga, kTyped}}},
             {"userActivity", QJsonObject{{kOlga, "text"}}}});
        row("message count", {{"messagesCount", m_count}});
        row("message",
            {{"lastMessage", QJsonObject{{"text", kTyped}, {"sender", kOlga}}},
             {"messagesCount", m_count + 1},
             {"userActivity", QJsonObject{{kOlga, QJsonValue::Null}}}});
        row("file",
            {{"type", "file"},
             {"url", "https://f/a.txt"},
             {"icon", "https://f/i.png"},
             {"size", 12},
             {"filename", "a.txt"},
             {"status", "sent"}});
        row("image",
            {{"type", "image"},
             {"url", "https://f/p.png"},
             {"preview", "https://f/m.png"},
             {"status", "delivered"}});
        row("payment",
            {{"type", "system"},
             {"subType", "pay_link"},
             {"operator", kOlga},
             {"sender", "robot_603"},
             {"status", "delivered"},
             {"attributes",
              QJsonObject{{"title", kTyped},
                          {"quantity", 2},
                          {"amount", "1990"},
                          {"status", "created"},
                          {"paySystem", "yookassa"}}}});
        row("no answer needed",
            {{"type", "system"},
             {"subType", "not_require_answer"},
             {"text", "Ольга С. нажал \"Не ждет ответа\""},
             {"sender", "robot_603"}});
        row("invite",
            {{"userToNotification",
              QJsonObject{{kOlga, true}, {"-DemoOpSergey0004", true}, {kIrina, true}}},
             {"lastMessage", QJsonObject{{"type", "invitation"}, {"target", kIrina}}}});
        row("invite without a list",
            {{"userToNotification", QJsonValue::Null},
             {"lastMessage", QJsonObject{{"target", kIrina}}}});
        row("join",
            {{"operators", QJsonArray{kOlga}},
             {"lastMessage", QJsonObject{{"type", "joined"}, {"sender", kOlga}}}});
        row("leave",
            {{"operators", QJsonValue::Null}, {"lastMessage", QJsonObject{{"type", "left"}}}});
        row("leave a chat not joined",
            {{"operators", QJsonArray{kIrina}}, {"lastMessage", QJsonObject{{"type", "left"}}}});
        row("end", {{"status", "ended"}});
        row("block", {{"visitorBlocked", true}});
        row("unblock", {{"visitorBlocked", false}});
        row("offline", {{"online", false}});
    }

    void operationsWrite()
    {
        QFETCH(QJsonValue, expected);
        const QString help = "-DemoChat0002help", weekend = "-DemoChat0007ship";
        // Each operation, and where its writes land.
        const QHash<QString, std::function<QString()>> operations{
            {"typing",
             [&] { return m_demo.manager->onMessageTextChanged(kTyped), "chats/" + help; }},
            {"message count",
             [&] { return m_demo.manager->updateChatMessageCount(), "chats/" + help; }},
            {"message", [&] { return m_demo.manager->onSendMessage(kTyped), "chats/" + help; }},
            {"file",
             [&] {
                 m_demo.manager->onFileUploaded(help,
                                                "a.txt",
                                                "https://f/a.txt",
                                                "file",
                                                "https://f/i.png",
                                                12);
                 return "$last";
             }},
            {"image",
             [&] {
                 m_demo.manager->onFileUploaded(help,
                                                "p.png",
                                                "https://f/p.png",
                                                "image",
                                                "https://f/m.png",
                                                34);
                 return "$last";
             }},
            {"payment",
             [&] {
                 m_demo.manager
                     ->sendPayment(kTyped, 2, "1990", "https://pay/1", "RUB", "₽", "yookassa");
                 return "$last";
             }},
            {"no answer needed", [&] { return m_demo.manager->noNeedAnswer(help), "$last"; }},
            {"invite",
             [&] {
                 m_demo.manager->inviteOperatorToChat("-DemoChat0003ship", kIrina);
                 return "chats/-DemoChat0003ship";
             }},
            {"invite without a list",
             [&] {
                 return m_demo.manager->inviteOperatorToChat(weekend, kIrina), "chats/" + weekend;
             }},
            {"join",
             [&] {
                 m_demo.manager->connectToChat(weekend);
                 m_demo.manager->addOperatorToChat(QString());
                 return "chats/" + weekend;
             }},
            {"leave", [&] { return m_demo.manager->exitChat(weekend), "chats/" + weekend; }},
            {"leave a chat not joined",
             [&] {
                 m_demo.manager->exitChat("-DemoChat0004shop");
                 return "chats/-DemoChat0004shop";
             }},
            {"end",
             [&] {
                 return m_demo.manager->endChat("-DemoChat0004shop"), "chats/-DemoChat0004shop";
             }},
            {"block",
             [&] {
                 return m_demo.manager->blockUser("-DemoChat0006help"), "chats/-DemoChat0006help";
             }},
            {"unblock",
             [&] {
                 return m_demo.manager->unblockUser("-DemoChat0006help"), "chats/-DemoChat0006help";
             }},
            {"offline", [&] { return m_demo.manager->onUserOnline(false), "users/" + kOlga; }},
        };
        const QString written = operations.value(QTest::currentDataTag())();
        // A pushed message: the newest key, as push keys sort by time.
        const auto path = [&] {
            const QString messages = "chat-messages/" + help;
            return written == "$last" ? messages + "/" + stored(messages).toObject().keys().last()
                                      : written;
        };
        QVERIFY2(waitUntil([&] { return holds(stored(path()), expected); }, 20000),
                 qPrintable(QJsonDocument(stored(path()).toObject()).toJson()));
    }

    // What the uploader sends becomes a message at the service's addresses.
    void uploadsBecomeMessages()
    {
        const QString help = "-DemoChat0002help";
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write("price list");
        file.close();
        QImage image(4, 4, QImage::Format_RGB32);
        image.fill(Qt::red);
        for (const QString type : {"file", "image"}) {
            QVERIFY(type == "file" ? FileUploader::getInstance()->uploadFile(help, file.fileName())
                                   : FileUploader::getInstance()->uploadImage(help, image));
            QVERIFY(waitUntil(
                [&] {
                    const QJsonObject last = stored("chats/" + help + "/lastMessage").toObject();
                    return last.value("type") == type
                           && last.value("url").toString().startsWith(m_demo.local.baseUrl()
                                                                      + "/files/uploads/");
                },
                20000));
        }
    }

    // The service records what the operator did, with the text exactly as typed.
    void serviceRecordsOperations()
    {
        QSignalSpy info(m_demo.manager.get(), &NetworkManager::chatInfo);
        m_demo.manager->blockUser("-DemoChat0007ship");
        m_demo.manager->getChatInfo(70007);
        QVERIFY(info.wait(20000));
        QCOMPARE(info.last().first().value<ApiChatInfo>().getVisit().getBlocked(), 1);

        QSignalSpy crm(m_demo.manager.get(), &NetworkManager::sendToCrmFinished);
        m_demo.manager->sendToCrm("-DemoChat0001shop",
                                  kTyped,
                                  "e@x.ru",
                                  "+7 900",
                                  QString(kTyped + "\\"));
        m_demo.manager->sendToCrm("-DemoChat0001shop", "", "", "", "");
        QVERIFY(waitUntil([&] { return crm.size() == 2; }, 20000));
        QCOMPARE(crm[0], (QVariantList{"-DemoChat0001shop", true, "Контакт отправлен в CRM"}));
        QCOMPARE(crm[1],
                 (QVariantList{"-DemoChat0001shop", false, "Укажите имя, e-mail или телефон"}));
        QFile outbox(m_demo.local.dataDirectory() + "/outbox/crm.jsonl");
        QVERIFY(outbox.open(QIODevice::ReadOnly));
        const QJsonObject sent = QJsonDocument::fromJson(outbox.readAll()).object();
        QCOMPARE(sent.value("data").toObject(),
                 (QJsonObject{{"name", kTyped},
                              {"email", "e@x.ru"},
                              {"phone", "+7 900"},
                              {"comment", QString(kTyped + "\\")}}));

        // Runs of blanks collapse and the ends are trimmed, but the lines stay.
        const auto answers = [this] { return stored("quick-answers").toObject(); };
        const int before = answers().size();
        m_demo.manager->onCreateNewAnswer(0, QString("  a\n  b " + kTyped + "\t"), 0);
        m_demo.manager->onCreateNewAnswer(2,
                                          kTyped,
                                          AuthSession::getInstance()->getUserInfo().getId());
        QVERIFY(waitUntil([&] { return answers().size() == before + 2; }, 20000));
        QList<qint64> ids;
        for (const QString &key : answers().keys())
            ids.append(key.toLongLong());
        std::sort(ids.begin(), ids.end());
        const QString first = QString::number(ids.at(before)), second = QString::number(ids.last());
        QCOMPARE(answers().value(first).toObject().value("text").toString(),
                 QString("a\n b " + kTyped));
        QCOMPARE(answers().value(second).toObject().value("type").toString(), "user");
        m_demo.manager->onUpdateAnswer(first.toLongLong(), QString(kTyped + "\n\n!"));
        m_demo.manager->onDeleteAnswer(second.toLongLong());
        QVERIFY(waitUntil(
            [&] {
                return answers().value(first).toObject().value("text") == QString(kTyped + "\n\n!")
                       && !answers().contains(second);
            },
            20000));
    }

private:
    QJsonValue stored(const QString &path) { return m_demo.stored(path); }

    DemoAccount m_demo;
    int m_count = 0;
};

QTEST_GUILESS_MAIN(TestNetworkManagerData)
#include "tst_networkmanagerdata.moc"
