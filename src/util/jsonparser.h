#pragma once

#include "network/firebasereply.h"
#include "records/apichathistory.h"
#include "records/apichathistorymesssages.h"
#include "records/apichathistorywidget.h"
#include "records/apichatinfo.h"
#include "records/apichatsettings.h"
#include "records/apichatvisitinfo.h"
#include "records/apiofflinemessage.h"
#include "records/apipayment.h"
#include "records/apiwidget.h"
#include "records/firebasechat.h"
#include "records/firebasechatmessage.h"
#include "records/firebasequickanswer.h"
#include "records/firebaseuser.h"
#include "records/firebasevisitor.h"
#include "records/franchiseitem.h"
#include "records/permission.h"
#include "records/userinfo.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QString>
#include <QStringList>

// Builds records from the JSON of the service and of the realtime database, and the generic
// JSON operations that turn a stream event into a tree rooted at the subscribed path.
//
// No input makes a mapping fail: a missing key or a value of the wrong JSON type gives the
// field's default (empty, 0, false, an empty container, and for time stamps the epoch or an
// invalid date-time as each field says). The conversions of the fields:
// - "as 64-bit": a number, or a string holding a decimal number (ids beyond 2^53 arrive so);
// - "int": a JSON number that is a whole 32-bit value, anything else 0;
// - "time stamp": milliseconds since the epoch as a number or numeric string, in local time;
//   anything else counts as no time (the epoch, or invalid where a field says so).
class JsonParser
{
public:
    // Generic operations.

    // Parses UTF-8 JSON. A document that is an array comes back as {"non_field_errors": array},
    // the service's way of reporting some errors; invalid JSON is logged and gives {}.
    static QJsonObject fromString(const QString &text);
    static QString toString(const QJsonObject &object);

    // Places value at a dotted path ("a.b.c"), creating or replacing objects on the way and
    // keeping their other keys. An empty path or "." replaces the whole object by value.
    static void modifyJsonValue(QJsonObject &object, const QString &path, const QJsonValue &value);
    // Expands multi-path keys: {"x/status": v} becomes {"x": {"status": v}}.
    static QJsonObject denormalizeJson(const QJsonObject &object);
    // {"0": a[0], "1": a[1], ...}; null elements are left out but keep their index.
    static QJsonObject fromJsonArray(const QJsonArray &array);
    // The stream event's value ("d") placed at its relative path ("p") in an empty tree.
    static QJsonObject fromFirebaseReply(const FirebaseReply &reply);

    // Value conversions shared by the record mappings and the repositories' merges, so that a
    // merged field reads exactly as the snapshot reads it.
    // A 64-bit number from a number, numeric text or a boolean; 0 otherwise.
    static qint64 readInt64(const QJsonValue &value);
    // Milliseconds as a number or numeric text; the epoch when there is no time.
    static Timestamp readTimestamp(const QJsonValue &value);
    // As readTimestamp, but invalid when there is no time.
    static Timestamp readTimestampIfPresent(const QJsonValue &value);

    // Sign-in and service choice.
    static UserInfo getUserInfoFromJson(const QJsonObject &json);
    static Permission getPermissionFromJson(const QJsonObject &json);
    static QList<FranchiseItem> getFranchiseItemsFromJson(const QJsonObject &json);

    // Realtime records. Records of keyed collections get their key from the caller.
    static FirebaseUser getFirebaseUserFromJson(const QJsonObject &json);
    static FirebaseUserAlias getFirebaseuserAliasFromJson(const QJsonObject &json);
    static FirebaseLastMessage getFirebaseLastMessageFromJson(const QJsonObject &json);
    static FirebaseChat getFirebaseChatFromJson(const QJsonObject &json);
    static FirebaseChatMessage getFirebaseChatMessageFromJson(const QJsonObject &json);
    static FirebaseChatMessageAttributes getFirebaseChatMessageAttributesFromJson(
        const QJsonObject &json);
    static FirebaseVisitor getFirebaseVisitorFromJson(const QJsonObject &json);
    // Sets the visitor's fields whose keys the object holds, with the conversions of
    // getFirebaseVisitorFromJson, and leaves the others: the merge of a partial update.
    static void updateFirebaseVisitorFromJson(FirebaseVisitor &visitor, const QJsonObject &json);
    static FirebaseVisitorParam getFirebaseVisitorParamFromJson(const QJsonObject &json);
    static FirebaseQuickAnswer getQuickAnswerFromJson(const QJsonObject &json);
    // Every entry of the object, each with its key read as a number for id.
    static QList<FirebaseQuickAnswer> getQuickAnswersFromJson(const QJsonObject &json);
    // The "user-keys" tree {"<api id>": {"<user key>": bool, ...}, ...}: for each number, the
    // user keys set to true, in key order.
    static QHash<qint64, QStringList> getUserKeysFromJson(const QJsonObject &json);

    // Service records.
    static ApiChatInfo getApiChatInfoFromJson(const QJsonObject &json);
    static ApiChatVisitInfo getApiChatVisitInfoFromJson(const QJsonObject &json);
    static ApiChatSettings getApiChatSettingsFromJson(const QJsonObject &json);
    static ApiWidget getApiWidgetFromJson(const QJsonObject &json);
    static ApiChatHistory getApiChatHistoryFromJson(const QJsonObject &json);
    static QList<ApiChatHistoryWidget> getApiChatHistoryWidgetsFromJson(const QJsonArray &json);
    static ApiChatHistoryMesssages getApiChatHistoryMessages(const QJsonObject &json);
    static QList<ApiOfflineMessage> getApiOfflineMessagesFromJson(const QJsonObject &json);
    static ApiPayment getApiPaymentFromJson(const QJsonObject &json);
};
