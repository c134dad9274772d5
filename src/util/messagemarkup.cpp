#include "util/messagemarkup.h"

#include "util/emojiparser.h"
#include "util/linkparser.h"

MessageMarkup MessageMarkup::fromMessage(const QString &text, bool isPlainText)
{
    // Escaping comes first so that the tags added by the later steps survive; emoji come
    // before links so that a link stops at a picture's "<".
    QString html = EmojiParser::replace(isPlainText ? text.toHtmlEscaped() : text);
    LinkParser::replaceLinks(html);

    QString plain;
    if (isPlainText) {
        plain = EmojiParser::replaceWithTextEquivalent(text);
    } else {
        plain = text;
        plain = LinkParser::replaceImages(LinkParser::replaceHtmlLineBreaks(plain));
    }

    MessageMarkup markup;
    markup.html = LinkParser::replaceLineBreaks(html);
    markup.plainLines = plain.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return markup;
}
