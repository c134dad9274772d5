#pragma once

#include <QByteArray>
#include <QString>

// The data directory holds the signing secret, keys and every account's data: it and its files
// are the owner's alone from the moment they exist, and a file is replaced whole or not at all.
class PrivateFiles
{
public:
    // Creates the directory (and its parents) if needed and restricts it to its owner.
    static bool makeDirectory(const QString &path, QString *error);
    // Writes to a temporary file that is owner-only before it holds a byte, then renames it.
    static bool write(const QString &fileName, const QByteArray &data, QString *error);
};
