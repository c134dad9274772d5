#include "app/notificationbuilder.h"

#include "app/appsettings.h"
#include "app/soundplayer.h"
#include "ui/notificationwindow.h"

#include <QCoreApplication>
#include <QDebug>
#include <QPluginLoader>

namespace {

// The sound player plugin, loaded once: beside the program, in a macOS bundle's plug-ins, or in
// the build tree. Without it the console stays silent.
SoundPlayer *soundPlayer()
{
    static SoundPlayer *player = []() -> SoundPlayer * {
        const QString program = QCoreApplication::applicationDirPath();
        const QStringList directories = {program,
                                         program + QStringLiteral("/../PlugIns"),
                                         QStringLiteral(TALLYRA_PLUGIN_DIR)};
        QString error;
        for (const QString &directory : directories) {
            QPluginLoader loader(directory + QStringLiteral("/tallyra_sound"));
            if (auto *found = qobject_cast<SoundPlayer *>(loader.instance()))
                return found;
            error = loader.errorString();
        }
        qWarning() << "NO SOUND PLAYER:" << error;
        return nullptr;
    }();
    return player;
}

} // namespace

NotificationWindow *NotificationBuilder::buildNotification(const QString &title,
                                                           const QString &text,
                                                           const QString &photo,
                                                           int timeoutMs)
{
    auto *notice = new NotificationWindow(QString(), title, text, photo, timeoutMs);
    notice->show();
    return notice;
}

NotificationWindow *NotificationBuilder::buildNotification(const QString &title,
                                                           const QString &text,
                                                           int timeoutMs,
                                                           QString sound)
{
    auto *notice = new NotificationWindow(QString(), title, text, QString(), timeoutMs);
    notice->show();
    playSound(sound);
    return notice;
}

NotificationWindow *NotificationBuilder::buildChatNotification(const QString &chatId,
                                                               const QString &title,
                                                               const QString &text,
                                                               QString sound,
                                                               QString photo,
                                                               int timeoutMs)
{
    auto *notice = new NotificationWindow(chatId, title, text, photo, timeoutMs);
    notice->show();
    playSound(sound);
    return notice;
}

QUrl NotificationBuilder::soundUrl(const QString &name)
{
    return QUrl(QStringLiteral("qrc:/resources/sounds/%1.mp3").arg(name));
}

bool NotificationBuilder::soundPlayerAvailable()
{
    return soundPlayer() != nullptr;
}

void NotificationBuilder::playSound(QString name)
{
    if (name.isEmpty() || !AppSettings::instance()->soundsEnabled())
        return;
    if (SoundPlayer *player = soundPlayer())
        player->play(soundUrl(name));
}
