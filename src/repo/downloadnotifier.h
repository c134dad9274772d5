#pragma once

#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QSaveFile>
#include <QString>

// One attachment download into a file. The bytes go to a temporary file beside the target as
// they arrive, which becomes the target only when the whole body has come; a cancel or an error
// discards it. The resource manager deletes the notifier later once it has ended, so a holder
// keeps it in a QPointer.
class DownloadNotifier : public QObject
{
    Q_OBJECT

public:
    explicit DownloadNotifier(const QString &url, QObject *parent = nullptr);

    QString getUrl() const { return m_url; }
    QString getFilepath() const { return m_file.fileName(); }
    // Opens the temporary file; false when it cannot be written.
    bool setFilepath(const QString &path);
    // Streams the reply's body into the file.
    void setReply(QNetworkReply *reply);
    QNetworkReply *getReply() const { return m_reply; }
    bool isEnded() const { return m_ended; }

public slots:
    void cancelDownload();
    void notifyDownloadFinished();
    void notifyDownloadProgress(qint64 bytesReceived, qint64 bytesTotal);

signals:
    void downloadFinished();
    void downloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    void canceled();
    void error();

private slots:
    void onReadyRead();

private:
    QString m_url;
    QSaveFile m_file;
    QPointer<QNetworkReply> m_reply;
    bool m_ended = false;
};
