#pragma once

#include "records/linkpreview.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

// Reads a card out of the first bytes of a web page: the Open Graph tags (og:title,
// og:description, og:image, og:site_name), else the <title> and the host. Tolerant of broken
// markup and linear in the length of what it is given, however hostile.
class LinkPreviewParser
{
public:
    // `page` is the URL that answered (relative pictures resolve against it); `contentType` the
    // answer's Content-Type header, whose charset wins over the page's own; UTF-8 without either.
    // Empty when the bytes hold no title and the page has no host.
    static LinkPreview parse(const QByteArray &bytes,
                             const QByteArray &contentType,
                             const QUrl &page);

    // Whether a Content-Type names a page worth reading; an absent one is given a chance.
    static bool isHtml(const QByteArray &contentType);
    // A title's or an attribute's text: entities decoded and white space folded to single
    // spaces; a "<" stays text.
    static QString plainText(const QString &text);
};
