#include "util/linkpreviewparser.h"

#include <QHash>
#include <QTextCodec>
#include <QTextDocumentFragment>

namespace {

// A tag longer than this is no tag a page writes for its card; it is skipped, not read.
constexpr int kMaxTag = 8192;
// What is kept of each value: the card shows two lines at most.
constexpr int kMaxTitle = 300;
constexpr int kMaxDescription = 600;
constexpr int kMaxSite = 100;

bool isSpace(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n')
           || c == QLatin1Char('\r') || c == QLatin1Char('\f');
}

// What comes before the first ";" of a header value, trimmed.
QByteArray headerValue(const QByteArray &value)
{
    const int semicolon = value.indexOf(';');
    return (semicolon < 0 ? value : value.left(semicolon)).trimmed();
}

QTextCodec *codecFor(const QByteArray &bytes, const QByteArray &contentType)
{
    const int at = contentType.toLower().indexOf("charset=");
    if (at >= 0) {
        QByteArray name = headerValue(contentType.mid(at + 8));
        if (name.startsWith('"') || name.startsWith('\''))
            name = name.mid(1, name.size() - 2);
        if (QTextCodec *codec = QTextCodec::codecForName(name))
            return codec;
    }
    // A byte order mark, else the page's <meta charset>, else UTF-8.
    return QTextCodec::codecForHtml(bytes, QTextCodec::codecForName("UTF-8"));
}

// Where the tag whose inside starts at `from` ends (its ">"), a quoted attribute value read
// whole as browsers read it; -1 when the text ends first.
int tagEnd(const QString &text, int from)
{
    const int size = text.size();
    bool afterEquals = false;
    for (int i = from; i < size; ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('>'))
            return i;
        if (c == QLatin1Char('=')) {
            afterEquals = true;
        } else if (afterEquals && (c == QLatin1Char('"') || c == QLatin1Char('\''))) {
            i = text.indexOf(c, i + 1);
            if (i < 0)
                return -1;
            afterEquals = false;
        } else if (!isSpace(c)) {
            afterEquals = false;
        }
    }
    return -1;
}

bool isNameChar(QChar c)
{
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z'))
           || (c >= QLatin1Char('A') && c <= QLatin1Char('Z'))
           || (c >= QLatin1Char('0') && c <= QLatin1Char('9'));
}

// The attributes of a tag's inside ("property=og:title content='…'"), names in lower case, the
// first of a name kept. One pass: every character is looked at once.
QHash<QString, QString> attributes(const QStringRef &tag)
{
    QHash<QString, QString> result;
    const int size = tag.size();
    int i = 0;
    while (i < size) {
        while (i < size && (isSpace(tag.at(i)) || tag.at(i) == QLatin1Char('/')))
            ++i;
        const int nameStart = i;
        while (i < size && !isSpace(tag.at(i)) && tag.at(i) != QLatin1Char('=')
               && tag.at(i) != QLatin1Char('/'))
            ++i;
        if (i == nameStart) {
            ++i;
            continue;
        }
        const QString name = tag.mid(nameStart, i - nameStart).toString().toLower();
        while (i < size && isSpace(tag.at(i)))
            ++i;
        QString value;
        if (i < size && tag.at(i) == QLatin1Char('=')) {
            ++i;
            while (i < size && isSpace(tag.at(i)))
                ++i;
            if (i < size && (tag.at(i) == QLatin1Char('"') || tag.at(i) == QLatin1Char('\''))) {
                const QChar quote = tag.at(i);
                int end = tag.indexOf(quote, i + 1);
                if (end < 0)
                    end = size;
                value = tag.mid(i + 1, end - i - 1).toString();
                i = end + 1;
            } else {
                const int valueStart = i;
                while (i < size && !isSpace(tag.at(i)))
                    ++i;
                value = tag.mid(valueStart, i - valueStart).toString();
            }
        }
        if (!result.contains(name))
            result.insert(name, value);
    }
    return result;
}

QString limited(const QString &text, int length)
{
    return text.size() > length ? text.left(length - 1) + QChar(0x2026) : text;
}

} // namespace

bool LinkPreviewParser::isHtml(const QByteArray &contentType)
{
    const QByteArray type = headerValue(contentType).toLower();
    return type.isEmpty() || type == "text/html" || type == "application/xhtml+xml";
}

QString LinkPreviewParser::plainText(const QString &text)
{
    // Values are short; one that is not is cut before the document parses it. Titles and
    // attribute values hold no tags, so a "<" in them is text.
    QString escaped = text.left(4 * kMaxDescription);
    escaped.replace(QLatin1Char('<'), QLatin1String("&lt;"));
    QString plain = QTextDocumentFragment::fromHtml(escaped).toPlainText();
    for (QChar &c : plain) {
        if (c == QChar::Nbsp || c.category() == QChar::Other_Control)
            c = QLatin1Char(' ');
    }
    return plain.simplified();
}

LinkPreview LinkPreviewParser::parse(const QByteArray &bytes,
                                     const QByteArray &contentType,
                                     const QUrl &page)
{
    const QString text = codecFor(bytes, contentType)->toUnicode(bytes);
    const int size = text.size();
    QHash<QString, QString> meta;
    QString title;
    // One pass over the head, tag by tag as a browser reads them: comments, scripts and styles
    // are stepped over whole, and the head's end (or the body's start) ends the reading.
    int pos = 0;
    while ((pos = text.indexOf(QLatin1Char('<'), pos)) >= 0 && pos + 1 < size) {
        if (text.midRef(pos + 1, 3) == QLatin1String("!--")) {
            pos = text.indexOf(QLatin1String("-->"), pos + 4);
            if (pos < 0)
                break;
            pos += 3;
            continue;
        }
        const bool closing = text.at(pos + 1) == QLatin1Char('/');
        const int nameStart = pos + (closing ? 2 : 1);
        int nameEnd = nameStart;
        while (nameEnd < size && nameEnd - nameStart < 8 && isNameChar(text.at(nameEnd)))
            ++nameEnd;
        if (nameEnd == nameStart && text.midRef(nameStart, 1) != QLatin1String("!")) {
            // A "<" that opens no tag is text.
            ++pos;
            continue;
        }
        const QString name = text.mid(nameStart, nameEnd - nameStart).toLower();
        const int end = tagEnd(text, nameEnd);
        if (end < 0)
            break;
        pos = end + 1;
        if (closing) {
            if (name == QLatin1String("head"))
                break;
            continue;
        }
        if (name == QLatin1String("body"))
            break;
        if (name == QLatin1String("meta") && end - nameEnd < kMaxTag) {
            const QHash<QString, QString> tag = attributes(text.midRef(nameEnd, end - nameEnd));
            const QString key = (tag.contains(QStringLiteral("property"))
                                     ? tag.value(QStringLiteral("property"))
                                     : tag.value(QStringLiteral("name")))
                                    .toLower();
            if (!key.isEmpty() && !meta.contains(key) && tag.contains(QStringLiteral("content")))
                meta.insert(key, tag.value(QStringLiteral("content")));
        } else if (name == QLatin1String("title") || name == QLatin1String("script")
                   || name == QLatin1String("style")) {
            // Their insides are text up to their closing tag, never tags.
            const QString closingTag = QStringLiteral("</") + name;
            const int close = text.indexOf(closingTag, pos, Qt::CaseInsensitive);
            if (name == QLatin1String("title") && title.isNull())
                title = text.mid(pos, qMin(close < 0 ? size - pos : close - pos, 4 * kMaxTitle));
            if (close < 0)
                break;
            pos = close;
        }
    }

    const auto first = [&meta](std::initializer_list<const char *> keys) {
        for (const char *key : keys) {
            const QString value = plainText(meta.value(QLatin1String(key)));
            if (!value.isEmpty())
                return value;
        }
        return QString();
    };
    QString host = page.host();
    if (host.startsWith(QLatin1String("www.")))
        host.remove(0, 4);

    LinkPreview preview;
    preview.setUrl(page);
    QString heading = first({"og:title"});
    if (heading.isEmpty())
        heading = plainText(title);
    if (heading.isEmpty())
        heading = host;
    preview.setTitle(limited(heading, kMaxTitle));
    preview.setDescription(limited(first({"og:description", "description"}), kMaxDescription));
    const QString site = first({"og:site_name"});
    preview.setSite(limited(site.isEmpty() ? host : site, kMaxSite));
    const QString image = first({"og:image", "og:image:url", "og:image:secure_url"});
    if (!image.isEmpty()) {
        const QUrl resolved = page.resolved(QUrl(image));
        if ((resolved.scheme() == QLatin1String("https")
             || resolved.scheme() == QLatin1String("http"))
            && !resolved.host().isEmpty())
            preview.setImage(resolved);
    }
    return preview;
}
