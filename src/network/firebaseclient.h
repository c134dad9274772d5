#pragma once

#include "network/firebasereply.h"
#include "network/lazynetworkaccess.h"

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QNetworkRequest>
#include <QObject>
#include <QPointer>
#include <QQueue>
#include <QString>
#include <QTimer>

#include <functional>

class FirebaseSubscription;
class QNetworkAccessManager;
class QNetworkReply;

// The console's door to the realtime database: exchanges the custom token of the login reply for
// an ID token and keeps it fresh, reads and writes paths over REST, owns one streaming
// subscription per observed path and probes reachability.
//
// The network layer does not read the application's settings: the owner passes the database
// values to the constructor and the endpoint URLs through the setters below.
class FirebaseClient : public QObject
{
    Q_OBJECT

public:
    enum RequestType { POST = 0, GET = 1, PATCH = 2, DELETE = 3, PUT = 4, OPTIONS = 5 };
    Q_ENUM(RequestType)

    // Milliseconds since the epoch; tests replace it to move "now".
    using Clock = std::function<qint64()>;

    // databaseUrl: scheme, host and port, no trailing slash. databaseNamespace is the "ns" of
    // the stream URL; authDomain is kept for the owner and used by no request.
    FirebaseClient(const QString &databaseUrl,
                   const QString &apiKey,
                   const QString &databaseNamespace,
                   const QString &authDomain,
                   QObject *parent = nullptr);
    ~FirebaseClient() override;

    // Base URLs (scheme, host, port) of the custom-token exchange and of the token refresh, and
    // the full URL of the connectivity probe.
    void setIdentityUrl(const QString &url) { m_identityUrl = url; }
    void setTokenUrl(const QString &url) { m_tokenUrl = url; }
    void setProbeUrl(const QString &url) { m_probeUrl = url; }
    QString identityUrl() const { return m_identityUrl; }
    QString tokenUrl() const { return m_tokenUrl; }
    QString probeUrl() const { return m_probeUrl; }
    QString databaseUrl() const { return m_databaseUrl; }
    QString databaseNamespace() const { return m_databaseNamespace; }
    QString authDomain() const { return m_authDomain; }

    bool signInWithCustomToken(const QByteArray &customToken);
    bool setToken(const QByteArray &customToken);
    QByteArray getToken() const { return m_token; }
    bool isSignedIn() const { return m_signedIn; }
    QDateTime getLastTokenRefresh() const { return m_lastTokenRefresh; }

    FirebaseReply get(const QString &path);
    FirebaseReply get(const QString &path, const QString &query);
    FirebaseReply push(const QString &path, const QByteArray &body);
    FirebaseReply put(const QString &path, const QByteArray &body);
    FirebaseReply patch(const QString &path, const QByteArray &body);
    FirebaseReply del(const QString &path);

    void pushAsync(const QString &path, const QByteArray &body);
    void putAsync(const QString &path, const QByteArray &body);
    void patchAsync(const QString &path, const QByteArray &body);
    void delAsync(const QString &path);

    FirebaseReply sendRequest(RequestType type,
                              const QString &baseUrl,
                              const QString &pathAndQuery,
                              const QByteArray &body = QByteArray());
    // Fire-and-forget: the requests go out one at a time in the order given, so that a write
    // never overtakes an earlier one (a typing mark and its removal, a message and its last
    // message).
    void sendRequestAsync(RequestType type,
                          const QString &baseUrl,
                          const QString &pathAndQuery,
                          const QByteArray &body = QByteArray());
    // Asynchronous requests queued or in flight.
    int pendingAsyncRequests() const;
    static constexpr int maxQueuedAsyncRequests = 10000;
    QJsonObject sendRequestJson(RequestType type,
                                const QString &baseUrl,
                                const QString &pathAndQuery,
                                const QByteArray &body);
    QJsonObject sendRequestForm(RequestType type,
                                const QString &baseUrl,
                                const QString &pathAndQuery,
                                const QByteArray &body);
    QNetworkRequest createRequest(const QString &baseUrl,
                                  const QString &pathAndQuery,
                                  bool stream = false) const;
    FirebaseReply parseReply(const QString &text) const;
    QByteArray trimValue(const QByteArray &line) const;

    // slot: the bare name of a receiver's slot taking one FirebaseReply; it is called queued.
    bool subscribe(const QString &path,
                   QObject *receiver,
                   const char *slot,
                   const QString &query = QString());
    bool unsubscribe(const QString &path);
    void unsubscribeFromAll();
    FirebaseSubscription *subscription(const QString &path) const;
    QStringList subscribedPaths() const { return m_subscriptions.keys(); }

    // Delay of the refresh after a sign-in or refresh, and whether one is pending.
    int refreshInterval() const { return m_refreshTimer.interval(); }
    bool isRefreshScheduled() const { return m_refreshTimer.isActive(); }

    // Test hooks; the defaults are the production values.
    void setConnectionCheckInterval(int milliseconds);
    void setRefreshWatchdogInterval(int milliseconds);
    // Added to three quarters of the token lifetime (5,000 ms).
    void setRefreshGrace(int milliseconds) { m_refreshGrace = milliseconds; }
    // Wait before retrying a refresh that got no answer (5,000 ms).
    void setRefreshRetryDelay(int milliseconds) { m_refreshRetryDelay = milliseconds; }
    void setClock(const Clock &clock);

public slots:
    void refreshToken();
    void requestFinished(QNetworkReply *reply);
    void checkConnection();
    void onCheckReplyFinished();
    void checkLastTokenRefresh();
    // Reports a change of the connection state that the streams cause, without waiting for the
    // probe's next tick.
    void checkStreams();

signals:
    void tokenRefreshError();
    // Lost while the probe fails or a stream has been closed for more than five seconds;
    // connected again once the probe answers and every stream is open.
    void connectionChanged(bool connected);

private:
    QNetworkReply *startRequest(RequestType type,
                                const QNetworkRequest &request,
                                const QByteArray &body);
    // Spins a local event loop until the reply has finished.
    void waitFor(QNetworkReply *reply) const;
    void startNextAsync();
    void scheduleRefresh(int milliseconds);
    QDateTime now() const;
    qint64 nowMs() const;
    void updateStreamsLost();

    QString m_databaseUrl;
    QString m_apiKey;
    QString m_databaseNamespace;
    QString m_authDomain;
    QByteArray m_token;
    QString m_refreshToken;
    QTimer m_connectionTimer;
    QHash<QString, FirebaseSubscription *> m_subscriptions;
    QPointer<QNetworkReply> m_checkReply;
    bool m_signedIn = false;
    QTimer m_refreshWatchdog;
    QDateTime m_lastTokenRefresh;
    LazyNetworkAccess m_manager;

    QString m_identityUrl;
    QString m_tokenUrl;
    QString m_probeUrl;
    // One single-shot timer, so that a new schedule replaces the pending one.
    QTimer m_refreshTimer;
    bool m_refreshing = false;
    int m_refreshGrace = 5000;
    int m_refreshRetryDelay = 5000;
    Clock m_clock;

    // When each registered stream that is not open closed (or was created), by the clock.
    QHash<QString, qint64> m_closedSince;
    // Wakes checkStreams() when the longest closed stream passes the limit.
    QTimer m_streamTimer;
    bool m_probeLost = false;
    // Set once a stream has been closed too long; cleared only when every stream is open.
    bool m_streamsLost = false;
    bool m_connected = true;

    struct AsyncRequest
    {
        RequestType type;
        QNetworkRequest request;
        QByteArray body;
    };
    QQueue<AsyncRequest> m_asyncQueue;
    QPointer<QNetworkReply> m_asyncInFlight;
};
