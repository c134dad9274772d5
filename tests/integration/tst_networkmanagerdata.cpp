// NetworkManager's realtime half against tallyra-local's demo account, with the repositories the
// console creates: the account's snapshots fill them (again after a dropped stream), reading a
// chat marks it read only where the operator may, and the service's own writes merge in.
#include "localtestsupport.h"

#include "local/chatservice.h"
#include "local/demoseed.h"
#include "local/faultinjector.h"
#include "network/firebaseclient.h"
#include "network/networkmanager.h"
#include "repo/authsession.h"
#include "repo/chatrepository.h"
#include "repo/chatsrepository.h"
#include "repo/quickanswersrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"

#include <QtTest>

const QString kAccount = QStringLiteral("/services/1/accounts/101/");
const QString kOlga = QStringLiteral("-DemoOpOlga000001");

class TestNetworkManagerData : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_local.start());
        QFile env(m_local.service()->envFile());
        QVERIFY(env.open(QIODevice::ReadOnly));
        for (const QByteArray &line : env.readAll().trimmed().split('\n'))
            qputenv(line.left(line.indexOf('=')).constData(), line.mid(line.indexOf('=') + 1));
        // In the order the console creates them.
        UsersRepository::init(this);
        ChatsRepository::init(this);
        ChatRepository::init(this);
        QuickAnswersRepository::init(this);
        VisitorsRepository::init(this);
        AuthSession::init(this);
        m_rest.token = QString::fromLatin1(m_local.service()->signIn(1, 101, kOlga).idToken);
        // Offline before the start, so that only the start-up rule can bring her online.
        QCOMPARE(m_rest.database("PUT", kAccount + "users/" + kOlga + "/online", "false").status,
                 200);
        m_manager = std::make_unique<NetworkManager>();
        m_manager->setUserOnlineOnStartup();
        m_manager->authenticate(DemoSeed::operatorLogin, DemoSeed::password);
    }

    void accountLoads()
    {
        QVERIFY(waitUntil([&] { return loaded(); }, 20000));
        QCOMPARE(AuthSession::getInstance()->getUserId(), kOlga);
        QVERIFY(waitUntil([&] { return stored("users/" + kOlga + "/online").toBool(); }, 20000));

        QSignalSpy users(UsersRepository::getInstance(), &UsersRepository::initialized);
        QSignalSpy chats(ChatsRepository::getInstance(), &ChatsRepository::initialized);
        QSignalSpy qa(QuickAnswersRepository::getInstance(), &QuickAnswersRepository::initialized);
        QSignalSpy visitors(VisitorsRepository::getInstance(), &VisitorsRepository::initialized);
        m_local.service()->faults()->dropStreamsNow();
        // Each stream delivers its snapshot again, and each repository starts over from it.
        QVERIFY(
            waitUntil([&] { return users.size() && chats.size() && qa.size() && visitors.size(); },
                      20000));
        QVERIFY(loaded());
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
        // Requests the realtime client has started and not yet finished.
        const auto requests = [this] {
            return m_manager->firebaseClient()->findChildren<QNetworkReply *>().size();
        };
        QSignalSpy messages(ChatRepository::getInstance(), &ChatRepository::initialized);
        int before = requests();
        m_manager->connectToChat(chat);
        QCOMPARE(requests() - before, row[2].toInt());
        QVERIFY(messages.wait(20000));
        before = requests();
        m_manager->readChat(chat, row[1].toInt());
        m_manager->readChatMessages(row[1].toInt());
        // However many messages, one multi-path patch besides the chat's two.
        QCOMPARE(requests() - before, row[3].toInt());
        QVERIFY(waitUntil([&] { return (unread() == 0) == (row[3] != "0"); }, 20000));

        // The visitor's message reaches the chat list and the open chat.
        QVERIFY(m_local.service()->chatApi()->chatService()->visitorWrites({1, 101}, chat, text));
        QVERIFY(waitUntil(
            [&] {
                return ChatRepository::getInstance()->getMessages().last().getText() == text
                       && ChatsRepository::getInstance()->getChatById(chat).getUnreadCount()
                              == stored("chats/" + chat + "/unreadCount").toInt();
            },
            20000));
        m_manager->disconnectFromChat();
        QCOMPARE(m_manager->firebaseClient()->subscribedPaths().size(), 5);
    }

private:
    QJsonValue stored(const QString &path) { return m_rest.database("GET", kAccount + path).json; }
    // Every collection holds as many records as the service does.
    bool loaded()
    {
        const auto count = [this](const char *path) { return stored(path).toObject().size(); };
        return ChatsRepository::getInstance()->getChats().size() == count("chats")
               && UsersRepository::getInstance()->getUsers().size() == count("users")
               && QuickAnswersRepository::getInstance()->getQuickAnswers().size()
                      == count("quick-answers")
               && VisitorsRepository::getInstance()->getVisitors().size() == count("visitors");
    }

    LocalTestService m_local{[] {
        LocalService::Options options;
        options.seed = DemoSeed::build(QStringLiteral("https://127.0.0.1"));
        return options;
    }()};
    RestClient m_rest{&m_local};
    std::unique_ptr<NetworkManager> m_manager;
};

QTEST_GUILESS_MAIN(TestNetworkManagerData)
#include "tst_networkmanagerdata.moc"
