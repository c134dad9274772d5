#pragma once

#include "network/lazynetworkaccess.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

class FileUploaderNotifier;
class QHttpMultiPart;
class QImage;
class QIODevice;
class QNetworkAccessManager;

// Sends files and pasted images into a chat as the service's multipart upload form and announces
// where the service stored them. Uploads still running are kept per chat, so that a chat view
// opened later can show them.
class FileUploader : public QObject
{
    Q_OBJECT

public:
    // Created on first use, with the API host of the application's settings.
    static FileUploader *getInstance();

    // The whole Authorization value: "bearer " and the token.
    void setToken(const QByteArray &token) { m_token = token; }

    // nullptr when there is no readable file at the path.
    FileUploaderNotifier *uploadFile(const QString &chatId, const QString &filePath);
    // Sends the image as a PNG named after the local time; nullptr for a null image.
    FileUploaderNotifier *uploadImage(const QString &chatId, const QImage &image);
    QList<FileUploaderNotifier *> getUploadsForChat(const QString &chatId) const;

public slots:
    void onFileUploaded();
    void onFileUploadCanceled();

signals:
    void uploaded(QString chatId,
                  QString fileName,
                  QString fullPath,
                  QString fileType,
                  QString miniPath,
                  qint64 size);

private:
    FileUploader();
    FileUploaderNotifier *upload(const QString &chatId,
                                 const QString &filePath,
                                 const QString &fileName,
                                 qint64 size,
                                 QIODevice *body,
                                 QHttpMultiPart *form);
    FileUploaderNotifier *notifierForReply(QObject *reply) const;
    // Takes the notifier out of its chat's list and deletes it and its reply later.
    void forget(FileUploaderNotifier *notifier);

    QString m_apiHost;
    LazyNetworkAccess m_manager;
    QByteArray m_token;
    QHash<QString, QList<FileUploaderNotifier *>> m_uploads;
};
