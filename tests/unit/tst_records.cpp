// Behaviour of the records themselves: the order of chats in the lists, the operator list's
// index operations, the message JSON the console writes, and database time stamps.
#include "records/firebasechat.h"
#include "records/firebasechatmessage.h"
#include "records/timestamp.h"
#include "util/jsonparser.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include <algorithm>

namespace QTest {
template<>
char *toString(const QJsonObject &object)
{
    return qstrdup(QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
}
} // namespace QTest

namespace {

const qint64 TenOClock = 1709632800000; // 2024-03-05 10:00 UTC
const qint64 Minute = 60000;

QDateTime at(qint64 msecs)
{
    return QDateTime::fromMSecsSinceEpoch(msecs);
}

// A chat as the list sees it: whose turn it is and when things happened. A time of -1 means
// the chat never saw one.
FirebaseChat chat(const QString &id,
                  const QString &lastSender,
                  qint64 sentAt,
                  qint64 createdAt,
                  bool noAnswerRequired = false,
                  const QString &visitor = QStringLiteral("visitor"))
{
    FirebaseChat chat;
    chat.setId(id);
    chat.setVisitor(visitor);
    chat.setNoAnswerRequired(noAnswerRequired);
    FirebaseLastMessage last;
    last.setSender(lastSender);
    if (sentAt >= 0)
        last.setSentAt(Timestamp::fromMSecsSinceEpoch(sentAt));
    chat.setLastMessage(last);
    if (createdAt >= 0)
        chat.setCreatedAt(Timestamp::fromMSecsSinceEpoch(createdAt));
    return chat;
}

QStringList ids(const QList<FirebaseChat> &chats)
{
    QStringList result;
    for (const FirebaseChat &chat : chats)
        result.append(chat.getId());
    return result;
}

// The exchange sort with which the conversation list orders its chats.
QList<FirebaseChat> exchangeSorted(QList<FirebaseChat> list)
{
    for (int i = 0; i < list.size(); ++i) {
        for (int j = i + 1; j < list.size(); ++j) {
            if (list[i].compareTo(list[j]) > 0)
                list.swapItemsAt(i, j);
        }
    }
    return list;
}

// Stands in for the database, which writes its own clock over the placeholder.
QJsonObject storedByServer(QJsonObject json, qint64 serverTime)
{
    if (json.value("sentAt") == QJsonObject{{".sv", "timestamp"}})
        json.insert("sentAt", serverTime);
    return json;
}

FirebaseChatMessage message(const QString &type, const QString &status, const QString &text)
{
    FirebaseChatMessage message;
    message.setType(type);
    message.setSender(QStringLiteral("-NqOpAnna1021xQ7kLm"));
    message.setStatus(status);
    message.setText(text);
    message.setSentAt(at(TenOClock + 1234));
    return message;
}

} // namespace

class TestRecords : public QObject
{
    Q_OBJECT

private slots:
    void chatOrder_data();
    void chatOrder();
    void chatOrderIsStrictAndTotal();

    void operatorIndices_data();
    void operatorIndices();

    void messageJson_data();
    void messageJson();
    void messageJsonRoundTrip_data();
    void messageJsonRoundTrip();

    void timestampsConvertLikeQt_data();
    void timestampsConvertLikeQt();
    void timestampKeepsAGivenDateTime();
};

void TestRecords::chatOrder_data()
{
    QTest::addColumn<QList<FirebaseChat>>("chats");
    QTest::addColumn<QStringList>("order");

    const qint64 t = TenOClock;
    QTest::newRow("waiting longest first, then latest activity")
        << QList<FirebaseChat>{chat("answered", "operator", t + 10 * Minute, t - Minute),
                               chat("waits-5", "visitor", t + 5 * Minute, t - Minute),
                               chat("no-answer-needed", "visitor", t + 5 * Minute, t - Minute, true),
                               chat("empty", "", -1, t + 7 * Minute),
                               chat("waits-0", "visitor", t, t - Minute),
                               chat("never-seen", "", -1, -1, false, QString())}
        << QStringList{"waits-0", "waits-5", "answered", "empty", "no-answer-needed", "never-seen"};
    QTest::newRow("equal times fall back to the id")
        << QList<FirebaseChat>{chat("c", "visitor", t, t),
                               chat("a", "visitor", t, t),
                               chat("b", "operator", t, t),
                               chat("0", "operator", t, t)}
        << QStringList{"a", "c", "0", "b"};
    // A chat read from JSON without a last message has the epoch there; its creation counts.
    QTest::newRow("creation when there is no message")
        << QList<FirebaseChat>{chat("old", "operator", t, t - Minute),
                               chat("new", "", 0, t + Minute)}
        << QStringList{"new", "old"};
    QTest::newRow("visitor's message then the operator's")
        << QList<FirebaseChat>{chat("answered-now", "operator", t + Minute, t),
                               chat("asked-now", "visitor", t + Minute, t),
                               chat("asked-earlier", "visitor", t, t)}
        << QStringList{"asked-earlier", "asked-now", "answered-now"};
}

void TestRecords::chatOrder()
{
    QFETCH(QList<FirebaseChat>, chats);
    QFETCH(QStringList, order);

    QCOMPARE(ids(exchangeSorted(chats)), order);
    std::reverse(chats.begin(), chats.end());
    QCOMPARE(ids(exchangeSorted(chats)), order);
    std::sort(chats.begin(), chats.end(), [](const FirebaseChat &a, const FirebaseChat &b) {
        return a.compareTo(b) < 0;
    });
    QCOMPARE(ids(chats), order);
}

void TestRecords::chatOrderIsStrictAndTotal()
{
    // Every combination of whose turn it is, flag and times that the list can meet.
    const qint64 t = TenOClock;
    const QList<qint64> sentTimes{-1, 0, t, t + Minute};
    const QList<qint64> createdTimes{-1, t - Minute, t + Minute};
    QList<FirebaseChat> chats;
    for (const QString &visitor : {QString(), QStringLiteral("visitor")}) {
        for (const QString &sender : {QString(), QStringLiteral("visitor"), QStringLiteral("op")}) {
            for (bool noAnswer : {false, true}) {
                for (qint64 sentAt : sentTimes) {
                    for (qint64 createdAt : createdTimes) {
                        const QString id = QStringLiteral("chat-%1").arg(chats.size(),
                                                                         3,
                                                                         10,
                                                                         QLatin1Char('0'));
                        chats.append(chat(id, sender, sentAt, createdAt, noAnswer, visitor));
                    }
                }
            }
        }
    }

    for (const FirebaseChat &a : qAsConst(chats)) {
        QCOMPARE(a.compareTo(a), 0);
        for (const FirebaseChat &b : qAsConst(chats)) {
            const int ab = a.compareTo(b);
            QCOMPARE(ab == 0, a.getId() == b.getId());
            QCOMPARE(ab<0, b.compareTo(a)> 0);
        }
    }

    // Transitivity: after sorting, every earlier chat must come before every later one.
    QList<FirebaseChat> sorted = chats;
    std::sort(sorted.begin(), sorted.end(), [](const FirebaseChat &a, const FirebaseChat &b) {
        return a.compareTo(b) < 0;
    });
    for (int i = 0; i < sorted.size(); ++i) {
        for (int j = i + 1; j < sorted.size(); ++j)
            QVERIFY(sorted[i].compareTo(sorted[j]) < 0);
    }
    QCOMPARE(ids(exchangeSorted(chats)), ids(sorted));
}

void TestRecords::operatorIndices_data()
{
    QTest::addColumn<QStringList>("start");
    QTest::addColumn<QString>("operation"); // set:<index>:<key>, remove:<index>, clear
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("set past the end fills the gap")
        << QStringList{"a"} << "set:3:d" << QStringList{"a", "", "", "d"};
    QTest::newRow("set replaces") << QStringList{"a", "b"} << "set:1:x" << QStringList{"a", "x"};
    QTest::newRow("set on empty") << QStringList() << "set:0:a" << QStringList{"a"};
    QTest::newRow("negative index ignored") << QStringList{"a"} << "set:-1:x" << QStringList{"a"};
    QTest::newRow("absurd index ignored")
        << QStringList{"a"} << "set:100000000:x" << QStringList{"a"};
    QTest::newRow("remove shifts")
        << QStringList{"a", "b", "c"} << "remove:1" << QStringList{"a", "c"};
    QTest::newRow("remove out of range") << QStringList{"a"} << "remove:1" << QStringList{"a"};
    QTest::newRow("remove negative") << QStringList{"a"} << "remove:-1" << QStringList{"a"};
    QTest::newRow("clear") << QStringList{"a", "b"} << "clear" << QStringList();
}

void TestRecords::operatorIndices()
{
    QFETCH(QStringList, start);
    QFETCH(QString, operation);
    QFETCH(QStringList, expected);

    FirebaseChat chat;
    chat.setOperators(start);
    const QStringList parts = operation.split(QLatin1Char(':'));
    if (parts.at(0) == QLatin1String("set"))
        chat.setOperator(parts.at(1).toInt(), parts.at(2));
    else if (parts.at(0) == QLatin1String("remove"))
        chat.removeOperator(parts.at(1).toInt());
    else
        chat.clearOperators();
    QCOMPARE(chat.getOperators(), expected);
}

void TestRecords::messageJson_data()
{
    QTest::addColumn<FirebaseChatMessage>("message");
    QTest::addColumn<QString>("form"); // toJson(true), toJson(false), file, image
    QTest::addColumn<QJsonObject>("expected");

    const QJsonObject server{{".sv", "timestamp"}};
    const QString anna = QStringLiteral("-NqOpAnna1021xQ7kLm");

    const FirebaseChatMessage text = message("text", "sent", "Добрый день!");
    QTest::newRow("text, server time") << text << "toJson(true)"
                                       << QJsonObject{{"sender", anna},
                                                      {"sentAt", server},
                                                      {"status", "sent"},
                                                      {"text", "Добрый день!"},
                                                      {"type", "text"}};
    QTest::newRow("text, own time") << text << "toJson(false)"
                                    << QJsonObject{{"sender", anna},
                                                   {"sentAt", TenOClock + 1234},
                                                   {"status", "sent"},
                                                   {"text", "Добрый день!"},
                                                   {"type", "text"}};
    FirebaseChatMessage timeless = text;
    timeless.setSentAt(QDateTime());
    QTest::newRow("no own time takes the server's") << timeless << "toJson(false)"
                                                    << QJsonObject{{"sender", anna},
                                                                   {"sentAt", server},
                                                                   {"status", "sent"},
                                                                   {"text", "Добрый день!"},
                                                                   {"type", "text"}};
    QTest::newRow("joined") << message("joined", "delivered", QString()) << "toJson(true)"
                            << QJsonObject{{"sender", anna},
                                           {"sentAt", server},
                                           {"status", "delivered"},
                                           {"text", ""},
                                           {"type", "joined"}};

    FirebaseChatMessage invitation = message("invitation", "sent", "unused");
    invitation.setTarget(QStringLiteral("-NqOpDmitry1022aB9"));
    const QJsonObject invited{{"sender", anna},
                              {"target", "-NqOpDmitry1022aB9"},
                              {"sentAt", server},
                              {"status", "sent"},
                              {"type", "invitation"}};
    QTest::newRow("invitation, server time") << invitation << "toJson(true)" << invited;
    QTest::newRow("invitation, own time asked") << invitation << "toJson(false)" << invited;

    FirebaseChatMessage file = message("file", "sent", "ignored");
    file.setSize(482133);
    file.setFilename(QStringLiteral("Условия доставки.pdf"));
    file.setUrl(QStringLiteral("https://files.tallyra-demo.ru/1840/a.pdf"));
    file.setIcon(QStringLiteral("https://files.tallyra-demo.ru/icons/pdf.png"));
    file.setPreview(QStringLiteral("not written for files"));
    QTest::newRow("file") << file << "file"
                          << QJsonObject{{"sender", anna},
                                         {"sentAt", server},
                                         {"status", "sent"},
                                         {"size", 482133},
                                         {"type", "file"},
                                         {"filename", "Условия доставки.pdf"},
                                         {"url", "https://files.tallyra-demo.ru/1840/a.pdf"},
                                         {"icon", "https://files.tallyra-demo.ru/icons/pdf.png"}};

    FirebaseChatMessage image = message("image", "sent", "ignored");
    image.setSize(Q_INT64_C(3000000000)); // beyond 32 bits
    image.setFilename(QStringLiteral("photo.jpg"));
    image.setUrl(QStringLiteral("https://files.tallyra-demo.ru/1840/photo.jpg"));
    image.setPreview(QStringLiteral("https://files.tallyra-demo.ru/1840/photo-mini.jpg"));
    image.setIcon(QStringLiteral("not written for images"));
    QTest::newRow("image is always delivered")
        << image << "image"
        << QJsonObject{{"sender", anna},
                       {"sentAt", server},
                       {"status", "delivered"},
                       {"size", 3000000000.0},
                       {"type", "image"},
                       {"url", "https://files.tallyra-demo.ru/1840/photo.jpg"},
                       {"preview", "https://files.tallyra-demo.ru/1840/photo-mini.jpg"},
                       {"filename", "photo.jpg"}};
}

void TestRecords::messageJson()
{
    QFETCH(FirebaseChatMessage, message);
    QFETCH(QString, form);
    QFETCH(QJsonObject, expected);

    QJsonObject json;
    if (form == QLatin1String("toJson(true)"))
        json = message.toJson(true);
    else if (form == QLatin1String("toJson(false)"))
        json = message.toJson(false);
    else if (form == QLatin1String("file"))
        json = message.toJsonFile();
    else
        json = message.toJsonImage();
    QCOMPARE(json, expected);
}

void TestRecords::messageJsonRoundTrip_data()
{
    QTest::addColumn<FirebaseChatMessage>("message");
    QTest::addColumn<bool>("serverTime");

    const QStringList texts{
        QStringLiteral("Добрый день! Чем могу помочь?"),
        QStringLiteral("Цитата: \"как есть\"\\n и обратная косая \\ черта"),
        QStringLiteral("строка 1\nстрока 2\tтаб\r\n"),
        QStringLiteral(
            "\",\"type\":\"invitation\",\"target\":\"x"), // would inject keys into a template
        QStringLiteral("эмодзи 😀 и \u0000 нулевой символ"),
        QString(),
    };
    for (int i = 0; i < texts.size(); ++i) {
        const FirebaseChatMessage text = message("text", "sent", texts.at(i));
        QTest::addRow("text %d, own time", i) << text << false;
        QTest::addRow("text %d, server time", i) << text << true;
    }
    QTest::newRow("left") << message("left", "delivered", QString()) << true;
}

void TestRecords::messageJsonRoundTrip()
{
    QFETCH(FirebaseChatMessage, message);
    QFETCH(bool, serverTime);

    // Through the text that goes over the wire and back, as another console reads it.
    const QString wire = JsonParser::toString(message.toJson(serverTime));
    const qint64 serverClock = TenOClock + 5 * Minute;
    const FirebaseChatMessage read = JsonParser::getFirebaseChatMessageFromJson(
        storedByServer(JsonParser::fromString(wire), serverClock));

    QCOMPARE(read.getType(), message.getType());
    QCOMPARE(read.getSender(), message.getSender());
    QCOMPARE(read.getStatus(), message.getStatus());
    QCOMPARE(read.getText(), message.getText());
    QVERIFY(read.getTarget().isEmpty());
    QCOMPARE(read.getSentAt(), serverTime ? at(serverClock) : message.getSentAt());
}

void TestRecords::timestampsConvertLikeQt_data()
{
    QTest::addColumn<qint64>("msecs");
    QTest::newRow("now-ish") << TenOClock;
    QTest::newRow("epoch") << qint64(0);
    QTest::newRow("before the epoch") << qint64(-86400000);
    QTest::newRow("summer") << Q_INT64_C(1719835200000);      // 2024-07-01
    QTest::newRow("far future") << Q_INT64_C(32503680000000); // year 3000
}

void TestRecords::timestampsConvertLikeQt()
{
    QFETCH(qint64, msecs);
    const Timestamp timestamp = Timestamp::fromMSecsSinceEpoch(msecs);
    const Timestamp copyBeforeRead = timestamp;
    const QDateTime expected = QDateTime::fromMSecsSinceEpoch(msecs);

    QVERIFY(timestamp.isValid());
    QCOMPARE(timestamp.toMSecsSinceEpoch(), msecs);
    QCOMPARE(timestamp.toDateTime(), expected);
    QCOMPARE(timestamp.toDateTime().timeSpec(), Qt::LocalTime);
    QCOMPARE(timestamp.toDateTime().toString(Qt::ISODateWithMs),
             expected.toString(Qt::ISODateWithMs));
    QCOMPARE(copyBeforeRead.toDateTime(), expected);
    QVERIFY(copyBeforeRead == timestamp);
    QVERIFY(timestamp != Timestamp());
}

void TestRecords::timestampKeepsAGivenDateTime()
{
    const QDateTime utc(QDate(2024, 3, 5), QTime(10, 0), Qt::UTC);
    FirebaseChat chat;
    chat.setCreatedAt(utc);
    QCOMPARE(chat.getCreatedAt(), utc);
    QCOMPARE(chat.getCreatedAt().timeSpec(), Qt::UTC);

    // The same instant read from the database compares equal.
    FirebaseChat read;
    read.setCreatedAt(Timestamp::fromMSecsSinceEpoch(utc.toMSecsSinceEpoch()));
    QVERIFY(read == chat);

    chat.setStartedAt(QDateTime());
    QVERIFY(!chat.getStartedAt().isValid());
    QVERIFY(!Timestamp().toDateTime().isValid());
    QVERIFY(Timestamp() == Timestamp(QDateTime()));
}

QTEST_GUILESS_MAIN(TestRecords)
#include "tst_records.moc"
