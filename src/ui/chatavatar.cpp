#include "ui/chatavatar.h"

#include <QPainter>
#include <QPainterPath>

QString ChatAvatar::initials(const QString &name)
{
    QString letters;
    const QStringList words = name.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString &word : words) {
        if (letters.size() < 2 && word.at(0).isLetterOrNumber())
            letters += word.at(0).toUpper();
    }
    return letters.isEmpty() ? QStringLiteral("?") : letters;
}

QPixmap ChatAvatar::paint(
    const QString &name, const QImage &photo, int size, bool online, qreal ratio)
{
    // The mockup's avatar colours; the name picks one so that a person keeps theirs.
    static const QColor colours[] = {QColor(0xf0, 0x8c, 0x4a),
                                     QColor(0x2b, 0xb3, 0x9a),
                                     QColor(0x5b, 0x8d, 0xef),
                                     QColor(0xc4, 0x56, 0x8c),
                                     QColor(0x6b, 0x5b, 0xd2),
                                     QColor(0xe2, 0xa0, 0x3f)};
    QPixmap pixmap(QSize(size, size) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF circle(0, 0, size, size);
    if (!photo.isNull()) {
        QPainterPath path;
        path.addEllipse(circle);
        painter.setClipPath(path);
        painter.drawImage(circle,
                          photo.scaled(QSize(size, size) * ratio,
                                       Qt::KeepAspectRatioByExpanding,
                                       Qt::SmoothTransformation));
        painter.setClipping(false);
    } else {
        painter.setPen(Qt::NoPen);
        painter.setBrush(colours[qHash(name) % (sizeof(colours) / sizeof(colours[0]))]);
        painter.drawEllipse(circle);
        QFont font = painter.font();
        font.setPixelSize(qMax(9, size * 2 / 5));
        font.setBold(true);
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(circle, Qt::AlignCenter, initials(name));
    }
    if (online) {
        const qreal dot = qMax(8.0, size / 4.0);
        painter.setPen(QPen(Qt::white, 2));
        painter.setBrush(QColor(0x21, 0xc1, 0x7a));
        painter.drawEllipse(QRectF(size - dot, size - dot, dot - 1, dot - 1));
    }
    return pixmap;
}
