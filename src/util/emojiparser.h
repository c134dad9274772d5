#pragma once

#include <QString>
#include <QStringList>

// Emoji code points of a plain message text to and from the 20 x 20 pictures shown in rich
// text. Which code points count as emoji is a bit test, not a table: every code point with
// bits 12 to 16 set (U+1F000 to U+1FFFF) becomes a picture, joiners and variation selectors
// are dropped, and everything else stays text.
class EmojiParser
{
public:
    // Each emoji becomes "<img width=20 height=20 src=':/emoji/resources/emoji/emoji_<hex>'/>".
    static QString replace(const QString &text);
    // The same walk as replace(), with "a ai" in place of each picture.
    static QString replaceWithTextEquivalent(const QString &text);
    // Each emoji picture of HTML exported by a Qt text widget becomes its code points again;
    // everything around the pictures is left as it is.
    static QString restore(const QString &html);

    // "1f1f7_1f1fa" -> the string of those code points; a part that is not hexadecimal
    // gives U+0000.
    static QString getStringFromUnicodeString(const QString &name);
    // The code points named by the src="...emoji_<name>" attribute of one <img> tag, or an
    // empty string.
    static QString getUnicodeStringFromImage(const QString &imgTag);
    // The text pieces and <img> pieces of the HTML in order ("<img" and "/>" cut off).
    static QStringList splitTextFromImages(const QString &html);
};
