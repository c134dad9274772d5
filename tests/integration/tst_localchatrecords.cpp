// The chat API's records on the demo account over TLS: the dialog history, offline requests and
// their export, and files uploaded into a chat and fetched back, as the console reads them.
#include "localtestsupport.h"

#include "local/chatapi.h"
#include "local/demofiles.h"
#include "local/demoseed.h"
#include "local/serviceclock.h"
#include "util/jsonparser.h"

#include <QImage>
#include <QtTest>

namespace {

// 02:30 in Moscow and still the day before in UTC: the lists count the service's days.
const qint64 kNow = QDateTime(QDate(2024, 3, 4), QTime(23, 30), Qt::UTC).toMSecsSinceEpoch();

LocalService::Options demoOptions()
{
    LocalService::Options options;
    options.seed = DemoSeed::build(QStringLiteral("https://127.0.0.1"), kNow);
    return options;
}

} // namespace

class TestLocalChatRecords : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void history_data();
    void history();
    void offlineRequestsAndExport();
    void upload_data();
    void upload();

private:
    HttpResult get(const QString &path, const QByteArray &token)
    {
        return m_rest->send("GET", "/api/chat/client/" + path, {}, {{"Authorization", token}});
    }

    LocalTestService m_local{demoOptions()};
    std::unique_ptr<RestClient> m_rest;
    QByteArray m_token;   // "bearer ..." of the demo operator, on the shop account
    QByteArray m_partner; // of the other service's account
};

void TestLocalChatRecords::initTestCase()
{
    QVERIFY(m_local.start());
    ServiceClock *clock = m_local.service()->clock();
    clock->freeze();
    clock->advance(kNow - clock->nowMs());
    m_rest = std::make_unique<RestClient>(&m_local);
    const ApiTokens &tokens = m_local.service()->chatApi()->tokens();
    m_token = "bearer " + tokens.mint(1, 101, "-DemoOpOlga000001");
    m_partner = "bearer " + tokens.mint(2, 201, "-DemoOpDaria02003");
}

void TestLocalChatRecords::history_data()
{
    // path | a search's total, shown, all, completed, lost and in work whatever the status
    // asked; a chat's message count; or the HTTP status | "partner": with the other account
    QTest::addColumn<QStringList>("row");
    // The demo: 12 ended chats over five weeks (2 lost) and 8 in work since yesterday.
    addRow("everything", "history?|20 20 20 10 2 8");
    addRow("lost", "history?filter[status]=lost|2 2 20 10 2 8");
    addRow("widget", "history?filter[widget_id]=602|6 6 6 3 1 2");
    addRow("operator", "history?filter[user_id]=1001|5 5 5 2 0 3");
    addRow("today", "history?filter[date_type]=today|5 5 5 0 0 5");
    addRow("period",
           "history?filter[date_type]=period&filter[date_start]=2024-02-26&"
           "filter[date_end]=2024-02-29|2 2 2 2 0 0");
    addRow("last page", "history?per_page=3&page=7&filter[status]=all|20 2 20 10 2 8");
    addRow("unknown status", "history?filter[status]=closed|422");
    addRow("no such day", "history?filter[date_type]=period&filter[date_start]=2024-02-30|422");
    addRow("ended, with its visit", "history/info/71001|5");
    addRow("lost, messages", "history/71005|1");
    addRow("in work, with its visit", "history/info/70003|2");
    addRow("in work, not history yet", "history/70003|404");
    addRow("another account's", "history/info/71001|404|partner");
}

void TestLocalChatRecords::history()
{
    QFETCH(QStringList, row);
    const HttpResult result = get(row.at(0), row.size() > 2 ? m_partner : m_token);
    const QJsonObject reply = result.json.toObject();
    const ApiChatHistory found = JsonParser::getApiChatHistoryFromJson(reply);
    const ApiChatHistoryMesssages chat = JsonParser::getApiChatHistoryMessages(reply);
    const ApiChatHistoryStat stat = found.getStat();
    const QList<FirebaseChat> chats = found.getChats();
    QStringList counts;
    for (const qint64 count : {qint64(reply.value("pagination")["total"].toInt()),
                               qint64(chats.size()),
                               stat.getAll(),
                               stat.getCompleted(),
                               stat.getLost(),
                               stat.getWork()})
        counts.append(QString::number(count));
    if (!row.at(0).contains('?'))
        counts = QStringList{QString::number(chat.getMessages().size())};
    QCOMPARE(result.status == 200 ? counts.join(' ') : QString::number(result.status), row.at(1));
    // Newest first; everyone a chat names is among the users; a chat comes with its visit.
    QStringList users = chat.getUsers().keys();
    for (const ApiChatHistoryUser &user : found.getUsers())
        users.append(user.getId());
    for (int i = 0; i < chats.size(); ++i) {
        QVERIFY(i == 0 || chats.at(i - 1).getCreatedAt() >= chats.at(i).getCreatedAt());
        const QStringList people = chats.at(i).getOperators() << chats.at(i).getVisitor();
        for (const QString &person : people)
            QVERIFY(users.contains(person));
    }
    for (const FirebaseChatMessage &message : chat.getMessages())
        QVERIFY(users.contains(message.getSender()));
    QCOMPARE(chat.getVisit().getIp().isEmpty(),
             !(row.at(0).contains("info") && result.status == 200));
}

void TestLocalChatRecords::offlineRequestsAndExport()
{
    const QJsonObject reply = get("offline_messages?per_page=4", m_token).json.toObject();
    const QList<ApiOfflineMessage> requests = JsonParser::getApiOfflineMessagesFromJson(reply);
    QCOMPARE(requests.size(), 4);
    QCOMPARE(reply.value("total").toInt(), 5);
    for (int i = 1; i < requests.size(); ++i)
        QVERIFY(requests.at(i - 1).getDate() > requests.at(i).getDate());
    QCOMPARE(get("offline_messages?", m_partner).json.toObject().value("total").toInt(), 0);

    // A spreadsheet needs the byte order mark to read UTF-8.
    const HttpResult csv = get("offline_messages/export?filter[date_type]=period&filter[date_"
                               "start]=2024-03-04&filter[date_end]=2024-03-04",
                               m_token);
    QCOMPARE(csv.headers.value("content-type"), "text/csv; charset=utf-8");
    QVERIFY(csv.headers.value("content-disposition").startsWith("attachment"));
    QCOMPARE(
        csv.body,
        "\xEF\xBB\xBF"
        "Дата;Имя;E-mail;Телефон;Сообщение;Страница;Виджет;Форма;IP;Местоположение;Источник\r\n"
        "04.03.2024 12:30;Татьяна;tatiana.m@example.ru;;Перезвоните, пожалуйста, по поводу "
        "гарантии.;https://help.demo.tallyra.local/faq/warranty/;Поддержка;offline;"
        "178.49.12.90;Россия, Новосибирск;yandex.ru\r\n");
}

void TestLocalChatRecords::upload_data()
{
    QTest::addColumn<QByteArray>("form");
    QTest::addColumn<int>("statusCode"); // of the envelope; 0: stored
    QTest::addColumn<QString>("type");   // served as

    const auto part = [](const QByteArray &disposition, const QByteArray &body) -> QByteArray {
        return "--b\r\nContent-Disposition: form-data; " + disposition + "\r\n\r\n" + body + "\r\n";
    };
    const auto file = [&part](const QByteArray &name, const QByteArray &data) -> QByteArray {
        return part("name=\"file\"; filename=\"" + name + "\"", data);
    };
    const QByteArray own = part("name=\"chat_id\"", "-DemoChat0001shop") + "--b--";
    const QByteArray text = file("a.txt", "x");
    const QByteArray foreign = part("name=\"chat_id\"", "-DemoChat0101part") + "--b--";
    QTest::newRow("document") << file("Счёт 5.pdf", "%PDF-1.4") + own << 0 << "application/pdf";
    QTest::newRow("picture") << file("фото.png", DemoFiles::picture("sea")) + own << 0
                             << "image/png";
    QTest::newRow("another account's chat") << text + foreign << 404 << "";
    QTest::newRow("over 20 MB") << file("a", QByteArray(20 << 20 | 1, 'x')) + own << 413 << "";
    QTest::newRow("no end") << text + own.chopped(5) << 400 << "";
    QTest::newRow("too many parts") << text.repeated(17) + own << 400 << "";
}

void TestLocalChatRecords::upload()
{
    QFETCH(QByteArray, form);
    QFETCH(int, statusCode);
    QFETCH(QString, type);
    const HttpResult result = m_rest->send("POST",
                                           "/api/chat/client/upload_file/",
                                           form,
                                           {{"Authorization", m_token},
                                            {"Content-Type", "multipart/form-data; boundary=b"}});
    // The console reads a failed upload's envelope too, so it comes with HTTP 200.
    QCOMPARE(result.status, 200);
    const QJsonObject reply = result.json.toObject();
    QCOMPARE(reply.value("status_code").toInt(), statusCode);
    if (statusCode)
        return;
    const auto fetch = [this, &reply](const char *member) {
        return m_rest->send("GET", QUrl(reply.value(member).toString()).path(QUrl::FullyEncoded));
    };
    const HttpResult file = fetch("full_path");
    const bool image = type.startsWith("image");
    QCOMPARE(file.headers.value("content-type"), type.toLatin1());
    QCOMPARE(reply.value("file_type").toString(), image ? "image" : "file");
    QCOMPARE(file.headers.value("content-disposition").startsWith("attachment"), !image);
    QVERIFY(form.contains("\r\n\r\n" + file.body + "\r\n--b")
            && file.body.size() == reply.value("file_size").toInt());
    // A picture's thumbnail fits 240 px; a document's is its type's icon.
    const QImage mini = QImage::fromData(fetch("mini_path").body);
    QVERIFY(!mini.isNull() && (!image || mini.size() == QSize(240, 156)));
    const QDir uploads(m_local.dataDirectory() + "/uploads");
    for (const QFileInfo &stored : uploads.entryInfoList(QDir::Files | QDir::Hidden))
        QVERIFY((stored.permissions() & (QFile::ReadGroup | QFile::ReadOther)) == 0);
}

QTEST_GUILESS_MAIN(TestLocalChatRecords)
#include "tst_localchatrecords.moc"
