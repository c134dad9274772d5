#include "repo/downloadnotifier.h"

#include <QDir>
#include <QFileInfo>
#include <QNetworkReply>

DownloadNotifier::DownloadNotifier(const QString &url, QObject *parent)
    : QObject(parent)
    , m_url(url)
{}

bool DownloadNotifier::setFilepath(const QString &path)
{
    if (m_file.isOpen())
        return false;
    m_file.setFileName(path);
    return QDir().mkpath(QFileInfo(path).absolutePath()) && m_file.open(QIODevice::WriteOnly);
}

void DownloadNotifier::setReply(QNetworkReply *reply)
{
    m_reply = reply;
    connect(reply, &QNetworkReply::readyRead, this, &DownloadNotifier::onReadyRead);
}

void DownloadNotifier::onReadyRead()
{
    if (m_ended || !m_reply)
        return;
    const QByteArray bytes = m_reply->readAll();
    // A full disk ends the download as an error: the abort finishes the reply.
    if (m_file.write(bytes) != bytes.size())
        m_reply->abort();
}

void DownloadNotifier::notifyDownloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (!m_ended)
        emit downloadProgress(bytesReceived, bytesTotal);
}

void DownloadNotifier::notifyDownloadFinished()
{
    if (m_ended || !m_reply)
        return;
    m_ended = true;
    const QByteArray rest = m_reply->readAll();
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    // Only a whole 2xx body counts: an error page is never saved as the file.
    bool ok = m_reply->error() == QNetworkReply::NoError && status >= 200 && status < 300
              && m_file.write(rest) == rest.size();
    if (!ok)
        m_file.cancelWriting();
    ok = m_file.commit() && ok;
    if (ok)
        emit downloadFinished();
    else
        emit error();
}

void DownloadNotifier::cancelDownload()
{
    if (m_ended)
        return;
    m_ended = true;
    if (m_reply) {
        // Detached first, so that the abort's own error and finish are not reported.
        m_reply->disconnect(this);
        m_reply->abort();
    }
    m_file.cancelWriting();
    m_file.commit();
    emit canceled();
}
