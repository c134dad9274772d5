#pragma once

#include <QString>
#include <QStringList>

// A location in the database tree as its list of keys; the root has none.
class DatabasePath
{
public:
    static constexpr int maxDepth = 32;
    static constexpr int maxKeyBytes = 768;

    DatabasePath() = default;
    explicit DatabasePath(const QStringList &keys);

    // Accepts "/a/b", "a/b/" and the like; empty keys from doubled slashes are skipped.
    static bool parse(const QString &text, DatabasePath *path, QString *error = nullptr);
    static bool isValidKey(const QString &key);

    const QStringList &keys() const { return m_keys; }
    int depth() const { return m_keys.size(); }
    bool isRoot() const { return m_keys.isEmpty(); }
    QString lastKey() const { return m_keys.isEmpty() ? QString() : m_keys.last(); }

    // "/a/b", the root "/".
    QString toString() const;
    // As the realtime protocol sends it: "a/b", the root "".
    QString toWireString() const;

    DatabasePath child(const QString &key) const;
    DatabasePath child(const DatabasePath &relative) const;
    DatabasePath parent() const;
    bool isAncestorOrSelf(const DatabasePath &other) const;
    bool overlaps(const DatabasePath &other) const;
    // Only meaningful when ancestor.isAncestorOrSelf(*this).
    DatabasePath relativeTo(const DatabasePath &ancestor) const;

    bool operator==(const DatabasePath &other) const { return m_keys == other.m_keys; }
    bool operator!=(const DatabasePath &other) const { return m_keys != other.m_keys; }
    bool operator<(const DatabasePath &other) const;

private:
    QStringList m_keys;
};
