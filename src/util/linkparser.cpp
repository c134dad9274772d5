#include "util/linkparser.h"

#include <QRegExp>
#include <QRegularExpression>

namespace {

// The address pattern, without its leading "\b": group 1 is the address, group 2 a web address
// (optional scheme, Cyrillic letters allowed), group 5 an e-mail address; a directly following
// "<" joins the match but not group 1.
#define LINK_WEB \
    R"((((https?|ftp)://)?[-a-zA-Z0-9а-яА-Я]{2,256}\.[a-zа-яА-Я]{2,6}[-a-zA-Z0-9а-яА-Я@:%\._\+~#'=/\?&;\[\]\(\)]{0,256}))"
#define LINK_EMAIL R"(([-a-zA-Z0-9\.]{2,256}@[-a-zA-Z0-9\.]{2,256}\.[a-z]{2,6}))"
#define LINK_BODY "(" LINK_WEB "|" LINK_EMAIL ")<?"

// The matches are those of the pattern under QRegExp's rules. QRegExp is too slow for every
// displayed message, and PCRE finds the same matches once two of those rules are spelt out:
// - QRegExp's "\b" judges UTF-16 units: letters, digits, marks and "_" are word characters,
//   a surrogate is not. PCRE's "\b" would know ASCII only, so the boundary is written out.
// - QRegExp takes the longest of the alternatives that match at a position, PCRE the first.
//   They differ only when the web address is cut at its 256-character limit while the e-mail
//   address goes on, so an e-mail match at the same place is tried as well.
#define WORD_CHAR R"([\p{L}\p{N}\p{M}_])"
#define ASTRAL R"([\x{10000}-\x{10ffff}])"
#define WORD_BOUNDARY \
    "(?:(?:(?<!" WORD_CHAR ")|(?<=" ASTRAL "))(?=" WORD_CHAR ")" \
    "|(?<=" WORD_CHAR ")(?<!" ASTRAL ")(?!" WORD_CHAR "))"

const QRegularExpression &linkPattern()
{
    static const QRegularExpression pattern(QStringLiteral(WORD_BOUNDARY LINK_BODY));
    return pattern;
}

// Used anchored just after an inserted anchor, where the text before is "</a>": a boundary
// there needs only a word character ahead.
const QRegularExpression &linkAfterAnchorPattern()
{
    static const QRegularExpression pattern(QStringLiteral("(?=" WORD_CHAR ")" LINK_BODY));
    return pattern;
}

const QRegularExpression &emailPattern()
{
    static const QRegularExpression pattern(QStringLiteral(LINK_EMAIL "<?"));
    return pattern;
}

#undef LINK_WEB
#undef LINK_EMAIL
#undef LINK_BODY
#undef WORD_CHAR
#undef ASTRAL
#undef WORD_BOUNDARY

// QRegularExpression refuses ill-formed UTF-16. An unpaired surrogate matches nothing in the
// link pattern and is no word character, as U+FFFD is; the stand-in keeps every position.
QString withPairedSurrogates(const QString &text)
{
    QString result = text;
    const int size = text.size();
    for (int i = 0; i < size; ++i) {
        const QChar c = text.at(i);
        if (!c.isSurrogate())
            continue;
        if (c.isHighSurrogate() && i + 1 < size && text.at(i + 1).isLowSurrogate()) {
            ++i;
            continue;
        }
        result[i] = QChar(QChar::ReplacementCharacter);
    }
    return result;
}

// A word character as QRegExp's "\b" sees one.
bool isWordUnit(QChar c)
{
    return !c.isSurrogate() && (c.isLetterOrNumber() || c.isMark() || c == QLatin1Char('_'));
}

// The smallest web match whose path reached its 256-character limit: host, ".", top level part.
constexpr int cutWebLength = 2 + 1 + 2 + 256;

void appendAnchor(QString &out, const QStringRef &address)
{
    out += QLatin1String("<a href=\"");
    if (address.contains(QLatin1Char('@')))
        out += QLatin1String("mailto:");
    // The same test as "^(https?|ftp)": "httpbin.org" counts as having a scheme.
    else if (!address.startsWith(QLatin1String("http")) && !address.startsWith(QLatin1String("ftp")))
        out += QLatin1String("https://");
    out += address;
    out += QLatin1String("\">");
    out += address;
    out += QLatin1String("</a>");
}

} // namespace

QString LinkParser::replaceLinks(QString &text)
{
    // Checked here once; QRegularExpression would otherwise check the whole text on every
    // search, which makes long texts quadratic.
    const QString subject = withPairedSurrogates(text);
    const QRegularExpression::MatchOptions unchecked
        = QRegularExpression::DontCheckSubjectStringMatchOption;
    const QRegularExpression::MatchOptions anchored = unchecked
                                                      | QRegularExpression::AnchoredMatchOption;
    const int size = subject.size();
    QString result;
    int copied = 0;
    int pos = 0;

    while (pos <= size) {
        QRegularExpressionMatch match;
        // The search goes on in the rewritten text, where "</a>" precedes `pos`. That differs
        // from the original text only when the address ended in a word character.
        if (copied > 0 && pos == copied && isWordUnit(subject.at(pos - 1))) {
            if (pos < size && isWordUnit(subject.at(pos)))
                match = linkAfterAnchorPattern().match(subject,
                                                       pos,
                                                       QRegularExpression::NormalMatch,
                                                       anchored);
            if (!match.hasMatch()) {
                const bool pair = pos + 1 < size && subject.at(pos).isHighSurrogate()
                                  && subject.at(pos + 1).isLowSurrogate();
                pos += pair ? 2 : 1;
                if (pos > size)
                    break;
            }
        }
        if (!match.hasMatch())
            match = linkPattern().match(subject, pos, QRegularExpression::NormalMatch, unchecked);
        if (!match.hasMatch())
            break;

        const int start = match.capturedStart();
        int length = match.capturedLength(1);
        if (match.capturedLength(2) >= cutWebLength) {
            const QRegularExpressionMatch email
                = emailPattern().match(subject, start, QRegularExpression::NormalMatch, anchored);
            if (email.hasMatch() && email.capturedLength() > match.capturedLength())
                length = email.capturedLength(1);
        }

        result += text.midRef(copied, start - copied);
        appendAnchor(result, subject.midRef(start, length));
        copied = start + length;
        pos = copied;
    }

    if (copied == 0)
        return text;
    result += text.midRef(copied);
    text = result;
    return text;
}

QString LinkParser::replaceEmails(QString &text)
{
    static const QRegExp pattern(QStringLiteral(R"((\S+@\S+))"));
    return text.replace(pattern, QStringLiteral("<a href=\"mailto:\\1\">\\1</a>"));
}

QString LinkParser::findFirstLink(const QString &text)
{
    static const QRegExp pattern(QStringLiteral(R"(((?:https?|ftp)://\S+)<*)"));
    QRegExp rx = pattern;
    if (rx.indexIn(text) < 0)
        return QString();
    return rx.cap(1);
}

QString LinkParser::findFirstWebLink(const QString &text)
{
    QStringRef rest(&text);
    for (;;) {
        const QString link = findFirstLink(rest.toString());
        if (link.isEmpty())
            return QString();
        if (link.startsWith(QLatin1String("http://"))
            || link.startsWith(QLatin1String("https://"))) {
            // A sentence goes on around an address: what closes it is not part of it, nor is
            // markup, which no address holds unescaped.
            static const QRegularExpression markup(QStringLiteral("[<>\"]"));
            QString address = link.left(link.indexOf(markup));
            static const QString closing = QStringLiteral(".,;:!?'\u2026\u00bb\u201c\u201d");
            while (!address.isEmpty()) {
                const QChar last = address.at(address.size() - 1);
                const bool unopened = (last == QLatin1Char(')')
                                       && address.count(QLatin1Char('(')) < address.count(last))
                                      || (last == QLatin1Char(']')
                                          && address.count(QLatin1Char('[')) < address.count(last));
                if (!closing.contains(last) && !unopened)
                    break;
                address.chop(1);
            }
            if (address.size() > link.indexOf(QLatin1String("://")) + 3)
                return address;
        }
        rest = rest.mid(rest.indexOf(link) + link.size());
    }
}

QString LinkParser::cleanTextFromHtml(QString &text)
{
    static const QRegExp pattern(QStringLiteral("<[^>]*>"));
    return text.remove(pattern);
}

QString LinkParser::replaceHtmlLineBreaks(QString &text)
{
    return text.replace(QLatin1String("<br />"), QLatin1String("\n"));
}

QString LinkParser::replaceLineBreaks(QString text)
{
    // Built in one pass: QString::replace() grows the text once per block of matches.
    const QLatin1String lineBreak("<br />");
    QString result;
    int copied = 0;
    for (int i = text.indexOf(QLatin1Char('\n')); i >= 0;
         i = text.indexOf(QLatin1Char('\n'), copied)) {
        if (result.isEmpty())
            result.reserve(text.size() + 64);
        result += text.midRef(copied, i - copied);
        result += lineBreak;
        copied = i + 1;
    }
    if (copied == 0)
        return text;
    result += text.midRef(copied);
    return result;
}

QString LinkParser::replaceImages(QString text)
{
    static const QRegExp pattern = [] {
        QRegExp rx(QStringLiteral("<img.+/>"));
        rx.setMinimal(true);
        return rx;
    }();
    return text.replace(pattern, QStringLiteral("AA"));
}
