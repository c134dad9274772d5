#pragma once

#include <QList>
#include <QMetaType>
#include <QString>

// One of the services a login belongs to, offered for choice at sign-in.
class FranchiseItem
{
public:
    FranchiseItem() = default;
    FranchiseItem(int id, const QString &name, const QString &picture)
        : m_name(name)
        , m_picture(picture)
        , m_id(id)
    {}

    QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    // The service's logo path ("logo_path").
    QString getPicture() const { return m_picture; }
    void setPicture(const QString &picture) { m_picture = picture; }

    int getId() const { return m_id; }
    void setId(int id) { m_id = id; }

    bool operator==(const FranchiseItem &other) const
    {
        return m_name == other.m_name && m_picture == other.m_picture && m_id == other.m_id;
    }
    bool operator!=(const FranchiseItem &other) const { return !(*this == other); }

private:
    QString m_name;
    QString m_picture;
    int m_id = 0;
};

Q_DECLARE_METATYPE(FranchiseItem)
Q_DECLARE_METATYPE(QList<FranchiseItem>)
