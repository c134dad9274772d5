#pragma once

#include "records/timestamp.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QMetaType>
#include <QString>
#include <QStringList>

// The summary of a chat's latest message that the chat node itself carries.
class FirebaseLastMessage
{
public:
    // User key of the author.
    QString getSender() const { return m_sender; }
    void setSender(const QString &sender) { m_sender = sender; }

    QDateTime getSentAt() const { return m_sentAt.toDateTime(); }
    void setSentAt(const QDateTime &sentAt) { m_sentAt = Timestamp(sentAt); }
    void setSentAt(const Timestamp &sentAt) { m_sentAt = sentAt; }

    QString getStatus() const { return m_status; }
    void setStatus(const QString &status) { m_status = status; }

    QString getText() const { return m_text; }
    void setText(const QString &text) { m_text = text; }

    QString getType() const { return m_type; }
    void setType(const QString &type) { m_type = type; }

    QString getTarget() const { return m_target; }
    void setTarget(const QString &target) { m_target = target; }

    bool operator==(const FirebaseLastMessage &other) const
    {
        return m_sender == other.m_sender && m_sentAt == other.m_sentAt
               && m_status == other.m_status && m_text == other.m_text && m_type == other.m_type
               && m_target == other.m_target;
    }
    bool operator!=(const FirebaseLastMessage &other) const { return !(*this == other); }

private:
    QString m_sender;
    Timestamp m_sentAt;
    QString m_status;
    QString m_text;
    QString m_type;
    QString m_target;

    friend class FirebaseChat; // its ordering reads the sender and time without copies
};

// One dialog of the account as the realtime database holds it under "chats".
class FirebaseChat
{
public:
    QString getId() const { return m_id; }
    void setId(const QString &id) { m_id = id; }

    // The chat's id on the REST side.
    int getApiId() const { return m_apiId; }
    void setApiId(int apiId) { m_apiId = apiId; }

    FirebaseLastMessage getLastMessage() const { return m_lastMessage; }
    void setLastMessage(const FirebaseLastMessage &lastMessage) { m_lastMessage = lastMessage; }

    bool getNoAnswerRequired() const { return m_noAnswerRequired; }
    void setNoAnswerRequired(bool noAnswerRequired) { m_noAnswerRequired = noAnswerRequired; }

    // "work", "ended", ... (JSON key "status").
    QString getChatStatus() const { return m_chatStatus; }
    void setChatStatus(const QString &chatStatus) { m_chatStatus = chatStatus; }

    // Sender key of the chat's system messages.
    QString getRobot() const { return m_robot; }
    void setRobot(const QString &robot) { m_robot = robot; }

    qint64 getWidgetId() const { return m_widgetId; }
    void setWidgetId(qint64 widgetId) { m_widgetId = widgetId; }

    QDateTime getCreatedAt() const { return m_createdAt.toDateTime(); }
    void setCreatedAt(const QDateTime &createdAt) { m_createdAt = Timestamp(createdAt); }
    void setCreatedAt(const Timestamp &createdAt) { m_createdAt = createdAt; }

    // The page where the chat started.
    QString getLink() const { return m_link; }
    void setLink(const QString &link) { m_link = link; }

    bool getVisitorBlocked() const { return m_visitorBlocked; }
    void setVisitorBlocked(bool visitorBlocked) { m_visitorBlocked = visitorBlocked; }

    QString getMessageTarget() const { return m_messageTarget; }
    void setMessageTarget(const QString &messageTarget) { m_messageTarget = messageTarget; }

    qint64 getMessageCount() const { return m_messageCount; }
    void setMessageCount(qint64 messageCount) { m_messageCount = messageCount; }

    // User keys to be notified of the chat (invited operators).
    QStringList getUserToNotification() const { return m_userToNotification; }
    void setUserToNotification(const QStringList &userToNotification)
    {
        m_userToNotification = userToNotification;
    }

    // Invalid when the database holds none.
    QDateTime getStartedAt() const { return m_startedAt.toDateTime(); }
    void setStartedAt(const QDateTime &startedAt) { m_startedAt = Timestamp(startedAt); }
    void setStartedAt(const Timestamp &startedAt) { m_startedAt = startedAt; }

    // User keys of the operators in the chat; may hold empty gaps.
    QStringList getOperators() const { return m_operators; }
    void setOperators(const QStringList &operators) { m_operators = operators; }

    QMap<QString, QString> getUserActivity() const { return m_userActivity; }
    void setUserActivity(const QMap<QString, QString> &userActivity)
    {
        m_userActivity = userActivity;
    }

    // What each participant is typing, by user key.
    QMap<QString, QString> getUserText() const { return m_userText; }
    void setUserText(const QMap<QString, QString> &userText) { m_userText = userText; }

    // User key of the visitor.
    QString getVisitor() const { return m_visitor; }
    void setVisitor(const QString &visitor) { m_visitor = visitor; }

    int getUnreadCount() const { return m_unreadCount; }
    void setUnreadCount(int unreadCount) { m_unreadCount = unreadCount; }

    // Text being typed by the given user; empty when none.
    QString getUserText(const QString &userKey) const { return m_userText.value(userKey); }

    // Puts the key at the index, growing the list with empty entries as needed. Negative or
    // absurdly large indices (malformed data) are ignored.
    void setOperator(int index, const QString &userKey);
    void removeOperator(int index);
    void clearOperators() { m_operators.clear(); }

    // Order of the chat lists: negative when this chat comes before the other. See the .cpp.
    int compareTo(const FirebaseChat &other) const;

    bool operator==(const FirebaseChat &other) const
    {
        return m_id == other.m_id && m_apiId == other.m_apiId
               && m_lastMessage == other.m_lastMessage
               && m_noAnswerRequired == other.m_noAnswerRequired
               && m_chatStatus == other.m_chatStatus && m_robot == other.m_robot
               && m_widgetId == other.m_widgetId && m_createdAt == other.m_createdAt
               && m_link == other.m_link && m_visitorBlocked == other.m_visitorBlocked
               && m_messageTarget == other.m_messageTarget && m_messageCount == other.m_messageCount
               && m_userToNotification == other.m_userToNotification
               && m_startedAt == other.m_startedAt && m_operators == other.m_operators
               && m_userActivity == other.m_userActivity && m_userText == other.m_userText
               && m_visitor == other.m_visitor && m_unreadCount == other.m_unreadCount;
    }
    bool operator!=(const FirebaseChat &other) const { return !(*this == other); }

private:
    QString m_id;
    int m_apiId = 0;
    FirebaseLastMessage m_lastMessage;
    bool m_noAnswerRequired = false;
    QString m_chatStatus;
    QString m_robot;
    qint64 m_widgetId = 0;
    Timestamp m_createdAt;
    QString m_link;
    bool m_visitorBlocked = false;
    QString m_messageTarget;
    qint64 m_messageCount = 0;
    QStringList m_userToNotification;
    Timestamp m_startedAt;
    QStringList m_operators;
    QMap<QString, QString> m_userActivity;
    QMap<QString, QString> m_userText;
    QString m_visitor;
    int m_unreadCount = 0;
};

Q_DECLARE_METATYPE(FirebaseChat)
Q_DECLARE_METATYPE(QList<FirebaseChat>)
