#pragma once

#include <QString>

// Links, e-mail addresses, line breaks and tags in message texts. The operations that take a
// non-const reference rewrite the text in place and return it as well.
class LinkParser
{
public:
    // Web addresses (with or without scheme, Cyrillic hosts allowed) and e-mail addresses to
    // anchors. A match holding "@" links to mailto:, one without scheme to https:// while its
    // visible text keeps no scheme.
    static QString replaceLinks(QString &text);
    // Every "(\S+@\S+)" to a mailto: anchor.
    static QString replaceEmails(QString &text);
    // The first address written with a scheme (http, https, ftp), or an empty string.
    static QString findFirstLink(const QString &text);
    // The first of findFirstLink's addresses that is written with http:// or https://, without
    // the punctuation of the sentence around it; an empty string when there is none.
    static QString findFirstWebLink(const QString &text);
    // Removes every tag.
    static QString cleanTextFromHtml(QString &text);
    // "<br />" to "\n".
    static QString replaceHtmlLineBreaks(QString &text);
    // "\n" to "<br />".
    static QString replaceLineBreaks(QString text);
    // Each <img .../> to "AA".
    static QString replaceImages(QString text);
};
