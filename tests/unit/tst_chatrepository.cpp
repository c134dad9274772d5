// ChatRepository: the messages snapshot of the open chat, the merge of its events (a new
// message added whole, a known one taking only its status), the message count used for the
// chat's counter, and the relay of the operator's text.
#include "repo/chatrepository.h"
#include "repotestsupport.h"

#include <QtTest>

using namespace repotest;

namespace {

QList<FirebaseChatMessage> messagesFrom(const QJsonObject &snapshot)
{
    QList<FirebaseChatMessage> messages;
    for (auto it = snapshot.begin(); it != snapshot.end(); ++it) {
        FirebaseChatMessage message = JsonParser::getFirebaseChatMessageFromJson(
            it.value().toObject());
        message.setId(it.key());
        messages.append(message);
    }
    return messages;
}

const QString Image = QStringLiteral("-NqMsg0007ggggggggg");

} // namespace

class TestChatRepository : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void initMessagesKeepsArrivalOrder();
    void newMessageIsAddedWhole();
    void knownMessageMergesOnlyItsStatus_data();
    void knownMessageMergesOnlyItsStatus();
    void messageCount_data();
    void messageCount();
    void relaysTheOperatorsText();

private:
    ChatRepository *m_messages = nullptr;
    QList<FirebaseChatMessage> m_snapshot;
};

void TestChatRepository::initTestCase()
{
    ChatRepository::init(nullptr);
    m_messages = ChatRepository::getInstance();
    QVERIFY(m_messages);
    m_snapshot = messagesFrom(fixture("chat-messages.json"));
}

void TestChatRepository::init()
{
    m_messages->initMessages(m_snapshot);
}

void TestChatRepository::initMessagesKeepsArrivalOrder()
{
    QSignalSpy initialized(m_messages, &ChatRepository::initialized);
    QList<FirebaseChatMessage> reversed = m_snapshot;
    std::reverse(reversed.begin(), reversed.end());
    m_messages->initMessages(reversed);

    QCOMPARE(initialized.count(), 1);
    QCOMPARE(m_messages->getMessages(), reversed);
    QCOMPARE(m_messages->getMessageById(Image), m_snapshot.last());
    QCOMPARE(m_messages->getMessageById("-NqMsgGone"), FirebaseChatMessage());

    m_messages->initMessages({});
    QVERIFY(m_messages->getMessages().isEmpty());
}

void TestChatRepository::newMessageIsAddedWhole()
{
    SignalLog log;
    log.watch(m_messages, &ChatRepository::messageAdded, "messageAdded");
    log.watch(m_messages, &ChatRepository::messageChanged, "messageChanged");
    log.watch(m_messages, &ChatRepository::messageDeleted, "messageDeleted");

    const QString key = "-NqMsg0008hhhhhhhhh";
    const QJsonObject sent = json(R"({"sender": "-NqOpAnna1021xQ7kLm", "sentAt": 1709631600000,
                                      "status": "sent", "text": "Да, конечно", "type": "text"})");
    m_messages->update(streamEvent("/" + key, sent));

    QCOMPARE(log.lines(), QStringList{"messageAdded " + key});
    FirebaseChatMessage expected = JsonParser::getFirebaseChatMessageFromJson(sent);
    expected.setId(key);
    QCOMPARE(m_messages->getMessageById(key), expected);
    QCOMPARE(m_messages->getMessages().last(), expected);
    QCOMPARE(m_messages->getMessages().size(), m_snapshot.size() + 1);
}

void TestChatRepository::knownMessageMergesOnlyItsStatus_data()
{
    QTest::addColumn<QString>("path"); // below the message's key
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QString>("status"); // afterwards

    QTest::newRow("status") << "/status" << QJsonValue("read") << "read";
    QTest::newRow("text is kept as first received")
        << "/text" << QJsonValue("исправленный текст") << "delivered";
    QTest::newRow("status with other fields")
        << "" << QJsonValue(json(R"({"status": "read", "text": "x", "type": "file", "size": 1})"))
        << "read";
    QTest::newRow("deleted message stays") << "" << QJsonValue(QJsonValue::Null) << "delivered";
}

void TestChatRepository::knownMessageMergesOnlyItsStatus()
{
    QFETCH(QString, path);
    QFETCH(QJsonValue, value);
    QFETCH(QString, status);

    SignalLog log;
    log.watch(m_messages, &ChatRepository::messageAdded, "messageAdded");
    log.watch(m_messages, &ChatRepository::messageChanged, "messageChanged");
    log.watch(m_messages, &ChatRepository::messageDeleted, "messageDeleted");

    m_messages->update(streamEvent("/" + Image + path, value));

    QCOMPARE(log.lines(), QStringList{"messageChanged " + Image});
    FirebaseChatMessage expected = m_snapshot.last();
    expected.setStatus(status);
    QCOMPARE(m_messages->getMessageById(Image), expected);
    QCOMPARE(m_messages->getMessages().size(), m_snapshot.size());
}

void TestChatRepository::messageCount_data()
{
    QTest::addColumn<QStringList>("senders");
    QTest::addColumn<int>("count");

    // The fixture: Irina's text and image, the robot's auto-invitation, Anna's "joined", text
    // and invitation, Dmitry's "left".
    QTest::newRow("nobody: the invitation, joined and left notes") << QStringList() << 4;
    QTest::newRow("the visitor") << QStringList{Irina} << 6;
    QTest::newRow("the visitor and the operator") << QStringList({Irina, Anna}) << 7;
    QTest::newRow("an unknown sender") << QStringList{"-NqNobody"} << 4;
}

void TestChatRepository::messageCount()
{
    QFETCH(QStringList, senders);
    QFETCH(int, count);
    QCOMPARE(m_messages->getMessageCount(senders), count);
}

void TestChatRepository::relaysTheOperatorsText()
{
    SignalLog log;
    log.watch(m_messages, &ChatRepository::messageSend, "messageSend");
    log.watch(m_messages, &ChatRepository::messageTextChanged, "messageTextChanged");
    m_messages->sendCurrentMessage("Добрый");
    m_messages->sendMessage("Добрый день!");
    m_messages->sendCurrentMessage(QString());
    QCOMPARE(log.lines(),
             QStringList(
                 {"messageTextChanged Добрый", "messageSend Добрый день!", "messageTextChanged "}));
    QVERIFY(m_messages->getMessages() == m_snapshot);
}

QTEST_GUILESS_MAIN(TestChatRepository)
#include "tst_chatrepository.moc"
