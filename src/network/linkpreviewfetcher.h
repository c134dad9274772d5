#pragma once

#include "records/linkpreview.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

class QNetworkAccessManager;
class QNetworkReply;
class QTimer;

// Fetches the web pages that messages link to and reads a card out of each (LinkPreviewParser).
// A page is asked for once a run: its result, a failure included, is kept by URL, and everyone
// who asks while it is on its way shares the one fetch. Pages are read without cookies, as far
// as the first bytes hold (512 KB) and for a limited time (5 s); a few redirects between http
// and https are followed. Certificates are checked against the same authorities as the rest of
// the console's connections.
class LinkPreviewFetcher : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 kMaxBytes = 512 * 1024;
    static constexpr int kTimeoutMs = 5000;
    static constexpr int kMaxRedirects = 5;
    // Pages fetched at once; the others wait, so that each page's time runs on its own fetch.
    static constexpr int kParallel = 4;

    explicit LinkPreviewFetcher(QObject *parent = nullptr);
    ~LinkPreviewFetcher() override;

    // True and the result when the page's fetch has ended; an empty result when it failed.
    bool cached(const QString &url, LinkPreview *preview = nullptr) const;
    // Starts the page's fetch unless it ended or is on its way; finished() tells the end. Only
    // http and https addresses are fetched; anything else ends at once with an empty result.
    void fetch(const QString &url);
    bool isFetching(const QString &url) const;

    // A visitor's link must not make the operator's machine reach into its own network: hosts
    // that are this machine or a private network (by name or address, also as a redirect's
    // target) are not fetched, except these, the service's own (a development service runs
    // here). A name that resolves to a private address is not caught.
    void setAllowedPrivateHosts(const QStringList &hosts) { m_allowedPrivateHosts = hosts; }
    static bool isPrivateHost(const QString &host);

    void setTimeout(int milliseconds) { m_timeoutMs = milliseconds; }
    void setMaxBytes(qint64 bytes) { m_maxBytes = bytes; }

signals:
    // A page's request went out.
    void started(QString url);
    void finished(QString url, LinkPreview preview);

private:
    struct Fetch
    {
        QPointer<QNetworkReply> reply;
        QTimer *timer = nullptr;
        QByteArray bytes;
        // The reply was cut short on purpose: what was read so far is the page.
        bool enough = false;
    };

    void startNext();
    void start(const QString &url);
    void onReadyRead(const QString &url);
    void onFinished(const QString &url);
    void finish(const QString &url, const LinkPreview &preview);

    bool mayFetch(const QUrl &url) const;

    QNetworkAccessManager *m_manager;
    QStringList m_allowedPrivateHosts;
    QHash<QString, LinkPreview> m_results;
    QHash<QString, Fetch> m_running;
    QStringList m_waiting;
    int m_timeoutMs = kTimeoutMs;
    qint64 m_maxBytes = kMaxBytes;
};
