#include "network/fileuploader.h"

#include "app/appsettings.h"
#include "network/fileuploadernotifier.h"
#include "util/jsonparser.h"

#include <QBuffer>
#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QHttpMultiPart>
#include <QImage>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>

namespace {

// A transfer that moves no byte for this long is aborted, so a dead network ends the upload.
constexpr int kTransferTimeoutMs = 30000;

// The name as a quoted header parameter: quotes and line breaks escaped as browsers do, so a
// name can never end the parameter or the header.
QByteArray quotedName(const QString &name)
{
    QByteArray bytes = name.toUtf8();
    bytes.replace('"', "%22").replace('\r', "%0D").replace('\n', "%0A");
    return bytes;
}

} // namespace

FileUploader *FileUploader::getInstance()
{
    static FileUploader *uploader = new FileUploader();
    return uploader;
}

FileUploader::FileUploader()
    : m_apiHost(AppSettings::instance()->getApiHost())
    , m_manager(this, [](QNetworkAccessManager *manager) {
        manager->setTransferTimeout(kTransferTimeoutMs);
    })
{}

FileUploaderNotifier *FileUploader::uploadFile(const QString &chatId, const QString &filePath)
{
    const QFileInfo info(filePath);
    if (!info.isFile())
        return nullptr;
    auto *form = new QHttpMultiPart(QHttpMultiPart::FormDataType);
    auto *file = new QFile(filePath, form);
    if (!file->open(QIODevice::ReadOnly)) {
        delete form;
        return nullptr;
    }
    return upload(chatId, filePath, info.fileName(), file->size(), file, form);
}

FileUploaderNotifier *FileUploader::uploadImage(const QString &chatId, const QImage &image)
{
    if (image.isNull())
        return nullptr;
    auto *form = new QHttpMultiPart(QHttpMultiPart::FormDataType);
    auto *buffer = new QBuffer(form);
    buffer->open(QIODevice::ReadWrite);
    image.save(buffer, "PNG");
    buffer->seek(0);
    const QString name = QStringLiteral("image-")
                         + QDateTime::currentDateTime().toString(
                             QStringLiteral("yyyy_MM_dd_hh_mm_ss"))
                         + QStringLiteral(".png");
    return upload(chatId, QString(), name, buffer->size(), buffer, form);
}

FileUploaderNotifier *FileUploader::upload(const QString &chatId,
                                           const QString &filePath,
                                           const QString &fileName,
                                           qint64 size,
                                           QIODevice *body,
                                           QHttpMultiPart *form)
{
    QHttpPart filePart;
    filePart.setRawHeader("Content-Disposition",
                          "form-data; name=\"file\"; filename=\"" + quotedName(fileName) + '"');
    filePart.setRawHeader("Content-Type", "application/octet-stream");
    filePart.setBodyDevice(body);
    form->append(filePart);
    QHttpPart chatPart;
    chatPart.setRawHeader("Content-Disposition", "form-data; name=\"chat_id\"");
    chatPart.setBody(chatId.toUtf8());
    form->append(chatPart);

    QNetworkRequest request(QUrl(QStringLiteral("https://") + m_apiHost
                                 + QStringLiteral("/api/chat/client/upload_file/")));
    request.setRawHeader("Content-Type", "multipart/form-data; boundary=" + form->boundary());
    if (!m_token.isEmpty())
        request.setRawHeader("Authorization", m_token);
    QNetworkReply *reply = m_manager->post(request, form);
    form->setParent(reply);

    auto *notifier = new FileUploaderNotifier(chatId, filePath, fileName, this);
    notifier->setFilesize(size);
    notifier->setReply(reply);
    connect(reply,
            &QNetworkReply::uploadProgress,
            notifier,
            &FileUploaderNotifier::notifyUploadProgress);
    connect(reply, &QNetworkReply::finished, notifier, &FileUploaderNotifier::notifyUploadFinished);
    connect(reply, &QNetworkReply::finished, this, &FileUploader::onFileUploaded);
    connect(notifier, &FileUploaderNotifier::canceled, reply, &QNetworkReply::abort);
    connect(notifier, &FileUploaderNotifier::canceled, this, &FileUploader::onFileUploadCanceled);
    m_uploads[chatId].append(notifier);
    return notifier;
}

QList<FileUploaderNotifier *> FileUploader::getUploadsForChat(const QString &chatId) const
{
    return m_uploads.value(chatId);
}

void FileUploader::onFileUploaded()
{
    auto *reply = qobject_cast<QNetworkReply *>(sender());
    FileUploaderNotifier *notifier = notifierForReply(reply);
    if (!notifier)
        return;
    forget(notifier);
    // A canceled upload, and one that never got an HTTP answer, store nothing.
    if (notifier->isCanceled())
        return;
    const bool answered = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
    const QJsonObject answer = JsonParser::fromString(QString::fromUtf8(reply->readAll()));
    qDebug() << "UPLOAD FINISHED";
    if (!answered) {
        qDebug() << "UPLOAD FAILED" << reply->error();
        return;
    }
    if (answer.contains(QLatin1String("errors"))
        || (answer.contains(QLatin1String("status_code"))
            && answer.value(QLatin1String("status_code")).toVariant().toLongLong() >= 400))
        return;
    emit uploaded(notifier->getChatId(),
                  notifier->getFileName(),
                  answer.value(QLatin1String("full_path")).toString(),
                  answer.value(QLatin1String("file_type")).toString(),
                  answer.value(QLatin1String("mini_path")).toString(),
                  answer.value(QLatin1String("file_size")).toVariant().toLongLong());
}

void FileUploader::onFileUploadCanceled()
{
    if (auto *notifier = qobject_cast<FileUploaderNotifier *>(sender()))
        forget(notifier);
}

FileUploaderNotifier *FileUploader::notifierForReply(QObject *reply) const
{
    if (!reply)
        return nullptr;
    for (const QList<FileUploaderNotifier *> &uploads : m_uploads) {
        for (FileUploaderNotifier *notifier : uploads) {
            if (notifier->getReply() == reply)
                return notifier;
        }
    }
    return nullptr;
}

void FileUploader::forget(FileUploaderNotifier *notifier)
{
    const auto found = m_uploads.find(notifier->getChatId());
    if (found == m_uploads.end() || !found->removeOne(notifier))
        return;
    if (found->isEmpty())
        m_uploads.erase(found);
    if (QNetworkReply *reply = notifier->getReply())
        reply->deleteLater();
    notifier->deleteLater();
}
