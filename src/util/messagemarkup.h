#pragma once

#include <QString>
#include <QStringList>

// The two forms in which the chat view holds a message: the rich text it shows and a plain copy
// kept beside it.
struct MessageMarkup
{
    // HTML for a text widget: emoji pictures, links and <br /> line breaks.
    QString html;
    // The non-empty lines of the plain copy, with emoji and pictures as placeholder text.
    QStringList plainLines;

    // `isPlainText` says whether `text` is a plain message (escaped before markup) or HTML
    // already (taken as it is).
    static MessageMarkup fromMessage(const QString &text, bool isPlainText);
};
