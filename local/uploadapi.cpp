#include "local/uploadapi.h"

#include "local/databasepath.h"
#include "local/demofiles.h"
#include "local/httprouter.h"
#include "local/jsoncodec.h"
#include "local/multipartform.h"
#include "local/privatefiles.h"
#include "local/realtimedatabase.h"

#include <QBuffer>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QJsonDocument>
#include <QMimeDatabase>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QUrl>

#include <memory>

namespace {

const QString kFiles = QStringLiteral("/files/uploads/");
const QString kThumbnails = QStringLiteral("mini/");
// Pictures bigger than this are kept as plain files: decoding them would cost too much memory.
constexpr qint64 kMaxPixels = 16 * 1000 * 1000;

QString randomId()
{
    QString id;
    for (int i = 0; i < 4; ++i)
        id += QStringLiteral("%1").arg(QRandomGenerator::system()->generate(),
                                       8,
                                       16,
                                       QLatin1Char('0'));
    return id;
}

bool isId(const QString &text)
{
    if (text.size() != 32)
        return false;
    for (const QChar c : text) {
        if (!c.isDigit() && (c < QLatin1Char('a') || c > QLatin1Char('f')))
            return false;
    }
    return true;
}

// The name without any directory a client put in front, and without control characters.
QString cleanName(const QString &given)
{
    QString name = given.mid(
        qMax(given.lastIndexOf(QLatin1Char('/')), given.lastIndexOf(QLatin1Char('\\'))) + 1);
    name.remove(QRegularExpression(QStringLiteral("[\\x00-\\x1f\\x7f]")));
    name = name.trimmed().left(200);
    return name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..")
               ? QStringLiteral("file")
               : name;
}

// A picture's format and its thumbnail, or nothing when the bytes are not a picture we show.
QByteArray thumbnail(const QByteArray &data, QByteArray *format)
{
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    *format = reader.format();
    // Only formats that browsers show as plain pictures are served as pictures.
    static const QList<QByteArray> shown{"png", "jpeg", "gif", "bmp", "webp"};
    if (!shown.contains(*format) || !size.isValid()
        || qint64(size.width()) * size.height() > kMaxPixels)
        return {};
    QImage image = reader.read();
    if (image.isNull())
        return {};
    if (image.width() > UploadApi::thumbnailSide || image.height() > UploadApi::thumbnailSide)
        image = image.scaled(UploadApi::thumbnailSide,
                             UploadApi::thumbnailSide,
                             Qt::KeepAspectRatio,
                             Qt::SmoothTransformation);
    QByteArray png;
    QBuffer out(&png);
    out.open(QIODevice::WriteOnly);
    image.save(&out, "PNG");
    return png;
}

HttpResponse refusal(int statusCode, const QString &message)
{
    // The console reads an upload's answer whatever its HTTP status, and tells failure by it.
    return ChatApi::envelope(200, statusCode, message);
}

} // namespace

UploadApi::UploadApi(ChatApi *api)
    : m_api(api)
{}

void UploadApi::install(ChatApi *api, HttpRouter &router)
{
    const auto self = std::make_shared<UploadApi>(api);
    api->addAuthorized(router,
                       QStringLiteral("/api/chat/client/upload_file/"),
                       false,
                       "POST",
                       [self](const ChatApi::Caller &caller, const HttpRequest &request) {
                           return self->upload(caller, request);
                       });
    router.addPrefix(kFiles, [self](const HttpRequest &request) { return self->serve(request); });
}

QString UploadApi::directory() const
{
    return QDir(m_api->dataDirectory()).absoluteFilePath(QStringLiteral("uploads"));
}

HttpResponse UploadApi::upload(const ChatApi::Caller &caller, const HttpRequest &request) const
{
    // The form's own lines add little; anything far bigger than the limit is not read further.
    if (request.body.size() > maxFileBytes + MultipartForm::maxParts * MultipartForm::maxHeaderBytes)
        return refusal(413, QStringLiteral("Файл больше 20 МБ"));
    MultipartForm form;
    const MultipartForm::Part *file = nullptr;
    const MultipartForm::Part *chat = nullptr;
    if (!form.parse(request.header("content-type"), request.body)
        || !(file = form.part(QStringLiteral("file"))) || !(chat = form.part("chat_id")))
        return refusal(400, QStringLiteral("Некорректная форма загрузки"));
    if (file->body.size() > maxFileBytes)
        return refusal(413, QStringLiteral("Файл больше 20 МБ"));
    const QString chatId = QString::fromUtf8(chat->body).trimmed();
    DatabasePath chatPath;
    if (!DatabasePath::isValidKey(chatId)
        || !DatabasePath::parse(QStringLiteral("services/%1/accounts/%2/chats/%3")
                                    .arg(caller.holder.serviceId)
                                    .arg(caller.holder.accountId)
                                    .arg(chatId),
                                &chatPath)
        || !m_api->database()->value(chatPath).isObject())
        return refusal(404, QStringLiteral("Чат не найден"));

    const QString id = randomId();
    const QString name = cleanName(file->fileName);
    QByteArray format;
    const QByteArray mini = thumbnail(file->body, &format);
    const bool image = !mini.isEmpty();
    const QJsonObject
        meta{{"name", name},
             {"content_type",
              image ? QStringLiteral("image/") + QString::fromLatin1(format)
                    : QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension).name()},
             {"account_id", caller.holder.accountId},
             {"chat_id", chatId}};
    const QDir dir(directory());
    QString error;
    if (!PrivateFiles::makeDirectory(dir.path(), &error)
        || !PrivateFiles::write(dir.filePath(id), file->body, &error)
        || !PrivateFiles::write(dir.filePath(id + QStringLiteral(".json")),
                                QJsonDocument(meta).toJson(QJsonDocument::Compact),
                                &error)
        || (image
            && !PrivateFiles::write(dir.filePath(id + QStringLiteral("-mini.png")), mini, &error))) {
        qWarning().noquote() << error;
        return ChatApi::envelope(500, 500, QStringLiteral("Не удалось сохранить файл"));
    }

    // Addresses on the host the console reached us by.
    const QString base = (request.secure ? QStringLiteral("https://") : QStringLiteral("http://"))
                         + QString::fromLatin1(request.header("host"));
    const QString fullPath = base + kFiles + id + QLatin1Char('/')
                             + QString::fromLatin1(QUrl::toPercentEncoding(name));
    const QString miniPath = image ? QString(base + kFiles + kThumbnails + id + ".png")
                                   : QString(base + DemoFiles::logoPath("file"));
    return HttpResponse::json(200,
                              QJsonObject{{"full_path", fullPath},
                                          {"mini_path", miniPath},
                                          {"file_type", image ? "image" : "file"},
                                          {"file_size", file->body.size()},
                                          {"file_name", name}});
}

HttpResponse UploadApi::serve(const HttpRequest &request) const
{
    if (request.method != "GET" && request.method != "HEAD")
        return HttpResponse::text(405, "Method not allowed");
    const QString rest = request.path.mid(kFiles.size());
    const QDir dir(directory());
    if (rest.startsWith(kThumbnails) && rest.endsWith(QLatin1String(".png"))) {
        const QString id = rest.mid(kThumbnails.size()).chopped(4);
        QFile thumbnail(dir.filePath(id + QStringLiteral("-mini.png")));
        if (!isId(id) || !thumbnail.open(QIODevice::ReadOnly))
            return HttpResponse::text(404, "Not found");
        HttpResponse response(200);
        response.setBody(thumbnail.readAll(), "image/png");
        return response;
    }
    const QString id = rest.section(QLatin1Char('/'), 0, 0);
    QFile metaFile(dir.filePath(id + QStringLiteral(".json")));
    QFile file(dir.filePath(id));
    if (!isId(id) || !metaFile.open(QIODevice::ReadOnly) || !file.open(QIODevice::ReadOnly))
        return HttpResponse::text(404, "Not found");
    const QJsonObject meta = QJsonDocument::fromJson(metaFile.readAll()).object();
    const QString name = meta.value(QLatin1String("name")).toString();
    if (rest.mid(id.size() + 1) != name)
        return HttpResponse::text(404, "Not found");
    const QByteArray type = meta.value(QLatin1String("content_type")).toString().toLatin1();
    HttpResponse response(200);
    response.setBody(file.readAll(), type);
    // Only raster pictures are shown inline; anything else (an SVG or HTML page among them) is
    // saved, never run as a page of this host.
    static const QByteArrayList raster{"image/png",
                                       "image/jpeg",
                                       "image/gif",
                                       "image/bmp",
                                       "image/webp"};
    response.setHeader("Content-Disposition",
                       (raster.contains(type) ? "inline" : "attachment")
                           + QByteArray("; filename*=UTF-8''") + QUrl::toPercentEncoding(name));
    response.setHeader("X-Content-Type-Options", "nosniff");
    response.setHeader("Content-Security-Policy", "default-src 'none'; sandbox");
    return response;
}
