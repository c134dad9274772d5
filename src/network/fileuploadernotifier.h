#pragma once

#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QString>

// The progress and end of one upload, for whoever shows it. The uploader deletes it later once
// the upload has ended or been canceled, so a holder keeps it in a QPointer.
class FileUploaderNotifier : public QObject
{
    Q_OBJECT

public:
    FileUploaderNotifier(const QString &chatId,
                         const QString &filePath,
                         const QString &fileName,
                         QObject *parent = nullptr);

    QString getChatId() const { return m_chatId; }
    // Empty for a pasted image, which has no file.
    QString getFilePath() const { return m_filePath; }
    QString getFileName() const { return m_fileName; }
    qint64 getFilesize() const { return m_fileSize; }
    void setFilesize(qint64 size) { m_fileSize = size; }
    QNetworkReply *getReply() const { return m_reply; }
    void setReply(QNetworkReply *reply) { m_reply = reply; }
    bool isCanceled() const { return m_canceled; }

public slots:
    void notifyUploadProgress(qint64 bytesSent, qint64 bytesTotal);
    void notifyUploadFinished();
    void cancel();

signals:
    void uploadProgress(qint64 bytesSent, qint64 bytesTotal);
    void finished();
    void canceled();

private:
    QString m_chatId;
    QString m_filePath;
    QString m_fileName;
    qint64 m_fileSize = 0;
    QPointer<QNetworkReply> m_reply;
    bool m_canceled = false;
};
