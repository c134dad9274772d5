#pragma once

#include "local/httprequest.h"
#include "local/httpresponse.h"

#include <QByteArray>
#include <QHash>
#include <QString>

class HttpRouter;

// The pictures and documents that the demo data links to, drawn in code on request: operators'
// and visitors' photos, service and account logos, pictures sent in chats (and their previews)
// and a few small documents. Any well-formed name gives a picture, its colours taken from the
// name, so data added later gets one too.
class DemoFiles
{
public:
    void install(HttpRouter &router);

    // "/files/avatars/NAME.png" and the like; what the demo data's links point at.
    static QString avatarPath(const QString &name);
    static QString logoPath(const QString &name);
    static QString picturePath(const QString &name);
    static QString previewPath(const QString &name);
    static QString documentPath(const QString &fileName);

    static QByteArray avatar(const QString &name);
    static QByteArray logo(const QString &name);
    // A picture, or its small preview when the name ends in "-mini".
    static QByteArray picture(const QString &name);
    // Empty when there is no document of that name.
    static QByteArray document(const QString &fileName);

private:
    enum class Kind { Avatar, Logo, Picture };

    HttpResponse servePng(Kind kind, const HttpRequest &request);
    HttpResponse serveDocument(const HttpRequest &request) const;

    // Drawn pictures by kind and name; few, and dropped together when too many pile up.
    QHash<QString, QByteArray> m_cache;
};
