#include "ui/avatarcache.h"

#include "repo/resourcemanager.h"

#include <QPainter>
#include <QPainterPath>
#include <QStringList>

namespace {

// Bounds the memory of many visitors' photos: the oldest go first once this many are kept.
constexpr int MaxRounded = 2000;

} // namespace

AvatarCache::AvatarCache(QObject *parent)
    : QObject(parent)
{}

AvatarCache *AvatarCache::instance()
{
    static AvatarCache *cache = new AvatarCache();
    return cache;
}

QString AvatarCache::initials(const QString &name)
{
    const QStringList words = name.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QString letters;
    for (const QString &word : words) {
        if (letters.size() == 2)
            break;
        letters += word.at(0).toUpper();
    }
    return letters.isEmpty() ? QStringLiteral("?") : letters;
}

QColor AvatarCache::colorFor(const QString &name)
{
    // Calm colours that white letters read well on.
    static const QColor colors[] = {QColor(0xf0, 0x8a, 0x4b),
                                    QColor(0x2a, 0xa7, 0x8d),
                                    QColor(0x5b, 0x8d, 0xef),
                                    QColor(0xc0, 0x5a, 0x8e),
                                    QColor(0x8b, 0x6c, 0xe0),
                                    QColor(0x3d, 0x9b, 0xc4),
                                    QColor(0xd9, 0x8f, 0x2b)};
    return colors[qHash(name) % (sizeof colors / sizeof colors[0])];
}

void AvatarCache::fetch(const QString &url)
{
    ResourceManager *resources = ResourceManager::getInstance();
    if (!resources || m_fetching.contains(url))
        return;
    m_fetching.insert(url);
    resources->getFileFromUrlAsync(url, this, [this, url](const QString &path) {
        m_fetching.remove(url);
        QImage image(path);
        if (path.isEmpty() || image.isNull()) {
            m_failed.insert(url);
            return;
        }
        m_photos.insert(url, image);
        emit avatarReady(url);
    });
}

QPixmap AvatarCache::avatar(const QString &photoUrl, const QString &name, int size, qreal dpr)
{
    const bool hasPhoto = !photoUrl.isEmpty() && m_photos.contains(photoUrl);
    if (!photoUrl.isEmpty() && !hasPhoto && !m_failed.contains(photoUrl)
        && photoUrl.startsWith(QLatin1String("http")))
        fetch(photoUrl);
    const QString key = QStringLiteral("%1|%2|%3")
                            .arg(hasPhoto ? photoUrl : QStringLiteral("#") + name)
                            .arg(size)
                            .arg(dpr);
    const auto found = m_rounded.constFind(key);
    if (found != m_rounded.constEnd())
        return found.value();

    QPixmap pixmap(QSize(size, size) * dpr);
    pixmap.setDevicePixelRatio(dpr);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QPainterPath circle;
    circle.addEllipse(QRectF(0, 0, size, size));
    if (hasPhoto) {
        painter.setClipPath(circle);
        const QImage photo = m_photos.value(photoUrl);
        const QSize side = photo.size().scaled(QSize(size, size) * dpr,
                                               Qt::KeepAspectRatioByExpanding);
        const QImage scaled = photo.scaled(side, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        painter.drawImage(QRectF(0, 0, size, size),
                          scaled,
                          QRectF((scaled.width() - size * dpr) / 2,
                                 (scaled.height() - size * dpr) / 2,
                                 size * dpr,
                                 size * dpr));
    } else {
        painter.fillPath(circle, colorFor(name));
        QFont font = painter.font();
        font.setPixelSize(qMax(8, size * 2 / 5));
        font.setBold(true);
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(QRectF(0, 0, size, size), Qt::AlignCenter, initials(name));
    }
    painter.end();
    if (m_rounded.size() >= MaxRounded)
        m_rounded.clear();
    m_rounded.insert(key, pixmap);
    return pixmap;
}
