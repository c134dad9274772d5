#pragma once

#include <QString>
#include <QUrl>

class NotificationWindow;

// Creates desktop notices and plays the notification sounds. The caller connects the returned
// notice's clicked() signals; the notice owns itself once shown.
class NotificationBuilder
{
public:
    static NotificationWindow *buildNotification(const QString &title,
                                                 const QString &text,
                                                 const QString &photo,
                                                 int timeoutMs);
    static NotificationWindow *buildNotification(const QString &title,
                                                 const QString &text,
                                                 int timeoutMs,
                                                 QString sound);
    static NotificationWindow *buildChatNotification(const QString &chatId,
                                                     const QString &title,
                                                     const QString &text,
                                                     QString sound,
                                                     QString photo,
                                                     int timeoutMs);

    // Plays ":/resources/sounds/<name>.mp3"; a new sound cuts off the one playing.
    static void playSound(QString name);
    // The URL that playSound gives the player for a name.
    static QUrl soundUrl(const QString &name);
    // Whether the sound player plugin is there (loading it if not yet loaded).
    static bool soundPlayerAvailable();
};
