#pragma once

#include "local/httpconnection.h"
#include "local/realtimesession.h"
#include "local/tokenissuer.h"

#include <QHostAddress>
#include <QJsonValue>
#include <QObject>
#include <QSslCertificate>

#include <memory>

class ChatApi;
class DemoFiles;
class FaultInjector;
class HttpRouter;
class HttpServer;
class IdentityEndpoints;
class PushIdGenerator;
class RealtimeDatabase;
class RealtimeSocketHandler;
class RestDatabaseHandler;
class SnapshotStore;
class TlsCertificates;
class VisitorApi;
class VisitorSimulator;

// The local stand-in for the hosted service: one listener serving the identity endpoints, the
// realtime database over REST and websockets, and a connectivity probe. Tests run it in-process
// on an ephemeral port; tallyra-local's main runs it from the command line.
class LocalService : public QObject
{
    Q_OBJECT

public:
    struct Options
    {
        QString host = QStringLiteral("127.0.0.1");
        quint16 port = 8443; // 0: any free port
        QString dataDirectory;
        bool plain = false;
        bool reset = false;
        int tokenLifetime = 3600;
        // The chat API's session tokens.
        int apiTokenLifetime = 24 * 3600;
        QString apiKey;
        QString databaseNamespace = QStringLiteral("tallyra-local");
        // Path parts of the identity and token base URLs; "" serves them at the root.
        QString identityBasePath;
        QString tokenBasePath;
        int dropStreamsEveryMs = 0;
        int replyDelayMs = 0;
        bool refuseTokenRefresh = false;
        int saveIntervalMs = 1000;
        // Pushes under load leave at most once per interval, several to a write.
        int pushBatchMs = 4;
        // Connection limits and time-outs, HTTP and websockets alike.
        HttpConnection::Settings http;
        RealtimeSession::Limits realtime;
        // Writes that would make the database's JSON bigger than this are refused.
        qint64 maxDatabaseBytes = 512 * 1024 * 1024;
        // What --reset (and a first start) puts in the database; when null and demo is set, the
        // demo account (made large with largeProfile).
        QJsonValue seed;
        bool demo = false;
        bool largeProfile = false;
        // Simulated visitors of the demo account's first service: new ones a minute, and visitor
        // messages a second across its chats (load).
        double visitorsPerMinute = 0;
        int eventsPerSecond = 0;
        bool verbose = false;
    };

    explicit LocalService(const Options &options, QObject *parent = nullptr);
    ~LocalService() override;

    bool start(QString *error);
    // Stops listening, closes every connection and saves the database.
    void stop();
    bool isRunning() const;

    const Options &options() const { return m_options; }
    quint16 port() const;
    bool isSecure() const { return !m_options.plain; }
    // "https://127.0.0.1:8443" (or http:// with --plain), no trailing slash.
    QString baseUrl() const;
    // The address really listened on ("https://0.0.0.0:8443"), where baseUrl() names one that
    // clients can reach.
    QString listenUrl() const;
    QString hostAndPort() const;
    QString caFile() const;
    QList<QSslCertificate> caCertificates() const;
    QString envFile() const;

    // A custom token as the chat service's sign-in hands out (for tests and --mint-token).
    QByteArray mintCustomToken(qint64 serviceId, qint64 accountId, const QString &userKey) const;
    // Skips the exchange: the ID token and refresh token a sign-in would give.
    TokenIssuer::Grant signIn(qint64 serviceId, qint64 accountId, const QString &userKey) const;
    void setTokenLifetime(int seconds);
    // What the service takes for now; tests move it forward.
    ServiceClock *clock() { return &m_clock; }
    ChatApi *chatApi() const { return m_chatApi.get(); }
    VisitorApi *visitorApi() const { return m_visitorApi.get(); }
    // For connections opened from now on.
    void setConnectionSettings(const HttpConnection::Settings &settings);
    void setRealtimeLimits(const RealtimeSession::Limits &limits);

    FaultInjector *faults() const { return m_faults; }
    RealtimeDatabase *database() const { return m_database; }
    HttpRouter &router();
    int realtimeSessionCount() const;
    // Open connections, websockets included.
    int connectionCount() const;
    // Writes the snapshot now (tests use it to check the file).
    bool saveNow(QString *error = nullptr);

    // Mints with the secret in dataDirectory, without starting anything.
    static QByteArray mintCustomToken(const QString &dataDirectory,
                                      const QString &databaseNamespace,
                                      qint64 serviceId,
                                      qint64 accountId,
                                      const QString &userKey,
                                      QString *error);

private:
    bool prepareTokens(QString *error);
    bool writeEnvFile(QString *error) const;
    void installRoutes();

    Options m_options;
    QHostAddress m_address;
    ServiceClock m_clock;
    std::unique_ptr<TokenIssuer> m_tokens;
    std::unique_ptr<TlsCertificates> m_certificates;
    std::unique_ptr<PushIdGenerator> m_pushIds;
    std::unique_ptr<RestDatabaseHandler> m_rest;
    std::unique_ptr<IdentityEndpoints> m_identity;
    std::unique_ptr<ChatApi> m_chatApi;
    std::unique_ptr<VisitorApi> m_visitorApi; // after the chat API it uses
    std::unique_ptr<DemoFiles> m_demoFiles;
    std::unique_ptr<VisitorSimulator> m_simulator;
    FaultInjector *m_faults;
    RealtimeDatabase *m_database;
    HttpServer *m_server;
    SnapshotStore *m_snapshots = nullptr;
    RealtimeSocketHandler *m_realtime = nullptr;
};
