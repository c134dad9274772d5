#include "app/consoleplugin.h"

#include <QCoreApplication>
#include <QDebug>
#include <QPluginLoader>

QObject *ConsolePlugin::load(const QString &name)
{
    const QString program = QCoreApplication::applicationDirPath();
    const QStringList directories = {program,
                                     program + QStringLiteral("/../PlugIns"),
                                     QStringLiteral(TALLYRA_PLUGIN_DIR)};
    QString error;
    for (const QString &directory : directories) {
        QPluginLoader loader(directory + QLatin1Char('/') + name);
        if (QObject *root = loader.instance())
            return root;
        error = loader.errorString();
    }
    qWarning() << "NO PLUGIN" << name << error;
    return nullptr;
}
