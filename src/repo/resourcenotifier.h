#pragma once

#include <QObject>
#include <QString>

// The end of one fetch into the download cache, shared by everyone waiting for the same URL.
class ResourceNotifier : public QObject
{
    Q_OBJECT

public:
    explicit ResourceNotifier(QObject *parent = nullptr)
        : QObject(parent)
    {}

public slots:
    void notifyDownloadFinished(const QString &path) { emit downloadFinished(path); }

signals:
    // The cached file's path; empty when the fetch failed.
    void downloadFinished(QString path);
    void downloadProgress(qint64 bytesReceived, qint64 bytesTotal);
};
