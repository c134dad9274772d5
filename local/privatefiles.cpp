#include "local/privatefiles.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

bool PrivateFiles::makeDirectory(const QString &path, QString *error)
{
    if (path.isEmpty() || !QDir().mkpath(path)
        || !QFile::setPermissions(path,
                                  QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                      | QFileDevice::ExeOwner)) {
        *error = QStringLiteral("cannot use the data directory \"%1\"").arg(path);
        return false;
    }
    return true;
}

bool PrivateFiles::write(const QString &fileName, const QByteArray &data, QString *error)
{
    QSaveFile file(fileName);
    // On an open QSaveFile this restricts the temporary file, which the commit renames.
    if (!file.open(QIODevice::WriteOnly)
        || !file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
        || file.write(data) != data.size() || !file.commit()) {
        *error = QStringLiteral("cannot write %1: %2").arg(fileName, file.errorString());
        return false;
    }
    return true;
}
