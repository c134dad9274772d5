#pragma once

#include <QHash>
#include <QString>

// An operator's name, picture and position on one widget, as the history search gives it.
class ApiChatHistoryUserAlias
{
public:
    QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    QString getPhoto() const { return m_photo; }
    void setPhoto(const QString &photo) { m_photo = photo; }

    QString getPosition() const { return m_position; }
    void setPosition(const QString &position) { m_position = position; }

    bool operator==(const ApiChatHistoryUserAlias &other) const
    {
        return m_name == other.m_name && m_photo == other.m_photo && m_position == other.m_position;
    }
    bool operator!=(const ApiChatHistoryUserAlias &other) const { return !(*this == other); }

private:
    QString m_name;
    QString m_photo;
    QString m_position;
};

// A participant of the dialogs that a history search returns.
class ApiChatHistoryUser
{
public:
    // The user's key in the realtime database.
    QString getId() const { return m_id; }
    void setId(const QString &id) { m_id = id; }

    qint64 getApiId() const { return m_apiId; }
    void setApiId(qint64 apiId) { m_apiId = apiId; }

    QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    QString getPhoto() const { return m_photo; }
    void setPhoto(const QString &photo) { m_photo = photo; }

    QString getPosition() const { return m_position; }
    void setPosition(const QString &position) { m_position = position; }

    QString getRole() const { return m_role; }
    void setRole(const QString &role) { m_role = role; }

    QString getIntegrationType() const { return m_integrationType; }
    void setIntegrationType(const QString &integrationType) { m_integrationType = integrationType; }

    // Keyed by widget id.
    QHash<qint64, ApiChatHistoryUserAlias> getAliases() const { return m_aliases; }
    void setAliases(const QHash<qint64, ApiChatHistoryUserAlias> &aliases) { m_aliases = aliases; }

    bool operator==(const ApiChatHistoryUser &other) const
    {
        return m_id == other.m_id && m_apiId == other.m_apiId && m_name == other.m_name
               && m_photo == other.m_photo && m_position == other.m_position
               && m_role == other.m_role && m_integrationType == other.m_integrationType
               && m_aliases == other.m_aliases;
    }
    bool operator!=(const ApiChatHistoryUser &other) const { return !(*this == other); }

private:
    QString m_id;
    qint64 m_apiId = 0;
    QString m_name;
    QString m_photo;
    QString m_position;
    QString m_role;
    QString m_integrationType;
    QHash<qint64, ApiChatHistoryUserAlias> m_aliases;
};
