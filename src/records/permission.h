#pragma once

#include <QList>
#include <QMetaType>

// One function of the service granted to an operator, as the sign-in reply lists it.
class Permission
{
public:
    int getId() const { return m_id; }
    void setId(int id) { m_id = id; }

    int getFunctionId() const { return m_functionId; }
    void setFunctionId(int functionId) { m_functionId = functionId; }

    int getUserId() const { return m_userId; }
    void setUserId(int userId) { m_userId = userId; }

    bool operator==(const Permission &other) const
    {
        return m_id == other.m_id && m_functionId == other.m_functionId
               && m_userId == other.m_userId;
    }
    bool operator!=(const Permission &other) const { return !(*this == other); }

private:
    int m_id = 0;
    int m_functionId = 0;
    int m_userId = 0;
};

Q_DECLARE_METATYPE(Permission)
