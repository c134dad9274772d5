#include "ui/emojitextpainter.h"

#include <QFontMetrics>
#include <QHash>
#include <QPainter>
#include <QPixmap>

namespace {

bool isEmoji(uint c)
{
    return c >= 0x1F000 && c <= 0x1FFFF;
}

bool isDropped(uint c)
{
    return c == 0x200D || (c >= 0xFE00 && c <= 0xFE0F);
}

QPixmap emojiPicture(uint c)
{
    static QHash<uint, QPixmap> pictures;
    auto found = pictures.find(c);
    if (found == pictures.end())
        found = pictures.insert(c,
                                QPixmap(QStringLiteral(":/emoji/resources/emoji/emoji_")
                                        + QString::number(c, 16)));
    return found.value();
}

} // namespace

void EmojiTextPainter::drawLine(QPainter *painter, const QRect &rect, const QString &text)
{
    const QFontMetrics metrics(painter->font());
    const int side = metrics.height();
    const int ellipsis = metrics.horizontalAdvance(QStringLiteral("…"));
    int x = rect.left();
    QString run;
    // Draws the text gathered so far; false when it had to be cut: the line is full.
    const auto flush = [&] {
        if (run.isEmpty())
            return true;
        const int room = rect.right() + 1 - x;
        const int width = metrics.horizontalAdvance(run);
        const QString shown = width <= room ? run : metrics.elidedText(run, Qt::ElideRight, room);
        painter->drawText(QRect(x, rect.top(), room, rect.height()),
                          Qt::AlignLeft | Qt::AlignVCenter,
                          shown);
        x += metrics.horizontalAdvance(shown);
        run.clear();
        return width <= room;
    };
    const QVector<uint> codePoints = text.toUcs4();
    for (uint c : codePoints) {
        if (isDropped(c))
            continue;
        if (!isEmoji(c)) {
            run += QString::fromUcs4(&c, 1);
            continue;
        }
        if (!flush())
            return;
        const QPixmap picture = emojiPicture(c);
        if (x + side > rect.right() + 1 - ellipsis) {
            painter->drawText(QRect(x, rect.top(), ellipsis, rect.height()),
                              Qt::AlignLeft | Qt::AlignVCenter,
                              QStringLiteral("…"));
            return;
        }
        if (!picture.isNull())
            painter->drawPixmap(QRect(x, rect.center().y() - side / 2, side, side), picture);
        x += side + 1;
    }
    flush();
}
