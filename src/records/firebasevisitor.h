#pragma once

#include "records/timestamp.h"

#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QString>

// One named value that the site passes along with a visitor.
class FirebaseVisitorParam
{
public:
    QString getKey() const { return m_key; }
    void setKey(const QString &key) { m_key = key; }

    QString getTitle() const { return m_title; }
    void setTitle(const QString &title) { m_title = title; }

    QString getValue() const { return m_value; }
    void setValue(const QString &value) { m_value = value; }

    bool operator==(const FirebaseVisitorParam &other) const
    {
        return m_key == other.m_key && m_title == other.m_title && m_value == other.m_value;
    }
    bool operator!=(const FirebaseVisitorParam &other) const { return !(*this == other); }

private:
    QString m_key;
    QString m_title;
    QString m_value;
};

// A visitor currently on one of the account's sites, under "visitors".
class FirebaseVisitor
{
public:
    QString getId() const { return m_id; }
    void setId(const QString &id) { m_id = id; }

    qint64 getApiVisitId() const { return m_apiVisitId; }
    void setApiVisitId(qint64 apiVisitId) { m_apiVisitId = apiVisitId; }

    qint64 getApiVisitorId() const { return m_apiVisitorId; }
    void setApiVisitorId(qint64 apiVisitorId) { m_apiVisitorId = apiVisitorId; }

    bool getAutoInvite() const { return m_autoInvite; }
    void setAutoInvite(bool autoInvite) { m_autoInvite = autoInvite; }

    bool getChatCreated() const { return m_chatCreated; }
    void setChatCreated(bool chatCreated) { m_chatCreated = chatCreated; }

    // Key of the visitor's chat, when there is one.
    QString getChatKey() const { return m_chatKey; }
    void setChatKey(const QString &chatKey) { m_chatKey = chatKey; }

    qint64 getChatWidgetId() const { return m_chatWidgetId; }
    void setChatWidgetId(qint64 chatWidgetId) { m_chatWidgetId = chatWidgetId; }

    QString getCurrentUrl() const { return m_currentUrl; }
    void setCurrentUrl(const QString &currentUrl) { m_currentUrl = currentUrl; }

    QString getEmail() const { return m_email; }
    void setEmail(const QString &email) { m_email = email; }

    qint64 getHits() const { return m_hits; }
    void setHits(qint64 hits) { m_hits = hits; }

    QDateTime getLastActiveAt() const { return m_lastActiveAt.toDateTime(); }
    void setLastActiveAt(const QDateTime &lastActiveAt)
    {
        m_lastActiveAt = Timestamp(lastActiveAt);
    }
    void setLastActiveAt(const Timestamp &lastActiveAt) { m_lastActiveAt = lastActiveAt; }

    QDateTime getCreatedAt() const { return m_createdAt.toDateTime(); }
    void setCreatedAt(const QDateTime &createdAt) { m_createdAt = Timestamp(createdAt); }
    void setCreatedAt(const Timestamp &createdAt) { m_createdAt = createdAt; }

    QString getLocation() const { return m_location; }
    void setLocation(const QString &location) { m_location = location; }

    QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    bool getOnline() const { return m_online; }
    void setOnline(bool online) { m_online = online; }

    QString getPhone() const { return m_phone; }
    void setPhone(const QString &phone) { m_phone = phone; }

    QString getPhoto() const { return m_photo; }
    void setPhoto(const QString &photo) { m_photo = photo; }

    QString getIp() const { return m_ip; }
    void setIp(const QString &ip) { m_ip = ip; }

    // The visitor has written at least once.
    bool getSaid() const { return m_said; }
    void setSaid(bool said) { m_said = said; }

    QList<FirebaseVisitorParam> getParams() const { return m_params; }
    void setParams(const QList<FirebaseVisitorParam> &params) { m_params = params; }

    bool operator==(const FirebaseVisitor &other) const
    {
        return m_id == other.m_id && m_apiVisitId == other.m_apiVisitId
               && m_apiVisitorId == other.m_apiVisitorId && m_autoInvite == other.m_autoInvite
               && m_chatCreated == other.m_chatCreated && m_chatKey == other.m_chatKey
               && m_chatWidgetId == other.m_chatWidgetId && m_currentUrl == other.m_currentUrl
               && m_email == other.m_email && m_hits == other.m_hits
               && m_lastActiveAt == other.m_lastActiveAt && m_createdAt == other.m_createdAt
               && m_location == other.m_location && m_name == other.m_name
               && m_online == other.m_online && m_phone == other.m_phone && m_photo == other.m_photo
               && m_ip == other.m_ip && m_said == other.m_said && m_params == other.m_params;
    }
    bool operator!=(const FirebaseVisitor &other) const { return !(*this == other); }

private:
    QString m_id;
    qint64 m_apiVisitId = 0;
    qint64 m_apiVisitorId = 0;
    bool m_autoInvite = false;
    bool m_chatCreated = false;
    QString m_chatKey;
    qint64 m_chatWidgetId = 0;
    QString m_currentUrl;
    QString m_email;
    qint64 m_hits = 0;
    Timestamp m_lastActiveAt;
    Timestamp m_createdAt;
    QString m_location;
    QString m_name;
    bool m_online = false;
    QString m_phone;
    QString m_photo;
    QString m_ip;
    bool m_said = false;
    QList<FirebaseVisitorParam> m_params;
};

Q_DECLARE_METATYPE(FirebaseVisitor)
