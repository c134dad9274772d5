#include "app/notificationbuilder.h"

#include "app/appsettings.h"
#include "app/consoleplugin.h"
#include "app/soundplayer.h"
#include "ui/notificationwindow.h"

namespace {

// Loaded once; without the plug-in the console stays silent.
SoundPlayer *soundPlayer()
{
    static SoundPlayer *player = qobject_cast<SoundPlayer *>(
        ConsolePlugin::load(QStringLiteral("tallyra_sound")));
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
