#include "app/notificationbuilder.h"

#include "app/appsettings.h"

#include "ui/notificationwindow.h"

#include <QMediaPlayer>

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

void NotificationBuilder::playSound(QString name)
{
    if (name.isEmpty() || !AppSettings::instance()->soundsEnabled())
        return;
    // One player for the process, never freed: sounds are short and cut each other off.
    static QMediaPlayer *player = new QMediaPlayer();
    player->stop();
    player->setMedia(soundUrl(name));
    player->play();
}
