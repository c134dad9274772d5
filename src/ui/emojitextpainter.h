#pragma once

#include <QString>

class QPainter;
class QRect;

// Draws one line of plain text with its emoji as the console's emoji pictures, cut with "…"
// where it does not fit: for list rows and strips, where a rich-text document per row would
// cost too much.
class EmojiTextPainter
{
public:
    // The painter's font and pen; the text is vertically centred in rect.
    static void drawLine(QPainter *painter, const QRect &rect, const QString &text);
};
