#include "util/jsonparser.h"

#include <QDebug>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QVariant>
#include <QVector>

#include <cstddef>

namespace {

constexpr QLatin1String operator""_l1(const char *text, std::size_t size)
{
    return QLatin1String(text, int(size));
}

// The realtime database nests at most 32 levels; a deeper path can only come from a malformed
// event and must not make the tree (and its recursive destruction) arbitrarily deep.
constexpr int MaxPathDepth = 64;

// Same results as QVariant::toLongLong() on QJsonValue::toVariant(), without building the
// variant; a double outside the 64-bit range (where the variant's result is undefined) gives 0.
qint64 toInt64(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Double: {
        const double number = value.toDouble();
        return number > -9.2e18 && number < 9.2e18 ? qRound64(number) : 0;
    }
    case QJsonValue::String:
        return value.toString().toLongLong();
    case QJsonValue::Bool:
        return value.toBool() ? 1 : 0;
    default:
        return 0;
    }
}

// As toInt64, for QVariant::toULongLong().
quint64 toUInt64(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Double: {
        const double number = value.toDouble();
        return number > -9.2e18 && number < 9.2e18 ? quint64(qRound64(number)) : 0;
    }
    case QJsonValue::String:
        return value.toString().toULongLong();
    case QJsonValue::Bool:
        return value.toBool() ? 1 : 0;
    default:
        return 0;
    }
}

// An int read through a variant: numbers and numeric strings alike, as QVariant::toInt().
int toVariantInt(const QJsonValue &value)
{
    return int(toInt64(value));
}

// A time stamp is a number of milliseconds, or a string holding one; anything else (absent,
// null, another type, text that is no number) counts as no time at all.
bool toMSecs(const QJsonValue &value, qint64 *msecs)
{
    bool ok = false;
    if (value.isDouble()) {
        const double number = value.toDouble();
        ok = number > -9.2e18 && number < 9.2e18;
        *msecs = ok ? qRound64(number) : 0;
    } else if (value.isString()) {
        *msecs = value.toString().toLongLong(&ok);
    }
    return ok;
}

// Time stamps that read as the epoch when there is none.
Timestamp toTimestamp(const QJsonValue &value)
{
    qint64 msecs = 0;
    toMSecs(value, &msecs);
    return Timestamp::fromMSecsSinceEpoch(msecs);
}

// Time stamps that stay invalid when there is none.
Timestamp toTimestampIfPresent(const QJsonValue &value)
{
    qint64 msecs = 0;
    return toMSecs(value, &msecs) ? Timestamp::fromMSecsSinceEpoch(msecs) : Timestamp();
}

// The service's date-times are ISO 8601 text, read as QVariant::toDateTime() reads them.
QDateTime toDateTime(const QJsonValue &value)
{
    if (!value.isString())
        return QDateTime();
    return value.toVariant().toDateTime();
}

QStringList toStringList(const QJsonArray &array)
{
    QStringList list;
    list.reserve(array.size());
    for (const QJsonValue &item : array)
        list.append(item.toString());
    return list;
}

QMap<QString, QString> toStringMap(const QJsonObject &object)
{
    QMap<QString, QString> map;
    for (auto it = object.begin(); it != object.end(); ++it)
        map.insert(it.key(), it.value().toString());
    return map;
}

// The stored key is spelt with a Cyrillic capital ES (U+0421) after "chat"; the same word with
// a Latin C is a different key and is not read.
const QString ChatCreatedKey = QStringLiteral("chat\u0421reated");

// An object of parameters; the database hands parameters keyed 0, 1, ... over as an array.
QList<FirebaseVisitorParam> toVisitorParams(const QJsonValue &value)
{
    QList<FirebaseVisitorParam> params;
    if (value.isObject()) {
        const QJsonObject byKey = value.toObject();
        for (auto it = byKey.begin(); it != byKey.end(); ++it)
            params.append(JsonParser::getFirebaseVisitorParamFromJson(it.value().toObject()));
    } else if (value.isArray()) {
        const QJsonArray list = value.toArray();
        for (const QJsonValue &item : list) {
            if (item.isObject())
                params.append(JsonParser::getFirebaseVisitorParamFromJson(item.toObject()));
        }
    }
    return params;
}

QMap<QString, FirebaseUserAlias> toUserAliases(const QJsonObject &json)
{
    QMap<QString, FirebaseUserAlias> aliases;
    for (auto it = json.begin(); it != json.end(); ++it) {
        FirebaseUserAlias alias = JsonParser::getFirebaseuserAliasFromJson(it.value().toObject());
        alias.setId(it.key());
        aliases.insert(it.key(), alias);
    }
    return aliases;
}

// Written as {"<user key>": true, ...}; a key set to false is no longer to be notified, and any
// other shape gives nobody.
QStringList toNotifiedUsers(const QJsonValue &value)
{
    QStringList keys;
    const QJsonObject users = value.toObject();
    for (auto it = users.begin(); it != users.end(); ++it) {
        if (it.value().toBool())
            keys.append(it.key());
    }
    return keys;
}

// An array is the list itself. The database turns an array with gaps into an object keyed by
// index, whose entries go to their indices; null (no operators) leaves the list empty.
void setOperators(FirebaseChat &chat, const QJsonValue &value)
{
    if (value.isArray()) {
        chat.setOperators(toStringList(value.toArray()));
    } else if (value.isObject()) {
        const QJsonObject byIndex = value.toObject();
        for (auto it = byIndex.begin(); it != byIndex.end(); ++it) {
            bool isIndex = false;
            const int index = it.key().toInt(&isIndex);
            if (isIndex)
                chat.setOperator(index, it.value().toString());
        }
    }
}

ApiUserToSite getApiUserToSiteFromJson(const QJsonObject &json)
{
    ApiUserToSite user;
    user.setAccountId(toUInt64(json.value("account_id"_l1)));
    user.setChatWidgetId(toUInt64(json.value("chat_widget_id"_l1)));
    user.setDistributionPercent(toUInt64(json.value("distribution_percent"_l1)));
    user.setSiteId(toUInt64(json.value("site_id"_l1)));
    user.setUserId(toUInt64(json.value("user_id"_l1)));
    return user;
}

ApiChatTariff getApiChatTariffFromJson(const QJsonObject &json)
{
    ApiChatTariff tariff;
    tariff.setChatCost(json.value("dialog_cost"_l1).toString());
    tariff.setChatPayDialog(json.value("chat_pay_dialog"_l1).toInt());
    tariff.setFreeChatWidget(json.value("free_chat_widget"_l1).toInt());
    tariff.setIsPaidChat(json.value("ispayed_chat"_l1).toInt());
    return tariff;
}

ApiChatWidget getApiChatWidgetFromJson(const QJsonObject &json)
{
    ApiChatWidget widget;
    widget.setId(toUInt64(json.value("id"_l1)));
    widget.setName(json.value("name"_l1).toString());
    widget.setIsEnabled(json.value("is_enabled"_l1).toInt());
    widget.setSiteName(json.value("site"_l1).toString());
    return widget;
}

ApiChatHistoryStat getApiChatHistoryStatFromJson(const QJsonObject &json)
{
    ApiChatHistoryStat stat;
    stat.setAll(toInt64(json.value("all"_l1)));
    stat.setCompleted(toInt64(json.value("completed"_l1)));
    stat.setLost(toInt64(json.value("lost"_l1)));
    stat.setWork(toInt64(json.value("work"_l1)));
    return stat;
}

ApiChatHistoryUser getApiChatHistoryUserFromJson(const QString &key, const QJsonObject &json)
{
    ApiChatHistoryUser user;
    user.setId(key);
    user.setApiId(toInt64(json.value("apiId"_l1)));
    user.setName(json.value("name"_l1).toString());
    user.setPhoto(json.value("photo"_l1).toString());
    user.setPosition(json.value("position"_l1).toString());
    user.setRole(json.value("role"_l1).toString());
    user.setIntegrationType(json.value("integrationType"_l1).toString());
    QHash<qint64, ApiChatHistoryUserAlias> aliases;
    const QJsonObject aliasesJson = json.value("aliases"_l1).toObject();
    for (auto it = aliasesJson.begin(); it != aliasesJson.end(); ++it) {
        const QJsonObject aliasJson = it.value().toObject();
        ApiChatHistoryUserAlias alias;
        alias.setName(aliasJson.value("name"_l1).toString());
        alias.setPhoto(aliasJson.value("photo"_l1).toString());
        alias.setPosition(aliasJson.value("position"_l1).toString());
        aliases.insert(it.key().toLongLong(), alias);
    }
    user.setAliases(aliases);
    return user;
}

} // namespace

qint64 JsonParser::readInt64(const QJsonValue &value)
{
    return toInt64(value);
}

Timestamp JsonParser::readTimestamp(const QJsonValue &value)
{
    return toTimestamp(value);
}

Timestamp JsonParser::readTimestampIfPresent(const QJsonValue &value)
{
    return toTimestampIfPresent(value);
}

QJsonObject JsonParser::fromString(const QString &text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError) {
        qDebug().noquote() << "ERROR STR" << text;
        qDebug().noquote() << "Json parse error: " + error.errorString();
        return QJsonObject();
    }
    if (document.isArray())
        return QJsonObject{{QStringLiteral("non_field_errors"), document.array()}};
    return document.object();
}

QString JsonParser::toString(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

void JsonParser::modifyJsonValue(QJsonObject &object, const QString &path, const QJsonValue &value)
{
    if (path.count(QLatin1Char('.')) > MaxPathDepth) {
        qDebug() << "JSON PATH TOO DEEP";
        return;
    }

    // Walks down one path segment at a time. Each level is taken out of its parent while it is
    // edited, so that it is not shared and the edit does not copy it; the way back up puts the
    // levels in again.
    QVector<QJsonObject> parents;
    QVector<QString> keys;
    QJsonObject current;
    current.swap(object);
    QStringView rest(path);
    while (true) {
        if (rest.isEmpty() || (rest.size() == 1 && rest.front() == QLatin1Char('.'))) {
            current = value.toObject();
            break;
        }
        const int dot = rest.indexOf(QLatin1Char('.'));
        const QString head = (dot < 0 ? rest : rest.left(dot)).toString();
        // A leading dot ends the path: the value goes under the empty key.
        const QStringView tail = dot <= 0 ? QStringView() : rest.mid(dot + 1);
        if (tail.isEmpty()) {
            current.insert(head, value);
            break;
        }
        QJsonObject child = current.take(head).toObject();
        parents.append(std::move(current));
        keys.append(head);
        current = std::move(child);
        rest = tail;
    }
    while (!parents.isEmpty()) {
        QJsonObject parent = parents.takeLast();
        parent.insert(keys.takeLast(), current);
        current = std::move(parent);
    }
    object.swap(current);
}

QJsonObject JsonParser::denormalizeJson(const QJsonObject &object)
{
    // Most trees have no multi-path key; they are handed back shared, without a copy.
    auto it = object.begin();
    while (it != object.end() && !it.key().contains(QLatin1Char('/')))
        ++it;
    if (it == object.end())
        return object;

    QJsonObject result;
    for (it = object.begin(); it != object.end(); ++it) {
        QString key = it.key();
        if (key.contains(QLatin1Char('/')))
            modifyJsonValue(result, key.replace(QLatin1Char('/'), QLatin1Char('.')), it.value());
        else
            result.insert(key, it.value());
    }
    return result;
}

QJsonObject JsonParser::fromJsonArray(const QJsonArray &array)
{
    QJsonObject result;
    for (int i = 0; i < array.size(); ++i) {
        const QJsonValue item = array.at(i);
        if (!item.isNull())
            result.insert(QString::number(i), item);
    }
    return result;
}

QJsonObject JsonParser::fromFirebaseReply(const FirebaseReply &reply)
{
    const QJsonObject data = reply.getData();
    QString path = data.value("p"_l1).toString();
    path.replace(QLatin1Char('/'), QLatin1Char('.'));
    path.remove(0, 1);
    QJsonObject result;
    modifyJsonValue(result, path, data.value("d"_l1));
    return denormalizeJson(result);
}

UserInfo JsonParser::getUserInfoFromJson(const QJsonObject &json)
{
    UserInfo info;
    info.setId(json.value("id"_l1).toInt());
    info.setRole(json.value("role"_l1).toInt());
    info.setName(json.value("name"_l1).toString());
    info.setSurname(json.value("surname"_l1).toString());
    info.setEmail(json.value("email"_l1).toString());
    info.setPhone(json.value("phone"_l1).toString());
    info.setUserLogo(json.value("user_logo"_l1).toString());
    info.setProfession(json.value("profession"_l1).toString());
    info.setServiceId(json.value("service_id"_l1).toInt());
    info.setAccountId(json.value("account_id"_l1).toInt());
    info.setNameFull(json.value("name_full"_l1).toString());
    info.setLogoPath(json.value("logo_path"_l1).toString());
    // The service sends a count here; a JSON true reads as 0 and so gives false.
    info.setOnlineVisitorEnabled(json.value("online_visitor_enabled"_l1).toInt() >= 1);
    QList<Permission> permissions;
    const QJsonArray permissionsJson = json.value("permissions"_l1).toArray();
    for (const QJsonValue &item : permissionsJson)
        permissions.append(getPermissionFromJson(item.toObject()));
    info.setPermissions(permissions);
    return info;
}

Permission JsonParser::getPermissionFromJson(const QJsonObject &json)
{
    Permission permission;
    permission.setId(json.value("id"_l1).toInt());
    permission.setFunctionId(json.value("function_id"_l1).toInt());
    permission.setUserId(json.value("user_id"_l1).toInt());
    return permission;
}

QList<FranchiseItem> JsonParser::getFranchiseItemsFromJson(const QJsonObject &json)
{
    QList<FranchiseItem> items;
    const QJsonArray services = json.value("services"_l1).toArray();
    for (const QJsonValue &item : services) {
        const QJsonObject service = item.toObject();
        items.append(FranchiseItem(service.value("id"_l1).toInt(),
                                   service.value("name"_l1).toString(),
                                   service.value("logo_path"_l1).toString()));
    }
    return items;
}

FirebaseUser JsonParser::getFirebaseUserFromJson(const QJsonObject &json)
{
    // One pass over the members, as for visitors: a snapshot holds thousands of users.
    FirebaseUser user;
    for (auto it = json.begin(); it != json.end(); ++it) {
        const QString key = it.key();
        const QJsonValue value = it.value();
        switch (key.size()) {
        case 4:
            if (key == "name"_l1)
                user.setName(value.toString());
            else if (key == "role"_l1)
                user.setRole(value.toString());
            break;
        case 5:
            if (key == "apiId"_l1)
                user.setApiId(value.toInt());
            else if (key == "photo"_l1)
                user.setPhoto(value.toString());
            break;
        case 6:
            if (key == "online"_l1)
                user.setOnline(value.toBool());
            else if (key == "reauth"_l1)
                user.setReauth(value.toBool());
            break;
        case 7:
            if (key == "aliases"_l1)
                user.setAliases(toUserAliases(value.toObject()));
            break;
        case 8:
            if (key == "position"_l1)
                user.setPosition(value.toString());
            else if (key == "hasEmail"_l1)
                user.setHasEmail(value.toBool());
            break;
        case 12:
            if (key == "lastActiveAt"_l1)
                user.setLastActiveAt(toTimestampIfPresent(value));
            break;
        case 15:
            if (key == "integrationType"_l1)
                user.setIntegrationType(value.toString());
            break;
        }
    }
    return user;
}

FirebaseUserAlias JsonParser::getFirebaseuserAliasFromJson(const QJsonObject &json)
{
    FirebaseUserAlias alias;
    alias.setName(json.value("name"_l1).toString());
    alias.setPhoto(json.value("photo"_l1).toString());
    alias.setPosition(json.value("position"_l1).toString());
    return alias;
}

FirebaseLastMessage JsonParser::getFirebaseLastMessageFromJson(const QJsonObject &json)
{
    FirebaseLastMessage message;
    message.setSender(json.value("sender"_l1).toString());
    message.setSentAt(toTimestamp(json.value("sentAt"_l1)));
    message.setStatus(json.value("status"_l1).toString());
    message.setText(json.value("text"_l1).toString());
    message.setType(json.value("type"_l1).toString());
    message.setTarget(json.value("target"_l1).toString());
    return message;
}

FirebaseChat JsonParser::getFirebaseChatFromJson(const QJsonObject &json)
{
    FirebaseChat chat;
    chat.setCreatedAt(Timestamp::fromMSecsSinceEpoch(0));
    bool hasLastMessage = false;
    // One pass over the members, as for visitors: a snapshot holds thousands of chats.
    for (auto it = json.begin(); it != json.end(); ++it) {
        const QString key = it.key();
        const QJsonValue value = it.value();
        switch (key.size()) {
        case 4:
            if (key == "link"_l1)
                chat.setLink(value.toString());
            break;
        case 5:
            if (key == "apiId"_l1)
                chat.setApiId(toVariantInt(value));
            else if (key == "robot"_l1)
                chat.setRobot(value.toString());
            break;
        case 6:
            if (key == "status"_l1)
                chat.setChatStatus(value.toString());
            break;
        case 7:
            if (key == "visitor"_l1)
                chat.setVisitor(value.toString());
            break;
        case 8:
            if (key == "widgetId"_l1)
                chat.setWidgetId(toInt64(value));
            else if (key == "userText"_l1)
                chat.setUserText(toStringMap(value.toObject()));
            break;
        case 9:
            if (key == "createdAt"_l1)
                chat.setCreatedAt(toTimestamp(value));
            else if (key == "startedAt"_l1)
                chat.setStartedAt(toTimestampIfPresent(value));
            else if (key == "operators"_l1)
                setOperators(chat, value);
            break;
        case 11:
            if (key == "lastMessage"_l1) {
                chat.setLastMessage(getFirebaseLastMessageFromJson(value.toObject()));
                hasLastMessage = true;
            } else if (key == "unreadCount"_l1) {
                chat.setUnreadCount(value.toInt());
            }
            break;
        case 12:
            if (key == "userActivity"_l1)
                chat.setUserActivity(toStringMap(value.toObject()));
            break;
        case 13:
            if (key == "messageTarget"_l1)
                chat.setMessageTarget(value.toString());
            else if (key == "messagesCount"_l1)
                chat.setMessageCount(toInt64(value));
            break;
        case 14:
            if (key == "visitorBlocked"_l1)
                chat.setVisitorBlocked(value.toBool());
            break;
        case 16:
            if (key == "noAnswerRequired"_l1)
                chat.setNoAnswerRequired(value.toBool());
            break;
        case 18:
            if (key == "userToNotification"_l1)
                chat.setUserToNotification(toNotifiedUsers(value));
            break;
        }
    }
    // A chat without a last message still has one, with the epoch for its time.
    if (!hasLastMessage)
        chat.setLastMessage(getFirebaseLastMessageFromJson(QJsonObject()));
    return chat;
}

FirebaseChatMessage JsonParser::getFirebaseChatMessageFromJson(const QJsonObject &json)
{
    FirebaseChatMessage message;
    message.setType(json.value("type"_l1).toString());
    message.setSender(json.value("sender"_l1).toString());
    message.setTarget(json.value("target"_l1).toString());
    message.setSentAt(toTimestamp(json.value("sentAt"_l1)));
    message.setStatus(json.value("status"_l1).toString());
    message.setText(json.value("text"_l1).toString());
    message.setAttributes(
        getFirebaseChatMessageAttributesFromJson(json.value("attributes"_l1).toObject()));
    message.setAutoInvitation(json.value("autoInvitation"_l1).toBool());
    message.setFilename(json.value("filename"_l1).toString());
    message.setIcon(json.value("icon"_l1).toString());
    message.setPreview(json.value("preview"_l1).toString());
    message.setSize(toInt64(json.value("size"_l1)));
    message.setSubtype(json.value("subType"_l1).toString());
    message.setUrl(json.value("url"_l1).toString());
    return message;
}

FirebaseChatMessageAttributes JsonParser::getFirebaseChatMessageAttributesFromJson(
    const QJsonObject &json)
{
    FirebaseChatMessageAttributes attributes;
    attributes.setEmail(json.value("email"_l1).toString());
    attributes.setIcon(json.value("icon"_l1).toString());
    attributes.setImageUrl(json.value("imageUrl"_l1).toString());
    attributes.setName(json.value("name"_l1).toString());
    attributes.setPhone(json.value("phone"_l1).toString());
    attributes.setUrl(json.value("url"_l1).toString());
    attributes.setOperator(json.value("operator"_l1).toString());
    attributes.setTitle(json.value("title"_l1).toString());
    attributes.setQuantity(json.value("quantity"_l1).toInt());
    attributes.setAmount(json.value("amount"_l1).toString());
    attributes.setCurrency(json.value("currency"_l1).toString());
    attributes.setCurrencyText(json.value("currencyText"_l1).toString());
    attributes.setStatus(json.value("status"_l1).toString());
    attributes.setPaySystem(json.value("paySystem"_l1).toString());
    attributes.setLink(json.value("link"_l1).toString());
    return attributes;
}

FirebaseVisitor JsonParser::getFirebaseVisitorFromJson(const QJsonObject &json)
{
    FirebaseVisitor visitor;
    visitor.setLastActiveAt(Timestamp::fromMSecsSinceEpoch(0));
    visitor.setCreatedAt(Timestamp::fromMSecsSinceEpoch(0));
    updateFirebaseVisitorFromJson(visitor, json);
    return visitor;
}

void JsonParser::updateFirebaseVisitorFromJson(FirebaseVisitor &visitor, const QJsonObject &json)
{
    // Visitors arrive by the ten thousand in one snapshot, so the members are read in one pass,
    // dispatched on the key's length first, rather than by a lookup per field.
    for (auto it = json.begin(); it != json.end(); ++it) {
        const QString key = it.key();
        const QJsonValue value = it.value();
        switch (key.size()) {
        case 2:
            if (key == "ip"_l1)
                visitor.setIp(value.toString());
            break;
        case 4:
            if (key == "hits"_l1)
                visitor.setHits(toInt64(value));
            else if (key == "name"_l1)
                visitor.setName(value.toString());
            else if (key == "said"_l1)
                visitor.setSaid(value.toBool());
            break;
        case 5:
            if (key == "email"_l1)
                visitor.setEmail(value.toString());
            else if (key == "phone"_l1)
                visitor.setPhone(value.toString());
            else if (key == "photo"_l1)
                visitor.setPhoto(value.toString());
            break;
        case 6:
            if (key == "online"_l1)
                visitor.setOnline(value.toBool());
            else if (key == "params"_l1)
                visitor.setParams(toVisitorParams(value));
            break;
        case 7:
            if (key == "chatKey"_l1)
                visitor.setChatKey(value.toString());
            break;
        case 8:
            if (key == "location"_l1)
                visitor.setLocation(value.toString());
            break;
        case 9:
            if (key == "createdAt"_l1)
                visitor.setCreatedAt(toTimestamp(value));
            break;
        case 10:
            if (key == "apiVisitId"_l1)
                visitor.setApiVisitId(toInt64(value));
            else if (key == "autoInvite"_l1)
                visitor.setAutoInvite(value.toBool());
            else if (key == "currentUrl"_l1)
                visitor.setCurrentUrl(value.toString());
            break;
        case 11:
            if (key == ChatCreatedKey)
                visitor.setChatCreated(value.toBool());
            break;
        case 12:
            if (key == "apiVisitorId"_l1)
                visitor.setApiVisitorId(toInt64(value));
            else if (key == "chatWidgetId"_l1)
                visitor.setChatWidgetId(toInt64(value));
            else if (key == "lastActiveAt"_l1)
                visitor.setLastActiveAt(toTimestamp(value));
            break;
        }
    }
}

FirebaseVisitorParam JsonParser::getFirebaseVisitorParamFromJson(const QJsonObject &json)
{
    FirebaseVisitorParam param;
    param.setKey(json.value("key"_l1).toString());
    param.setTitle(json.value("title"_l1).toString());
    param.setValue(json.value("value"_l1).toString());
    return param;
}

FirebaseQuickAnswer JsonParser::getQuickAnswerFromJson(const QJsonObject &json)
{
    FirebaseQuickAnswer answer;
    answer.setAccountId(toInt64(json.value("accountId"_l1)));
    answer.setOperatorId(toInt64(json.value("userId"_l1)));
    answer.setSiteId(toInt64(json.value("siteId"_l1)));
    answer.setText(json.value("text"_l1).toString());
    answer.setType(json.value("type"_l1).toString());
    return answer;
}

QList<FirebaseQuickAnswer> JsonParser::getQuickAnswersFromJson(const QJsonObject &json)
{
    QList<FirebaseQuickAnswer> answers;
    for (auto it = json.begin(); it != json.end(); ++it) {
        FirebaseQuickAnswer answer = getQuickAnswerFromJson(it.value().toObject());
        answer.setId(it.key().toLongLong());
        answers.append(answer);
    }
    return answers;
}

QHash<qint64, QStringList> JsonParser::getUserKeysFromJson(const QJsonObject &json)
{
    QHash<qint64, QStringList> keys;
    for (auto it = json.begin(); it != json.end(); ++it) {
        const QJsonObject users = it.value().toObject();
        QStringList enabled;
        for (auto user = users.begin(); user != users.end(); ++user) {
            if (user.value().toBool())
                enabled.append(user.key());
        }
        keys.insert(it.key().toLongLong(), enabled);
    }
    return keys;
}

ApiChatInfo JsonParser::getApiChatInfoFromJson(const QJsonObject &json)
{
    const QJsonObject chatInfo = json.value("chat_info"_l1).toObject();
    ApiChatInfo info;
    info.setAccountId(chatInfo.value("account_id"_l1).toInt());
    info.setId(chatInfo.value("id"_l1).toInt());
    // The site is a member of the reply itself, not of "chat_info".
    info.setSiteId(toInt64(json.value("site_id"_l1)));
    info.setCreatedAt(toDateTime(chatInfo.value("created_at"_l1)));
    info.setLink(chatInfo.value("link"_l1).toString());
    info.setVisit(getApiChatVisitInfoFromJson(json.value("visit"_l1).toObject()));
    return info;
}

ApiChatVisitInfo JsonParser::getApiChatVisitInfoFromJson(const QJsonObject &json)
{
    ApiChatVisitInfo visit;
    visit.setEmail(json.value("email"_l1).toString());
    visit.setPhone(json.value("phone"_l1).toString());
    visit.setName(json.value("name"_l1).toString());
    visit.setIp(json.value("visit_ip"_l1).toString());
    visit.setIpPlace(json.value("ip_place"_l1).toString());
    visit.setLastHost(json.value("last_host"_l1).toString());
    visit.setLastUrl(json.value("last_url"_l1).toString());
    visit.setCreatedAt(toDateTime(json.value("created_at"_l1)));
    visit.setChatQuant(toVariantInt(json.value("chat_quant"_l1)));
    visit.setSite(json.value("site"_l1).toString());
    visit.setBlocked(json.value("blocked"_l1).toInt());
    visit.setVisitQuant(toInt64(json.value("visit_quant"_l1)));
    visit.setIntroduced(json.value("introduced"_l1).toInt());
    visit.setReferrer(json.value("referrer_host"_l1).toString());

    // Later sources win: the site's parameters, then the UTM marks, then the promo code.
    QHash<QString, QString> customParams;
    const QJsonArray paramsJson = json.value("custom_params"_l1).toArray();
    for (const QJsonValue &item : paramsJson) {
        const QJsonObject param = item.toObject();
        customParams.insert(param.value("param"_l1).toString(), param.value("value"_l1).toString());
    }
    QHash<QString, QString> utmMarks;
    for (auto it = json.begin(); it != json.end(); ++it) {
        const QString key = it.key();
        if (key.startsWith("utm_"_l1)) {
            const QString value = it.value().toString();
            customParams.insert(key, value);
            utmMarks.insert(key, value);
        }
    }
    if (json.contains("roistat_promo"_l1)) {
        customParams.insert(QStringLiteral("roistat_promo"),
                            QString::number(json.value("roistat_promo"_l1).toInt()));
    }
    visit.setCustomParams(customParams);

    const QString vkontakte = json.value("vkontakte_url"_l1).toString();
    if (!vkontakte.isEmpty())
        visit.setUrl(vkontakte);
    else if (json.contains("facebook_url"_l1))
        visit.setUrl(json.value("facebook_url"_l1).toString());
    visit.setUtmMarks(utmMarks);
    return visit;
}

ApiChatSettings JsonParser::getApiChatSettingsFromJson(const QJsonObject &json)
{
    ApiChatSettings settings;
    const QJsonObject sites = json.value("sites"_l1).toObject();
    for (auto it = sites.begin(); it != sites.end(); ++it) {
        QList<ApiUserToSite> users;
        const QJsonArray usersJson = it.value().toArray();
        for (const QJsonValue &item : usersJson)
            users.append(getApiUserToSiteFromJson(item.toObject()));
        settings.addUserToSites(it.key(), users);
    }

    settings.setDefaultWidgetSettings(
        getApiWidgetFromJson(json.value("default_settings"_l1).toObject()));

    QList<ApiWidget> widgets;
    const QJsonObject widgetsJson = json.value("chat_widget_settings"_l1).toObject();
    for (auto it = widgetsJson.begin(); it != widgetsJson.end(); ++it) {
        ApiWidget widget = getApiWidgetFromJson(it.value().toObject());
        widget.setId(it.key().toLongLong());
        widgets.append(widget);
    }
    settings.setWidgets(widgets);

    settings.setTariff(getApiChatTariffFromJson(json.value("chat_tariff"_l1).toObject()));

    // A member whose name is not a number lands under 0, as the int conversion gives.
    QHash<qint64, ApiChatWidget> chatWidgets;
    const QJsonObject chatWidgetsJson = json.value("chat_widgets"_l1).toObject();
    for (auto it = chatWidgetsJson.begin(); it != chatWidgetsJson.end(); ++it)
        chatWidgets.insert(it.key().toInt(), getApiChatWidgetFromJson(it.value().toObject()));
    settings.setChatWidgets(chatWidgets);
    return settings;
}

ApiWidget JsonParser::getApiWidgetFromJson(const QJsonObject &json)
{
    ApiWidget widget;
    widget.setName(json.value("name"_l1).toString());
    widget.setPaySystem(json.value("pay_system"_l1).toString());
    widget.setMessageSound(json.value("message_sound"_l1).toString());
    widget.setSound(json.value("sound"_l1).toString());
    widget.setRateChatView(json.value("rate_chat_view"_l1).toString());
    return widget;
}

ApiChatHistory JsonParser::getApiChatHistoryFromJson(const QJsonObject &json)
{
    ApiChatHistory history;
    history.setStat(getApiChatHistoryStatFromJson(json.value("chat_stat"_l1).toObject()));
    history.setWidgets(getApiChatHistoryWidgetsFromJson(json.value("chat_widgets"_l1).toArray()));

    QList<ApiChatHistoryUser> users;
    const QJsonObject usersJson = json.value("users"_l1).toObject();
    for (auto it = usersJson.begin(); it != usersJson.end(); ++it)
        users.append(getApiChatHistoryUserFromJson(it.key(), it.value().toObject()));
    history.setUsers(users);

    QList<FirebaseChat> chats;
    const QJsonArray chatsJson = json.value("chats"_l1).toArray();
    for (const QJsonValue &item : chatsJson)
        chats.append(getFirebaseChatFromJson(item.toObject()));
    history.setChats(chats);
    return history;
}

QList<ApiChatHistoryWidget> JsonParser::getApiChatHistoryWidgetsFromJson(const QJsonArray &json)
{
    QList<ApiChatHistoryWidget> widgets;
    for (const QJsonValue &item : json) {
        const QJsonObject widgetJson = item.toObject();
        ApiChatHistoryWidget widget;
        widget.setId(toInt64(widgetJson.value("id"_l1)));
        widget.setIsEnabled(widgetJson.value("is_enabled"_l1).toBool());
        const QString site = widgetJson.value("site"_l1).toString();
        widget.setName(site + " - "_l1 + widgetJson.value("name"_l1).toString());
        widget.setSite(site);
        widget.setSiteId(toInt64(widgetJson.value("site_id"_l1)));
        widget.setStep(toInt64(widgetJson.value("step"_l1)));
        widgets.append(widget);
    }
    return widgets;
}

ApiChatHistoryMesssages JsonParser::getApiChatHistoryMessages(const QJsonObject &json)
{
    ApiChatHistoryMesssages history;
    history.setChat(getFirebaseChatFromJson(json.value("chat"_l1).toObject()));

    QList<FirebaseChatMessage> messages;
    const QJsonArray messagesJson = json.value("chat_messages"_l1).toArray();
    for (const QJsonValue &item : messagesJson)
        messages.append(getFirebaseChatMessageFromJson(item.toObject()));
    history.setMessages(messages);

    QHash<QString, FirebaseUser> users;
    const QJsonObject usersJson = json.value("users"_l1).toObject();
    for (auto it = usersJson.begin(); it != usersJson.end(); ++it) {
        FirebaseUser user = getFirebaseUserFromJson(it.value().toObject());
        user.setId(it.key());
        users.insert(it.key(), user);
    }
    history.setUsers(users);

    history.setVisit(getApiChatVisitInfoFromJson(json.value("visit"_l1).toObject()));
    return history;
}

QList<ApiOfflineMessage> JsonParser::getApiOfflineMessagesFromJson(const QJsonObject &json)
{
    QList<ApiOfflineMessage> messages;
    const QJsonArray messagesJson = json.value("offline_messages"_l1).toArray();
    for (const QJsonValue &item : messagesJson) {
        const QJsonObject messageJson = item.toObject();
        ApiOfflineMessage message;
        message.setDate(toDateTime(messageJson.value("created_at"_l1)));
        message.setEmail(messageJson.value("email"_l1).toString());
        message.setIp(messageJson.value("visit_ip"_l1).toString());
        message.setIpPlace(messageJson.value("ip_place"_l1).toString());
        message.setMessage(messageJson.value("message"_l1).toString());
        message.setPhone(messageJson.value("phone"_l1).toString());
        message.setReferrer(messageJson.value("referrer"_l1).toString());
        message.setSite(messageJson.value("url"_l1).toString());
        message.setVisitCreatedAt(toDateTime(messageJson.value("visit_created_at"_l1)));
        message.setVisitorName(messageJson.value("name"_l1).toString());
        message.setWidgetName(messageJson.value("chat_widget_name"_l1).toString());
        message.setTypeForm(messageJson.value("type_form"_l1).toString());
        messages.append(message);
    }
    return messages;
}

ApiPayment JsonParser::getApiPaymentFromJson(const QJsonObject &json)
{
    ApiPayment payment;
    payment.setLink(json.value("link"_l1).toString());
    payment.setPaySystem(json.value("pay_system"_l1).toString());
    return payment;
}
