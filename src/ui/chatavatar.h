#pragma once

#include <QImage>
#include <QPixmap>
#include <QString>

// The round picture of a person in the chat's header and the info panel: the photo when there
// is one, else the initials on a colour chosen by the name; with the online dot when online.
class ChatAvatar
{
public:
    static QPixmap paint(
        const QString &name, const QImage &photo, int size, bool online, qreal ratio = 1.0);
    static QString initials(const QString &name);
};
