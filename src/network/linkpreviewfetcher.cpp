#include "network/linkpreviewfetcher.h"

#include "util/linkpreviewparser.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <QUrl>

namespace {

// Results kept at most; a console left running for weeks drops them all and starts again.
constexpr int kMaxResults = 5000;

bool isWebUrl(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty()
           && (url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http"));
}

int statusOf(const QNetworkReply *reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

QByteArray contentTypeOf(const QNetworkReply *reply)
{
    return reply->header(QNetworkRequest::ContentTypeHeader).toByteArray();
}

} // namespace

bool LinkPreviewFetcher::isPrivateHost(const QString &host)
{
    const QString name = host.toLower();
    if (name == QLatin1String("localhost") || name.endsWith(QLatin1String(".localhost"))
        || name.endsWith(QLatin1String(".local")) || name.endsWith(QLatin1String(".internal"))
        || (!name.contains(QLatin1Char('.')) && !name.contains(QLatin1Char(':'))))
        return true;
    const QHostAddress address(name);
    if (address.isNull())
        return false;
    static const char *const privateRanges[] = {"0.0.0.0/8",
                                                "10.0.0.0/8",
                                                "100.64.0.0/10",
                                                "127.0.0.0/8",
                                                "169.254.0.0/16",
                                                "172.16.0.0/12",
                                                "192.168.0.0/16",
                                                "::/128",
                                                "::1/128",
                                                "fc00::/7",
                                                "fe80::/10"};
    QHostAddress checked = address;
    bool mapped = false;
    const quint32 ipv4 = address.toIPv4Address(&mapped);
    if (mapped)
        checked = QHostAddress(ipv4); // ::ffff:10.0.0.1 is 10.0.0.1
    for (const char *range : privateRanges) {
        if (checked.isInSubnet(QHostAddress::parseSubnet(QLatin1String(range))))
            return true;
    }
    return false;
}

bool LinkPreviewFetcher::mayFetch(const QUrl &url) const
{
    return isWebUrl(url)
           && (!isPrivateHost(url.host())
               || m_allowedPrivateHosts.contains(url.host(), Qt::CaseInsensitive));
}

LinkPreviewFetcher::LinkPreviewFetcher(QObject *parent)
    : QObject(parent)
    , m_manager(new QNetworkAccessManager(this))
{
    qRegisterMetaType<LinkPreview>();
}

LinkPreviewFetcher::~LinkPreviewFetcher()
{
    // The replies go with the manager; none of them may call back into a fetcher half gone.
    for (const Fetch &fetch : qAsConst(m_running)) {
        if (fetch.reply)
            fetch.reply->disconnect(this);
    }
}

bool LinkPreviewFetcher::cached(const QString &url, LinkPreview *preview) const
{
    const auto found = m_results.constFind(url);
    if (found == m_results.constEnd())
        return false;
    if (preview)
        *preview = found.value();
    return true;
}

bool LinkPreviewFetcher::isFetching(const QString &url) const
{
    return m_running.contains(url) || m_waiting.contains(url);
}

void LinkPreviewFetcher::fetch(const QString &url)
{
    if (m_results.contains(url) || isFetching(url))
        return;
    if (!mayFetch(QUrl(url))) {
        finish(url, LinkPreview());
        return;
    }
    m_waiting.append(url);
    startNext();
}

void LinkPreviewFetcher::startNext()
{
    while (m_running.size() < kParallel && !m_waiting.isEmpty())
        start(m_waiting.takeFirst());
}

void LinkPreviewFetcher::start(const QString &url)
{
    QNetworkRequest request{QUrl(url)};
    // The page is read as a stranger reads it: no cookie goes out and none is kept.
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    // Redirects stay on http and https, never go from https down to http, and never lead
    // where the page itself could not (checked in redirected() below).
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::UserVerifiedRedirectPolicy);
    request.setMaximumRedirectsAllowed(kMaxRedirects);
    request.setHeader(QNetworkRequest::UserAgentHeader,
                      QByteArrayLiteral("Mozilla/5.0 (compatible; TallyraConsole; link preview)"));
    request.setRawHeader("Accept", "text/html,application/xhtml+xml;q=0.9,*/*;q=0.1");
    // The byte limit counts what the page is; a compressed answer could unpack to any size.
    request.setRawHeader("Accept-Encoding", "identity");

    Fetch &fetch = m_running[url];
    QNetworkReply *reply = m_manager->get(request);
    reply->setReadBufferSize(m_maxBytes);
    fetch.reply = reply;
    fetch.timer = new QTimer(this);
    fetch.timer->setSingleShot(true);
    // Time out as a whole: a page that trickles in keeps no fetch alive past its limit.
    connect(fetch.timer, &QTimer::timeout, reply, &QNetworkReply::abort);
    connect(reply, &QNetworkReply::redirected, this, [this, reply](const QUrl &target) {
        const bool downgrade = reply->url().scheme() == QLatin1String("https")
                               && target.scheme() != QLatin1String("https");
        if (!downgrade && mayFetch(target))
            emit reply->redirectAllowed();
        else
            reply->abort();
    });
    connect(reply, &QNetworkReply::readyRead, this, [this, url] { onReadyRead(url); });
    connect(reply, &QNetworkReply::finished, this, [this, url] { onFinished(url); });
    fetch.timer->start(m_timeoutMs);
    emit started(url);
}

void LinkPreviewFetcher::onReadyRead(const QString &url)
{
    const auto found = m_running.find(url);
    if (found == m_running.end() || !found->reply)
        return;
    QNetworkReply *reply = found->reply;
    const int status = statusOf(reply);
    if (status >= 300 && status < 400)
        return;
    // An error page or a file is no page to read a card from. An abort finishes the reply at
    // once, which ends the fetch: nothing of it may be touched after.
    if (status < 200 || status >= 300 || !LinkPreviewParser::isHtml(contentTypeOf(reply))) {
        reply->abort();
        return;
    }
    const int before = found->bytes.size();
    found->bytes += reply->read(m_maxBytes - before);
    // The card is in the head: once the head is over, the rest of the page is not wanted.
    const bool headDone = found->bytes.mid(qMax(0, before - 6)).toLower().contains("</head");
    if (found->bytes.size() >= m_maxBytes || headDone) {
        found->enough = true;
        reply->abort();
    }
}

void LinkPreviewFetcher::onFinished(const QString &url)
{
    const auto found = m_running.find(url);
    if (found == m_running.end())
        return;
    const Fetch fetch = found.value();
    m_running.erase(found);
    fetch.timer->stop();
    fetch.timer->deleteLater();
    LinkPreview preview;
    QNetworkReply *reply = fetch.reply;
    if (reply) {
        reply->deleteLater();
        const int status = statusOf(reply);
        const QByteArray contentType = contentTypeOf(reply);
        const bool whole = reply->error() == QNetworkReply::NoError;
        if ((fetch.enough || whole) && status >= 200 && status < 300
            && LinkPreviewParser::isHtml(contentType)) {
            QByteArray bytes = fetch.bytes;
            if (!fetch.enough)
                bytes += reply->read(m_maxBytes - bytes.size());
            preview = LinkPreviewParser::parse(bytes, contentType, reply->url());
        }
    }
    finish(url, preview);
}

void LinkPreviewFetcher::finish(const QString &url, const LinkPreview &preview)
{
    if (m_results.size() >= kMaxResults)
        m_results.clear();
    m_results.insert(url, preview);
    emit finished(url, preview);
    startNext();
}
