// The chat API of tallyra-local over TLS on the demo account: sign-in outcomes, token renewal
// and refusal, isolation, and answers that the console's JsonParser maps without loss.
#include "localtestsupport.h"

#include "local/chatapi.h"
#include "local/chatservice.h"
#include "local/demoseed.h"
#include "local/serviceclock.h"
#include "local/visitorsimulator.h"
#include "util/jsonparser.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

namespace {

LocalService::Options demoOptions()
{
    LocalService::Options options;
    options.seed = DemoSeed::build(QStringLiteral("https://127.0.0.1"));
    return options;
}

QByteArray loginBody(const QString &email, const QString &password, int serviceId = 0)
{
    QJsonObject body{{"email", email}, {"password", password}};
    if (serviceId)
        body.insert("service_id", serviceId);
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

} // namespace

class TestLocalChatApi : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup() { m_local.service()->clock()->reset(); }

    void signInOutcomes_data();
    void signInOutcomes();
    void answersMapWithoutLoss();
    void tokensAreRenewedAndRefused();
    void wrongPasswordsAreSlowedDown();
    void operations_data();
    void operations();
    void quickAnswersReachTheRealtimeDatabase();
    void aChatFromInvitationToHistory();
    void simulatedVisitorsStartChatsAndAnswer();

private:
    HttpResult login(const QByteArray &body)
    {
        return m_rest->send("POST", "/api/auth/login", body);
    }
    QByteArray signIn()
    {
        return login(loginBody(DemoSeed::operatorLogin, DemoSeed::password))
            .headers.value("authorization");
    }
    HttpResult call(const QByteArray &verb, const QString &path, const QByteArray &body)
    {
        return m_rest->send(verb, path, body, {{"Authorization", "bearer " + signIn()}});
    }
    HttpResult get(const QString &path, const QByteArray &token)
    {
        return m_rest->send("GET", path, {}, {{"Authorization", "bearer " + token}});
    }

    LocalTestService m_local{demoOptions()};
    std::unique_ptr<RestClient> m_rest;
};

void TestLocalChatApi::initTestCase()
{
    QVERIFY(m_local.start());
    m_rest = std::make_unique<RestClient>(&m_local);
}

void TestLocalChatApi::signInOutcomes_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("outcome"); // the reply's telling member
    QTest::addColumn<int>("statusCode");

    const QString op = DemoSeed::operatorLogin;
    const QString manager = DemoSeed::managerLogin;
    const QString password = DemoSeed::password;
    QTest::newRow("one service") << loginBody(op, password) << "user" << 0;
    QTest::newRow("e-mail in capitals") << loginBody(op.toUpper(), password) << "user" << 0;
    QTest::newRow("two services") << loginBody(manager, password) << "services" << 0;
    QTest::newRow("service chosen") << loginBody(manager, password, 2) << "user" << 0;
    QTest::newRow("foreign service") << loginBody(op, password, 2) << "message" << 403;
    QTest::newRow("unknown e-mail")
        << loginBody("nobody@demo.tallyra.local", password) << "errors.email" << 422;
    QTest::newRow("wrong password") << loginBody(op, "demo") << "errors.password" << 422;
    QTest::newRow("nothing given") << QByteArray("{}") << "errors.email errors.password" << 422;
    QTest::newRow("not JSON") << QByteArray("{\"email\":") << "message" << 400;
    QTest::newRow("wrong types") << QByteArray("{\"email\":7,\"password\":[]}")
                                 << "errors.email errors.password" << 422;
}

void TestLocalChatApi::signInOutcomes()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, outcome);
    QFETCH(int, statusCode);
    const HttpResult result = login(body);
    // Errors too come with HTTP 200: the console reads only bodies that are not HTTP errors.
    QCOMPARE(result.status, 200);
    const QJsonObject reply = result.json.toObject();
    QCOMPARE(reply.value("status_code").toInt(), statusCode);
    const QStringList members = outcome.split(' ');
    for (const QString &member : members) {
        const QJsonValue value = member.startsWith("errors.")
                                     ? reply.value("errors").toObject().value(member.mid(7))
                                     : reply.value(member);
        QVERIFY2(!value.isUndefined(), qPrintable(member));
        if (member.startsWith("errors."))
            QVERIFY(!value.toArray().first().toString().isEmpty());
    }
    if (statusCode)
        QVERIFY(reply.contains("errors") || !reply.value("message").toString().isEmpty());
    // Only a signed-in operator gets a token.
    QCOMPARE(result.headers.contains("authorization"), outcome == "user");
    if (outcome == "services") {
        const QList<FranchiseItem> services = JsonParser::getFranchiseItemsFromJson(reply);
        QCOMPARE(services.size(), 2);
        QCOMPARE(services.at(1).getId(), 2);
        QVERIFY(!services.at(1).getName().isEmpty() && !services.at(1).getPicture().isEmpty());
    }
}

void TestLocalChatApi::answersMapWithoutLoss()
{
    const HttpResult signedIn = login(loginBody(DemoSeed::operatorLogin, DemoSeed::password));
    const QByteArray token = signedIn.headers.value("authorization");
    const QJsonObject userJson = signedIn.json.toObject().value("user").toObject();
    const UserInfo user = JsonParser::getUserInfoFromJson(userJson);
    QCOMPARE(user.getEmail(), DemoSeed::operatorLogin);
    QCOMPARE(user.getServiceId(), 1);
    QCOMPARE(user.getAccountId(), 101);
    QVERIFY(user.getOnlineVisitorEnabled());
    QCOMPARE(user.getPermissions().size(), userJson.value("permissions").toArray().size());
    QVERIFY(!user.getNameFull().isEmpty() && !user.getUserLogo().isEmpty());

    // The token is the custom token that the identity endpoint exchanges.
    QCOMPARE(m_rest->exchangeCustomToken(token).status, 200);

    const QJsonObject me = get("/api/auth/me", token).json.toObject();
    QCOMPARE(JsonParser::getUserInfoFromJson(me.value("user").toObject()), user);
    QCOMPARE(me.value("users").toArray().size(), 5); // the shop account's operators

    const QJsonObject client = get("/api/chat/client", token).json.toObject();
    const ApiChatSettings settings = JsonParser::getApiChatSettingsFromJson(client);
    QCOMPARE(settings.getWidgets().size(), 3);
    QCOMPARE(settings.getChatWidgets().size(), 3);
    QCOMPARE(settings.getUsersToSites().size(), client.value("sites").toObject().size());
    QCOMPARE(settings.getTariff().getIsPaidChat(), 1);
    QStringList paySystems;
    for (const ApiWidget &widget : settings.getWidgets())
        paySystems.append(widget.getPaySystem());
    QVERIFY(paySystems.contains("none") && paySystems.contains("yookassa"));

    const HttpResult info = get("/api/chat/client/info/70001", token);
    QCOMPARE(info.status, 200);
    const ApiChatInfo chat = JsonParser::getApiChatInfoFromJson(info.json.toObject());
    QCOMPARE(chat.getId(), 70001);
    QCOMPARE(chat.getAccountId(), 101);
    QVERIFY(chat.getCreatedAt().isValid() && !chat.getVisit().getIp().isEmpty());
}

void TestLocalChatApi::tokensAreRenewedAndRefused()
{
    ServiceClock *clock = m_local.service()->clock();
    clock->freeze();
    const QByteArray token = login(loginBody(DemoSeed::operatorLogin, DemoSeed::password))
                                 .headers.value("authorization");
    const QByteArray partner = login(loginBody(DemoSeed::managerLogin, DemoSeed::password, 2))
                                   .headers.value("authorization");
    QVERIFY(!token.isEmpty() && !partner.isEmpty());

    // Renewed once less than a quarter of its 24 hours is left, on any reply.
    clock->advance(17 * 3600 * 1000);
    QVERIFY(!get("/api/chat/client", token).headers.contains("authorization"));
    clock->advance(3600 * 1000 + 1000);
    const QByteArray renewed = get("/api/chat/client", token).headers.value("authorization");
    QVERIFY(!renewed.isEmpty() && renewed != token);

    // Another account's chat is not found, whatever its id; a changed token is refused.
    QCOMPARE(get("/api/chat/client/info/70001", partner).status, 404);
    QCOMPARE(get("/api/chat/client/info/80001", partner).status, 200);
    QByteArray forged = token;
    forged[forged.size() - 2] = forged.at(forged.size() - 2) == 'A' ? 'B' : 'A';
    for (const QByteArray &bad : {QByteArray(), forged}) {
        const HttpResult refused = get("/api/auth/me", bad);
        QCOMPARE(refused.status, 401);
        QCOMPARE(refused.json.toObject().value("status_code").toInt(), 401);
    }
    clock->advance(6 * 3600 * 1000);
    QCOMPARE(get("/api/auth/me", token).status, 401);
    QCOMPARE(get("/api/auth/me", renewed).status, 200);
}

void TestLocalChatApi::wrongPasswordsAreSlowedDown()
{
    ServiceClock *clock = m_local.service()->clock();
    clock->freeze();
    LoginThrottle::Settings settings;
    settings.freeFailures = 2;
    settings.firstDelayMs = 20;
    settings.maxWaitMs = 0; // any wait at all is refused at once
    m_local.service()->chatApi()->throttle().setSettings(settings);
    const QByteArray wrong = loginBody(DemoSeed::operatorLogin, "guess");
    for (int i = 0; i < 3; ++i)
        QCOMPARE(login(wrong).json.toObject().value("status_code").toInt(), 422);
    // The third failure set a wait; until it has passed even the right password is turned away.
    const QByteArray right = loginBody(DemoSeed::operatorLogin, DemoSeed::password);
    QCOMPARE(login(right).json.toObject().value("status_code").toInt(), 429);
    clock->advance(20);
    QVERIFY(login(right).json.toObject().contains("user"));
    m_local.service()->chatApi()->throttle().setSettings(LoginThrottle::Settings());
}

void TestLocalChatApi::operations_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("statusCode"); // 0: done

    QTest::newRow("block") << "visitor/block" << QByteArray("{\"chat_id\":70002}") << 0;
    QTest::newRow("block_ip") << "visitor/block_ip" << QByteArray("{\"chat_id\":70002}") << 0;
    QTest::newRow("another account's chat")
        << "visitor/block" << QByteArray("{\"chat_id\":80001}") << 404;
    QTest::newRow("crm") << "send_crm"
                         << QByteArray("{\"chat_id\":70001,\"data\":{\"name\":\"Е \\\"В\\\"\"}}")
                         << 0;
    QTest::newRow("crm without a contact")
        << "send_crm" << QByteArray("{\"chat_id\":70001,\"data\":{}}") << 422;
    QTest::newRow("mail") << "send_to_email"
                          << QByteArray("{\"chat_id\":70001,\"message\":\"Ждём вас\"}") << 0;
    QTest::newRow("mail without an address")
        << "send_to_email" << QByteArray("{\"chat_id\":70002,\"message\":\"Ждём\"}") << 422;
    QTest::newRow("pay link") << "create_pay_link"
                              << QByteArray(
                                     "{\"widget_id\":601,\"title\":\"Заказ\",\"amount\":990}")
                              << 0;
    QTest::newRow("pay link, no pay system")
        << "create_pay_link" << QByteArray("{\"widget_id\":603,\"title\":\"З\",\"amount\":1}")
        << 422;
    QTest::newRow("pay link, no amount")
        << "create_pay_link" << QByteArray("{\"widget_id\":601,\"title\":\"З\",\"amount\":0}")
        << 422;
    QTest::newRow("not JSON") << "send_crm" << QByteArray("{") << 400;
}

void TestLocalChatApi::operations()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, body);
    QFETCH(int, statusCode);
    const HttpResult result = call("POST", "/api/chat/client/" + path, body);
    QCOMPARE(result.status, 200);
    const QJsonObject reply = result.json.toObject();
    QCOMPARE(reply.value("status_code").toInt(), statusCode);
    if (statusCode)
        return;
    if (path == "visitor/block") {
        const HttpResult info = call("GET", "/api/chat/client/info/70002", {});
        QVERIFY(JsonParser::getApiChatInfoFromJson(info.json.toObject()).getVisit().getBlocked());
    } else if (path == "create_pay_link") {
        const ApiPayment payment = JsonParser::getApiPaymentFromJson(reply);
        QVERIFY(payment.getLink().startsWith("https://") && payment.getPaySystem() == "yookassa");
        // The link leads to the payer's page on the service.
        QVERIFY(m_rest->send("GET", QUrl(payment.getLink()).path()).body.contains("990"));
    } else if (path.startsWith("send_")) {
        // What was sent arrives in the outbox exactly as typed.
        QFile outbox(QDir(m_local.dataDirectory())
                         .filePath(path == "send_crm" ? "outbox/crm.jsonl" : "outbox/email.jsonl"));
        QVERIFY(outbox.open(QIODevice::ReadOnly));
        const QJsonObject sent = QJsonDocument::fromJson(outbox.readAll().split('\n').first())
                                     .object();
        QCOMPARE(sent.value("chat_id").toInt(), 70001);
        QVERIFY(path == "send_to_email" || sent.value("data").toObject().value("name") == "Е \"В\"");
    }
}

void TestLocalChatApi::quickAnswersReachTheRealtimeDatabase()
{
    const QString idToken
        = m_rest->exchangeCustomToken(signIn()).json.toObject().value("idToken").toString();
    const auto stored = [&](qint64 id) {
        return m_rest
            ->send("GET",
                   QString("/services/1/accounts/101/quick-answers/%1.json?auth=%2")
                       .arg(id)
                       .arg(idToken))
            .json;
    };
    const auto answerId = [](const HttpResult &result) {
        return qint64(result.json.toObject().value("id").toDouble());
    };
    const qint64 id = answerId(call("POST",
                                    "/api/chat/client/fast_message",
                                    "{\"message\":\"Добрый день!\\nЧем помочь?\",\"type\":0,"
                                    "\"site_id\":null}"));
    QVERIFY(id > 0);
    FirebaseQuickAnswer answer = JsonParser::getQuickAnswerFromJson(stored(id).toObject());
    QCOMPARE(answer.getText(), QString("Добрый день!\nЧем помочь?"));
    QCOMPARE(stored(id).toObject().value("type").toString(), QString("account"));

    QCOMPARE(call("PUT", QString("/api/chat/client/fast_message/%1").arg(id), "{\"message\":\"Да\"}")
                 .json.toObject()
                 .value("status")
                 .toString(),
             QString("ok"));
    QCOMPARE(stored(id).toObject().value("text").toString(), QString("Да"));
    call("DELETE", QString("/api/chat/client/fast_message/%1").arg(id), {});
    QVERIFY(stored(id).isNull());

    // A personal answer is the operator's own (1001), not a colleague's.
    const QByteArray personal = "{\"message\":\"Личный\",\"type\":1,\"user_id\":%1}";
    QCOMPARE(call("POST",
                  "/api/chat/client/fast_message",
                  QByteArray(personal).replace("%1", "1003"))
                 .json.toObject()
                 .value("status_code")
                 .toInt(),
             403);
    const qint64 own = answerId(
        call("POST", "/api/chat/client/fast_message", QByteArray(personal).replace("%1", "1001")));
    QCOMPARE(stored(own).toObject().value("userId").toInt(), 1001);
}

void TestLocalChatApi::aChatFromInvitationToHistory()
{
    ChatService *service = m_local.service()->chatApi()->chatService();
    service->setDeliveryDelayMs(0);
    service->setArchiveDelayMs(0);
    const ChatService::Account shop{1, 101};
    const QString visitor = "-DemoVisGuest0012";
    const QString olga = "-DemoOpOlga000001";
    const QString auth
        = "?auth="
          + m_rest->exchangeCustomToken(signIn()).json.toObject().value("idToken").toString();
    const auto value = [&](const QString &path) {
        return m_rest->send("GET", "/services/1/accounts/101/" + path + ".json" + auth).json;
    };

    // An operator invites a visitor who is browsing: the chat is hers at once, and asking again
    // gives the same chat.
    const QByteArray talk = "{\"visitor\":\"" + visitor.toUtf8() + "\"}";
    const QString key = call("POST", "/api/chat/client/visitor/talk", talk)
                            .json.toObject()
                            .value("chat_key")
                            .toString();
    QCOMPARE(call("POST", "/api/chat/client/visitor/talk", talk)
                 .json.toObject()
                 .value("chat_key")
                 .toString(),
             key);
    FirebaseChat chat = JsonParser::getFirebaseChatFromJson(value("chats/" + key).toObject());
    QCOMPARE(chat.getChatStatus(), QString("work"));
    QCOMPARE(chat.getOperators(), QStringList{olga});
    QCOMPARE(chat.getVisitor(), visitor);
    QVERIFY(JsonParser::getFirebaseVisitorFromJson(value("visitors/" + visitor).toObject())
                .getChatCreated());

    // The visitor types, then writes: the counts rise and the typing ends.
    service->visitorTypes(shop, key, "Здра");
    QCOMPARE(value("chats/" + key + "/userText/" + visitor).toString(), QString("Здра"));
    QVERIFY(service->visitorWrites(shop, key, "Здравствуйте!"));
    chat = JsonParser::getFirebaseChatFromJson(value("chats/" + key).toObject());
    QCOMPARE(chat.getUnreadCount(), 1);
    QCOMPARE(chat.getMessageCount(), qint64(2));
    QCOMPARE(chat.getLastMessage().getText(), QString("Здравствуйте!"));
    QVERIFY(chat.getUserText(visitor).isEmpty());

    // An operator's message reaches the visitor's page, then is read there.
    const QString sent = m_rest
                             ->send("POST",
                                    "/services/1/accounts/101/chat-messages/" + key + ".json" + auth,
                                    "{\"sender\":\"" + olga.toUtf8()
                                        + "\",\"sentAt\":{\".sv\":\"timestamp\"},\"status\":"
                                          "\"sent\",\"text\":\"Добрый день\",\"type\":\"text\"}")
                             .json.toObject()
                             .value("name")
                             .toString();
    const QString status = "chat-messages/" + key + "/" + sent + "/status";
    QTRY_COMPARE_WITH_TIMEOUT(value(status).toString(), QString("delivered"), 10000);
    service->visitorReads(shop, key);
    QCOMPARE(value(status).toString(), QString("read"));

    // Ended, the chat moves to the history with its messages and leaves "chats".
    m_rest->send("PATCH",
                 "/services/1/accounts/101/chats/" + key + ".json" + auth,
                 "{\"status\":\"ended\"}");
    QTRY_VERIFY_WITH_TIMEOUT(value("chats/" + key).isNull(), 10000);
    const QJsonObject history = m_local.service()->chatApi()->record(
        QString("accounts/101/history/%1").arg(chat.getApiId()));
    QCOMPARE(history.value("chat_messages").toArray().size(), 3);
    QVERIFY(!value("visitors/" + visitor).toObject().value("chatСreated").toBool());

    // A visitor who leaves is offline, which makes an unanswered chat a missed one.
    service->visitorLeaves(shop, visitor);
    QCOMPARE(value("users/" + visitor + "/online"), QJsonValue(false));
}

void TestLocalChatApi::simulatedVisitorsStartChatsAndAnswer()
{
    VisitorSimulator simulator(m_local.service()->chatApi(), {1, 101}, m_local.baseUrl());
    VisitorSimulator::Settings settings;
    settings.visitorsPerMinute = 0; // arrivals by hand only
    settings.replyDelayMinMs = settings.replyDelayMaxMs = 0;
    settings.seed = 7;
    simulator.start(settings);
    const QString auth
        = "?auth="
          + m_rest->exchangeCustomToken(signIn()).json.toObject().value("idToken").toString();
    const auto chat = [&](const QString &key) {
        return JsonParser::getFirebaseChatFromJson(
            m_rest->send("GET", "/services/1/accounts/101/chats/" + key + ".json" + auth)
                .json.toObject());
    };

    // A visitor arrives and writes at once: a chat waits for an operator.
    const QString visitor = simulator.arrive(0);
    const QString key
        = JsonParser::getFirebaseVisitorFromJson(
              m_rest->send("GET", "/services/1/accounts/101/visitors/" + visitor + ".json" + auth)
                  .json.toObject())
              .getChatKey();
    QCOMPARE(chat(key).getUnreadCount(), 1);
    QVERIFY(chat(key).getOperators().isEmpty());

    // An operator answers; the visitor reads it and answers back.
    m_rest->send(
        "POST",
        "/services/1/accounts/101/chat-messages/" + key + ".json" + auth,
        R"({"sender":"-DemoOpOlga000001","sentAt":1,"status":"sent","text":"Да","type":"text"})");
    QTRY_VERIFY_WITH_TIMEOUT(chat(key).getLastMessage().getSender() == visitor, 10000);
    QCOMPARE(chat(key).getUnreadCount(), 2);
}

QTEST_GUILESS_MAIN(TestLocalChatApi)
#include "tst_localchatapi.moc"
