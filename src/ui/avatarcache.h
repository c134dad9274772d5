#pragma once

#include <QColor>
#include <QHash>
#include <QImage>
#include <QObject>
#include <QPixmap>
#include <QSet>
#include <QString>

// Round avatars for lists and cards: the photo once it is in memory, the person's initials on a
// colour of their own until then (and for good where a photo does not load). Photos come
// through ResourceManager's cache, fetched once per URL; avatarReady() tells the views to
// repaint.
class AvatarCache : public QObject
{
    Q_OBJECT

public:
    static AvatarCache *instance();

    // A round picture of size × size device-independent pixels.
    QPixmap avatar(const QString &photoUrl, const QString &name, int size, qreal dpr = 1.0);
    // "Иван Петров" -> "ИП", "Гость 4821" -> "Г4", "" -> "?".
    static QString initials(const QString &name);
    static QColor colorFor(const QString &name);

signals:
    void avatarReady(QString photoUrl);

private:
    explicit AvatarCache(QObject *parent = nullptr);
    void fetch(const QString &url);

    QHash<QString, QImage> m_photos;
    QSet<QString> m_failed;
    QSet<QString> m_fetching;
    // Round pixmaps made, by URL or name, size and scale.
    QHash<QString, QPixmap> m_rounded;
};
