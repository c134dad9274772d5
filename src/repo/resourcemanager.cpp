#include "repo/resourcemanager.h"

#include "repo/downloadnotifier.h"

#include <QDebug>
#include <QDesktopServices>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTimer>
#include <QUrl>

namespace {

// A transfer that moves no byte for this long is aborted, so a dead network ends every fetch.
constexpr int kTransferTimeoutMs = 30000;

// A body is kept only when it is a whole answer of 2xx; error pages never become files.
bool succeeded(QNetworkReply *reply)
{
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    return reply->error() == QNetworkReply::NoError && status >= 200 && status < 300;
}

QNetworkRequest requestFor(const QString &url)
{
    QNetworkRequest request{QUrl(url)};
    // Pictures of the pages that messages link to come from anywhere: no cookie goes out to them
    // and none is kept.
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    return request;
}

} // namespace

QPointer<ResourceManager> ResourceManager::s_instance;

ResourceManager::ResourceManager(QObject *parent)
    : QObject(parent)
    , m_manager(this, [](QNetworkAccessManager *manager) {
        manager->setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
        manager->setTransferTimeout(kTransferTimeoutMs);
    })
{}

void ResourceManager::init(QObject *parent)
{
    if (!s_instance)
        s_instance = new ResourceManager(parent);
}

ResourceManager *ResourceManager::getInstance()
{
    return s_instance.data();
}

QString ResourceManager::filePathFromUrl(const QString &url) const
{
    static const QRegularExpression refused(QStringLiteral("(\\\\|\\?|\\:|\\*|\\\"|<|>|\\|)"));
    static const QRegularExpression control(QStringLiteral("[\\x00-\\x1f\\x7f]"));
    const QUrl parsed(url);
    QString rest = parsed.path();
    if (parsed.hasQuery())
        rest += QLatin1Char('?') + parsed.query();
    rest.remove(refused);
    rest.remove(0, 1);
    // The decoded path and the query may hold dot segments (QUrl keeps them, and encoded slashes
    // make new ones), which would lead out of the cache, and control characters, which would cut
    // the name short: both are dropped.
    rest.remove(control);
    QStringList kept;
    const QStringList segments = QString(parsed.host() + QLatin1Char('/') + rest)
                                     .split(QLatin1Char('/'));
    for (const QString &segment : segments) {
        if (segment != QLatin1String(".") && segment != QLatin1String(".."))
            kept.append(segment);
    }
    return QStandardPaths::standardLocations(QStandardPaths::CacheLocation).value(0)
           + QLatin1Char('/') + kept.join(QLatin1Char('/'));
}

bool ResourceManager::fileExists(const QString &url) const
{
    // A directory at that path is no cached file.
    return QFileInfo(filePathFromUrl(url)).isFile();
}

QString ResourceManager::getFileFromUrl(const QString &url)
{
    if (fileExists(url) || downloadFile(url))
        return filePathFromUrl(url);
    return QString();
}

QString ResourceManager::getFileFromUrlForce(const QString &url)
{
    return downloadFile(url) ? filePathFromUrl(url) : QString();
}

bool ResourceManager::downloadFile(const QString &url)
{
    QNetworkReply *reply = m_manager->get(requestFor(url));
    limitSize(reply);
    QEventLoop loop;
    QTimer timeout;
    timeout.setSingleShot(true);
    // A stalled host must not freeze the console: the abort finishes the reply as a failure.
    connect(&timeout, &QTimer::timeout, reply, &QNetworkReply::abort);
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    timeout.start(m_requestTimeout);
    if (!reply->isFinished())
        loop.exec();
    const bool stored = succeeded(reply) && fits(reply) && writeCache(url, reply->readAll());
    reply->deleteLater();
    return stored;
}

ResourceNotifier *ResourceManager::cacheDownload(const QString &url)
{
    if (ResourceNotifier *running = m_resources.value(url))
        return running;
    qDebug() << "DOWNLOADING FILE" << QUrl(url).fileName();
    auto *notifier = new ResourceNotifier(this);
    QNetworkReply *reply = m_manager->get(requestFor(url));
    limitSize(reply);
    connect(reply, &QNetworkReply::downloadProgress, notifier, &ResourceNotifier::downloadProgress);
    connect(reply, &QNetworkReply::finished, this, &ResourceManager::onDownloadFinished);
    m_resources.insert(url, notifier);
    m_resourceReplies.insert(reply, url);
    return notifier;
}

void ResourceManager::onDownloadFinished()
{
    auto *reply = qobject_cast<QNetworkReply *>(sender());
    const auto found = m_resourceReplies.find(reply);
    if (found == m_resourceReplies.end())
        return;
    const QString url = found.value();
    m_resourceReplies.erase(found);
    ResourceNotifier *notifier = m_resources.take(url);
    reply->deleteLater();
    const bool stored = succeeded(reply) && fits(reply) && writeCache(url, reply->readAll());
    if (notifier) {
        notifier->notifyDownloadFinished(stored ? filePathFromUrl(url) : QString());
        notifier->deleteLater();
    }
}

void ResourceManager::limitSize(QNetworkReply *reply)
{
    // The whole file is held in memory before it is written: a huge one must not get that far.
    const auto check = [this, reply] {
        if (!fits(reply))
            reply->abort();
    };
    connect(reply, &QNetworkReply::metaDataChanged, this, check);
    connect(reply, &QNetworkReply::readyRead, this, check);
}

bool ResourceManager::fits(QNetworkReply *reply) const
{
    return reply->header(QNetworkRequest::ContentLengthHeader).toLongLong() <= m_maxFileSize
           && reply->bytesAvailable() <= m_maxFileSize;
}

bool ResourceManager::writeCache(const QString &url, const QByteArray &bytes) const
{
    const QString path = filePathFromUrl(url);
    if (path.endsWith(QLatin1Char('/')))
        return false;
    // A file replaced atomically: a reader never sees half of it.
    QSaveFile file(path);
    return QDir().mkpath(QFileInfo(path).absolutePath()) && file.open(QIODevice::WriteOnly)
           && file.write(bytes) == bytes.size() && file.commit();
}

QString ResourceManager::downloadPathForFile(const QString &name) const
{
    // A name from a message must not lead out of the download folder.
    QString last = name.mid(
        qMax(name.lastIndexOf(QLatin1Char('/')), name.lastIndexOf(QLatin1Char('\\'))) + 1);
    if (last.isEmpty() || last == QLatin1String(".") || last == QLatin1String(".."))
        last = QStringLiteral("download");
    return QStandardPaths::writableLocation(QStandardPaths::DownloadLocation) + QLatin1Char('/')
           + last;
}

bool ResourceManager::isFileDownloaded(const QString &name) const
{
    return QFileInfo::exists(downloadPathForFile(name));
}

DownloadNotifier *ResourceManager::startDownload(const QString &url, const QString &name)
{
    return startDownloadForPath(url, downloadPathForFile(name));
}

DownloadNotifier *ResourceManager::startDownloadForPath(const QString &url, const QString &path)
{
    qDebug() << "START DOWNLOAD" << QFileInfo(path).fileName();
    if (DownloadNotifier *running = m_downloads.value(url))
        return running;
    auto *notifier = new DownloadNotifier(url, this);
    if (!notifier->setFilepath(path)) {
        qDebug() << "DOWNLOAD TARGET NOT WRITABLE" << QFileInfo(path).fileName();
        delete notifier;
        return nullptr;
    }
    QNetworkReply *reply = m_manager->get(requestFor(url));
    reply->setParent(notifier);
    notifier->setReply(reply);
    connect(reply, &QNetworkReply::finished, notifier, &DownloadNotifier::notifyDownloadFinished);
    connect(reply,
            &QNetworkReply::downloadProgress,
            notifier,
            &DownloadNotifier::notifyDownloadProgress);
    connect(notifier, &DownloadNotifier::canceled, this, &ResourceManager::onFileDownloadCanceled);
    connect(notifier,
            &DownloadNotifier::downloadFinished,
            this,
            &ResourceManager::onFileDownloadFinished);
    // A failed download ends there as well; the notifier has already discarded its file.
    connect(notifier, &DownloadNotifier::error, this, &ResourceManager::onFileDownloadFinished);
    m_downloads.insert(url, notifier);
    return notifier;
}

void ResourceManager::onFileDownloadCanceled()
{
    forgetDownload(qobject_cast<DownloadNotifier *>(sender()));
}

void ResourceManager::onFileDownloadFinished()
{
    forgetDownload(qobject_cast<DownloadNotifier *>(sender()));
}

void ResourceManager::forgetDownload(DownloadNotifier *notifier)
{
    if (!notifier)
        return;
    const auto found = m_downloads.find(notifier->getUrl());
    if (found != m_downloads.end() && found.value() == notifier)
        m_downloads.erase(found);
    notifier->deleteLater();
}

void ResourceManager::openDownloadedFile(const QString &name) const
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(downloadPathForFile(name)));
}

void ResourceManager::showDownloadedFileInExplorer(const QString &name) const
{
    const QString path = downloadPathForFile(name);
#ifdef Q_OS_MACOS
    // Inside the script's string literal a quote or backslash of the name must stay text.
    QString literal = path;
    literal.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
        .replace(QLatin1Char('"'), QLatin1String("\\\""));
    QProcess::startDetached(QStringLiteral("osascript"),
                            {QStringLiteral("-e"),
                             QStringLiteral("tell application \"Finder\""),
                             QStringLiteral("-e"),
                             QStringLiteral("activate"),
                             QStringLiteral("-e"),
                             QStringLiteral("select POSIX file \"") + literal + QLatin1Char('"'),
                             QStringLiteral("-e"),
                             QStringLiteral("end tell")});
#else
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
#endif
}
