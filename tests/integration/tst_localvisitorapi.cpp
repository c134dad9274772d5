// The visitor page's API of tallyra-local over TLS on the demo account: a visitor arrives,
// chats and is answered; the session token is checked before anything else, and all is bounded.
#include "localtestsupport.h"

#include "local/demoseed.h"
#include "local/visitorapi.h"

#include <QtTest>

class TestLocalVisitorApi : public QObject
{
    Q_OBJECT

    HttpResult call(const QByteArray &t, const QString &r, const QByteArray &body = {})
    {
        const QByteArray verb = r.startsWith("poll") ? "GET" : "POST";
        return m_rest->send(verb, "/visitor-api/" + r, body, {{"Authorization", "Bearer " + t}});
    }
    QByteArray arrive(int widget = 601)
    {
        const QByteArray body = jsonBytes(QString("{'widget':%1}").arg(widget));
        return call({}, "arrive", body).json["token"].toString().toLatin1();
    }
    QJsonValue stored(const QString &path) { return m_rest->database("GET", m_at + path).json; }

    const QString m_at = "/services/1/accounts/101/";
    LocalService::Options m_options;
    LocalTestService m_local{(m_options.seed = DemoSeed::build("https://127.0.0.1"), m_options)};
    std::unique_ptr<RestClient> m_rest;

private slots:
    void initTestCase()
    {
        QVERIFY(m_local.start());
        m_rest = std::make_unique<RestClient>(&m_local);
        m_rest->token = QString::fromLatin1(m_local.service()->signIn(1, 101, "u").idToken);
    }

    void aVisitorChatsWithAnOperator()
    {
        const QByteArray token = arrive();
        const QString visitor = call(token, "poll").json["visitor"].toString();
        QCOMPARE(token.size(), 32); // 128 bits
        QCOMPARE(stored("visitors/" + visitor + "/online"), QJsonValue(true));

        const QString chat = "chats/" + call(token, "start").json["chat"].toString();
        QCOMPARE(call(token, "send", jsonBytes("{'text':'Привет'}")).status, 200);
        QCOMPARE(stored(chat + "/lastMessage/text").toString(), QString("Привет"));

        // A picture is kept and served back, and counts as unread.
        const QByteArray gif("GIF89a\1\0\1\0\0\0\0;", 14);
        const QString url = call(token, "file?name=a/dot.gif", gif).json["url"].toString();
        QCOMPARE(m_rest->send("GET", "/files/uploads/" + url.section('/', -2)).body, gif);
        QCOMPARE(stored(chat + "/unreadCount").toInt(), 2);

        // An operator's answer and typing, written through the database, reach the page.
        const QString olga = "-DemoOpOlga000001", at = m_at + "chat";
        const QString answer = "{'sender':'%1','type':'text','status':'sent','text':'Да'}";
        m_rest->database("POST", at + "-messages/" + chat.mid(6), answer.arg(olga));
        m_rest->database("PUT", at + chat.mid(4) + "/userText/" + olga, "'Что'");
        const QJsonObject polled = call(token, "poll").json.toObject();
        const QJsonArray messages = polled["messages"].toArray();
        // The picture and the answer may share a millisecond, so their keys may come in either
        // order.
        QStringList last{messages.at(2)["type"].toString() + messages.at(2)["text"].toString(),
                         messages.at(3)["type"].toString() + messages.at(3)["text"].toString()};
        last.sort();
        QCOMPARE(last, (QStringList{"image", "textДа"}));
        QCOMPARE(polled["typing"].toArray().at(0)["text"].toString(), QString("Что"));
        QCOMPARE(polled["people"][olga]["name"].toString(), QString("Ольга")); // the widget's alias
        const QString since = "poll?since=" + messages.at(3)["key"].toString();
        QVERIFY(call(token, since).json["messages"].toArray().isEmpty());

        // Beyond the cap the oldest session ends, and its visitor leaves.
        m_local.service()->visitorApi()->setMaxSessions(2);
        const QByteArray newer = arrive(611);
        arrive();
        QCOMPARE(call(token, "poll").status, 401);
        QCOMPARE(stored("visitors/" + visitor + "/online"), QJsonValue(false));
        QCOMPARE(call(newer, "leave").status, 200);
        QCOMPARE(call(newer, "poll").status, 401);
    }

    void refusals_data()
    {
        // Token (forged; fresh: arrived; chatting: started) | route | body | HTTP status;
        // LONG is one character too many for a text, HUGE one byte too many for a file.
        QTest::addColumn<QStringList>("row");
        addRow("forged, before parsing", "forged|send|{|401");
        addRow("unknown widget", "forged|arrive|{'widget':999}|404");
        addRow("no chat yet", "fresh|send|{'text':'Эй'}|409");
        addRow("not JSON", "chatting|send|{|400");
        addRow("empty text", "chatting|send|{'text':' '}|422");
        addRow("text too long", "chatting|send|{'text':'LONG'}|413");
        addRow("file too big", "chatting|file?name=f|HUGE|413");
        addRow("bad e-mail", "chatting|introduce|{'email':'x@'}|422");
    }

    void refusals()
    {
        QFETCH(QStringList, row);
        const QString text(VisitorApi::maxTextLength + 1, 'a');
        const QByteArray body = row[2] == "HUGE" ? QByteArray(VisitorApi::maxFileBytes + 1, 'x')
                                                 : jsonBytes(row[2].replace("LONG", text));
        const QByteArray token = row[0] == "forged" ? QByteArray(32, 'a') : arrive();
        if (row[0] == "chatting")
            QCOMPARE(call(token, "start").status, 200);
        const HttpResult result = call(token, row[1], body);
        QCOMPARE(result.status, row[3].toInt());
        QVERIFY(!result.json["error"].toString().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestLocalVisitorApi)
#include "tst_localvisitorapi.moc"
