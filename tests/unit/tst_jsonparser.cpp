// JsonParser: the generic JSON operations that turn stream events into trees, the mapping of
// every record from what the service and the realtime database send (fixtures), the field
// conversions, and what malformed input does to all of it.
#include "network/firebasereply.h"
#include "util/jsonparser.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include <functional>

namespace QTest {
template<>
char *toString(const QJsonObject &object)
{
    return qstrdup(QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
}
} // namespace QTest

namespace {

const qint64 Ms = 1709631067000; // 2024-03-05 09:31:07 UTC, the fixtures' chat start

QDateTime at(qint64 msecs)
{
    return QDateTime::fromMSecsSinceEpoch(msecs);
}

QByteArray fixtureText(const QString &name)
{
    QFile file(QStringLiteral(TALLYRA_TEST_FIXTURES "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(name));
    return file.readAll();
}

QJsonObject fixture(const QString &name)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(fixtureText(name), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        qFatal("fixture %s is not a JSON object", qPrintable(name));
    return document.object();
}

QJsonObject parseObject(const char *json)
{
    return QJsonDocument::fromJson(json).object();
}

// Collects what the code under test logs, so that a test can count it without printing it.
QStringList g_messages;
void collectMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    g_messages.append(message);
}

class MessageCollector
{
public:
    MessageCollector()
        : m_previous(qInstallMessageHandler(collectMessage))
    {
        g_messages.clear();
    }
    ~MessageCollector() { qInstallMessageHandler(m_previous); }
    int count(const QString &prefix) const
    {
        int n = 0;
        for (const QString &message : qAsConst(g_messages))
            n += message.startsWith(prefix) ? 1 : 0;
        return n;
    }

private:
    QtMessageHandler m_previous;
};

// Every mapping given the same object, and every value inside it given to the mappings of the
// records that such values hold; only that nothing breaks matters here.
void runEveryMapping(const QJsonObject &json)
{
    JsonParser::getUserInfoFromJson(json);
    JsonParser::getPermissionFromJson(json);
    JsonParser::getFranchiseItemsFromJson(json);
    JsonParser::getFirebaseUserFromJson(json);
    JsonParser::getFirebaseuserAliasFromJson(json);
    JsonParser::getFirebaseLastMessageFromJson(json);
    JsonParser::getFirebaseChatFromJson(json).compareTo(FirebaseChat());
    JsonParser::getFirebaseChatMessageFromJson(json).toJson(false);
    JsonParser::getFirebaseChatMessageAttributesFromJson(json);
    JsonParser::getFirebaseVisitorFromJson(json);
    JsonParser::getFirebaseVisitorParamFromJson(json);
    JsonParser::getQuickAnswerFromJson(json);
    JsonParser::getQuickAnswersFromJson(json);
    JsonParser::getUserKeysFromJson(json);
    JsonParser::getApiChatInfoFromJson(json);
    JsonParser::getApiChatVisitInfoFromJson(json);
    JsonParser::getApiChatSettingsFromJson(json);
    JsonParser::getApiWidgetFromJson(json);
    JsonParser::getApiChatHistoryFromJson(json);
    JsonParser::getApiChatHistoryMessages(json);
    JsonParser::getApiOfflineMessagesFromJson(json);
    JsonParser::getApiPaymentFromJson(json);
    JsonParser::denormalizeJson(json);
    JsonParser::fromFirebaseReply(FirebaseReply(QStringLiteral("put"), json));
    for (const QJsonValue &value : json) {
        if (value.isObject()) {
            const QJsonObject inner = value.toObject();
            JsonParser::getFirebaseChatFromJson(inner);
            JsonParser::getFirebaseUserFromJson(inner);
            JsonParser::getFirebaseVisitorFromJson(inner);
            JsonParser::getFirebaseChatMessageFromJson(inner);
            JsonParser::getQuickAnswerFromJson(inner);
            JsonParser::getApiChatVisitInfoFromJson(inner);
        } else if (value.isArray()) {
            JsonParser::getApiChatHistoryWidgetsFromJson(value.toArray());
            JsonParser::fromJsonArray(value.toArray());
        }
    }
}

using Path = QVector<QJsonValue>; // keys (strings) and indices (numbers) from the root

void collectPaths(const QJsonValue &value, Path &path, QVector<Path> &paths)
{
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            path.append(it.key());
            paths.append(path);
            collectPaths(it.value(), path, paths);
            path.removeLast();
        }
    } else if (value.isArray()) {
        const QJsonArray array = value.toArray();
        for (int i = 0; i < array.size(); ++i) {
            path.append(i);
            paths.append(path);
            collectPaths(array.at(i), path, paths);
            path.removeLast();
        }
    }
}

QJsonValue replacedAt(const QJsonValue &root, const Path &path, int depth, const QJsonValue &value)
{
    if (depth == path.size())
        return value;
    const QJsonValue step = path.at(depth);
    if (step.isString()) {
        QJsonObject object = root.toObject();
        object.insert(step.toString(),
                      replacedAt(object.value(step.toString()), path, depth + 1, value));
        return object;
    }
    QJsonArray array = root.toArray();
    const int index = step.toInt();
    array.replace(index, replacedAt(array.at(index), path, depth + 1, value));
    return array;
}

const char *const FixtureNames[] = {
    "service/auth-login.json",
    "service/auth-services.json",
    "service/chat-client.json",
    "service/chat-info.json",
    "service/chat-history.json",
    "service/chat-history-info.json",
    "service/offline-messages.json",
    "service/pay-link.json",
    "realtime/users.json",
    "realtime/chats.json",
    "realtime/chat-messages.json",
    "realtime/visitors.json",
    "realtime/quick-answers.json",
    "realtime/user-keys.json",
};

} // namespace

class TestJsonParser : public QObject
{
    Q_OBJECT

private slots:
    // Generic operations.
    void fromString_data();
    void fromString();
    void toStringWritesCompactJsonThatParsesBack();
    void modifyJsonValue_data();
    void modifyJsonValue();
    void modifyJsonValueRefusesAbsurdDepth();
    void denormalizeJson_data();
    void denormalizeJson();
    void fromJsonArray_data();
    void fromJsonArray();
    void fromFirebaseReply_data();
    void fromFirebaseReply();

    // Sign-in records.
    void userInfoFromSignInReply();
    void onlineVisitorFlag_data();
    void onlineVisitorFlag();
    void permissionsAbsentOrEmpty_data();
    void permissionsAbsentOrEmpty();
    void franchiseItems();

    // Realtime records.
    void usersSnapshot();
    void chatsSnapshot();
    void chatOperators_data();
    void chatOperators();
    void chatMessages();
    void visitorsSnapshot();
    void visitorUpdateKeepsAbsentFields();
    void quickAnswers_data();
    void quickAnswers();
    void userKeys();
    void numberConversions_data();
    void numberConversions();
    void timestamps_data();
    void timestamps();

    // Service records.
    void chatInfo();
    void chatInfoTakesSiteFromRoot();
    void visitCounts_data();
    void visitCounts();
    void visitProfileUrl_data();
    void visitProfileUrl();
    void chatSettings();
    void chatHistory();
    void chatHistoryMessages();
    void offlineMessages();
    void payment();

    // Malformed input.
    void wrongTypesGiveDefaults_data();
    void wrongTypesGiveDefaults();
    void mutatedFixturesNeverBreakAMapping();
    void deeplyNestedInput();
    void hugeInput();
    void truncatedJsonGivesEmptyObject();
};

void TestJsonParser::fromString_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QJsonObject>("expected");
    QTest::addColumn<bool>("logged");

    QTest::newRow("object") << R"({"a": {"b": [1, 2]}, "c": "текст"})"
                            << parseObject(R"({"a": {"b": [1, 2]}, "c": "текст"})") << false;
    QTest::newRow("blanks around") << " \n {\"a\": 1} \n" << parseObject(R"({"a": 1})") << false;
    QTest::newRow("array is wrapped")
        << R"(["Неверный логин или пароль"])"
        << parseObject(R"({"non_field_errors": ["Неверный логин или пароль"]})") << false;
    QTest::newRow("empty array is wrapped")
        << "[]" << parseObject(R"({"non_field_errors": []})") << false;
    QTest::newRow("empty text") << "" << QJsonObject() << true;
    QTest::newRow("html error page")
        << "<html><body>502 Bad Gateway</body></html>" << QJsonObject() << true;
    QTest::newRow("truncated") << R"({"user": {"id": 10)" << QJsonObject() << true;
    QTest::newRow("bare number") << "5" << QJsonObject() << true;
    QTest::newRow("trailing garbage") << R"({"a": 1} x)" << QJsonObject() << true;
}

void TestJsonParser::fromString()
{
    QFETCH(QString, text);
    QFETCH(QJsonObject, expected);
    QFETCH(bool, logged);

    MessageCollector log;
    QCOMPARE(JsonParser::fromString(text), expected);
    if (logged) {
        QCOMPARE(log.count(QString(QStringLiteral("ERROR STR ") + text).trimmed()), 1);
        QCOMPARE(log.count(QStringLiteral("Json parse error: ")), 1);
    } else {
        QVERIFY(g_messages.isEmpty());
    }
}

void TestJsonParser::toStringWritesCompactJsonThatParsesBack()
{
    const QJsonObject object{{"text", "Он сказал: \"да\"\n\\конец"},
                             {"n", 1.5},
                             {"list", QJsonArray{1, true}}};
    const QString text = JsonParser::toString(object);
    QVERIFY(!text.contains(QLatin1Char('\n')));
    QCOMPARE(JsonParser::fromString(text), object);
}

void TestJsonParser::modifyJsonValue_data()
{
    QTest::addColumn<QJsonObject>("object");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QJsonObject>("expected");

    const QJsonObject tree = parseObject(R"({"a": {"c": 1}, "z": true})");
    QTest::newRow("siblings kept") << tree << "a.b" << QJsonValue("v")
                                   << parseObject(R"({"a": {"c": 1, "b": "v"}, "z": true})");
    QTest::newRow("top level") << tree << "n" << QJsonValue(2)
                               << parseObject(R"({"a": {"c": 1}, "n": 2, "z": true})");
    QTest::newRow("replaces a value") << tree << "a.c" << QJsonValue(QJsonValue::Null)
                                      << parseObject(R"({"a": {"c": null}, "z": true})");
    QTest::newRow("creates the way")
        << tree << "x.y.z" << QJsonValue(3)
        << parseObject(R"({"a": {"c": 1}, "x": {"y": {"z": 3}}, "z": true})");
    QTest::newRow("non-object on the way becomes one")
        << tree << "z.q" << QJsonValue(4) << parseObject(R"({"a": {"c": 1}, "z": {"q": 4}})");
    QTest::newRow("empty path replaces the tree")
        << tree << "" << QJsonValue(QJsonObject{{"k", 1}}) << parseObject(R"({"k": 1})");
    QTest::newRow("dot replaces the tree")
        << tree << "." << QJsonValue(QJsonObject{{"k", 1}}) << parseObject(R"({"k": 1})");
    QTest::newRow("tree replaced by a non-object")
        << tree << "" << QJsonValue("read") << QJsonObject();
    QTest::newRow("trailing dot") << QJsonObject() << "a." << QJsonValue(1)
                                  << parseObject(R"({"a": 1})");
    QTest::newRow("leading dot ends the path")
        << QJsonObject() << ".a.b" << QJsonValue(1) << parseObject(R"({"": 1})");
    QTest::newRow("double dot") << QJsonObject() << "a..b" << QJsonValue(1)
                                << parseObject(R"({"a": {"": 1}})");
}

void TestJsonParser::modifyJsonValue()
{
    QFETCH(QJsonObject, object);
    QFETCH(QString, path);
    QFETCH(QJsonValue, value);
    QFETCH(QJsonObject, expected);

    const QJsonObject before = object;
    QJsonObject copy = object; // shares the data: the edit must not show through it
    JsonParser::modifyJsonValue(object, path, value);
    QCOMPARE(object, expected);
    QCOMPARE(copy, before);
}

void TestJsonParser::modifyJsonValueRefusesAbsurdDepth()
{
    QJsonObject object{{"a", 1}};
    QString path = QStringLiteral("x");
    for (int i = 0; i < 100000; ++i)
        path += QStringLiteral(".x");
    MessageCollector log;
    JsonParser::modifyJsonValue(object, path, QJsonValue(1));
    QCOMPARE(object, QJsonObject({{"a", 1}}));

    // The database's own depth passes.
    QString deep = QStringLiteral("l0");
    for (int i = 1; i < 32; ++i)
        deep += QStringLiteral(".l%1").arg(i);
    JsonParser::modifyJsonValue(object, deep, QJsonValue(true));
    QJsonValue walk = object.value("l0");
    for (int i = 1; i < 32; ++i)
        walk = walk.toObject().value(QStringLiteral("l%1").arg(i));
    QCOMPARE(walk, QJsonValue(true));
}

void TestJsonParser::denormalizeJson_data()
{
    QTest::addColumn<QJsonObject>("object");
    QTest::addColumn<QJsonObject>("expected");

    QTest::newRow("multi-path keys")
        << parseObject(R"({"-NqMsg1/status": "read", "-NqMsg2/status": "read"})")
        << parseObject(R"({"-NqMsg1": {"status": "read"}, "-NqMsg2": {"status": "read"}})");
    QTest::newRow("plain keys copied") << parseObject(R"({"a": {"b/c": 1}, "d": [1]})")
                                       << parseObject(R"({"a": {"b/c": 1}, "d": [1]})");
    QTest::newRow("merged into a plain key")
        << parseObject(R"({"x": {"status": "work", "unreadCount": 2}, "x/status": "ended"})")
        << parseObject(R"({"x": {"status": "ended", "unreadCount": 2}})");
    QTest::newRow("several levels")
        << parseObject(R"({"chats/x/lastMessage/status": "read", "chats/x/unreadCount": 0})")
        << parseObject(R"({"chats": {"x": {"lastMessage": {"status": "read"}, "unreadCount": 0}}})");
    QTest::newRow("empty") << QJsonObject() << QJsonObject();
}

void TestJsonParser::denormalizeJson()
{
    QFETCH(QJsonObject, object);
    QFETCH(QJsonObject, expected);
    QCOMPARE(JsonParser::denormalizeJson(object), expected);
}

void TestJsonParser::fromJsonArray_data()
{
    QTest::addColumn<QJsonArray>("array");
    QTest::addColumn<QJsonObject>("expected");

    QTest::newRow("null first") << QJsonArray{QJsonValue(), QJsonObject{{"text", "x"}}}
                                << parseObject(R"({"1": {"text": "x"}})");
    QTest::newRow("every element")
        << QJsonArray{"a", 2, false} << parseObject(R"({"0": "a", "1": 2, "2": false})");
    QTest::newRow("gap in the middle")
        << QJsonArray{1, QJsonValue(), QJsonValue(), 4} << parseObject(R"({"0": 1, "3": 4})");
    QTest::newRow("only nulls") << QJsonArray{QJsonValue(), QJsonValue()} << QJsonObject();
    QTest::newRow("empty") << QJsonArray() << QJsonObject();
    QJsonObject expected;
    QJsonArray array;
    for (int i = 0; i < 12; ++i) {
        array.append(i);
        expected.insert(QString::number(i), i);
    }
    QTest::newRow("two-digit indices") << array << expected;
}

void TestJsonParser::fromJsonArray()
{
    QFETCH(QJsonArray, array);
    QFETCH(QJsonObject, expected);
    QCOMPARE(JsonParser::fromJsonArray(array), expected);
}

void TestJsonParser::fromFirebaseReply_data()
{
    QTest::addColumn<QString>("event");
    QTest::addColumn<QJsonObject>("data");
    QTest::addColumn<QJsonObject>("expected");

    QTest::newRow("put at the root")
        << "put" << parseObject(R"({"p": "/", "d": {"a": {"status": "work"}}})")
        << parseObject(R"({"a": {"status": "work"}})");
    QTest::newRow("put at the root, empty path")
        << "put" << parseObject(R"({"p": "", "d": {"a": {"status": "work"}}})")
        << parseObject(R"({"a": {"status": "work"}})");
    QTest::newRow("put at a child") << "put" << parseObject(R"({"p": "/a/status", "d": "read"})")
                                    << parseObject(R"({"a": {"status": "read"}})");
    QTest::newRow("patch") << "patch"
                           << parseObject(
                                  R"({"p": "/a", "d": {"status": "read", "unreadCount": 0}})")
                           << parseObject(R"({"a": {"status": "read", "unreadCount": 0}})");
    QTest::newRow("multi-path patch at the root")
        << "patch" << parseObject(R"({"p": "/", "d": {"m1/status": "read", "m2/status": "read"}})")
        << parseObject(R"({"m1": {"status": "read"}, "m2": {"status": "read"}})");
    QTest::newRow("deleted child")
        << "put" << parseObject(R"({"p": "/a", "d": null})") << parseObject(R"({"a": null})");
    QTest::newRow("deleted root") << "put" << parseObject(R"({"p": "/", "d": null})")
                                  << QJsonObject();
    QTest::newRow("no data") << "put" << QJsonObject() << QJsonObject();
    QTest::newRow("path is not text")
        << "put" << parseObject(R"({"p": 5, "d": {"a": 1}})") << parseObject(R"({"a": 1})");
}

void TestJsonParser::fromFirebaseReply()
{
    QFETCH(QString, event);
    QFETCH(QJsonObject, data);
    QFETCH(QJsonObject, expected);
    QCOMPARE(JsonParser::fromFirebaseReply(FirebaseReply(event, data)), expected);
}

void TestJsonParser::userInfoFromSignInReply()
{
    const UserInfo info = JsonParser::getUserInfoFromJson(
        fixture("service/auth-login.json").value("user").toObject());
    QCOMPARE(info.getId(), 1021);
    QCOMPARE(info.getRole(), 2);
    QCOMPARE(info.getName(), QStringLiteral("Анна"));
    QCOMPARE(info.getSurname(), QStringLiteral("Петрова"));
    QCOMPARE(info.getEmail(), QStringLiteral("anna.petrova@tallyra-demo.ru"));
    QCOMPARE(info.getPhone(), QStringLiteral("+7 916 555-01-21"));
    QCOMPARE(info.getUserLogo(), QStringLiteral("/uploads/users/1021/avatar.jpg"));
    QCOMPARE(info.getProfession(), QStringLiteral("Менеджер по продажам"));
    QCOMPARE(info.getServiceId(), 7);
    QCOMPARE(info.getAccountId(), 1840);
    QCOMPARE(info.getNameFull(), QStringLiteral("Анна Петрова"));
    QCOMPARE(info.getLogoPath(), QStringLiteral("/uploads/accounts/1840/logo.png"));
    QCOMPARE(info.getOnlineVisitorEnabled(), true);
    const QList<Permission> permissions = info.getPermissions();
    QCOMPARE(permissions.size(), 3);
    QCOMPARE(permissions.at(0).getId(), 5011);
    QCOMPARE(permissions.at(0).getFunctionId(), 3);
    QCOMPARE(permissions.at(0).getUserId(), 1021);
    QCOMPARE(permissions.at(2).getFunctionId(), 12);
}

void TestJsonParser::onlineVisitorFlag_data()
{
    QTest::addColumn<QJsonObject>("json");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("2") << parseObject(R"({"online_visitor_enabled": 2})") << true;
    QTest::newRow("1") << parseObject(R"({"online_visitor_enabled": 1})") << true;
    QTest::newRow("0") << parseObject(R"({"online_visitor_enabled": 0})") << false;
    QTest::newRow("negative") << parseObject(R"({"online_visitor_enabled": -1})") << false;
    QTest::newRow("missing") << QJsonObject() << false;
    QTest::newRow("JSON true") << parseObject(R"({"online_visitor_enabled": true})") << false;
    QTest::newRow("string 1") << parseObject(R"({"online_visitor_enabled": "1"})") << false;
}

void TestJsonParser::onlineVisitorFlag()
{
    QFETCH(QJsonObject, json);
    QFETCH(bool, enabled);
    QCOMPARE(JsonParser::getUserInfoFromJson(json).getOnlineVisitorEnabled(), enabled);
}

void TestJsonParser::permissionsAbsentOrEmpty_data()
{
    QTest::addColumn<QJsonObject>("json");
    QTest::newRow("missing") << parseObject(R"({"id": 1})");
    QTest::newRow("empty array") << parseObject(R"({"id": 1, "permissions": []})");
    QTest::newRow("object") << parseObject(R"({"id": 1, "permissions": {"id": 5}})");
    QTest::newRow("null") << parseObject(R"({"id": 1, "permissions": null})");
}

void TestJsonParser::permissionsAbsentOrEmpty()
{
    QFETCH(QJsonObject, json);
    QVERIFY(JsonParser::getUserInfoFromJson(json).getPermissions().isEmpty());
}

void TestJsonParser::franchiseItems()
{
    const QList<FranchiseItem> items = JsonParser::getFranchiseItemsFromJson(
        fixture("service/auth-services.json"));
    const QList<FranchiseItem> expected{FranchiseItem(7,
                                                      QStringLiteral("Tallyra Онлайн чат"),
                                                      "/images/services/chat.svg"),
                                        FranchiseItem(12,
                                                      QStringLiteral("Tallyra CRM"),
                                                      "/images/services/crm.svg")};
    QCOMPARE(items, expected);

    QVERIFY(
        JsonParser::getFranchiseItemsFromJson(parseObject(R"({"services": {"id": 7}})")).isEmpty());
    QVERIFY(JsonParser::getFranchiseItemsFromJson(parseObject(R"({"user": {}})")).isEmpty());
}

void TestJsonParser::usersSnapshot()
{
    const QJsonObject users = fixture("realtime/users.json");

    const FirebaseUser anna = JsonParser::getFirebaseUserFromJson(
        users.value("-NqOpAnna1021xQ7kLm").toObject());
    QCOMPARE(anna.getApiId(), 1021);
    QCOMPARE(anna.getName(), QStringLiteral("Анна Петрова"));
    QCOMPARE(anna.getOnline(), true);
    QCOMPARE(anna.getPhoto(), QStringLiteral("https://cdn.tallyra-demo.ru/avatars/1021.jpg"));
    QCOMPARE(anna.getPosition(), QStringLiteral("Менеджер по продажам"));
    QCOMPARE(anna.getRole(), QStringLiteral("operator"));
    QCOMPARE(anna.getHasEmail(), true);
    QCOMPARE(anna.getReauth(), false);
    QCOMPARE(anna.getLastActiveAt(), at(1709631544000));
    QCOMPARE(anna.getAliases().keys(), QStringList({"10234", "10251"}));
    const FirebaseUserAlias shop = anna.getAliasForWidget(10234);
    QCOMPARE(shop.getId(), QStringLiteral("10234"));
    QCOMPARE(shop.getName(), QStringLiteral("Анна"));
    QCOMPARE(shop.getPosition(), QStringLiteral("Консультант"));
    QCOMPARE(anna.getAliasForWidget(10251).getName(), QStringLiteral("Анна П."));
    QCOMPARE(anna.getAliasForWidget(99999), FirebaseUserAlias());

    // "apiId" is an int: the text "1022" is refused. No "lastActiveAt": no time at all.
    const FirebaseUser dmitry = JsonParser::getFirebaseUserFromJson(
        users.value("-NqOpDmitry1022aB9").toObject());
    QCOMPARE(dmitry.getApiId(), 0);
    QCOMPARE(dmitry.getReauth(), true);
    QVERIFY(!dmitry.getLastActiveAt().isValid());
    QVERIFY(dmitry.getAliases().isEmpty());

    // Only merges carry the visitor's page; the snapshot leaves it.
    const FirebaseUser irina = JsonParser::getFirebaseUserFromJson(
        users.value("-NqVisIrina95x31T2").toObject());
    QCOMPARE(irina.getRole(), QStringLiteral("visitor"));
    QCOMPARE(irina.getIntegrationType(), QStringLiteral("vk"));
    QVERIFY(irina.getUrl().isEmpty());
    QVERIFY(irina.getId().isEmpty());
}

void TestJsonParser::chatsSnapshot()
{
    const QJsonObject chats = fixture("realtime/chats.json");

    const FirebaseChat working = JsonParser::getFirebaseChatFromJson(
        chats.value("-NqChat5512345aa01").toObject());
    QCOMPARE(working.getApiId(), 5512345);
    QCOMPARE(working.getCreatedAt(), at(Ms));
    QCOMPARE(working.getStartedAt(), at(1709631082000));
    const FirebaseLastMessage last = working.getLastMessage();
    QCOMPARE(last.getSender(), QStringLiteral("-NqVisIrina95x31T2"));
    QCOMPARE(last.getSentAt(), at(1709631540000));
    QCOMPARE(last.getStatus(), QStringLiteral("delivered"));
    QCOMPARE(last.getText(), QStringLiteral("А можно оплатить картой при получении?"));
    QCOMPARE(last.getType(), QStringLiteral("text"));
    QVERIFY(last.getTarget().isEmpty());
    QCOMPARE(working.getLink(), QStringLiteral("https://shop.example.ru/catalog/noutbuki/"));
    QCOMPARE(working.getMessageTarget(), QStringLiteral("all"));
    QCOMPARE(working.getMessageCount(), 13);
    QCOMPARE(working.getNoAnswerRequired(), false);
    QCOMPARE(working.getOperators(), QStringList({"-NqOpAnna1021xQ7kLm"}));
    QCOMPARE(working.getRobot(), QStringLiteral("robot_10234"));
    QCOMPARE(working.getChatStatus(), QStringLiteral("work"));
    QCOMPARE(working.getUnreadCount(), 1);
    QCOMPARE(working.getUserActivity().value("-NqVisIrina95x31T2"), QStringLiteral("text"));
    QCOMPARE(working.getUserText("-NqVisIrina95x31T2"), QStringLiteral("И ещё вопрос про гарантию"));
    QVERIFY(working.getUserText("-NqOpAnna1021xQ7kLm").isEmpty());
    // Only the keys set to true are to be notified.
    QCOMPARE(working.getUserToNotification(), QStringList({"-NqOpDmitry1022aB9"}));
    QCOMPARE(working.getVisitor(), QStringLiteral("-NqVisIrina95x31T2"));
    QCOMPARE(working.getVisitorBlocked(), false);
    QCOMPARE(working.getWidgetId(), 10234);

    // Ids sent as text: "apiId" goes through a variant, the 64-bit fields accept it too.
    const FirebaseChat invited = JsonParser::getFirebaseChatFromJson(
        chats.value("-NqChat5512377bb02").toObject());
    QCOMPARE(invited.getApiId(), 5512377);
    QCOMPARE(invited.getMessageCount(), 7);
    QCOMPARE(invited.getWidgetId(), 10251);
    QCOMPARE(invited.getLastMessage().getType(), QStringLiteral("invitation"));
    QCOMPARE(invited.getLastMessage().getTarget(), QStringLiteral("-NqOpAnna1021xQ7kLm"));
    QCOMPARE(invited.getNoAnswerRequired(), true);
    QCOMPARE(invited.getVisitorBlocked(), true);
    QCOMPARE(invited.getOperators(),
             QStringList({"-NqOpDmitry1022aB9", QString(), "-NqOpAnna1021xQ7kLm"}));
    QVERIFY(invited.getUserToNotification().isEmpty());
    // Absent "startedAt" stays invalid while absent "createdAt" is the epoch.
    QVERIFY(!invited.getStartedAt().isValid());

    const FirebaseChat fresh = JsonParser::getFirebaseChatFromJson(
        chats.value("-NqChat5512380cc03").toObject());
    QCOMPARE(fresh.getCreatedAt(), at(0));
    QVERIFY(!fresh.getStartedAt().isValid());
    QCOMPARE(fresh.getLastMessage().getSentAt(), at(0));
    QVERIFY(fresh.getLastMessage().getSender().isEmpty());
    QVERIFY(fresh.getOperators().isEmpty());
}

void TestJsonParser::chatOperators_data()
{
    QTest::addColumn<QJsonObject>("json");
    QTest::addColumn<QStringList>("operators");

    QTest::newRow("array") << parseObject(R"({"operators": ["a", "b"]})") << QStringList{"a", "b"};
    QTest::newRow("null") << parseObject(R"({"operators": null})") << QStringList();
    QTest::newRow("absent") << QJsonObject() << QStringList();
    QTest::newRow("indices 0 and 2")
        << parseObject(R"({"operators": {"0": "a", "2": "c"}})") << QStringList{"a", "", "c"};
    QTest::newRow("indices in text order")
        << parseObject(R"({"operators": {"10": "k", "9": "j", "1": "b"}})")
        << QStringList{"", "b", "", "", "", "", "", "", "", "j", "k"};
    QTest::newRow("key that is no index")
        << parseObject(R"({"operators": {"x": "a", "1": "b"}})") << QStringList{"", "b"};
    QTest::newRow("absurd and negative indices")
        << parseObject(R"({"operators": {"2147483647": "x", "1000000": "y", "-1": "z", "0": "a"}})")
        << QStringList{"a"};
    QTest::newRow("not a list") << parseObject(R"({"operators": "a"})") << QStringList();
    QTest::newRow("non-text entries")
        << parseObject(R"({"operators": ["a", 5, null]})") << QStringList{"a", "", ""};
}

void TestJsonParser::chatOperators()
{
    QFETCH(QJsonObject, json);
    QFETCH(QStringList, operators);
    QCOMPARE(JsonParser::getFirebaseChatFromJson(json).getOperators(), operators);
}

void TestJsonParser::chatMessages()
{
    const QJsonObject messages = fixture("realtime/chat-messages.json");
    const auto message = [&](const char *key) {
        return JsonParser::getFirebaseChatMessageFromJson(messages.value(key).toObject());
    };

    const FirebaseChatMessage greeting = message("-NqMsg0001aaaaaaaaa");
    QCOMPARE(greeting.getAutoInvitation(), true);
    QCOMPARE(greeting.getSender(), QStringLiteral("robot_10234"));
    QCOMPARE(greeting.getSentAt(), at(Ms));
    QCOMPARE(greeting.getStatus(), QStringLiteral("read"));
    QCOMPARE(greeting.getType(), QStringLiteral("text"));

    QCOMPARE(message("-NqMsg0002bbbbbbbbb").getText(),
             QStringLiteral("Есть ли \"доставка\" в Казань?\nИ сколько стоит?"));

    const FirebaseChatMessage invitation = message("-NqMsg0003ccccccccc");
    QCOMPARE(invitation.getType(), QStringLiteral("invitation"));
    QCOMPARE(invitation.getTarget(), QStringLiteral("-NqOpAnna1021xQ7kLm"));
    QVERIFY(invitation.getText().isEmpty());

    const FirebaseChatMessage file = message("-NqMsg0005eeeeeeeee");
    QCOMPARE(file.getSize(), 482133);
    QCOMPARE(file.getFilename(), QStringLiteral("Условия доставки.pdf"));
    QCOMPARE(file.getUrl(),
             QStringLiteral("https://files.tallyra-demo.ru/1840/5512345/uslovia-dostavki.pdf"));
    QCOMPARE(file.getIcon(), QStringLiteral("https://files.tallyra-demo.ru/icons/pdf.png"));

    const FirebaseChatMessage image = message("-NqMsg0006fffffffff");
    QCOMPARE(image.getSize(), 2516582); // sent as text
    QCOMPARE(image.getPreview(),
             QStringLiteral("https://files.tallyra-demo.ru/1840/5512345/photo-mini.jpg"));

    const FirebaseChatMessage payment = message("-NqMsg0007ggggggggg");
    QCOMPARE(payment.getSubtype(), QStringLiteral("pay_link"));
    const FirebaseChatMessageAttributes pay = payment.getAttributes();
    QCOMPARE(pay.getTitle(), QStringLiteral("Ноутбук Aero 14"));
    QCOMPARE(pay.getQuantity(), 1);
    QCOMPARE(pay.getAmount(), QStringLiteral("84990"));
    QCOMPARE(pay.getLink(), QStringLiteral("https://pay.example.ru/i/8f3c2a71"));
    QCOMPARE(pay.getCurrency(), QStringLiteral("RUB"));
    QCOMPARE(pay.getCurrencyText(), QStringLiteral("₽"));
    QCOMPARE(pay.getStatus(), QStringLiteral("created"));
    QCOMPARE(pay.getPaySystem(), QStringLiteral("yookassa"));
    // The payment's operator is a member of the message, not of its attributes.
    QVERIFY(pay.getOperator().isEmpty());

    const FirebaseChatMessageAttributes card = message("-NqMsg0008hhhhhhhhh").getAttributes();
    QCOMPARE(card.getName(), QStringLiteral("Ирина"));
    QCOMPARE(card.getEmail(), QStringLiteral("irina.s@mail.ru"));
    QCOMPARE(card.getPhone(), QStringLiteral("+7 916 555-12-34"));
    QCOMPARE(card.getQuantity(), 0);
}

void TestJsonParser::visitorsSnapshot()
{
    // The fixture must hold the key as the database stores it, with the Cyrillic letter.
    QVERIFY(fixtureText("realtime/visitors.json").contains("\"chat\xD0\xA1reated\""));
    const QJsonObject visitors = fixture("realtime/visitors.json");

    const FirebaseVisitor irina = JsonParser::getFirebaseVisitorFromJson(
        visitors.value("-NqVisIrina95x31T2").toObject());
    QCOMPARE(irina.getApiVisitId(), 88123456);
    QCOMPARE(irina.getApiVisitorId(), Q_INT64_C(9007199254740993)); // beyond a double's precision
    QCOMPARE(irina.getAutoInvite(), false);
    QCOMPARE(irina.getChatCreated(), true);
    QCOMPARE(irina.getChatKey(), QStringLiteral("-NqChat5512345aa01"));
    QCOMPARE(irina.getChatWidgetId(), 10234);
    QCOMPARE(irina.getCurrentUrl(), QStringLiteral("https://shop.example.ru/cart/"));
    QCOMPARE(irina.getEmail(), QStringLiteral("irina.s@mail.ru"));
    QCOMPARE(irina.getHits(), 7);
    QCOMPARE(irina.getLastActiveAt(), at(1709631550000));
    QCOMPARE(irina.getCreatedAt(), at(1709631000000));
    QCOMPARE(irina.getLocation(), QStringLiteral("Россия, Москва"));
    QCOMPARE(irina.getName(), QStringLiteral("Ирина"));
    QCOMPARE(irina.getOnline(), true);
    QCOMPARE(irina.getPhone(), QStringLiteral("+7 916 555-12-34"));
    QCOMPARE(irina.getIp(), QStringLiteral("95.31.18.119"));
    QCOMPARE(irina.getSaid(), true);
    const QList<FirebaseVisitorParam> params = irina.getParams();
    QCOMPARE(params.size(), 2);
    QCOMPARE(params.at(0).getKey(), QStringLiteral("cart_total"));
    QCOMPARE(params.at(0).getTitle(), QStringLiteral("Сумма корзины"));
    QCOMPARE(params.at(0).getValue(), QStringLiteral("84 990 ₽"));
    QCOMPARE(params.at(1).getKey(), QStringLiteral("city"));

    // The same word with a Latin C is another key: the flag stays false.
    const FirebaseVisitor oleg = JsonParser::getFirebaseVisitorFromJson(
        visitors.value("-NqVisOleg188x4Qq").toObject());
    QCOMPARE(oleg.getChatCreated(), false);
    QCOMPARE(oleg.getAutoInvite(), true);
    QCOMPARE(oleg.getChatWidgetId(), 10251);
    QCOMPARE(oleg.getApiVisitorId(), Q_INT64_C(4412345678002));
    QCOMPARE(oleg.getParams().size(), 1);
    QCOMPARE(oleg.getParams().at(0).getValue(), QStringLiteral("SPRING"));

    const FirebaseVisitor fresh = JsonParser::getFirebaseVisitorFromJson(
        visitors.value("-NqVisNew5x18x99x").toObject());
    QCOMPARE(fresh.getCreatedAt(), at(0));
    QCOMPARE(fresh.getLastActiveAt(), at(0));
    QCOMPARE(fresh.getChatCreated(), false);
    QVERIFY(fresh.getParams().isEmpty());
}

void TestJsonParser::visitorUpdateKeepsAbsentFields()
{
    FirebaseVisitor visitor = JsonParser::getFirebaseVisitorFromJson(
        fixture("realtime/visitors.json").value("-NqVisIrina95x31T2").toObject());
    JsonParser::updateFirebaseVisitorFromJson(
        visitor, parseObject(R"({"currentUrl": "https://shop.example.ru/pay/", "hits": 8})"));
    QCOMPARE(visitor.getCurrentUrl(), QStringLiteral("https://shop.example.ru/pay/"));
    QCOMPARE(visitor.getHits(), 8);
    QCOMPARE(visitor.getName(), QStringLiteral("Ирина"));
    QCOMPARE(visitor.getChatCreated(), true);
    QCOMPARE(visitor.getCreatedAt(), at(1709631000000));
    QCOMPARE(visitor.getParams().size(), 2);
}

void TestJsonParser::quickAnswers_data()
{
    QTest::addColumn<QJsonObject>("json");
    QTest::addColumn<QList<qint64>>("ids");
    QTest::addColumn<QStringList>("texts");

    QTest::newRow("object") << fixture("realtime/quick-answers.json")
                            << QList<qint64>{101, 102, 187}
                            << QStringList{"Здравствуйте! Чем могу помочь?",
                                           "Доставка по Москве — 1–2 дня, по России — от 3 дней.",
                                           "Одну минуту, уточняю у склада."};
    // The database sends answers keyed 1, 2, ... as an array with a null at index 0.
    const QJsonArray array
        = QJsonDocument::fromJson(fixtureText("realtime/quick-answers-array.json")).array();
    QTest::newRow("array") << JsonParser::fromJsonArray(array) << QList<qint64>{1, 2}
                           << QStringList{"Здравствуйте!", "Спасибо за обращение!"};
}

void TestJsonParser::quickAnswers()
{
    QFETCH(QJsonObject, json);
    QFETCH(QList<qint64>, ids);
    QFETCH(QStringList, texts);

    const QList<FirebaseQuickAnswer> answers = JsonParser::getQuickAnswersFromJson(json);
    QList<qint64> gotIds;
    QStringList gotTexts;
    for (const FirebaseQuickAnswer &answer : answers) {
        gotIds.append(answer.getId());
        gotTexts.append(answer.getText());
        QCOMPARE(answer.getAccountId(), 1840);
    }
    QCOMPARE(gotIds, ids);
    QCOMPARE(gotTexts, texts);
    if (ids.contains(102)) {
        const FirebaseQuickAnswer site = answers.at(1);
        QCOMPARE(site.getType(), QStringLiteral("site"));
        QCOMPARE(site.getSiteId(), 3120); // sent as text
        QCOMPARE(answers.at(2).getOperatorId(), 1021);
    }
}

void TestJsonParser::userKeys()
{
    const QHash<qint64, QStringList> keys = JsonParser::getUserKeysFromJson(
        fixture("realtime/user-keys.json"));
    QHash<qint64, QStringList> expected;
    expected.insert(1021, {"-NqOpAnna1021xQ7kLm"});
    expected.insert(1022, {"-NqOpDmitry1022aB9"});
    expected.insert(1030, {});
    QCOMPARE(keys, expected);
}

void TestJsonParser::numberConversions_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<int>("asInt");
    QTest::addColumn<int>("asVariantInt");
    QTest::addColumn<qint64>("as64");
    QTest::addColumn<quint64>("asUnsigned64");

    QTest::newRow("number") << QJsonValue(42) << 42 << 42 << qint64(42) << quint64(42);
    QTest::newRow("string number") << QJsonValue("42") << 0 << 42 << qint64(42) << quint64(42);
    QTest::newRow("string with blanks")
        << QJsonValue(" 42 ") << 0 << 42 << qint64(42) << quint64(42);
    QTest::newRow("negative") << QJsonValue(-7) << -7 << -7 << qint64(-7) << quint64(-7);
    QTest::newRow("negative string") << QJsonValue("-7") << 0 << -7 << qint64(-7) << quint64(0);
    QTest::newRow("fraction") << QJsonValue(4.6) << 0 << 5 << qint64(5) << quint64(5);
    QTest::newRow("beyond 2^53 as string")
        << QJsonValue("9007199254740993") << 0 << 1 << Q_INT64_C(9007199254740993)
        << Q_UINT64_C(9007199254740993);
    QTest::newRow("beyond int") << QJsonValue(4412345678002.0) << 0 << int(4412345678002LL)
                                << Q_INT64_C(4412345678002) << Q_UINT64_C(4412345678002);
    QTest::newRow("beyond 64 bits") << QJsonValue(1e300) << 0 << 0 << qint64(0) << quint64(0);
    QTest::newRow("text") << QJsonValue("12abc") << 0 << 0 << qint64(0) << quint64(0);
    QTest::newRow("true") << QJsonValue(true) << 0 << 1 << qint64(1) << quint64(1);
    QTest::newRow("null") << QJsonValue(QJsonValue::Null) << 0 << 0 << qint64(0) << quint64(0);
    QTest::newRow("array") << QJsonValue(QJsonArray{5}) << 0 << 0 << qint64(0) << quint64(0);
    QTest::newRow("object") << QJsonValue(QJsonObject{{"v", 5}}) << 0 << 0 << qint64(0)
                            << quint64(0);
}

void TestJsonParser::numberConversions()
{
    QFETCH(QJsonValue, value);
    QFETCH(int, asInt);
    QFETCH(int, asVariantInt);
    QFETCH(qint64, as64);
    QFETCH(quint64, asUnsigned64);

    // The conversions as QVariant performs them, which is what the service's formats rely on.
    if (!value.isDouble() || qAbs(value.toDouble()) < 9e18) {
        QCOMPARE(asVariantInt, value.toVariant().toInt());
        QCOMPARE(as64, value.toVariant().toLongLong());
    }

    const QJsonObject chat{{"unreadCount", value}, {"apiId", value}, {"messagesCount", value}};
    const FirebaseChat mapped = JsonParser::getFirebaseChatFromJson(chat);
    QCOMPARE(mapped.getUnreadCount(), asInt);
    QCOMPARE(mapped.getApiId(), asVariantInt);
    QCOMPARE(mapped.getMessageCount(), as64);

    const QJsonObject settings{
        {"sites", QJsonObject{{"1", QJsonArray{QJsonObject{{"user_id", value}}}}}}};
    const ApiChatSettings mappedSettings = JsonParser::getApiChatSettingsFromJson(settings);
    QCOMPARE(mappedSettings.getUsersToSites().value("1").value(0).getUserId(), asUnsigned64);
}

void TestJsonParser::timestamps_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QDateTime>("createdAt"); // the epoch when there is no time
    QTest::addColumn<QDateTime>("startedAt"); // invalid when there is no time

    QTest::newRow("number") << QJsonValue(double(Ms)) << at(Ms) << at(Ms);
    QTest::newRow("string") << QJsonValue(QString::number(Ms)) << at(Ms) << at(Ms);
    QTest::newRow("zero") << QJsonValue(0) << at(0) << at(0);
    QTest::newRow("before the epoch") << QJsonValue(-86400000) << at(-86400000) << at(-86400000);
    QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined) << at(0) << QDateTime();
    QTest::newRow("null") << QJsonValue(QJsonValue::Null) << at(0) << QDateTime();
    QTest::newRow("server-time placeholder")
        << QJsonValue(QJsonObject{{".sv", "timestamp"}}) << at(0) << QDateTime();
    QTest::newRow("text") << QJsonValue("вчера") << at(0) << QDateTime();
    QTest::newRow("bool") << QJsonValue(true) << at(0) << QDateTime();
}

void TestJsonParser::timestamps()
{
    QFETCH(QJsonValue, value);
    QFETCH(QDateTime, createdAt);
    QFETCH(QDateTime, startedAt);

    QJsonObject json;
    if (!value.isUndefined()) {
        json.insert("createdAt", value);
        json.insert("startedAt", value);
    }
    const FirebaseChat chat = JsonParser::getFirebaseChatFromJson(json);
    QCOMPARE(chat.getCreatedAt(), createdAt);
    QCOMPARE(chat.getStartedAt().isValid(), startedAt.isValid());
    if (startedAt.isValid()) {
        QCOMPARE(chat.getStartedAt(), startedAt);
        // Times come as local time, as QDateTime::fromMSecsSinceEpoch gives them.
        QCOMPARE(chat.getStartedAt().timeSpec(), Qt::LocalTime);
    }
}

void TestJsonParser::chatInfo()
{
    const ApiChatInfo info = JsonParser::getApiChatInfoFromJson(fixture("service/chat-info.json"));
    QCOMPARE(info.getAccountId(), 1840);
    QCOMPARE(info.getId(), 5512345);
    QCOMPARE(info.getSiteId(), 3120);
    QCOMPARE(info.getCreatedAt(), QDateTime::fromString("2024-03-05T12:31:07+03:00", Qt::ISODate));
    QCOMPARE(info.getCreatedAt(), at(Ms));
    QCOMPARE(info.getLink(), QStringLiteral("https://shop.example.ru/catalog/noutbuki/"));

    const ApiChatVisitInfo visit = info.getVisit();
    QVERIFY(visit.getEmail().isEmpty());
    QCOMPARE(visit.getPhone(), QStringLiteral("+7 916 555-12-34"));
    QCOMPARE(visit.getName(), QStringLiteral("Ирина"));
    QCOMPARE(visit.getIp(), QStringLiteral("95.31.18.119"));
    QCOMPARE(visit.getIpPlace(), QStringLiteral("Россия, Москва"));
    QCOMPARE(visit.getLastHost(), QStringLiteral("shop.example.ru"));
    QCOMPARE(visit.getLastUrl(), QStringLiteral("https://shop.example.ru/cart/"));
    QCOMPARE(visit.getCreatedAt(), at(1709630920000));
    QCOMPARE(visit.getChatQuant(), 3);
    QCOMPARE(visit.getSite(), QStringLiteral("shop.example.ru"));
    QCOMPARE(visit.getBlocked(), 0);
    QCOMPARE(visit.getVisitQuant(), 12);
    QCOMPARE(visit.getIntroduced(), 1);
    QCOMPARE(visit.getReferrer(), QStringLiteral("yandex.ru"));
    QCOMPARE(visit.getUrl(), QStringLiteral("https://facebook.com/irina.s"));

    // The site's parameters first, then the UTM marks (replacing a parameter of the same name,
    // case-sensitive prefix), then the promo code.
    QHash<QString, QString> custom;
    custom.insert("cart_total", "4590");
    custom.insert("utm_source", "yandex");
    custom.insert("utm_medium", "cpc");
    custom.insert("utm_campaign", "spring_sale");
    custom.insert("roistat_promo", "5");
    QCOMPARE(visit.getCustomParams(), custom);
    QHash<QString, QString> utm;
    utm.insert("utm_source", "yandex");
    utm.insert("utm_medium", "cpc");
    utm.insert("utm_campaign", "spring_sale");
    QCOMPARE(visit.getUtmMarks(), utm);
}

void TestJsonParser::chatInfoTakesSiteFromRoot()
{
    const ApiChatInfo info = JsonParser::getApiChatInfoFromJson(
        parseObject(R"({"chat_info": {"id": 9, "site_id": 3120}, "visit": {}})"));
    QCOMPARE(info.getId(), 9);
    QCOMPARE(info.getSiteId(), 0);
}

void TestJsonParser::visitCounts_data()
{
    QTest::addColumn<QJsonObject>("visit");
    QTest::addColumn<qint64>("visitQuant");
    QTest::addColumn<int>("chatQuant");
    QTest::addColumn<int>("blocked");
    QTest::addColumn<QString>("promo");

    QTest::newRow("strings") << parseObject(
        R"({"visit_quant": "12", "chat_quant": "3", "blocked": "1"})")
                             << qint64(12) << 3 << 0 << QString();
    QTest::newRow("numbers") << parseObject(R"({"visit_quant": 12, "chat_quant": 3, "blocked": 1})")
                             << qint64(12) << 3 << 1 << QString();
    QTest::newRow("promo code") << parseObject(R"({"roistat_promo": 5})") << qint64(0) << 0 << 0
                                << "5";
    QTest::newRow("promo code as text")
        << parseObject(R"({"roistat_promo": "5"})") << qint64(0) << 0 << 0 << "0";
}

void TestJsonParser::visitCounts()
{
    QFETCH(QJsonObject, visit);
    QFETCH(qint64, visitQuant);
    QFETCH(int, chatQuant);
    QFETCH(int, blocked);
    QFETCH(QString, promo);

    const ApiChatVisitInfo info = JsonParser::getApiChatVisitInfoFromJson(visit);
    QCOMPARE(info.getVisitQuant(), visitQuant);
    QCOMPARE(info.getChatQuant(), chatQuant);
    QCOMPARE(info.getBlocked(), blocked);
    QCOMPARE(info.getCustomParams().contains("roistat_promo"), !promo.isNull());
    QCOMPARE(info.getCustomParams().value("roistat_promo"), promo);
}

void TestJsonParser::visitProfileUrl_data()
{
    QTest::addColumn<QJsonObject>("visit");
    QTest::addColumn<QString>("url");

    QTest::newRow("empty vk, no facebook") << parseObject(R"({"vkontakte_url": ""})") << QString();
    QTest::newRow("both: vk wins") << parseObject(
        R"({"vkontakte_url": "https://vk.com/a", "facebook_url": "https://fb.com/a"})")
                                   << "https://vk.com/a";
    QTest::newRow("empty vk, facebook")
        << parseObject(R"({"vkontakte_url": "", "facebook_url": "https://fb.com/a"})")
        << "https://fb.com/a";
    QTest::newRow("facebook only")
        << parseObject(R"({"facebook_url": "https://fb.com/a"})") << "https://fb.com/a";
    QTest::newRow("neither") << QJsonObject() << QString();
}

void TestJsonParser::visitProfileUrl()
{
    QFETCH(QJsonObject, visit);
    QFETCH(QString, url);
    QCOMPARE(JsonParser::getApiChatVisitInfoFromJson(visit).getUrl(), url);
}

void TestJsonParser::chatSettings()
{
    const ApiChatSettings settings = JsonParser::getApiChatSettingsFromJson(
        fixture("service/chat-client.json"));

    const QMap<QString, QList<ApiUserToSite>> sites = settings.getUsersToSites();
    QCOMPARE(sites.keys(), QStringList({"3120", "3187"}));
    QCOMPARE(sites.value("3120").size(), 2);
    const ApiUserToSite second = sites.value("3120").at(1); // every member sent as text
    QCOMPARE(second.getAccountId(), quint64(1840));
    QCOMPARE(second.getChatWidgetId(), quint64(10234));
    QCOMPARE(second.getDistributionPercent(), quint64(50));
    QCOMPARE(second.getSiteId(), quint64(3120));
    QCOMPARE(second.getUserId(), quint64(1022));
    QCOMPARE(sites.value("3187").at(0).getDistributionPercent(), quint64(100));

    const ApiWidget defaults = settings.getDefaultWidgetSettings();
    QCOMPARE(defaults.getId(), 0);
    QCOMPARE(defaults.getName(), QStringLiteral("Виджет по умолчанию"));
    QCOMPARE(defaults.getPaySystem(), QStringLiteral("none"));
    QCOMPARE(defaults.getRateChatView(), QStringLiteral("stars"));

    const QList<ApiWidget> widgets = settings.getWidgets();
    QCOMPARE(widgets.size(), 2);
    QCOMPARE(widgets.at(0).getId(), 10234);
    QCOMPARE(widgets.at(0).getName(), QStringLiteral("Магазин"));
    QCOMPARE(widgets.at(0).getPaySystem(), QStringLiteral("yookassa"));
    QCOMPARE(widgets.at(0).getMessageSound(), QStringLiteral("message3"));
    QCOMPARE(widgets.at(0).getSound(), QStringLiteral("chat7"));
    QCOMPARE(widgets.at(0).getRateChatView(), QStringLiteral("thumbs"));
    QCOMPARE(widgets.at(1).getId(), 10251);

    const ApiChatTariff tariff = settings.getTariff();
    QCOMPARE(tariff.getChatCost(), QStringLiteral("4.50"));
    QCOMPARE(tariff.getChatPayDialog(), 1);
    QCOMPARE(tariff.getFreeChatWidget(), 0);
    QCOMPARE(tariff.getIsPaidChat(), 1);

    const QHash<qint64, ApiChatWidget> chatWidgets = settings.getChatWidgets();
    QCOMPARE(chatWidgets.size(), 2);
    QCOMPARE(chatWidgets.value(10234).getSiteName(), QStringLiteral("shop.example.ru"));
    QCOMPARE(chatWidgets.value(10234).getIsEnabled(), 1);
    QCOMPARE(chatWidgets.value(10251).getId(), quint64(10251));
    QCOMPARE(chatWidgets.value(10251).getName(), QStringLiteral("Поддержка"));

    const ApiChatSettings odd = JsonParser::getApiChatSettingsFromJson(
        parseObject(R"({"chat_widgets": {"main": {"id": 1, "name": "Главный"}}})"));
    QCOMPARE(odd.getChatWidgets().keys(), QList<qint64>{0});
    QCOMPARE(odd.getChatWidgets().value(0).getName(), QStringLiteral("Главный"));
}

void TestJsonParser::chatHistory()
{
    const ApiChatHistory history = JsonParser::getApiChatHistoryFromJson(
        fixture("service/chat-history.json"));

    const ApiChatHistoryStat stat = history.getStat();
    QCOMPARE(stat.getAll(), 152);
    QCOMPARE(stat.getCompleted(), 140);
    QCOMPARE(stat.getLost(), 9);
    QCOMPARE(stat.getWork(), 3);

    const QList<ApiChatHistoryWidget> widgets = history.getWidgets();
    QCOMPARE(widgets.size(), 2);
    QCOMPARE(widgets.at(0).getId(), 10234);
    QCOMPARE(widgets.at(0).getIsEnabled(), true);
    QCOMPARE(widgets.at(0).getName(), QStringLiteral("shop.example.ru - Магазин"));
    QCOMPARE(widgets.at(0).getSite(), QStringLiteral("shop.example.ru"));
    QCOMPARE(widgets.at(0).getSiteId(), 3120);
    QCOMPARE(widgets.at(0).getStep(), 1);
    QCOMPARE(widgets.at(1).getIsEnabled(), false);
    QCOMPARE(widgets.at(1).getSiteId(), 3187);
    QCOMPARE(widgets.at(1).getStep(), 2);

    const QList<ApiChatHistoryUser> users = history.getUsers();
    QCOMPARE(users.size(), 2);
    QCOMPARE(users.at(0).getId(), QStringLiteral("-NqOpAnna1021xQ7kLm"));
    QCOMPARE(users.at(0).getApiId(), 1021);
    QCOMPARE(users.at(0).getRole(), QStringLiteral("operator"));
    QCOMPARE(users.at(0).getAliases().size(), 2);
    QCOMPARE(users.at(0).getAliases().value(10234).getName(), QStringLiteral("Анна"));
    QCOMPARE(users.at(0).getAliases().value(10234).getPosition(), QStringLiteral("Консультант"));
    QCOMPARE(users.at(1).getApiId(), Q_INT64_C(4412345678001));
    QCOMPARE(users.at(1).getIntegrationType(), QStringLiteral("vk"));

    const QList<FirebaseChat> chats = history.getChats();
    QCOMPARE(chats.size(), 2);
    QCOMPARE(chats.at(0).getChatStatus(), QStringLiteral("ended"));
    QCOMPARE(chats.at(0).getLastMessage().getText(), QStringLiteral("Всего доброго!"));
    QCOMPARE(chats.at(1).getApiId(), 5512290);
    QCOMPARE(chats.at(1).getWidgetId(), 10251);
    QVERIFY(!chats.at(1).getStartedAt().isValid());

    const QList<ApiChatHistoryWidget> named = JsonParser::getApiChatHistoryWidgetsFromJson(
        QJsonArray{QJsonObject{{"site", "a.ru"}, {"name", "Main"}}});
    QCOMPARE(named.at(0).getName(), QStringLiteral("a.ru - Main"));
}

void TestJsonParser::chatHistoryMessages()
{
    const ApiChatHistoryMesssages history = JsonParser::getApiChatHistoryMessages(
        fixture("service/chat-history-info.json"));
    QCOMPARE(history.getChat().getApiId(), 5512345);
    QCOMPARE(history.getChat().getStartedAt(), at(1709631082000));

    const QList<FirebaseChatMessage> messages = history.getMessages();
    QCOMPARE(messages.size(), 4);
    QCOMPARE(messages.at(0).getAutoInvitation(), true);
    QCOMPARE(messages.at(2).getType(), QStringLiteral("joined"));
    QCOMPARE(messages.at(3).getSentAt(), at(1709631544000));

    const QHash<QString, FirebaseUser> users = history.getUsers();
    QCOMPARE(users.size(), 2);
    const FirebaseUser anna = users.value("-NqOpAnna1021xQ7kLm");
    QCOMPARE(anna.getId(), QStringLiteral("-NqOpAnna1021xQ7kLm"));
    QCOMPARE(anna.getApiId(), 1021);
    QCOMPARE(anna.getAliasForWidget(10234).getName(), QStringLiteral("Анна"));
    QCOMPARE(users.value("-NqVisIrina95x31T2").getHasEmail(), true);

    const ApiChatVisitInfo visit = history.getVisit();
    QCOMPARE(visit.getEmail(), QStringLiteral("irina.s@mail.ru"));
    QCOMPARE(visit.getUrl(), QStringLiteral("https://vk.com/irina_s"));
    QVERIFY(visit.getCustomParams().isEmpty());
    QVERIFY(visit.getUtmMarks().isEmpty());
}

void TestJsonParser::offlineMessages()
{
    const QList<ApiOfflineMessage> messages = JsonParser::getApiOfflineMessagesFromJson(
        fixture("service/offline-messages.json"));
    QCOMPARE(messages.size(), 2);

    const ApiOfflineMessage first = messages.at(0);
    QCOMPARE(first.getDate(), QDateTime(QDate(2024, 3, 4), QTime(22, 15, 3)));
    QCOMPARE(first.getEmail(), QStringLiteral("oleg.n@yandex.ru"));
    QCOMPARE(first.getIp(), QStringLiteral("188.162.4.17"));
    QCOMPARE(first.getIpPlace(), QStringLiteral("Россия, Новосибирск"));
    QCOMPARE(first.getMessage(),
             QStringLiteral("Перезвоните, пожалуйста, после 10 утра по Москве."));
    QCOMPARE(first.getPhone(), QStringLiteral("+7 913 555-40-40"));
    QCOMPARE(first.getReferrer(), QStringLiteral("google.com"));
    QCOMPARE(first.getSite(), QStringLiteral("https://shop.example.ru/contacts/"));
    QCOMPARE(first.getVisitCreatedAt(), QDateTime(QDate(2024, 3, 4), QTime(22, 9, 51)));
    QCOMPARE(first.getVisitorName(), QStringLiteral("Олег"));
    QCOMPARE(first.getWidgetName(), QStringLiteral("Магазин"));
    QCOMPARE(first.getTypeForm(), QStringLiteral("offline"));

    const ApiOfflineMessage second = messages.at(1);
    QCOMPARE(second.getDate(), at(1709611364000));
    QVERIFY(!second.getVisitCreatedAt().isValid());
    QCOMPARE(second.getTypeForm(), QStringLiteral("callback"));
}

void TestJsonParser::payment()
{
    const ApiPayment payment = JsonParser::getApiPaymentFromJson(fixture("service/pay-link.json"));
    QCOMPARE(payment.getLink(), QStringLiteral("https://pay.example.ru/i/8f3c2a71"));
    QCOMPARE(payment.getPaySystem(), QStringLiteral("yookassa"));
}

void TestJsonParser::wrongTypesGiveDefaults_data()
{
    QTest::addColumn<QJsonValue>("wrong");
    QTest::newRow("null") << QJsonValue(QJsonValue::Null);
    QTest::newRow("array") << QJsonValue(QJsonArray());
    QTest::newRow("object") << QJsonValue(QJsonObject());
    QTest::newRow("empty text") << QJsonValue(QString());
    QTest::newRow("false") << QJsonValue(false);
}

void TestJsonParser::wrongTypesGiveDefaults()
{
    QFETCH(QJsonValue, wrong);

    // Every member of a real reply replaced by a value that none of its fields can use: each
    // mapping must give exactly what it gives for an empty object.
    const auto spoilt = [&](const QJsonObject &json) {
        QJsonObject result;
        for (auto it = json.begin(); it != json.end(); ++it)
            result.insert(it.key(), wrong);
        return result;
    };
    const QJsonObject none;
    const auto check = [&](const char *name, const QJsonObject &json, auto map) {
        if (!(map(spoilt(json)) == map(none)))
            QFAIL(qPrintable(QStringLiteral("%1 differs from its defaults").arg(name)));
    };

    const QJsonObject chats = fixture("realtime/chats.json");
    const QJsonObject messages = fixture("realtime/chat-messages.json");
    const QJsonObject login = fixture("service/auth-login.json").value("user").toObject();
    check("user info", login, JsonParser::getUserInfoFromJson);
    check("permission",
          login.value("permissions").toArray().at(0).toObject(),
          JsonParser::getPermissionFromJson);
    check("franchise items",
          fixture("service/auth-services.json"),
          JsonParser::getFranchiseItemsFromJson);
    check("user",
          fixture("realtime/users.json").value("-NqOpAnna1021xQ7kLm").toObject(),
          JsonParser::getFirebaseUserFromJson);
    check("chat", chats.value("-NqChat5512345aa01").toObject(), JsonParser::getFirebaseChatFromJson);
    check("last message",
          chats.value("-NqChat5512345aa01").toObject().value("lastMessage").toObject(),
          JsonParser::getFirebaseLastMessageFromJson);
    check("message",
          messages.value("-NqMsg0005eeeeeeeee").toObject(),
          JsonParser::getFirebaseChatMessageFromJson);
    check("attributes",
          messages.value("-NqMsg0007ggggggggg").toObject().value("attributes").toObject(),
          JsonParser::getFirebaseChatMessageAttributesFromJson);
    check("visitor",
          fixture("realtime/visitors.json").value("-NqVisIrina95x31T2").toObject(),
          JsonParser::getFirebaseVisitorFromJson);
    check("quick answer",
          fixture("realtime/quick-answers.json").value("102").toObject(),
          JsonParser::getQuickAnswerFromJson);
    check("chat info", fixture("service/chat-info.json"), JsonParser::getApiChatInfoFromJson);
    check("settings", fixture("service/chat-client.json"), JsonParser::getApiChatSettingsFromJson);
    check("widget",
          fixture("service/chat-client.json").value("default_settings").toObject(),
          JsonParser::getApiWidgetFromJson);
    check("history", fixture("service/chat-history.json"), JsonParser::getApiChatHistoryFromJson);
    check("history messages",
          fixture("service/chat-history-info.json"),
          JsonParser::getApiChatHistoryMessages);
    check("offline messages",
          fixture("service/offline-messages.json"),
          JsonParser::getApiOfflineMessagesFromJson);
    check("payment", fixture("service/pay-link.json"), JsonParser::getApiPaymentFromJson);

    // Members whose mere presence counts: the UTM marks and the promo code stay, empty.
    const ApiChatVisitInfo visit = JsonParser::getApiChatVisitInfoFromJson(
        spoilt(fixture("service/chat-info.json").value("visit").toObject()));
    QCOMPARE(visit.getUtmMarks().keys().size(), 3);
    QCOMPARE(visit.getCustomParams().value("roistat_promo"), QStringLiteral("0"));
    ApiChatVisitInfo rest = visit;
    rest.setCustomParams({});
    rest.setUtmMarks({});
    QVERIFY(rest == JsonParser::getApiChatVisitInfoFromJson(none));

    // Keyed collections keep their keys, each with a default record.
    const QList<FirebaseQuickAnswer> answers = JsonParser::getQuickAnswersFromJson(
        spoilt(fixture("realtime/quick-answers.json")));
    QCOMPARE(answers.size(), 3);
    FirebaseQuickAnswer blank;
    blank.setId(187);
    QVERIFY(answers.at(2) == blank);
    const QHash<qint64, QStringList> keys = JsonParser::getUserKeysFromJson(
        spoilt(fixture("realtime/user-keys.json")));
    QCOMPARE(keys.size(), 3);
    QVERIFY(keys.value(1021).isEmpty());
    const QList<ApiChatHistoryWidget> widgets = JsonParser::getApiChatHistoryWidgetsFromJson(
        QJsonArray{wrong});
    QCOMPARE(widgets.size(), 1);
    QCOMPARE(widgets.at(0).getName(), QStringLiteral(" - "));
}

void TestJsonParser::mutatedFixturesNeverBreakAMapping()
{
    const QJsonValue hostile[] = {
        QJsonValue(QJsonValue::Null),
        QJsonValue(true),
        QJsonValue(-1),
        QJsonValue(1e300),
        QJsonValue(-9.3e18),
        QJsonValue("99999999999999999999999"),
        QJsonValue("2147483648"),
        QJsonValue(QString(70000, QChar(0x0421))),
        QJsonValue(QJsonArray{QJsonValue(), "x", QJsonArray{QJsonObject()}}),
        QJsonValue(QJsonObject{{"2147483647", "x"}, {"-5", 1}, {"a/b", QJsonValue()}}),
    };
    MessageCollector quiet;
    int variants = 0;
    for (const char *name : FixtureNames) {
        const QJsonObject root = fixture(name);
        QVector<Path> paths;
        Path path;
        collectPaths(root, path, paths);
        for (const Path &where : qAsConst(paths)) {
            for (const QJsonValue &value : hostile) {
                runEveryMapping(replacedAt(root, where, 0, value).toObject());
                ++variants;
            }
        }
    }
    QVERIFY(variants > 3000);
}

void TestJsonParser::deeplyNestedInput()
{
    MessageCollector log;
    QCOMPARE(JsonParser::fromString(QString(200000, QLatin1Char('['))), QJsonObject());
    QCOMPARE(log.count(QStringLiteral("ERROR STR")), 1);

    // As deep as the parser accepts, under keys that the mappings read.
    const char *const keys[]
        = {"lastMessage", "operators", "params", "attributes", "visit", "aliases", "chat_info", "d"};
    QString nested = QStringLiteral("1");
    for (int i = 0; i < 500; ++i)
        nested = QStringLiteral("{\"%1\": %2}").arg(QLatin1String(keys[i % 8]), nested);
    const QJsonObject deep = JsonParser::fromString(nested);
    QVERIFY(!deep.isEmpty());
    runEveryMapping(deep);

    // A stream event whose path is deeper than the database allows is refused as a whole;
    // one at the database's limit is placed.
    QString tooDeep;
    for (int i = 0; i < 100; ++i)
        tooDeep += QStringLiteral("/k");
    const QJsonObject refused = JsonParser::fromFirebaseReply(
        FirebaseReply("put", QJsonObject{{"p", tooDeep}, {"d", 1}}));
    QCOMPARE(refused, QJsonObject());
    QString deepest;
    for (int i = 0; i < 32; ++i)
        deepest += QStringLiteral("/k");
    QJsonValue walk = JsonParser::fromFirebaseReply(
        FirebaseReply("put", QJsonObject{{"p", deepest}, {"d", "v"}}));
    for (int i = 0; i < 32; ++i)
        walk = walk.toObject().value("k");
    QCOMPARE(walk, QJsonValue("v"));

    QString slashes = QStringLiteral("a");
    for (int i = 0; i < 10000; ++i)
        slashes += QStringLiteral("/a");
    const QJsonObject denormalized = JsonParser::denormalizeJson(
        QJsonObject{{slashes, 1}, {"b/c", 2}});
    QCOMPARE(denormalized, parseObject(R"({"b": {"c": 2}})"));
}

void TestJsonParser::hugeInput()
{
    // Large texts pass through intact.
    const QString text(4 * 1024 * 1024, QChar(0x0416));
    const FirebaseChatMessage message = JsonParser::getFirebaseChatMessageFromJson(
        QJsonObject{{"text", text}, {"type", "text"}});
    QCOMPARE(message.getText().size(), text.size());

    // An operator index far out of range must not make the list allocate it.
    const FirebaseChat chat = JsonParser::getFirebaseChatFromJson(
        parseObject(R"({"operators": {"0": "a", "2000000000": "b", "1024": "c", "1025": "d"}})"));
    QCOMPARE(chat.getOperators().size(), 1025);
    QCOMPARE(chat.getOperators().last(), QStringLiteral("c"));

    // Many multi-path keys under one parent stay linear: each is merged in place.
    QJsonObject update;
    for (int i = 0; i < 50000; ++i)
        update.insert(QStringLiteral("-NqMsg%1/status").arg(i, 8, 10, QLatin1Char('0')), "read");
    QElapsedTimer timer;
    timer.start();
    QJsonObject patch{{"p", "/"}, {"d", update}};
    const QJsonObject tree = JsonParser::fromFirebaseReply(FirebaseReply("patch", patch));
    QCOMPARE(tree.size(), 50000);
    QJsonObject byChat;
    for (int i = 0; i < 50000; ++i)
        byChat.insert(QStringLiteral("chat/-NqMsg%1").arg(i, 8, 10, QLatin1Char('0')), "read");
    const QJsonObject nested = JsonParser::denormalizeJson(byChat);
    QCOMPARE(nested.value("chat").toObject().size(), 50000);
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));

    // A wide snapshot maps entry by entry.
    QJsonObject answers;
    for (int i = 0; i < 20000; ++i)
        answers.insert(QString::number(i), QJsonObject{{"text", "ok"}, {"type", "account"}});
    QCOMPARE(JsonParser::getQuickAnswersFromJson(answers).size(), 20000);
}

void TestJsonParser::truncatedJsonGivesEmptyObject()
{
    MessageCollector log;
    int cuts = 0;
    for (const char *name : FixtureNames) {
        const QString text = QString::fromUtf8(fixtureText(name)).trimmed();
        const int step = qMax(1, text.size() / 37);
        for (int length = 0; length < text.size(); length += step) {
            const QJsonObject parsed = JsonParser::fromString(text.left(length));
            QCOMPARE(parsed, QJsonObject());
            runEveryMapping(parsed);
            ++cuts;
        }
    }
    QCOMPARE(log.count(QStringLiteral("ERROR STR")), cuts);
    QCOMPARE(log.count(QStringLiteral("Json parse error: ")), cuts);
}

QTEST_GUILESS_MAIN(TestJsonParser)
#include "tst_jsonparser.moc"
