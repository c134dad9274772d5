#include "network/firebaseclient.h"

#include "network/firebasesubscription.h"
#include "util/jsonparser.h"

#include <QDebug>
#include <QEventLoop>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QUrl>
#include <QUrlQuery>

#include <limits>

namespace {

constexpr qint64 kRefreshWatchdogLimitMs = 3600 * 1000;
// A stream closed longer than a token refresh's reconnect takes is an outage to report.
constexpr qint64 kStreamLossLimitMs = 5000;
// A fire-and-forget request that moves no byte for this long fails, and the queue goes on.
constexpr int kAsyncTransferTimeoutMs = 30000;

// Three quarters of the token's lifetime, plus a grace: the token is renewed well before it
// expires, and never in a tight loop when the lifetime is unknown (0).
int refreshDelay(qint64 expiresIn, int grace)
{
    const qint64 delay = expiresIn * 3000 / 4 + grace;
    return int(qBound<qint64>(0, delay, std::numeric_limits<int>::max()));
}

// The identity endpoints answer with secrets: their bodies are parsed without echoing the text.
QJsonObject parseObject(const QByteArray &body)
{
    if (body.isEmpty())
        return QJsonObject();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError) {
        qDebug().noquote() << "TOKEN REPLY PARSE ERROR" << error.errorString();
        return QJsonObject();
    }
    return document.object();
}

// Tokens never reach the log, neither from a URL nor from a token answer.
QString loggableUrl(const QUrl &url)
{
    QUrl copy = url;
    QUrlQuery query(copy);
    if (query.hasQueryItem(QStringLiteral("auth"))) {
        query.removeAllQueryItems(QStringLiteral("auth"));
        query.addQueryItem(QStringLiteral("auth"), QStringLiteral("..."));
        copy.setQuery(query);
    }
    return copy.toString();
}

QJsonObject withoutSecrets(QJsonObject object)
{
    for (const char *key :
         {"id_token", "access_token", "refresh_token", "idToken", "refreshToken"}) {
        if (object.contains(QLatin1String(key)))
            object.insert(QLatin1String(key), QStringLiteral("..."));
    }
    return object;
}

} // namespace

FirebaseClient::FirebaseClient(const QString &databaseUrl,
                               const QString &apiKey,
                               const QString &databaseNamespace,
                               const QString &authDomain,
                               QObject *parent)
    : QObject(parent)
    , m_databaseUrl(databaseUrl)
    , m_apiKey(apiKey)
    , m_databaseNamespace(databaseNamespace)
    , m_authDomain(authDomain)
    // A redirect is returned as it is: the database never redirects a valid request, and the
    // token must not follow a redirect to another host.
    , m_manager(this, [](QNetworkAccessManager *manager) {
        manager->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    })
{
    m_connectionTimer.setInterval(10000);
    connect(&m_connectionTimer, &QTimer::timeout, this, &FirebaseClient::checkConnection);
    m_connectionTimer.start();

    m_refreshWatchdog.setInterval(3000);
    connect(&m_refreshWatchdog, &QTimer::timeout, this, &FirebaseClient::checkLastTokenRefresh);
    m_refreshWatchdog.start();

    m_refreshTimer.setSingleShot(true);
    connect(&m_refreshTimer, &QTimer::timeout, this, &FirebaseClient::refreshToken);

    m_streamTimer.setSingleShot(true);
    connect(&m_streamTimer, &QTimer::timeout, this, &FirebaseClient::checkStreams);
}

FirebaseClient::~FirebaseClient()
{
    unsubscribeFromAll();
    if (m_checkReply) {
        m_checkReply->disconnect(this);
        m_checkReply->abort();
    }
}

bool FirebaseClient::setToken(const QByteArray &customToken)
{
    return signInWithCustomToken(customToken);
}

bool FirebaseClient::signInWithCustomToken(const QByteArray &customToken)
{
    const QJsonObject body{{QStringLiteral("token"), QString::fromUtf8(customToken)},
                           {QStringLiteral("returnSecureToken"), true}};
    const QJsonObject reply = sendRequestJson(
        POST,
        m_identityUrl,
        QStringLiteral("/identitytoolkit/v3/relyingparty/verifyCustomToken?key=%1").arg(m_apiKey),
        QJsonDocument(body).toJson(QJsonDocument::Compact));

    m_token = reply.value(QLatin1String("idToken")).toString().toUtf8();
    m_refreshToken = reply.value(QLatin1String("refreshToken")).toString();
    const qint64 expiresIn = reply.value(QLatin1String("expiresIn")).toVariant().toLongLong();
    // Without an answer the lifetime is 0, so the refresh comes after the grace alone.
    scheduleRefresh(refreshDelay(expiresIn, m_refreshGrace));
    m_signedIn = true;
    m_lastTokenRefresh = now();
    return true;
}

void FirebaseClient::refreshToken()
{
    // The request spins a nested loop in which the watchdog or the single-shot timer may fire
    // again; one refresh at a time is enough.
    if (m_refreshing)
        return;
    m_refreshing = true;

    const QByteArray form = "grant_type=refresh_token&refresh_token="
                            + QUrl::toPercentEncoding(m_refreshToken);
    const QJsonObject reply = sendRequestForm(POST,
                                              m_tokenUrl,
                                              QStringLiteral("/v1/token?key=%1").arg(m_apiKey),
                                              form);
    m_refreshing = false;

    if (reply.isEmpty()) {
        scheduleRefresh(m_refreshRetryDelay);
        return;
    }
    if (!reply.contains(QLatin1String("id_token"))) {
        qDebug() << "Firebase Token Refresh Error:" << withoutSecrets(reply);
        emit tokenRefreshError();
        return;
    }

    qDebug() << "NORMAL TOKEN UPDATE:" << withoutSecrets(reply);
    m_token = reply.value(QLatin1String("id_token")).toString().toUtf8();
    m_refreshToken = reply.value(QLatin1String("refresh_token")).toString();
    const qint64 expiresIn = reply.value(QLatin1String("expires_in")).toVariant().toLongLong();
    scheduleRefresh(refreshDelay(expiresIn, m_refreshGrace));
    m_lastTokenRefresh = now();

    const QDateTime authTime = QDateTime::fromMSecsSinceEpoch(
        qint64(reply.value(QLatin1String("time")).toDouble()));
    const QString token = QString::fromUtf8(m_token);
    for (FirebaseSubscription *subscription : qAsConst(m_subscriptions)) {
        subscription->setAuthTime(authTime);
        subscription->setToken(token);
    }
}

void FirebaseClient::scheduleRefresh(int milliseconds)
{
    m_refreshTimer.start(milliseconds);
}

void FirebaseClient::checkLastTokenRefresh()
{
    // Covers a single-shot refresh that never fired, for example while the computer slept.
    if (m_signedIn && m_lastTokenRefresh.msecsTo(now()) > kRefreshWatchdogLimitMs)
        refreshToken();
}

QDateTime FirebaseClient::now() const
{
    return QDateTime::fromMSecsSinceEpoch(nowMs());
}

qint64 FirebaseClient::nowMs() const
{
    return m_clock ? m_clock() : QDateTime::currentMSecsSinceEpoch();
}

FirebaseReply FirebaseClient::get(const QString &path)
{
    return sendRequest(GET, m_databaseUrl, path + QLatin1String(".json"));
}

FirebaseReply FirebaseClient::get(const QString &path, const QString &query)
{
    return sendRequest(GET, m_databaseUrl, path + QLatin1String(".json") + query);
}

FirebaseReply FirebaseClient::push(const QString &path, const QByteArray &body)
{
    return sendRequest(POST, m_databaseUrl, path + QLatin1String(".json"), body);
}

FirebaseReply FirebaseClient::put(const QString &path, const QByteArray &body)
{
    return sendRequest(PUT, m_databaseUrl, path + QLatin1String(".json"), body);
}

FirebaseReply FirebaseClient::patch(const QString &path, const QByteArray &body)
{
    return sendRequest(PATCH, m_databaseUrl, path + QLatin1String(".json"), body);
}

FirebaseReply FirebaseClient::del(const QString &path)
{
    return sendRequest(DELETE, m_databaseUrl, path + QLatin1String(".json"));
}

void FirebaseClient::pushAsync(const QString &path, const QByteArray &body)
{
    sendRequestAsync(POST, m_databaseUrl, path + QLatin1String(".json"), body);
}

void FirebaseClient::putAsync(const QString &path, const QByteArray &body)
{
    sendRequestAsync(PUT, m_databaseUrl, path + QLatin1String(".json"), body);
}

void FirebaseClient::patchAsync(const QString &path, const QByteArray &body)
{
    sendRequestAsync(PATCH, m_databaseUrl, path + QLatin1String(".json"), body);
}

void FirebaseClient::delAsync(const QString &path)
{
    sendRequestAsync(DELETE, m_databaseUrl, path + QLatin1String(".json"));
}

QNetworkRequest FirebaseClient::createRequest(const QString &baseUrl,
                                              const QString &pathAndQuery,
                                              bool stream) const
{
    QString url = baseUrl + pathAndQuery;
    QNetworkRequest request;
    if (!m_token.isEmpty()) {
        request.setRawHeader("Authorization", "Bearer " + m_token);
        url += (url.contains(QLatin1Char('?')) ? QLatin1String("&auth=") : QLatin1String("?auth="))
               + QString::fromUtf8(m_token);
    }
    request.setUrl(QUrl(url));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    if (stream)
        request.setRawHeader("Accept", "text/event-stream");
    return request;
}

QNetworkReply *FirebaseClient::startRequest(RequestType type,
                                            const QNetworkRequest &request,
                                            const QByteArray &body)
{
    switch (type) {
    case POST:
        return m_manager->post(request, body);
    case GET:
        return m_manager->get(request);
    case PATCH:
        return m_manager->sendCustomRequest(request, "PATCH", body);
    case DELETE:
        return m_manager->sendCustomRequest(request, "DELETE");
    case PUT:
        return m_manager->put(request, body);
    case OPTIONS:
        return m_manager->sendCustomRequest(request, "OPTIONS");
    }
    return nullptr;
}

void FirebaseClient::waitFor(QNetworkReply *reply) const
{
    if (!reply || reply->isFinished())
        return;
    QEventLoop loop;
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    connect(reply, &QObject::destroyed, &loop, &QEventLoop::quit);
    loop.exec();
}

FirebaseReply FirebaseClient::sendRequest(RequestType type,
                                          const QString &baseUrl,
                                          const QString &pathAndQuery,
                                          const QByteArray &body)
{
    QPointer<QNetworkReply> reply = startRequest(type,
                                                 createRequest(baseUrl, pathAndQuery, false),
                                                 body);
    waitFor(reply);
    if (!reply)
        return FirebaseReply();
    qDebug().noquote() << "GET REQUEST " + loggableUrl(reply->url());
    const QString text = QString::fromUtf8(reply->readAll());
    reply->deleteLater();
    return parseReply(text);
}

void FirebaseClient::sendRequestAsync(RequestType type,
                                      const QString &baseUrl,
                                      const QString &pathAndQuery,
                                      const QByteArray &body)
{
    if (type == OPTIONS)
        return;
    QNetworkRequest request = createRequest(baseUrl, pathAndQuery, false);
    request.setTransferTimeout(kAsyncTransferTimeoutMs);
    if (m_asyncQueue.size() >= maxQueuedAsyncRequests) {
        // Only after hours without a network; the oldest write is the stalest.
        qDebug() << "REALTIME WRITE DROPPED";
        m_asyncQueue.dequeue();
    }
    m_asyncQueue.enqueue({type, request, body});
    if (!m_asyncInFlight)
        startNextAsync();
}

int FirebaseClient::pendingAsyncRequests() const
{
    return m_asyncQueue.size() + (m_asyncInFlight ? 1 : 0);
}

void FirebaseClient::startNextAsync()
{
    if (m_asyncQueue.isEmpty())
        return;
    const AsyncRequest next = m_asyncQueue.dequeue();
    QNetworkReply *reply = startRequest(next.type, next.request, next.body);
    m_asyncInFlight = reply;
    // Nobody reads the answer; dropping the reply once it is done keeps a long session from
    // piling them up.
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        if (m_asyncInFlight == reply) {
            m_asyncInFlight = nullptr;
            startNextAsync();
        }
    });
}

QJsonObject FirebaseClient::sendRequestJson(RequestType type,
                                            const QString &baseUrl,
                                            const QString &pathAndQuery,
                                            const QByteArray &body)
{
    QNetworkRequest request(QUrl(baseUrl + pathAndQuery));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    QPointer<QNetworkReply> reply = startRequest(type, request, body);
    waitFor(reply);
    if (!reply)
        return QJsonObject();
    const QJsonObject object = parseObject(reply->readAll());
    reply->deleteLater();
    return object;
}

QJsonObject FirebaseClient::sendRequestForm(RequestType type,
                                            const QString &baseUrl,
                                            const QString &pathAndQuery,
                                            const QByteArray &body)
{
    QNetworkRequest request(QUrl(baseUrl + pathAndQuery));
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      QStringLiteral("application/x-www-form-urlencoded"));
    QPointer<QNetworkReply> reply = startRequest(type, request, body);
    waitFor(reply);
    if (!reply)
        return QJsonObject();
    const QByteArray text = reply->readAll();
    QJsonObject object = parseObject(text);
    if (!text.isEmpty()) {
        // The server's clock dates the new token; ours may be off.
        QDateTime date = QDateTime::fromString(QString::fromLatin1(reply->rawHeader("Date")),
                                               Qt::RFC2822Date);
        if (!date.isValid())
            date = now();
        object.insert(QStringLiteral("time"), double(date.toMSecsSinceEpoch()));
    }
    reply->deleteLater();
    return object;
}

void FirebaseClient::requestFinished(QNetworkReply *reply)
{
    if (!reply)
        return;
    qDebug() << "REQUEST FINISHED" << reply->error()
             << reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

FirebaseReply FirebaseClient::parseReply(const QString &text) const
{
    if (!text.contains(QLatin1String("data:"))) {
        // No body (a failed request) or "null" (nothing at the path): an empty object, quietly.
        if (text.isEmpty() || text == QLatin1String("null"))
            return FirebaseReply();
        return FirebaseReply(QString(), JsonParser::fromString(text));
    }
    // An event-stream text; only its first event is read.
    static const QRegularExpression eventPattern(QStringLiteral("event:\\s*(\\w+)"));
    static const QRegularExpression dataPattern(QStringLiteral("data:\\s*(\\{.*\\})"));
    const QString event = eventPattern.match(text).captured(1);
    const QString data = dataPattern.match(text).captured(1);
    return FirebaseReply(event, data.isEmpty() ? QJsonObject() : JsonParser::fromString(data));
}

QByteArray FirebaseClient::trimValue(const QByteArray &line) const
{
    const int colon = line.indexOf(':');
    if (colon > 0)
        return line.mid(colon + 1).trimmed();
    return line.trimmed();
}

bool FirebaseClient::subscribe(const QString &path,
                               QObject *receiver,
                               const char *slot,
                               const QString &query)
{
    if (m_subscriptions.contains(path))
        return false;
    qDebug().noquote() << "subscribe"
                       << path + (query.isEmpty() ? QString() : QLatin1Char('?') + query);

    const QUrl base(m_databaseUrl);
    QString host = base.host();
    if (base.port() > 0)
        host += QLatin1Char(':') + QString::number(base.port());

    auto *subscription = new FirebaseSubscription(host, path, receiver, slot, this);
    // Closed until its first connection: a stream that never opens counts as an outage too.
    m_closedSince.insert(path, nowMs());
    connect(subscription, &FirebaseSubscription::openChanged, this, [this, path](bool open) {
        if (open)
            m_closedSince.remove(path);
        else
            m_closedSince.insert(path, nowMs());
        checkStreams();
    });
    subscription->setDatabaseNamespace(m_databaseNamespace);
    subscription->setToken(QString::fromUtf8(m_token));
    subscription->listen();
    m_subscriptions.insert(path, subscription);
    // Wakes up to report the stream if it does not open in time.
    checkStreams();

    // Only the first subscription of the process is wired to the client's signal.
    static bool firstConnected = false;
    if (!firstConnected) {
        firstConnected = true;
        connect(subscription,
                &FirebaseSubscription::connectionChanged,
                this,
                &FirebaseClient::connectionChanged);
    }
    return true;
}

bool FirebaseClient::unsubscribe(const QString &path)
{
    FirebaseSubscription *subscription = m_subscriptions.take(path);
    if (!subscription)
        return false;
    // Shut down on purpose: no longer part of the connection state.
    subscription->disconnect(this);
    m_closedSince.remove(path);
    subscription->shutdown();
    subscription->deleteLater();
    qDebug().noquote() << "successfully unsubscribed from" << path;
    return true;
}

void FirebaseClient::unsubscribeFromAll()
{
    const QStringList paths = m_subscriptions.keys();
    for (const QString &path : paths)
        unsubscribe(path);
    m_signedIn = false;
}

FirebaseSubscription *FirebaseClient::subscription(const QString &path) const
{
    return m_subscriptions.value(path);
}

void FirebaseClient::checkConnection()
{
    // Pending: the previous probe has not been answered, or was answered with an error status.
    m_probeLost = !m_checkReply.isNull();
    if (m_checkReply) {
        m_checkReply->disconnect(this);
        m_checkReply->abort();
        m_checkReply->deleteLater();
        m_checkReply = nullptr;
    }
    updateStreamsLost();
    // Reported on every tick, not only on change: receivers compare with what they hold.
    m_connected = !m_probeLost && !m_streamsLost;
    emit connectionChanged(m_connected);
    m_checkReply = m_manager->get(QNetworkRequest(QUrl(m_probeUrl)));
    connect(m_checkReply, &QNetworkReply::finished, this, &FirebaseClient::onCheckReplyFinished);
}

void FirebaseClient::onCheckReplyFinished()
{
    auto *reply = qobject_cast<QNetworkReply *>(sender());
    if (!reply || reply != m_checkReply)
        return;
    // A reply without any status (refused, no route, failed handshake) is no answer either.
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid() && status.toInt() < 400) {
        reply->deleteLater();
        m_checkReply = nullptr;
    }
}

void FirebaseClient::checkStreams()
{
    updateStreamsLost();
    const bool connected = !m_probeLost && !m_streamsLost;
    if (connected != m_connected) {
        m_connected = connected;
        emit connectionChanged(connected);
    }
}

void FirebaseClient::updateStreamsLost()
{
    m_streamTimer.stop();
    if (m_closedSince.isEmpty()) {
        m_streamsLost = false;
        return;
    }
    if (m_streamsLost)
        return;
    const qint64 now = nowMs();
    qint64 wait = kStreamLossLimitMs + 1;
    for (const qint64 since : qAsConst(m_closedSince)) {
        const qint64 closedFor = now - since;
        if (closedFor > kStreamLossLimitMs) {
            m_streamsLost = true;
            return;
        }
        wait = qMin(wait, kStreamLossLimitMs - closedFor + 1);
    }
    m_streamTimer.start(int(qMax<qint64>(wait, 1)));
}

void FirebaseClient::setConnectionCheckInterval(int milliseconds)
{
    m_connectionTimer.setInterval(milliseconds);
}

void FirebaseClient::setRefreshWatchdogInterval(int milliseconds)
{
    m_refreshWatchdog.setInterval(milliseconds);
}

void FirebaseClient::setClock(const Clock &clock)
{
    m_clock = clock;
}
