// JsonParser: the generic JSON operations that turn stream events into trees, the mapping of
// every record from what the service and the realtime database send, the field conversions,
// and what malformed input does to all of it. The records mapped from the fixtures are compared
// field by field with tests/fixtures/mapped-records.txt. After a deliberate change of a mapping
// or a fixture, rewrite that file and review its diff:
//   TALLYRA_MAPPED_OUT=tests/fixtures/mapped-records.txt build/tests/unit/tst_jsonparser mappedFixtures
#include "network/firebasereply.h"
#include "util/jsonparser.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include <functional>
#include <type_traits>

// A record flattened to "path = value" lines, paths relative to the record. These live outside
// any namespace so that the container templates find the records' overloads by their type.
static QString compact(const QJsonArray &array)
{
    return QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Compact));
}
static QStringList dump(const QString &value)
{
    return {" = " + compact({value}).mid(1).chopped(1)};
}
static QStringList dump(const QStringList &list)
{
    return {" = " + compact(QJsonArray::fromStringList(list))};
}
static QStringList dump(bool value)
{
    return {value ? QStringLiteral(" = true") : QStringLiteral(" = false")};
}
template<typename N, typename = std::enable_if_t<std::is_integral<N>::value>>
QStringList dump(N value)
{
    return {" = " + QString::number(value)};
}
static QStringList dump(const QDateTime &value) // local time shows without an offset
{
    return {" = " + (value.isValid() ? value.toString(Qt::ISODateWithMs) : QString("invalid"))};
}
static QStringList prefixed(const QString &prefix, const QStringList &lines)
{
    QStringList result;
    for (const QString &line : lines)
        result.append(prefix + line);
    return result;
}
template<typename T>
QStringList dump(const QList<T> &list)
{
    QStringList lines;
    for (int i = 0; i < list.size(); ++i)
        lines += prefixed(QStringLiteral("[%1]").arg(i), dump(list.at(i)));
    return lines;
}
template<template<typename...> class Map, typename K, typename T>
QStringList dump(const Map<K, T> &map)
{
    QList<K> keys = map.keys();
    std::sort(keys.begin(), keys.end()); // hashes have no order of their own
    QStringList lines;
    for (const K &key : qAsConst(keys))
        lines += prefixed(QStringLiteral("[%1]").arg(key), dump(map.value(key)));
    return lines;
}

// dump() of a record: one line or more per field, named after its getter without "get".
#define F(Name) prefixed(QStringLiteral("." #Name), dump(r.get##Name()))
#define DUMP(Record, fields) \
    static QStringList dump(const Record &r) \
    { \
        return fields; \
    }

DUMP(Permission, F(Id) + F(FunctionId) + F(UserId))
DUMP(UserInfo,
     F(Id) + F(Role) + F(Name) + F(Surname) + F(Email) + F(Phone) + F(UserLogo) + F(Profession)
         + F(ServiceId) + F(AccountId) + F(NameFull) + F(LogoPath) + F(OnlineVisitorEnabled)
         + F(Permissions))
DUMP(FranchiseItem, F(Id) + F(Name) + F(Picture))
DUMP(FirebaseUserAlias, F(Id) + F(Name) + F(Photo) + F(Position))
DUMP(FirebaseUser,
     F(Id) + F(ApiId) + F(Name) + F(Online) + F(Photo) + F(Position) + F(Role) + F(HasEmail)
         + F(IntegrationType) + F(Reauth) + F(LastActiveAt) + F(Aliases) + F(Url))
DUMP(FirebaseLastMessage, F(Sender) + F(SentAt) + F(Status) + F(Text) + F(Type) + F(Target))
DUMP(FirebaseChat,
     F(Id) + F(ApiId) + F(LastMessage) + F(NoAnswerRequired) + F(ChatStatus) + F(Robot)
         + F(WidgetId) + F(CreatedAt) + F(Link) + F(VisitorBlocked) + F(MessageTarget)
         + F(MessageCount) + F(UserToNotification) + F(StartedAt) + F(Operators) + F(UserActivity)
         + F(UserText) + F(Visitor) + F(UnreadCount))
DUMP(FirebaseChatMessageAttributes,
     F(Email) + F(Icon) + F(ImageUrl) + F(Name) + F(Phone) + F(Url) + F(Operator) + F(Title)
         + F(Quantity) + F(Amount) + F(Currency) + F(CurrencyText) + F(Status) + F(PaySystem)
         + F(Link))
DUMP(FirebaseChatMessage,
     F(Id) + F(Type) + F(Sender) + F(Target) + F(SentAt) + F(Status) + F(Text) + F(Attributes)
         + F(AutoInvitation) + F(Filename) + F(Icon) + F(Preview) + F(Size) + F(Subtype) + F(Url))
DUMP(FirebaseVisitorParam, F(Key) + F(Title) + F(Value))
DUMP(FirebaseVisitor,
     F(Id) + F(ApiVisitId) + F(ApiVisitorId) + F(AutoInvite) + F(ChatCreated) + F(ChatKey)
         + F(ChatWidgetId) + F(CurrentUrl) + F(Email) + F(Hits) + F(LastActiveAt) + F(CreatedAt)
         + F(Location) + F(Name) + F(Online) + F(Phone) + F(Photo) + F(Ip) + F(Said) + F(Params))
DUMP(FirebaseQuickAnswer, F(Id) + F(AccountId) + F(OperatorId) + F(SiteId) + F(Text) + F(Type))
DUMP(ApiChatVisitInfo,
     F(Email) + F(Phone) + F(Name) + F(Ip) + F(IpPlace) + F(LastHost) + F(LastUrl) + F(CreatedAt)
         + F(ChatQuant) + F(Site) + F(Blocked) + F(VisitQuant) + F(Introduced) + F(Referrer)
         + F(CustomParams) + F(Url) + F(UtmMarks))
DUMP(ApiChatInfo, F(AccountId) + F(Id) + F(SiteId) + F(CreatedAt) + F(Link) + F(Visit))
DUMP(ApiUserToSite, F(AccountId) + F(ChatWidgetId) + F(DistributionPercent) + F(SiteId) + F(UserId))
DUMP(ApiWidget, F(Id) + F(Name) + F(PaySystem) + F(MessageSound) + F(Sound) + F(RateChatView))
DUMP(ApiChatTariff, F(ChatCost) + F(ChatPayDialog) + F(FreeChatWidget) + F(IsPaidChat))
DUMP(ApiChatWidget, F(Id) + F(Name) + F(IsEnabled) + F(SiteName))
DUMP(ApiChatSettings,
     F(UsersToSites) + F(DefaultWidgetSettings) + F(Widgets) + F(Tariff) + F(ChatWidgets))
DUMP(ApiChatHistoryStat, F(All) + F(Completed) + F(Lost) + F(Work))
DUMP(ApiChatHistoryWidget, F(Id) + F(IsEnabled) + F(Name) + F(Site) + F(SiteId) + F(Step))
DUMP(ApiChatHistoryUserAlias, F(Name) + F(Photo) + F(Position))
DUMP(ApiChatHistoryUser,
     F(Id) + F(ApiId) + F(Name) + F(Photo) + F(Position) + F(Role) + F(IntegrationType) + F(Aliases))
DUMP(ApiChatHistory, F(Stat) + F(Widgets) + F(Users) + F(Chats))
DUMP(ApiChatHistoryMesssages, F(Chat) + F(Messages) + F(Users) + F(Visit))
DUMP(ApiOfflineMessage,
     F(Date) + F(Email) + F(Ip) + F(IpPlace) + F(Message) + F(Phone) + F(Referrer) + F(Site)
         + F(VisitCreatedAt) + F(VisitorName) + F(WidgetName) + F(TypeForm))
DUMP(ApiPayment, F(Link) + F(PaySystem))

namespace {

using Mapping = std::function<QStringList(const QJsonObject &)>;

template<typename R>
Mapping of(R (*map)(const QJsonObject &))
{
    return [map](const QJsonObject &json) { return dump(map(json)); };
}

// A keyed collection of the database: each entry mapped on its own.
template<typename R>
Mapping eachOf(R (*map)(const QJsonObject &))
{
    return [map](const QJsonObject &json) {
        QMap<QString, R> records;
        for (auto it = json.begin(); it != json.end(); ++it)
            records.insert(it.key(), map(it.value().toObject()));
        return dump(records);
    };
}

const QMap<QString, Mapping> Mappings{
    {"user info", of(JsonParser::getUserInfoFromJson)},
    {"franchise items", of(JsonParser::getFranchiseItemsFromJson)},
    {"users", eachOf(JsonParser::getFirebaseUserFromJson)},
    {"chat", of(JsonParser::getFirebaseChatFromJson)},
    {"chats", eachOf(JsonParser::getFirebaseChatFromJson)},
    {"messages", eachOf(JsonParser::getFirebaseChatMessageFromJson)},
    {"visitors", eachOf(JsonParser::getFirebaseVisitorFromJson)},
    {"quick answers", of(JsonParser::getQuickAnswersFromJson)},
    {"user keys", of(JsonParser::getUserKeysFromJson)},
    {"chat info", of(JsonParser::getApiChatInfoFromJson)},
    {"visit", of(JsonParser::getApiChatVisitInfoFromJson)},
    {"settings", of(JsonParser::getApiChatSettingsFromJson)},
    {"history", of(JsonParser::getApiChatHistoryFromJson)},
    {"history messages", of(JsonParser::getApiChatHistoryMessages)},
    {"offline messages", of(JsonParser::getApiOfflineMessagesFromJson)},
    {"payment", of(JsonParser::getApiPaymentFromJson)},
    // A merge that names some fields leaves the others as they were.
    {"visitor update",
     [](const QJsonObject &json) {
         FirebaseVisitor visitor = JsonParser::getFirebaseVisitorFromJson(json);
         JsonParser::updateFirebaseVisitorFromJson(visitor,
                                                   {{"currentUrl", "https://shop.example.ru/pay/"},
                                                    {"hits", 8}});
         return dump(visitor);
     }},
};

// Which mapping reads each fixture, or the member of it named by the second column.
const char *const Samples[][3] = {
    {"service/auth-login.json", "user", "user info"},
    {"service/auth-services.json", "", "franchise items"},
    {"service/chat-client.json", "", "settings"},
    {"service/chat-info.json", "", "chat info"},
    {"service/chat-history.json", "", "history"},
    {"service/chat-history-info.json", "", "history messages"},
    {"service/offline-messages.json", "", "offline messages"},
    {"service/pay-link.json", "", "payment"},
    {"realtime/users.json", "", "users"},
    {"realtime/chats.json", "", "chats"},
    {"realtime/chat-messages.json", "", "messages"},
    {"realtime/visitors.json", "", "visitors"},
    {"realtime/visitors.json", "-NqVisIrina95x31T2", "visitor update"},
    {"realtime/quick-answers.json", "", "quick answers"},
    {"realtime/quick-answers-array.json", "", "quick answers"},
    {"realtime/user-keys.json", "", "user keys"},
};

QByteArray fixtureText(const QString &name)
{
    QFile file(QStringLiteral(TALLYRA_TEST_FIXTURES "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(name));
    return file.readAll();
}

// The database sends a collection keyed 1, 2, ... as an array; the console reads it as an object.
QJsonObject fixture(const QString &name)
{
    const QJsonDocument document = QJsonDocument::fromJson(fixtureText(name));
    if (document.isNull())
        qFatal("fixture %s is not JSON", qPrintable(name));
    return document.isArray() ? JsonParser::fromJsonArray(document.array()) : document.object();
}

// Any JSON value written as text.
QJsonValue json(const QString &text)
{
    return QJsonDocument::fromJson(("[" + text + "]").toUtf8()).array().at(0);
}

// Every value `depth` levels below json replaced by value; shallower leaves stay.
QJsonValue spoilt(const QJsonValue &json, int depth, const QJsonValue &value)
{
    if (depth == 0)
        return value;
    if (json.isArray()) {
        QJsonArray array = json.toArray();
        for (auto it = array.begin(); it != array.end(); ++it)
            *it = spoilt(*it, depth - 1, value);
        return array;
    }
    QJsonObject object = json.toObject();
    for (auto it = object.begin(); it != object.end(); ++it)
        *it = spoilt(*it, depth - 1, value);
    return json.isObject() ? QJsonValue(object) : json;
}

// Every mapping given the object and its multi-path and stream forms; only that nothing breaks
// matters here.
void runEveryMapping(const QJsonObject &json)
{
    const QJsonObject forms[] = {json,
                                 JsonParser::denormalizeJson(json),
                                 JsonParser::fromFirebaseReply(FirebaseReply("put", json))};
    for (const QJsonObject &form : forms) {
        for (const Mapping &map : Mappings)
            map(form);
    }
}

QStringList g_log; // what the code under test logs, kept out of the output

} // namespace

class TestJsonParser : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void treeOperations_data();
    void treeOperations();
    void mappedFixtures_data();
    void mappedFixtures();
    void fieldRules_data();
    void fieldRules();
    void numberConversions_data();
    void numberConversions();
    void deepInput();
};

void TestJsonParser::initTestCase()
{
    // Local times print the same on every machine.
    qputenv("TZ", "UTC");
    qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &message) { g_log << message; });
}

void TestJsonParser::treeOperations_data()
{
    // parse (fromString), write (toString and back), set <path> <value> (modifyJsonValue),
    // denormalize, array (fromJsonArray), or a stream event put / patch (fromFirebaseReply);
    // "=" expects the input unchanged.
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");
    const auto row = [](const QString &operation, const QString &input, const QString &expected) {
        QTest::addRow("%s %s", qPrintable(operation), qPrintable(input.left(50)))
            << operation << input << (expected == "=" ? input : expected);
    };

    row("parse", R"( {"a": {"b": [1, 2]}, "c": "текст"} )", R"({"a": {"b": [1, 2]}, "c": "текст"})");
    // The service reports some errors as a bare array.
    row("parse",
        R"(["Неверный логин или пароль"])",
        R"({"non_field_errors": ["Неверный логин или пароль"]})");
    row("parse", "[]", R"({"non_field_errors": []})");
    for (const QString &invalid : QStringList{"",
                                              "<html><body>502 Bad Gateway</body></html>",
                                              R"({"user": {"id": 10)",
                                              "5",
                                              R"({"a": 1} x)",
                                              QString(200000, '[')})
        row("parse", invalid, "{}");
    // Text that a template would break: quotes, escapes, controls, NUL, emoji, injected keys.
    row("write",
        R"({"t": "Он: \"да\"\n\\к\r\t\u0000 😀", "i": "\",\"type\":\"x", "n": 1.5, "l": [1, true]})",
        "=");

    const QString tree = R"({"a": {"c": 1}, "z": true})";
    row(R"(set a.b "v")", tree, R"({"a": {"c": 1, "b": "v"}, "z": true})"); // siblings kept
    row("set n 2", tree, R"({"a": {"c": 1}, "n": 2, "z": true})");
    row("set a.c null", tree, R"({"a": {"c": null}, "z": true})");
    row("set x.y.z 3", tree, R"({"a": {"c": 1}, "x": {"y": {"z": 3}}, "z": true})");
    row("set z.q 4", tree, R"({"a": {"c": 1}, "z": {"q": 4}})"); // a non-object on the way
    row(R"(set  {"k": 1})", tree, R"({"k": 1})"); // an empty path or a dot: the whole tree
    row(R"(set . {"k": 1})", tree, R"({"k": 1})");
    row(R"(set  "read")", tree, "{}");
    row("set a. 1", "{}", R"({"a": 1})");
    row("set .a.b 1", "{}", R"({"": 1})"); // a leading dot ends the path
    row("set a..b 1", "{}", R"({"a": {"": 1}})");
    // Twice the database's own nesting is taken; a deeper path is malformed and refused.
    row("set k" + QString(".k").repeated(64) + " 1",
        "{}",
        QString(R"({"k": )").repeated(65) + "1" + QString("}").repeated(65));
    row("set k" + QString(".k").repeated(65) + " 1", tree, "=");

    row("denormalize",
        R"({"m1/status": "read", "m2/status": "read"})",
        R"({"m1": {"status": "read"}, "m2": {"status": "read"}})");
    row("denormalize", R"({"a": {"b/c": 1}, "d": [1]})", "=");
    row("denormalize",
        R"({"x": {"status": "work", "unread": 2}, "x/status": "ended"})",
        R"({"x": {"status": "ended", "unread": 2}})");
    row("denormalize",
        R"({"c/x/last/status": "read", "c/x/unread": 0})",
        R"({"c": {"x": {"last": {"status": "read"}, "unread": 0}}})");
    row("denormalize",
        R"({"a)" + QString("/a").repeated(10000) + R"(": 1, "b/c": 2})",
        R"({"b": {"c": 2}})");

    row("array",
        R"([null, "a", null, null, null, null, null, null, null, null, null, 5])",
        R"({"1": "a", "11": 5})");
    row("array", "[null, null]", "{}");

    row("put", R"({"p": "/", "d": {"a": {"status": "work"}}})", R"({"a": {"status": "work"}})");
    row("put", R"({"p": "/a/status", "d": "read"})", R"({"a": {"status": "read"}})");
    row("patch",
        R"({"p": "/a", "d": {"status": "read", "unread": 0}})",
        R"({"a": {"status": "read", "unread": 0}})");
    row("patch",
        R"({"p": "/", "d": {"m1/status": "read", "m2/status": "read"}})",
        R"({"m1": {"status": "read"}, "m2": {"status": "read"}})");
    row("put", R"({"p": "/a", "d": null})", R"({"a": null})");
    row("put", R"({"p": "/", "d": null})", "{}");
    row("put", R"({"p": 5, "d": {"a": 1}})", R"({"a": 1})");
    row("put", R"({"p": ")" + QString("/k").repeated(66) + R"(", "d": 1})", "{}");
}

void TestJsonParser::treeOperations()
{
    QFETCH(QString, operation);
    QFETCH(QString, input);
    QFETCH(QString, expected);

    const QString op = operation.section(' ', 0, 0);
    QVERIFY(!json(expected).isUndefined() && (op == "parse" || !json(input).isUndefined()));
    QJsonObject result = json(input).toObject();
    const QJsonObject copy = result; // shares the data: an edit must not show through it
    g_log.clear();
    if (op == "parse") {
        result = JsonParser::fromString(input);
        // Invalid text is logged, with the parser's reason.
        QCOMPARE(g_log.value(0), expected == "{}" ? "ERROR STR " + input : QString());
        QCOMPARE(g_log.size(), expected == "{}" ? 2 : 0);
        QVERIFY(g_log.value(1, "Json parse error: ").startsWith("Json parse error: "));
    } else if (op == "write") {
        const QString text = JsonParser::toString(result);
        QVERIFY(!text.contains('\n'));
        result = JsonParser::fromString(text);
    } else if (op == "set") {
        const QJsonValue value = json(operation.section(' ', 2));
        JsonParser::modifyJsonValue(result, operation.section(' ', 1, 1), value);
    } else if (op == "denormalize") {
        result = JsonParser::denormalizeJson(result);
    } else if (op == "array") {
        result = JsonParser::fromJsonArray(json(input).toArray());
    } else {
        result = JsonParser::fromFirebaseReply(FirebaseReply(op, result));
    }
    // Compact text has its keys sorted: equal objects read the same, and differences read well.
    QCOMPARE(JsonParser::toString(result), JsonParser::toString(json(expected).toObject()));
    QCOMPARE(JsonParser::toString(copy), JsonParser::toString(json(input).toObject()));
}

void TestJsonParser::mappedFixtures_data()
{
    QTest::addColumn<QString>("mapping");
    QTest::addColumn<QJsonObject>("json");
    for (const auto &sample : Samples) {
        const QJsonObject json = fixture(sample[0]);
        QTest::addRow("%s %s", sample[2], sample[0])
            << sample[2] << (*sample[1] ? json.value(sample[1]).toObject() : json);
    }
}

void TestJsonParser::mappedFixtures()
{
    QFETCH(QString, mapping);
    QFETCH(QJsonObject, json);
    const Mapping map = Mappings.value(mapping);

    // Each fixture maps to the records written down, field by field.
    static const QStringList all = QString::fromUtf8(fixtureText("mapped-records.txt")).split('\n');
    const QString section = QStringLiteral("== %1").arg(QTest::currentDataTag());
    QStringList expected;
    for (int i = all.indexOf(section) + 1; i > 0 && i < all.size() && !all[i].startsWith("== "); ++i)
        expected += all[i].isEmpty() ? QStringList() : QStringList(all[i]);

    const QStringList lines = map(json);
    // The first row starts the file afresh, with the header that says how it came about.
    static bool first = true;
    QFile out(qEnvironmentVariable("TALLYRA_MAPPED_OUT"));
    if (!out.fileName().isEmpty() && out.open(first ? QIODevice::WriteOnly : QIODevice::Append)) {
        out.write(first ? all.first().toUtf8() + "\n\n" : QByteArray());
        out.write((QStringList(section) + lines).join('\n').toUtf8() + "\n\n");
    }
    first = false;
    QCOMPARE(lines, expected);

    // The values at one depth given a type that none of their fields can use must read as
    // empty text reads; the UTM marks and the promo code count by their mere presence.
    const QJsonValue wrong[] = {QJsonValue::Null, QJsonArray(), false};
    for (int depth = 1; depth <= 4; ++depth) {
        const QStringList empty = map(spoilt(json, depth, "").toObject());
        for (const QJsonValue &value : wrong)
            QCOMPARE(map(spoilt(json, depth, value).toObject()), empty);
    }

    // Nor do hostile values anywhere break a mapping.
    QJsonArray hostile = QJsonDocument::fromJson(R"([true, -1, 1e300, -9.3e18, "2147483648",
        "99999999999999999999999", [null, "x", [{}]], {"2147483647": "x", "-5": 1, "a/b": null}])")
                             .array();
    hostile.append(QString(70000, QChar(0x0421)));
    for (int depth = 1; depth <= 5; ++depth) {
        for (const QJsonValue &value : hostile)
            runEveryMapping(spoilt(json, depth, value).toObject());
    }
}

void TestJsonParser::fieldRules_data()
{
    QTest::addColumn<QString>("mapping");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QStringList>("expected"); // among the lines of the mapped record
    const auto row = [](const char *mapping, const QString &input, const QStringList &expected) {
        QTest::addRow("%s %s", mapping, qPrintable(input)) << mapping << input << expected;
    };

    // The service sends a count of visitors to show; JSON true or text reads as none.
    row("user info", R"({"online_visitor_enabled": 2})", {".OnlineVisitorEnabled = true"});
    row("user info", R"({"online_visitor_enabled": 0})", {".OnlineVisitorEnabled = false"});
    row("user info", R"({"online_visitor_enabled": true})", {".OnlineVisitorEnabled = false"});
    row("user info", R"({"online_visitor_enabled": "1"})", {".OnlineVisitorEnabled = false"});
    // Operators by index, in any key order; other keys, absurd indices and non-text are no one.
    row("chat",
        R"({"operators": {"10": "k", "9": "j", "1": "b"}})",
        {R"(.Operators = ["","b","","","","","","","","j","k"])"});
    row("chat", R"({"operators": {"x": "a", "1": "b"}})", {R"(.Operators = ["","b"])"});
    row("chat",
        R"({"operators": {"2147483647": "x", "1000000": "y", "-1": "z", "0": "a"}})",
        {R"(.Operators = ["a"])"});
    row("chat", R"({"operators": ["a", 5, null]})", {R"(.Operators = ["a","",""])"});
    row("chat",
        R"({"createdAt": "1709631067000", "startedAt": -86400000})",
        {".CreatedAt = 2024-03-05T09:31:07.000", ".StartedAt = 1969-12-31T00:00:00.000"});
    // The database's placeholder for its own clock, seen before it wrote the time, is no time.
    row("chat",
        R"({"createdAt": {".sv": "timestamp"}, "startedAt": {".sv": "timestamp"}})",
        {".CreatedAt = 1970-01-01T00:00:00.000", ".StartedAt = invalid"});
    row("visit", R"({"blocked": 1})", {".Blocked = 1"});
    row("visit",
        R"({"blocked": "1", "roistat_promo": "5"})",
        {".Blocked = 0", R"(.CustomParams[roistat_promo] = "0")"});
    // A member whose name is no number lands under 0.
    row("settings",
        R"({"chat_widgets": {"main": {"id": 1, "name": "Главный"}}})",
        {R"(.ChatWidgets[0].Name = "Главный")"});
    // Entries of keyed collections and lists that are no objects still count, with defaults.
    row("quick answers", R"({"101": null})", {"[0].Id = 101"});
    row("user keys", R"({"1021": null})", {"[1021] = []"});
    row("history", R"({"chat_widgets": [null]})", {R"(.Widgets[0].Name = " - ")"});
}

void TestJsonParser::fieldRules()
{
    QFETCH(QString, mapping);
    QFETCH(QString, input);
    QFETCH(QStringList, expected);

    const QStringList lines = Mappings.value(mapping)(json(input).toObject());
    for (const QString &line : expected)
        QVERIFY2(lines.contains(line), qPrintable(line + " not in\n" + lines.join('\n')));
}

void TestJsonParser::numberConversions_data()
{
    // The JSON value is the row's name; read as an int, an int through a variant, a 64-bit
    // number and an unsigned 64-bit number.
    QTest::addColumn<QString>("expected");
    QTest::newRow("42") << "42 42 42 42";
    QTest::newRow(R"("42")") << "0 42 42 42";
    QTest::newRow(R"(" 42 ")") << "0 42 42 42";
    QTest::newRow("-7") << "-7 -7 -7 18446744073709551609";
    QTest::newRow(R"("-7")") << "0 -7 -7 0";
    QTest::newRow("4.6") << "0 5 5 5";
    QTest::newRow(R"("9007199254740993")") << "0 1 9007199254740993 9007199254740993"; // > 2^53
    QTest::newRow("4412345678002") << "0 1414265010 4412345678002 4412345678002";
    QTest::newRow("1e300") << "0 0 0 0";
    QTest::newRow(R"("12abc")") << "0 0 0 0";
    QTest::newRow("true") << "0 1 1 1";
}

void TestJsonParser::numberConversions()
{
    QFETCH(QString, expected);
    const QJsonValue value = json(QTest::currentDataTag());
    const FirebaseChat chat = JsonParser::getFirebaseChatFromJson(
        {{"unreadCount", value}, {"apiId", value}, {"messagesCount", value}});
    const ApiChatSettings settings = JsonParser::getApiChatSettingsFromJson(
        {{"sites", QJsonObject{{"1", QJsonArray{QJsonObject{{"user_id", value}}}}}}});
    QCOMPARE(QString("%1 %2 %3 %4")
                 .arg(chat.getUnreadCount())
                 .arg(chat.getApiId())
                 .arg(chat.getMessageCount())
                 .arg(settings.getUsersToSites().value("1").value(0).getUserId()),
             expected);
    QCOMPARE(JsonParser::readInt64(value), chat.getMessageCount());
}

void TestJsonParser::deepInput()
{
    // As deep as the parser accepts, under keys that the mappings read.
    const char *const keys[]
        = {"lastMessage", "operators", "params", "attributes", "visit", "aliases", "chat_info", "d"};
    QString nestedText = QStringLiteral("1");
    for (int i = 0; i < 500; ++i)
        nestedText = QStringLiteral("{\"%1\": %2}").arg(QLatin1String(keys[i % 8]), nestedText);
    const QJsonObject deep = JsonParser::fromString(nestedText);
    QVERIFY(!deep.isEmpty());
    runEveryMapping(deep);

    // An operator index far out of range must not make the list allocate it.
    const FirebaseChat chat = JsonParser::getFirebaseChatFromJson(
        json(R"({"operators": {"0": "a", "2000000000": "b", "1024": "c", "1025": "d"}})").toObject());
    QCOMPARE(chat.getOperators().size(), 1025);
    QCOMPARE(chat.getOperators().last(), QStringLiteral("c"));
}

QTEST_GUILESS_MAIN(TestJsonParser)
#include "tst_jsonparser.moc"
