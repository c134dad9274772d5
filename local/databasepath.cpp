#include "local/databasepath.h"

DatabasePath::DatabasePath(const QStringList &keys)
    : m_keys(keys)
{}

bool DatabasePath::isValidKey(const QString &key)
{
    if (key.isEmpty() || key.toUtf8().size() > maxKeyBytes)
        return false;
    for (const QChar c : key) {
        const ushort u = c.unicode();
        if (u < 0x20 || u == 0x7f || u == '.' || u == '#' || u == '$' || u == '[' || u == ']'
            || u == '/')
            return false;
    }
    return true;
}

bool DatabasePath::parse(const QString &text, DatabasePath *path, QString *error)
{
    QStringList keys;
    for (const QString &key : text.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (!isValidKey(key)) {
            if (error)
                *error = QStringLiteral("Invalid path: Invalid token in path");
            return false;
        }
        keys.append(key);
    }
    if (keys.size() > maxDepth) {
        if (error)
            *error = QStringLiteral("Invalid path: Path too deep");
        return false;
    }
    *path = DatabasePath(keys);
    return true;
}

QString DatabasePath::toString() const
{
    return QLatin1Char('/') + m_keys.join(QLatin1Char('/'));
}

QString DatabasePath::toWireString() const
{
    return m_keys.join(QLatin1Char('/'));
}

DatabasePath DatabasePath::child(const QString &key) const
{
    DatabasePath result(*this);
    result.m_keys.append(key);
    return result;
}

DatabasePath DatabasePath::child(const DatabasePath &relative) const
{
    DatabasePath result(*this);
    result.m_keys.append(relative.m_keys);
    return result;
}

DatabasePath DatabasePath::parent() const
{
    DatabasePath result(*this);
    if (!result.m_keys.isEmpty())
        result.m_keys.removeLast();
    return result;
}

bool DatabasePath::isAncestorOrSelf(const DatabasePath &other) const
{
    if (m_keys.size() > other.m_keys.size())
        return false;
    for (int i = 0; i < m_keys.size(); ++i) {
        if (m_keys.at(i) != other.m_keys.at(i))
            return false;
    }
    return true;
}

bool DatabasePath::overlaps(const DatabasePath &other) const
{
    return isAncestorOrSelf(other) || other.isAncestorOrSelf(*this);
}

DatabasePath DatabasePath::relativeTo(const DatabasePath &ancestor) const
{
    return DatabasePath(m_keys.mid(ancestor.depth()));
}

bool DatabasePath::operator<(const DatabasePath &other) const
{
    return m_keys < other.m_keys;
}
