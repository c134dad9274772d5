#pragma once

#include "records/permission.h"

#include <QList>
#include <QMetaType>
#include <QString>

// The operator's profile as the service's sign-in reply gives it. The service and account ids
// are %1 and %2 of every realtime database path.
class UserInfo
{
public:
    int getId() const { return m_id; }
    void setId(int id) { m_id = id; }

    int getRole() const { return m_role; }
    void setRole(int role) { m_role = role; }

    QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    QString getSurname() const { return m_surname; }
    void setSurname(const QString &surname) { m_surname = surname; }

    QString getEmail() const { return m_email; }
    void setEmail(const QString &email) { m_email = email; }

    QString getPhone() const { return m_phone; }
    void setPhone(const QString &phone) { m_phone = phone; }

    QString getUserLogo() const { return m_userLogo; }
    void setUserLogo(const QString &userLogo) { m_userLogo = userLogo; }

    QString getProfession() const { return m_profession; }
    void setProfession(const QString &profession) { m_profession = profession; }

    int getServiceId() const { return m_serviceId; }
    void setServiceId(int serviceId) { m_serviceId = serviceId; }

    int getAccountId() const { return m_accountId; }
    void setAccountId(int accountId) { m_accountId = accountId; }

    QString getNameFull() const { return m_nameFull; }
    void setNameFull(const QString &nameFull) { m_nameFull = nameFull; }

    QString getLogoPath() const { return m_logoPath; }
    void setLogoPath(const QString &logoPath) { m_logoPath = logoPath; }

    bool getOnlineVisitorEnabled() const { return m_onlineVisitorEnabled; }
    void setOnlineVisitorEnabled(bool onlineVisitorEnabled)
    {
        m_onlineVisitorEnabled = onlineVisitorEnabled;
    }

    QList<Permission> getPermissions() const { return m_permissions; }
    void setPermissions(const QList<Permission> &permissions) { m_permissions = permissions; }

    bool operator==(const UserInfo &other) const
    {
        return m_id == other.m_id && m_role == other.m_role && m_name == other.m_name
               && m_surname == other.m_surname && m_email == other.m_email
               && m_phone == other.m_phone && m_userLogo == other.m_userLogo
               && m_profession == other.m_profession && m_serviceId == other.m_serviceId
               && m_accountId == other.m_accountId && m_nameFull == other.m_nameFull
               && m_logoPath == other.m_logoPath
               && m_onlineVisitorEnabled == other.m_onlineVisitorEnabled
               && m_permissions == other.m_permissions;
    }
    bool operator!=(const UserInfo &other) const { return !(*this == other); }

private:
    int m_id = 0;
    int m_role = 0;
    QString m_name;
    QString m_surname;
    QString m_email;
    QString m_phone;
    QString m_userLogo;
    QString m_profession;
    int m_serviceId = 0;
    int m_accountId = 0;
    QString m_nameFull;
    QString m_logoPath;
    bool m_onlineVisitorEnabled = false;
    QList<Permission> m_permissions;
};

Q_DECLARE_METATYPE(UserInfo)
