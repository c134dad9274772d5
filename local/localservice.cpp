#include "local/localservice.h"

#include "local/chatapi.h"
#include "local/chathistoryapi.h"
#include "local/demofiles.h"
#include "local/demoseed.h"
#include "local/faultinjector.h"
#include "local/httpserver.h"
#include "local/identityendpoints.h"
#include "local/largeprofile.h"
#include "local/offlinerequestsapi.h"
#include "local/privatefiles.h"
#include "local/pushidgenerator.h"
#include "local/realtimedatabase.h"
#include "local/realtimesockethandler.h"
#include "local/restdatabasehandler.h"
#include "local/snapshotstore.h"
#include "local/testpages.h"
#include "local/tlscertificates.h"
#include "local/uploadapi.h"
#include "local/visitorapi.h"
#include "local/visitorsimulator.h"

#include <QDebug>
#include <QDir>
#include <QHostInfo>
#include <QJsonObject>
#include <QUrl>

namespace {

bool resolveAddress(const QString &host, QHostAddress *address)
{
    if (address->setAddress(host))
        return true;
    if (host == QLatin1String("localhost")) {
        *address = QHostAddress(QHostAddress::LocalHost);
        return true;
    }
    const QHostInfo info = QHostInfo::fromName(host);
    if (info.addresses().isEmpty())
        return false;
    *address = info.addresses().first();
    return true;
}

// A page served from this machine: http(s)://localhost, 127.x.x.x or [::1], any port.
bool isLoopbackOrigin(const QByteArray &origin)
{
    const QUrl url(QString::fromLatin1(origin), QUrl::StrictMode);
    if (!url.isValid() || !url.path().isEmpty()
        || (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https")))
        return false;
    return url.host() == QLatin1String("localhost") || QHostAddress(url.host()).isLoopback();
}

} // namespace

LocalService::LocalService(const Options &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_pushIds(std::make_unique<PushIdGenerator>())
    , m_faults(new FaultInjector(this))
    , m_database(new RealtimeDatabase(this))
    , m_server(new HttpServer(this))
{
    m_database->setMaxSize(options.maxDatabaseBytes);
    m_faults->setReplyDelay(options.replyDelayMs);
    m_faults->setRefuseTokenRefresh(options.refuseTokenRefresh);
}

LocalService::~LocalService()
{
    stop();
}

bool LocalService::prepareTokens(QString *error)
{
    const QString secretFile = QDir(m_options.dataDirectory)
                                   .absoluteFilePath(QStringLiteral("secret"));
    // --reset starts afresh: tokens signed with the old secret die with the old data.
    const QByteArray secret = TokenIssuer::loadOrCreateSecret(secretFile, error, m_options.reset);
    if (secret.isEmpty())
        return false;
    m_tokens = std::make_unique<TokenIssuer>(secret, m_options.databaseNamespace, &m_clock);
    m_tokens->setIdTokenLifetime(m_options.tokenLifetime);
    return true;
}

bool LocalService::start(QString *error)
{
    if (!PrivateFiles::makeDirectory(m_options.dataDirectory, error))
        return false;
    if (!resolveAddress(m_options.host, &m_address)) {
        *error = QStringLiteral("cannot resolve %1").arg(m_options.host);
        return false;
    }
    // Without TLS and with the emulator's credentials anyone who reaches the port owns the
    // database, so only this machine may.
    if (m_options.plain && !m_address.isLoopback()) {
        *error = QStringLiteral("--plain listens on this machine only: give a loopback address "
                                "(127.0.0.1, ::1 or localhost), not %1")
                     .arg(m_options.host);
        return false;
    }
    if (!prepareTokens(error))
        return false;
    if (!m_options.plain) {
        m_certificates = std::make_unique<TlsCertificates>(m_options.dataDirectory);
        if (!m_certificates->prepare(error))
            return false;
        m_server->setTlsConfiguration(m_certificates->serverConfiguration());
    }

    // Listening first, so that the demo data's links name the port really taken (also for
    // port 0); no request is served before this function returns to the event loop.
    m_server->setConnectionSettings(m_options.http);
    m_server->setFaultInjector(m_faults);
    installRoutes();
    if (!m_server->listen(m_address, m_options.port)) {
        *error = QStringLiteral("cannot listen on %1:%2: %3")
                     .arg(m_options.host)
                     .arg(m_options.port)
                     .arg(m_server->errorString());
        return false;
    }

    m_snapshots = new SnapshotStore(m_database,
                                    QDir(m_options.dataDirectory)
                                        .absoluteFilePath(QStringLiteral("database.json")),
                                    this);
    m_snapshots->setBatchInterval(m_options.saveIntervalMs);
    bool found = false;
    // Made only when it is needed: the demo account takes a moment, the large one more.
    const auto seed = [this]() -> QJsonValue {
        if (!m_options.seed.isNull() || !m_options.demo)
            return m_options.seed;
        // Links of the demo data point at this service as clients reach it.
        const QString base = baseUrl();
        QJsonObject demo = DemoSeed::build(base, m_clock.nowMs());
        if (m_options.largeProfile)
            LargeProfile::addTo(&demo, base, m_clock.nowMs());
        return demo;
    };
    if (m_options.reset) {
        m_database->replaceRoot(seed());
        if (!m_snapshots->save(error))
            return false;
    } else {
        if (!m_snapshots->load(&found, error))
            return false;
        if (!found)
            m_database->replaceRoot(seed());
    }

    m_realtime->setFallbackHost(hostAndPort());
    if (m_options.visitorsPerMinute > 0 || m_options.eventsPerSecond > 0) {
        m_simulator = std::make_unique<VisitorSimulator>(m_chatApi.get(),
                                                         ChatService::Account{1, 101},
                                                         baseUrl());
        VisitorSimulator::Settings settings;
        settings.visitorsPerMinute = m_options.visitorsPerMinute;
        settings.eventsPerSecond = m_options.eventsPerSecond;
        m_simulator->start(settings);
    }
    m_faults->setDropStreamsInterval(m_options.dropStreamsEveryMs);
    return writeEnvFile(error);
}

void LocalService::installRoutes()
{
    HttpRouter &router = m_server->router();
    router.addExact(QStringLiteral("/probe"), [](const HttpRequest &) { return HttpResponse(204); });
    if (m_options.plain) {
        // A web page may send requests here from the browser, but only pages of this machine.
        router.setRequestFilter([](const HttpRequest &request, HttpResponse *refusal) {
            if (!request.hasHeader("origin") || isLoopbackOrigin(request.header("origin")))
                return true;
            *refusal = HttpResponse::json(403,
                                          QJsonObject{{"error",
                                                       "Origin not allowed: with --plain only "
                                                       "pages of this machine may connect"}});
            return false;
        });
    }

    m_chatApi = std::make_unique<ChatApi>(m_database, m_tokens.get());
    m_chatApi->tokens().setLifetime(m_options.apiTokenLifetime);
    m_chatApi->setDataDirectory(m_options.dataDirectory);
    m_chatApi->install(router);
    ChatHistoryApi::install(m_chatApi.get(), &m_clock, router);
    OfflineRequestsApi::install(m_chatApi.get(), &m_clock, router);
    UploadApi::install(m_chatApi.get(), router);
    m_visitorApi = VisitorApi::install(m_chatApi.get(), &m_clock, router);
    m_demoFiles = std::make_unique<DemoFiles>();
    m_demoFiles->install(router);
    TestPages::install(router);

    m_identity = std::make_unique<IdentityEndpoints>(m_tokens.get(), m_faults);
    m_identity->setApiKey(m_options.apiKey);
    m_identity->install(router, m_options.identityBasePath, m_options.tokenBasePath);

    m_rest = std::make_unique<RestDatabaseHandler>(m_database,
                                                   m_tokens.get(),
                                                   m_pushIds.get(),
                                                   m_options.databaseNamespace,
                                                   m_options.plain);
    const bool verbose = m_options.verbose;
    // Uploads carry the chat API's token instead of the database's.
    router.setCredentialCheck([this](const HttpRequest &request) {
        ApiTokens::Holder holder;
        return m_rest->hasValidToken(request)
               || m_chatApi->tokens().check(request.header("authorization"), &holder)
                      == ApiTokens::Verdict::Valid;
    });
    router.addSuffix(QStringLiteral(".json"), [this, verbose](const HttpRequest &request) {
        HttpResponse response = m_rest->handle(request);
        // The path only: the query carries the auth token.
        if (verbose)
            qInfo().noquote() << request.method << request.path << response.status();
        return response;
    });

    RealtimeSession::Context context;
    context.database = m_database;
    context.tokens = m_tokens.get();
    context.faults = m_faults;
    context.emulatorCredentials = m_options.plain;
    context.limits = m_options.realtime;
    m_realtime = new RealtimeSocketHandler(context, m_options.databaseNamespace, this);
    m_realtime->setPushBatchInterval(m_options.pushBatchMs);
    m_realtime->install(router);
    connect(m_faults,
            &FaultInjector::dropStreamsRequested,
            m_realtime,
            &RealtimeSocketHandler::dropAll);
}

void LocalService::stop()
{
    if (!m_snapshots)
        return;
    m_simulator.reset();
    m_faults->setDropStreamsInterval(0);
    m_server->close();
    // Connections and sessions go with their owners; listeners are unregistered on the way.
    const auto connections = m_server->findChildren<HttpConnection *>(QString(),
                                                                      Qt::FindDirectChildrenOnly);
    qDeleteAll(connections);
    delete m_realtime;
    m_realtime = nullptr;
    m_snapshots->flush();
    delete m_snapshots;
    m_snapshots = nullptr;
}

bool LocalService::isRunning() const
{
    return m_server->isListening();
}

quint16 LocalService::port() const
{
    return m_server->serverPort();
}

QString LocalService::hostAndPort() const
{
    QString host = m_options.host;
    if (m_address == QHostAddress::AnyIPv4 || m_address == QHostAddress::Any
        || m_address == QHostAddress::AnyIPv6)
        host = QStringLiteral("127.0.0.1");
    else if (m_address.protocol() == QAbstractSocket::IPv6Protocol && !host.startsWith('['))
        host = QLatin1Char('[') + host + QLatin1Char(']');
    return host + QLatin1Char(':') + QString::number(port());
}

QString LocalService::baseUrl() const
{
    return (m_options.plain ? QStringLiteral("http://") : QStringLiteral("https://"))
           + hostAndPort();
}

QString LocalService::listenUrl() const
{
    const QHostAddress address = m_server->serverAddress();
    QString host = address.toString();
    if (address.protocol() == QAbstractSocket::IPv6Protocol)
        host = QLatin1Char('[') + host + QLatin1Char(']');
    return (m_options.plain ? QStringLiteral("http://") : QStringLiteral("https://")) + host
           + QLatin1Char(':') + QString::number(port());
}

QString LocalService::caFile() const
{
    return m_certificates ? m_certificates->caFile() : QString();
}

QList<QSslCertificate> LocalService::caCertificates() const
{
    return m_certificates ? m_certificates->caCertificates() : QList<QSslCertificate>();
}

QString LocalService::envFile() const
{
    return QDir(m_options.dataDirectory).absoluteFilePath(QStringLiteral("env"));
}

bool LocalService::writeEnvFile(QString *error) const
{
    const QString base = baseUrl();
    const auto joined = [&base](const QString &path) -> QString {
        QString prefix = path;
        while (prefix.endsWith(QLatin1Char('/')))
            prefix.chop(1);
        if (!prefix.isEmpty() && !prefix.startsWith(QLatin1Char('/')))
            prefix.prepend(QLatin1Char('/'));
        return base + prefix;
    };
    QStringList lines{
        QStringLiteral("TALLYRA_API_HOST=") + hostAndPort(),
        QStringLiteral("TALLYRA_DATABASE_URL=") + base,
        QStringLiteral("TALLYRA_DATABASE_NS=") + m_options.databaseNamespace,
        QStringLiteral("TALLYRA_IDENTITY_URL=") + joined(m_options.identityBasePath),
        QStringLiteral("TALLYRA_TOKEN_URL=") + joined(m_options.tokenBasePath),
        QStringLiteral("TALLYRA_PROBE_URL=") + base + QStringLiteral("/probe"),
    };
    if (!m_options.plain)
        lines.append(QStringLiteral("TALLYRA_CA_FILE=") + caFile());
    return PrivateFiles::write(envFile(),
                               (lines.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8(),
                               error);
}

QByteArray LocalService::mintCustomToken(qint64 serviceId,
                                         qint64 accountId,
                                         const QString &userKey) const
{
    return m_tokens ? m_tokens->mintCustomToken(serviceId, accountId, userKey) : QByteArray();
}

TokenIssuer::Grant LocalService::signIn(qint64 serviceId,
                                        qint64 accountId,
                                        const QString &userKey) const
{
    if (!m_tokens)
        return {};
    const TokenIssuer::Check check = m_tokens->verifyCustomToken(
        m_tokens->mintCustomToken(serviceId, accountId, userKey));
    return m_tokens->signIn(check.identity);
}

void LocalService::setTokenLifetime(int seconds)
{
    m_options.tokenLifetime = seconds;
    if (m_tokens)
        m_tokens->setIdTokenLifetime(seconds);
}

void LocalService::setConnectionSettings(const HttpConnection::Settings &settings)
{
    m_options.http = settings;
    m_server->setConnectionSettings(settings);
}

void LocalService::setRealtimeLimits(const RealtimeSession::Limits &limits)
{
    m_options.realtime = limits;
    if (m_realtime)
        m_realtime->setLimits(limits);
}

HttpRouter &LocalService::router()
{
    return m_server->router();
}

int LocalService::realtimeSessionCount() const
{
    return m_realtime ? m_realtime->sessionCount() : 0;
}

int LocalService::connectionCount() const
{
    return m_server->connectionCount();
}

bool LocalService::saveNow(QString *error)
{
    if (!m_snapshots)
        return false;
    return m_snapshots->save(error);
}

QByteArray LocalService::mintCustomToken(const QString &dataDirectory,
                                         const QString &databaseNamespace,
                                         qint64 serviceId,
                                         qint64 accountId,
                                         const QString &userKey,
                                         QString *error)
{
    if (!PrivateFiles::makeDirectory(dataDirectory, error))
        return {};
    const QByteArray secret = TokenIssuer::loadOrCreateSecret(QDir(dataDirectory)
                                                                  .absoluteFilePath(
                                                                      QStringLiteral("secret")),
                                                              error);
    if (secret.isEmpty())
        return {};
    return TokenIssuer(secret, databaseNamespace).mintCustomToken(serviceId, accountId, userKey);
}
