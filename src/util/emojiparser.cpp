#include "util/emojiparser.h"

#include <QRegularExpression>
#include <QVector>

namespace {

bool isEmoji(uint c)
{
    return (c & 0x1F000) == 0x1F000;
}

bool isDropped(uint c)
{
    // Zero-width joiner and variation selectors: the pictures stand alone.
    return c == 0x200D || (c >= 0xFE00 && c <= 0xFE0F);
}

// Walks the code points of `text` as QString::toUcs4() yields them (an unpaired surrogate
// reads as U+FFFD) and hands each emoji to `onEmoji`. Done on the UTF-16 text, copying the runs
// between changes, because every displayed message passes here.
template<typename OnEmoji>
QString walkCodePoints(const QString &text, OnEmoji onEmoji)
{
    QString out;
    const QChar *const begin = text.constData();
    const QChar *const end = begin + text.size();
    const QChar *run = begin;
    const QChar *p = begin;
    while (p < end) {
        const QChar *const here = p;
        uint c = p->unicode();
        ++p;
        if (QChar::isSurrogate(c)) {
            if (QChar::isHighSurrogate(c) && p < end && p->isLowSurrogate()) {
                c = QChar::surrogateToUcs4(ushort(c), p->unicode());
                ++p;
            } else {
                c = QChar::ReplacementCharacter;
            }
        } else if (c < 0x200D) {
            continue; // the common case: nothing to change
        }
        const bool emoji = isEmoji(c);
        const bool replacement = c == QChar::ReplacementCharacter && here->isSurrogate();
        if (!emoji && !isDropped(c) && !replacement)
            continue;

        if (out.isEmpty())
            out.reserve(text.size() + 64);
        out.append(run, int(here - run));
        if (emoji)
            onEmoji(out, c);
        else if (replacement)
            out += QChar(QChar::ReplacementCharacter);
        run = p;
    }
    if (run == begin)
        return text;
    out.append(run, int(end - run));
    return out;
}

} // namespace

QString EmojiParser::replace(const QString &text)
{
    // Emoji code points have five hexadecimal digits, so the tag's width-4 field never pads.
    return walkCodePoints(text, [](QString &out, uint c) {
        out += QLatin1String("<img width=20 height=20 src=':/emoji/resources/emoji/emoji_");
        out += QString::number(c, 16);
        out += QLatin1String("'/>");
    });
}

QString EmojiParser::replaceWithTextEquivalent(const QString &text)
{
    return walkCodePoints(text, [](QString &out, uint) { out += QLatin1String("a ai"); });
}

QString EmojiParser::restore(const QString &html)
{
    // Lazy and across line breaks: one match per tag of Qt's export, which quotes src with '"'.
    static const QRegularExpression pattern(QStringLiteral(R"re(<img.+emoji_(\S+)".+/>)re"),
                                            QRegularExpression::InvertedGreedinessOption
                                                | QRegularExpression::DotMatchesEverythingOption);

    QString result;
    int copied = 0;
    QRegularExpressionMatchIterator it = pattern.globalMatch(html);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        result += html.midRef(copied, match.capturedStart() - copied);
        result += getStringFromUnicodeString(match.captured(1));
        copied = match.capturedEnd();
    }
    if (copied == 0)
        return html;
    result += html.midRef(copied);
    return result;
}

QString EmojiParser::getStringFromUnicodeString(const QString &name)
{
    QString result;
    const QVector<QStringRef> parts = name.splitRef(QLatin1Char('_'), Qt::SkipEmptyParts);
    for (const QStringRef &part : parts) {
        const uint c = part.toUInt(nullptr, 16);
        result += QString::fromUcs4(&c, 1);
    }
    return result;
}

QString EmojiParser::getUnicodeStringFromImage(const QString &imgTag)
{
    const QLatin1String src("src=\"");
    const QLatin1String prefix("emoji_");
    const int srcPos = imgTag.indexOf(src);
    if (srcPos < 0)
        return QString();
    const int closing = imgTag.indexOf(QLatin1Char('"'), srcPos + src.size());
    const int prefixPos = imgTag.indexOf(prefix, srcPos);
    if (closing < 0 || prefixPos < 0)
        return QString();
    const int nameStart = prefixPos + prefix.size();
    // "emoji_" past the closing quote belongs to another attribute: no name in src.
    if (nameStart > closing)
        return QString();
    return getStringFromUnicodeString(imgTag.mid(nameStart, closing - nameStart));
}

QStringList EmojiParser::splitTextFromImages(const QString &html)
{
    QStringList pieces;
    const QStringList parts = html.split(QLatin1String("<img"), Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        const int close = part.indexOf(QLatin1String("/>"));
        if (close < 0) {
            pieces.append(part);
            continue;
        }
        pieces.append(part.left(close));
        if (close + 2 < part.size())
            pieces.append(part.mid(close + 2));
    }
    return pieces;
}
