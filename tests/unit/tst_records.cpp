// Behaviour of the records themselves: the order of chats in the lists, the operator list's
// index operations, the message JSON the console writes, and database time stamps.
#include "records/firebasechat.h"
#include "records/firebasechatmessage.h"
#include "records/timestamp.h"
#include "util/jsonparser.h"

#include <QJsonDocument>
#include <QtTest>

namespace {

const qint64 TenOClock = 1709632800000; // 2024-03-05 10:00 UTC
const qint64 Minute = 60000;

// "<id> <last sender> <sent> <created> [flags]": the sender is "visitor", another user or "-"
// for none; a time is minutes after ten o'clock, "epoch" (a chat read without a last message)
// or "-" for none; flags are "no-answer" (noAnswerRequired) and "no-visitor".
FirebaseChat chat(const QString &row)
{
    const QStringList part = row.split(' ');
    const auto time = [](const QString &text) {
        return text == "-" ? Timestamp()
                           : Timestamp::fromMSecsSinceEpoch(
                               text == "epoch" ? 0 : TenOClock + text.toInt() * Minute);
    };
    FirebaseChat chat;
    chat.setId(part[0]);
    chat.setVisitor(row.contains("no-visitor") ? QString() : "visitor");
    chat.setNoAnswerRequired(row.contains("no-answer"));
    FirebaseLastMessage last;
    last.setSender(part[1] == "-" ? QString() : part[1]);
    last.setSentAt(time(part[2]));
    chat.setLastMessage(last);
    chat.setCreatedAt(time(part[3]));
    return chat;
}

// A message with every field set; each form writes only its own.
FirebaseChatMessage message(const QString &type)
{
    FirebaseChatMessage message = JsonParser::getFirebaseChatMessageFromJson(JsonParser::fromString(
        R"({"sender": "anna", "target": "dmitry", "status": "sent", "sentAt": 1709632801234,
            "size": 3000000000, "filename": "a.pdf", "url": "u", "icon": "i", "preview": "p"})"));
    message.setType(type);
    message.setText("Добрый день!");
    return message;
}

} // namespace

class TestRecords : public QObject
{
    Q_OBJECT

private slots:
    void chatOrder_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        const auto row = [](const char *rule, const char *first, const char *second) {
            QTest::newRow(rule) << QString(first) << QString(second);
        };

        // Chats whose visitor waits for an answer come first, the one waiting longest at the top;
        // then the others, latest activity (message or creation) first; then the id.
        row("waiting before answered", "a visitor 5 -10", "b op 10 -10");
        row("waiting longest first", "a visitor 0 -10", "b visitor 5 -10");
        row("no answer needed: not waiting", "a visitor 5 -10", "b visitor 4 -10 no-answer");
        row("no visitor: not waiting", "a visitor 5 -10", "b - - 4 no-visitor");
        row("latest message first", "a op 10 -10", "b op 5 -10");
        row("created after the message", "a - - 7", "b op 5 -10");
        row("creation beats the epoch", "a - epoch 1", "b op 0 -1");
        row("no time at all last", "a op -1000 -1000", "b - - -");
        row("waiting: same time, by id", "a visitor 0 0", "c visitor 0 0");
        row("others: same time, by id", "0 op 0 0", "b op 0 0");
    }
    void chatOrder()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QVERIFY(chat(first).compareTo(chat(second)) < 0);
        QVERIFY(chat(second).compareTo(chat(first)) > 0);
    }

    void chatOrderIsStrictAndTotal()
    {
        // Every combination of whose turn it is, flags and times that the list can meet.
        const QStringList senders{"-", "visitor", "op"}, sent{"-", "epoch", "0", "1"},
            created{"-", "-1", "1"}, flags{"", "no-answer", "no-visitor", "no-answer no-visitor"};
        QList<FirebaseChat> chats;
        for (int i = 0; i < 3 * 4 * 3 * 4; ++i) {
            chats.append(chat(
                QStringLiteral("c%1 %2 %3 %4 %5")
                    .arg(i, 3, 10, QLatin1Char('0'))
                    .arg(senders[i % 3], sent[i / 3 % 4], created[i / 12 % 3], flags[i / 36])));
        }
        for (const FirebaseChat &a : qAsConst(chats)) {
            for (const FirebaseChat &b : qAsConst(chats)) {
                QCOMPARE(a.compareTo(b) == 0, a.getId() == b.getId());
                QCOMPARE(a.compareTo(b) < 0, b.compareTo(a) > 0);
            }
        }
        // Transitive: once sorted, every chat comes before every later one.
        std::sort(chats.begin(), chats.end(), [](const FirebaseChat &a, const FirebaseChat &b) {
            return a.compareTo(b) < 0;
        });
        for (int i = 0; i < chats.size(); ++i) {
            for (int j = i + 1; j < chats.size(); ++j)
                QVERIFY(chats[i].compareTo(chats[j]) < 0);
        }
    }

    void operatorIndices_data()
    {
        // The operation on the list a, b is the row's name.
        QTest::addColumn<QString>("expected");
        QTest::newRow("set 3 d") << "a,b,,d"; // the gap filled with nobody
        QTest::newRow("set 1 x") << "a,x";
        QTest::newRow("set -1 x") << "a,b";
        QTest::newRow("set 100000000 x") << "a,b"; // malformed data must not allocate
        QTest::newRow("remove 0") << "b";
        QTest::newRow("remove 2") << "a,b";
        QTest::newRow("remove -1") << "a,b";
    }
    void operatorIndices()
    {
        QFETCH(QString, expected);
        const QStringList part = QString(QTest::currentDataTag()).split(' ');
        FirebaseChat chat;
        chat.setOperators({"a", "b"});
        if (part[0] == "set")
            chat.setOperator(part[1].toInt(), part[2]);
        else
            chat.removeOperator(part[1].toInt());
        QCOMPARE(chat.getOperators().join(','), expected);
    }

    void messageJson_data()
    {
        // toJson(true), toJson(false), the same without an own time, file or image; "SV" stands
        // for the database's server-time placeholder.
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("form");
        QTest::addColumn<QString>("expected");
        const auto row = [](const QString &type, const QString &form, const QString &expected) {
            QTest::addRow("%s %s", qPrintable(type), qPrintable(form)) << type << form << expected;
        };

        const QString text = R"({"sender": "anna", "status": "sent", "text": "Добрый день!", )";
        row("text", "server", text + R"("type": "text", "sentAt": SV})");
        row("text", "own", text + R"("type": "text", "sentAt": 1709632801234})");
        row("text", "untimed", text + R"("type": "text", "sentAt": SV})");
        row("joined", "server", text + R"("type": "joined", "sentAt": SV})");
        // An invitation names its target, always by the server's clock, without text.
        const QString invitation = R"({"sender": "anna", "status": "sent", "type": "invitation", )";
        row("invitation", "server", invitation + R"("target": "dmitry", "sentAt": SV})");
        row("invitation", "own", invitation + R"("target": "dmitry", "sentAt": SV})");
        const QString file = R"({"sender": "anna", "sentAt": SV, "size": 3000000000, "url": "u", )";
        row("file",
            "file",
            file + R"("status": "sent", "type": "file", "filename": "a.pdf", "icon": "i"})");
        // Images are always written as delivered.
        row("image",
            "image",
            file
                + R"("status": "delivered", "type": "image", "filename": "a.pdf", "preview": "p"})");
    }
    void messageJson()
    {
        QFETCH(QString, type);
        QFETCH(QString, form);
        QFETCH(QString, expected);

        FirebaseChatMessage written = message(type);
        if (form == "untimed")
            written.setSentAt(QDateTime());
        const QJsonObject json = form == "file"    ? written.toJsonFile()
                                 : form == "image" ? written.toJsonImage()
                                                   : written.toJson(form == "server");
        expected.replace("SV", R"({".sv": "timestamp"})");
        // Compact text has its keys sorted: equal objects read the same, and differences read well.
        QCOMPARE(JsonParser::toString(json), JsonParser::toString(JsonParser::fromString(expected)));
    }

    void timestamps_data()
    {
        QTest::addColumn<qint64>("msecs");
        QTest::newRow("now-ish") << TenOClock;
        QTest::newRow("epoch") << qint64(0);
        QTest::newRow("before the epoch") << qint64(-86400000);
        QTest::newRow("summer") << Q_INT64_C(1719835200000);      // 2024-07-01
        QTest::newRow("far future") << Q_INT64_C(32503680000000); // year 3000
    }
    void timestamps()
    {
        QFETCH(qint64, msecs);
        const QDateTime expected = QDateTime::fromMSecsSinceEpoch(msecs);
        const Timestamp timestamp = Timestamp::fromMSecsSinceEpoch(msecs);
        const Timestamp copyBeforeRead = timestamp; // shares the conversion made later

        // Read as local time, as Qt converts milliseconds.
        QCOMPARE(timestamp.toMSecsSinceEpoch(), msecs);
        QCOMPARE(timestamp.toDateTime().toString(Qt::ISODateWithMs),
                 expected.toString(Qt::ISODateWithMs));
        QCOMPARE(timestamp.toDateTime().timeSpec(), Qt::LocalTime);
        QCOMPARE(copyBeforeRead.toDateTime(), expected);
        QVERIFY(copyBeforeRead == timestamp && timestamp != Timestamp());

        // A given date-time is kept as it is, and equals the same instant read from the database.
        FirebaseChat chat, read;
        chat.setCreatedAt(expected.toUTC());
        read.setCreatedAt(timestamp);
        QCOMPARE(chat.getCreatedAt().timeSpec(), Qt::UTC);
        QVERIFY(read == chat);
        QVERIFY(Timestamp(QDateTime()) == Timestamp() && !Timestamp().toDateTime().isValid());
    }
};

QTEST_GUILESS_MAIN(TestRecords)
#include "tst_records.moc"
