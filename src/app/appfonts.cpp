#include "app/appfonts.h"

#include <QDir>
#include <QFont>
#include <QFontDatabase>
#include <QResource>

QStringList AppFonts::addResourceFonts()
{
    QStringList families;
    const QStringList entries = QDir(QStringLiteral(":/resources/fonts")).entryList();
    for (const QString &entry : entries) {
        const QString path = QStringLiteral(":/resources/fonts/") + entry;
        // An uncompressed resource is added where it lies in the program's image: reading it into
        // memory first cost more than the rest of the font's registration.
        const QResource resource(path);
        const int id = resource.isValid()
                               && resource.compressionAlgorithm() == QResource::NoCompression
                           ? QFontDatabase::addApplicationFontFromData(
                               QByteArray::fromRawData(reinterpret_cast<const char *>(
                                                           resource.data()),
                                                       int(resource.size())))
                           : QFontDatabase::addApplicationFont(path);
        if (id >= 0)
            families += QFontDatabase::applicationFontFamilies(id);
    }
    families.removeDuplicates();
    return families;
}

void AppFonts::installSubstitutions()
{
    // Each weight is its own family so that a request for "Museo Sans Cyrl 500" gets the medium
    // face whatever weight number comes with it.
    static const struct
    {
        const char *family;
        const char *substitute;
    } map[] = {
        {"Museo Sans Cyrl 100", "Inter Thin"},
        {"Museo Sans Cyrl 300", "Inter Light"},
        {"Museo Sans Cyrl 500", "Inter Medium"},
        {"Museo Sans Cyrl 700", "Inter Bold"},
        {"Museo Sans Cyrl 900", "Inter Black"},
        {"Museo Sans Cyrl", "Inter"},
    };
    for (const auto &entry : map)
        QFont::insertSubstitution(QLatin1String(entry.family), QLatin1String(entry.substitute));
}
