#pragma once

#include "records/timestamp.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QMetaType>
#include <QString>

// The name, picture and position under which an operator appears on one widget; the id is
// the widget id as text.
class FirebaseUserAlias
{
public:
    QString getId() const { return m_id; }
    void setId(const QString &id) { m_id = id; }

    QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    QString getPhoto() const { return m_photo; }
    void setPhoto(const QString &photo) { m_photo = photo; }

    QString getPosition() const { return m_position; }
    void setPosition(const QString &position) { m_position = position; }

    bool operator==(const FirebaseUserAlias &other) const
    {
        return m_id == other.m_id && m_name == other.m_name && m_photo == other.m_photo
               && m_position == other.m_position;
    }
    bool operator!=(const FirebaseUserAlias &other) const { return !(*this == other); }

private:
    QString m_id;
    QString m_name;
    QString m_photo;
    QString m_position;
};

// A participant of the account in the realtime database: an operator, or a visitor-side user
// (role "visitor").
class FirebaseUser
{
public:
    QString getId() const { return m_id; }
    void setId(const QString &id) { m_id = id; }

    // The operator's id in the REST service.
    int getApiId() const { return m_apiId; }
    void setApiId(int apiId) { m_apiId = apiId; }

    QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    bool getOnline() const { return m_online; }
    void setOnline(bool online) { m_online = online; }

    QString getPhoto() const { return m_photo; }
    void setPhoto(const QString &photo) { m_photo = photo; }

    QString getPosition() const { return m_position; }
    void setPosition(const QString &position) { m_position = position; }

    QString getRole() const { return m_role; }
    void setRole(const QString &role) { m_role = role; }

    bool getHasEmail() const { return m_hasEmail; }
    void setHasEmail(bool hasEmail) { m_hasEmail = hasEmail; }

    QString getIntegrationType() const { return m_integrationType; }
    void setIntegrationType(const QString &integrationType) { m_integrationType = integrationType; }

    bool getReauth() const { return m_reauth; }
    void setReauth(bool reauth) { m_reauth = reauth; }

    // Invalid when the database holds no time.
    QDateTime getLastActiveAt() const { return m_lastActiveAt.toDateTime(); }
    void setLastActiveAt(const QDateTime &lastActiveAt)
    {
        m_lastActiveAt = Timestamp(lastActiveAt);
    }
    void setLastActiveAt(const Timestamp &lastActiveAt) { m_lastActiveAt = lastActiveAt; }

    // Keyed by widget id as text.
    QMap<QString, FirebaseUserAlias> getAliases() const { return m_aliases; }
    void setAliases(const QMap<QString, FirebaseUserAlias> &aliases) { m_aliases = aliases; }

    // The page a visitor-side user is on; only merged updates ("visitUrl") carry it.
    QString getUrl() const { return m_url; }
    void setUrl(const QString &url) { m_url = url; }

    FirebaseUserAlias getAliasForWidget(qint64 widgetId) const
    {
        return m_aliases.value(QString::number(widgetId));
    }

    bool operator==(const FirebaseUser &other) const
    {
        return m_id == other.m_id && m_apiId == other.m_apiId && m_name == other.m_name
               && m_online == other.m_online && m_photo == other.m_photo
               && m_position == other.m_position && m_role == other.m_role
               && m_hasEmail == other.m_hasEmail && m_integrationType == other.m_integrationType
               && m_reauth == other.m_reauth && m_lastActiveAt == other.m_lastActiveAt
               && m_aliases == other.m_aliases && m_url == other.m_url;
    }
    bool operator!=(const FirebaseUser &other) const { return !(*this == other); }

private:
    QString m_id;
    int m_apiId = 0;
    QString m_name;
    bool m_online = false;
    QString m_photo;
    QString m_position;
    QString m_role;
    bool m_hasEmail = false;
    QString m_integrationType;
    bool m_reauth = false;
    Timestamp m_lastActiveAt;
    QMap<QString, FirebaseUserAlias> m_aliases;
    QString m_url;
};

Q_DECLARE_METATYPE(FirebaseUser)
Q_DECLARE_METATYPE(QList<FirebaseUser>)
