#include "network/fileuploadernotifier.h"

#include <QNetworkReply>

FileUploaderNotifier::FileUploaderNotifier(const QString &chatId,
                                           const QString &filePath,
                                           const QString &fileName,
                                           QObject *parent)
    : QObject(parent)
    , m_chatId(chatId)
    , m_filePath(filePath)
    , m_fileName(fileName)
{}

void FileUploaderNotifier::notifyUploadProgress(qint64 bytesSent, qint64 bytesTotal)
{
    // The finished reply reports (0, 0) as well, which says nothing of the progress.
    if (bytesTotal > 0)
        emit uploadProgress(bytesSent, bytesTotal);
}

void FileUploaderNotifier::notifyUploadFinished()
{
    // The abort of a canceled upload finishes its reply too; that is no end to report.
    if (!m_canceled)
        emit finished();
}

void FileUploaderNotifier::cancel()
{
    if (m_canceled || (m_reply && m_reply->isFinished()))
        return;
    m_canceled = true;
    emit canceled();
}
