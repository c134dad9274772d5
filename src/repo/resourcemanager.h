#pragma once

#include "network/lazynetworkaccess.h"
#include "repo/resourcenotifier.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>

class DownloadNotifier;
class QNetworkAccessManager;
class QNetworkReply;

// Remote files on disk: a cache of fetched files below the platform's cache location, keyed by
// URL, and attachments saved into the user's download folder, which it opens or reveals. Files
// are fetched by their address alone, without cookies.
class ResourceManager : public QObject
{
    Q_OBJECT

public:
    // Creates the process-wide instance; later calls keep the one that exists.
    static void init(QObject *parent);
    static ResourceManager *getInstance();

    // Where the URL is cached: the cache location, the host and the path with its query, without
    // the characters file systems refuse. Never outside the cache location.
    QString filePathFromUrl(const QString &url) const;
    bool fileExists(const QString &url) const;
    // The cached file, fetched first (blocking) when it is not cached; empty when that fails.
    QString getFileFromUrl(const QString &url);
    // Fetches the file again (blocking); empty when that fails, and the old copy stays.
    QString getFileFromUrlForce(const QString &url);
    // The receiver's slot gets the cached file's path: at once when it is cached, else when the
    // URL's one shared fetch ends (an empty path when it failed).
    template<typename Receiver, typename Slot>
    void getFileFromUrlAsync(const QString &url, const Receiver *receiver, Slot slot);
    // Blocks until the file is fetched into the cache or the fetch failed (30 s at most).
    bool downloadFile(const QString &url);
    // Fetches into the cache whether or not the file is cached, sharing a fetch already running.
    template<typename Receiver, typename Slot>
    void downloadFileAsync(const QString &url, const Receiver *receiver, Slot slot);

    // The file's place in the download folder; only the last component of the name counts.
    QString downloadPathForFile(const QString &name) const;
    bool isFileDownloaded(const QString &name) const;
    bool isFileDownloading(const QString &url) const { return m_downloads.contains(url); }
    // The download of the URL that is running, else a new one into the download folder or the
    // path; nullptr when the target cannot be written.
    DownloadNotifier *startDownload(const QString &url, const QString &name);
    DownloadNotifier *startDownloadForPath(const QString &url, const QString &path);
    void openDownloadedFile(const QString &name) const;
    void showDownloadedFileInExplorer(const QString &name) const;

    // Milliseconds a blocking fetch waits (30,000).
    void setRequestTimeout(int milliseconds) { m_requestTimeout = milliseconds; }
    // Bytes a file fetched into the cache may have (32 MB); the fetch of a bigger one fails.
    void setMaxFileSize(qint64 bytes) { m_maxFileSize = bytes; }

private slots:
    void onDownloadFinished();
    void onFileDownloadCanceled();
    void onFileDownloadFinished();

private:
    explicit ResourceManager(QObject *parent);
    // The URL's running fetch into the cache, started when there is none.
    ResourceNotifier *cacheDownload(const QString &url);
    bool writeCache(const QString &url, const QByteArray &bytes) const;
    void forgetDownload(DownloadNotifier *notifier);
    // Aborts the fetch into the cache once it proves bigger than the limit.
    void limitSize(QNetworkReply *reply);
    bool fits(QNetworkReply *reply) const;

    static QPointer<ResourceManager> s_instance;

    LazyNetworkAccess m_manager;
    QHash<QString, ResourceNotifier *> m_resources;
    QHash<QNetworkReply *, QString> m_resourceReplies;
    QHash<QString, DownloadNotifier *> m_downloads;
    int m_requestTimeout = 30000;
    qint64 m_maxFileSize = 32 * 1024 * 1024;
};

template<typename Receiver, typename Slot>
void ResourceManager::getFileFromUrlAsync(const QString &url, const Receiver *receiver, Slot slot)
{
    if (!fileExists(url)) {
        downloadFileAsync(url, receiver, slot);
        return;
    }
    auto *notifier = new ResourceNotifier(this);
    connect(notifier, &ResourceNotifier::downloadFinished, receiver, slot);
    notifier->notifyDownloadFinished(filePathFromUrl(url));
    notifier->deleteLater();
}

template<typename Receiver, typename Slot>
void ResourceManager::downloadFileAsync(const QString &url, const Receiver *receiver, Slot slot)
{
    connect(cacheDownload(url), &ResourceNotifier::downloadFinished, receiver, slot);
}
