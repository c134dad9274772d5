// tallyra-local as a whole: its TLS listener's HTTP handling, its certificates and env file,
// durability across restarts and crashes, and the command-line program itself.
#include "localtestsupport.h"

#include "local/realtimedatabase.h"

#include <QDir>
#include <QJsonDocument>
#include <QProcess>
#include <QSslSocket>
#include <QtTest>

#include <csignal>

namespace {

const char kProgram[] = TALLYRA_BINARY_DIR "/local/tallyra-local";

struct RawResponse
{
    int status = 0;
    QHash<QByteArray, QByteArray> headers;
    QByteArray body;
};

// A bare HTTP/1.1 client over a real socket, for what QNetworkAccessManager never sends.
class BareConnection
{
public:
    explicit BareConnection(const LocalTestService &service)
    {
        if (service.service()->isSecure()) {
            auto *tls = new QSslSocket;
            tls->setSslConfiguration(service.sslConfiguration());
            tls->connectToHostEncrypted("127.0.0.1", service.service()->port());
            m_socket.reset(tls);
            waitUntil(
                [tls] {
                    return tls->isEncrypted() || tls->state() == QAbstractSocket::UnconnectedState;
                },
                5000);
        } else {
            m_socket.reset(new QTcpSocket);
            m_socket->connectToHost("127.0.0.1", service.service()->port());
            QTcpSocket *socket = m_socket.get();
            waitUntil(
                [socket] {
                    return socket->state() != QAbstractSocket::ConnectingState
                           && socket->state() != QAbstractSocket::HostLookupState;
                },
                5000);
        }
    }

    bool isOpen() const { return m_socket->state() == QAbstractSocket::ConnectedState; }
    void write(const QByteArray &bytes) { m_socket->write(bytes); }

    // Waits for count complete answers (a 100 Continue counts as one).
    QList<RawResponse> responses(int count, int timeoutMs = 5000)
    {
        QList<RawResponse> result;
        waitUntil(
            [&] {
                m_buffer += m_socket->readAll();
                while (result.size() < count) {
                    RawResponse response;
                    if (!takeResponse(&response))
                        break;
                    result.append(response);
                }
                return result.size() >= count
                       || m_socket->state() == QAbstractSocket::UnconnectedState;
            },
            timeoutMs);
        return result;
    }

    bool waitForClosed(int timeoutMs = 5000)
    {
        return waitUntil(
            [this] {
                m_buffer += m_socket->readAll();
                return m_socket->state() == QAbstractSocket::UnconnectedState;
            },
            timeoutMs);
    }

private:
    bool takeResponse(RawResponse *response)
    {
        const int end = m_buffer.indexOf("\r\n\r\n");
        if (end < 0)
            return false;
        const QList<QByteArray> lines = m_buffer.left(end).split('\n');
        response->status = lines.first().split(' ').value(1).toInt();
        for (int i = 1; i < lines.size(); ++i) {
            const int colon = lines.at(i).indexOf(':');
            response->headers.insert(lines.at(i).left(colon).trimmed().toLower(),
                                     lines.at(i).mid(colon + 1).trimmed());
        }
        const int length = response->headers.value("content-length").toInt();
        if (m_buffer.size() < end + 4 + length)
            return false;
        response->body = m_buffer.mid(end + 4, length);
        m_buffer.remove(0, end + 4 + length);
        return true;
    }

    std::unique_ptr<QTcpSocket> m_socket;
    QByteArray m_buffer;
};

QByteArray request(const QByteArray &method,
                   const QByteArray &target,
                   const QByteArray &body = QByteArray(),
                   const QByteArray &extraHeaders = QByteArray())
{
    QByteArray text = method + ' ' + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + extraHeaders;
    if (!body.isNull())
        text += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    return text + "\r\n" + body;
}

} // namespace

class TestLocalService : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void certificateServesLocalhostAndLoopbackOnly();
    void envFileDescribesTheService();
    void keepAliveAndPipelinedRequests();
    void chunkedAndContinuedBodies();
    void malformedRequestsGet4xxAndTheServiceStaysUp_data();
    void malformedRequestsGet4xxAndTheServiceStaysUp();
    void slowAndIdleConnectionsTimeOut();
    void restartKeepsEveryValue();
    void changesReachTheDiskWithinTheBatchInterval();
    void resetEmptiesTheDatabase();
    void programStartsPrintsAndStopsCleanly();
    void programKeepsDataThroughACrash();
    void plainModeTakesTheEmulatorsCredentials();

private:
    QProcess *startProgram(const QStringList &arguments, QString *baseUrl);

    std::unique_ptr<LocalTestService> m_local;
    QString m_token;
};

void TestLocalService::initTestCase()
{
    LocalService::Options options;
    options.http.requestTimeoutMs = 300;
    options.http.idleTimeoutMs = 400;
    options.http.limits.maxBodyBytes = 1024 * 1024;
    options.http.limits.maxHeaderBytes = 8 * 1024;
    options.http.limits.maxRequestLine = 2 * 1024;
    options.saveIntervalMs = 100;
    m_local = std::make_unique<LocalTestService>(options);
    QVERIFY(m_local->start());
    m_token = m_local->idToken(9);
    QVERIFY(!m_token.isEmpty());
}

void TestLocalService::certificateServesLocalhostAndLoopbackOnly()
{
    const QString caFile = QDir(m_local->dataDirectory()).filePath("ca.pem");
    QCOMPARE(m_local->service()->caFile(), caFile);
    QVERIFY(QFile::exists(caFile));
    QVERIFY(!(QFile::permissions(QDir(m_local->dataDirectory()).filePath("ca.key"))
              & (QFileDevice::ReadOther | QFileDevice::ReadGroup)));

    // The service runs on this thread: wait on the event loop, not with the blocking calls.
    const auto handshake = [this](QSslSocket *socket, const QString &host) {
        socket->connectToHostEncrypted(host, m_local->service()->port());
        waitUntil(
            [socket] {
                return socket->isEncrypted() || !socket->sslHandshakeErrors().isEmpty()
                       || socket->state() == QAbstractSocket::UnconnectedState;
            },
            5000);
        return socket->isEncrypted();
    };
    for (const QString host : {"localhost", "127.0.0.1"}) {
        QSslSocket socket;
        socket.setSslConfiguration(m_local->sslConfiguration());
        QVERIFY2(handshake(&socket, host), qPrintable(host + ": " + socket.errorString()));
    }
    // Trusting only the system's authorities, a client refuses the development certificate.
    QSslSocket untrusting;
    QVERIFY(!handshake(&untrusting, "127.0.0.1"));
    QVERIFY(!untrusting.sslHandshakeErrors().isEmpty());

    // A second service on the same directory keeps the authority it finds there.
    const QByteArray authority = m_local->service()->caCertificates().first().toPem();
    QVERIFY(m_local->restart());
    QCOMPARE(m_local->service()->caCertificates().first().toPem(), authority);
}

void TestLocalService::envFileDescribesTheService()
{
    QFile file(QDir(m_local->dataDirectory()).filePath("env"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QHash<QString, QString> env;
    for (const QString &line : QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts))
        env.insert(line.section('=', 0, 0), line.section('=', 1));
    const QString base = "https://127.0.0.1:" + QString::number(m_local->service()->port());
    QCOMPARE(env.value("TALLYRA_API_HOST"),
             "127.0.0.1:" + QString::number(m_local->service()->port()));
    QCOMPARE(env.value("TALLYRA_DATABASE_URL"), base);
    QCOMPARE(env.value("TALLYRA_DATABASE_NS"), QString("tallyra-local"));
    QCOMPARE(env.value("TALLYRA_IDENTITY_URL"), base);
    QCOMPARE(env.value("TALLYRA_TOKEN_URL"), base);
    QCOMPARE(env.value("TALLYRA_CA_FILE"), m_local->service()->caFile());
    QCOMPARE(env.value("TALLYRA_PROBE_URL"), base + "/probe");

    RestClient rest(m_local.get());
    QCOMPARE(rest.send("GET", "/probe").status, 204);
    QCOMPARE(rest.send("HEAD", "/probe").status, 204);
}

void TestLocalService::keepAliveAndPipelinedRequests()
{
    BareConnection connection(*m_local);
    QVERIFY(connection.isOpen());
    const QByteArray path = "/services/7/accounts/9/p.json?auth=" + m_token.toLatin1();
    // Three requests in one write: answered in order on the same connection.
    connection.write(request("PUT", path, "\"first\"") + request("GET", path)
                     + request("PUT", path, "{\"n\":2}"));
    const QList<RawResponse> answers = connection.responses(3);
    QCOMPARE(answers.size(), 3);
    QCOMPARE(answers.at(0).body, QByteArray("\"first\""));
    QCOMPARE(answers.at(1).body, QByteArray("\"first\""));
    QCOMPARE(answers.at(2).body, QByteArray("{\"n\":2}"));
    for (const RawResponse &answer : answers) {
        QCOMPARE(answer.status, 200);
        QCOMPARE(answer.headers.value("connection"), QByteArray("keep-alive"));
        QVERIFY(!answer.headers.value("date").isEmpty());
    }
    // Still open for more, then closed when the client asks.
    connection.write(request("GET", "/probe", QByteArray(), "Connection: close\r\n"));
    const QList<RawResponse> last = connection.responses(1);
    QCOMPARE(last.value(0).status, 204);
    QCOMPARE(last.value(0).headers.value("connection"), QByteArray("close"));
    QVERIFY(connection.waitForClosed());

    // HTTP/1.0 closes unless asked to keep the connection.
    BareConnection old(*m_local);
    old.write("GET /probe HTTP/1.0\r\n\r\n");
    QCOMPARE(old.responses(1).value(0).status, 204);
    QVERIFY(old.waitForClosed());
}

void TestLocalService::chunkedAndContinuedBodies()
{
    BareConnection connection(*m_local);
    const QByteArray path = "/services/7/accounts/9/c.json?auth=" + m_token.toLatin1();
    connection.write("PUT " + path
                     + " HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n"
                       "5;ext=1\r\n{\"a\":\r\n"
                       "a\r\n\"chunked\"}\r\n"
                       "0\r\nTrailer: x\r\n\r\n");
    const RawResponse chunked = connection.responses(1).value(0);
    QCOMPARE(chunked.status, 200);
    QCOMPARE(chunked.body, QByteArray("{\"a\":\"chunked\"}"));

    // The body is sent only after the service says to go on.
    connection.write("PUT " + path
                     + " HTTP/1.1\r\nHost: x\r\nExpect: 100-continue\r\n"
                       "Content-Length: 4\r\n\r\n");
    QCOMPARE(connection.responses(1).value(0).status, 100);
    connection.write("true");
    const RawResponse continued = connection.responses(1).value(0);
    QCOMPARE(continued.status, 200);
    QCOMPARE(continued.body, QByteArray("true"));
}

void TestLocalService::malformedRequestsGet4xxAndTheServiceStaysUp_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("status");
    QTest::newRow("garbage") << QByteArray("\x16\x03\x01 hello\r\n\r\n") << 400;
    QTest::newRow("no target") << QByteArray("GET HTTP/1.1\r\nHost: x\r\n\r\n") << 400;
    QTest::newRow("relative target") << QByteArray("GET probe HTTP/1.1\r\nHost: x\r\n\r\n") << 400;
    QTest::newRow("no host") << QByteArray("GET /probe HTTP/1.1\r\n\r\n") << 400;
    QTest::newRow("version") << QByteArray("GET /probe HTTP/2.0\r\nHost: x\r\n\r\n") << 505;
    QTest::newRow("header line") << QByteArray("GET /probe HTTP/1.1\r\nHost x\r\n\r\n") << 400;
    QTest::newRow("folded header")
        << QByteArray("GET /probe HTTP/1.1\r\nHost: x\r\n  more\r\n\r\n") << 400;
    QTest::newRow("long target") << "GET /" + QByteArray(4096, 'a') + " HTTP/1.1\r\nHost: x\r\n\r\n"
                                 << 414;
    QTest::newRow("big headers") << "GET /probe HTTP/1.1\r\nHost: x\r\nX: " + QByteArray(9000, 'a')
                                        + "\r\n\r\n"
                                 << 431;
    QTest::newRow("big body") << QByteArray(
        "PUT /a.json HTTP/1.1\r\nHost: x\r\nContent-Length: 2000000\r\n\r\n")
                              << 413;
    QTest::newRow("big chunked body") << QByteArray(
        "PUT /a.json HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\nFFFFFFF\r\n")
                                      << 413;
    QTest::newRow("bad length") << QByteArray(
        "PUT /a.json HTTP/1.1\r\nHost: x\r\nContent-Length: -1\r\n\r\n")
                                << 400;
    QTest::newRow("two lengths") << QByteArray(
        "PUT /a.json HTTP/1.1\r\nHost: x\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n")
                                 << 400;
    QTest::newRow("length and chunked")
        << QByteArray("PUT /a.json HTTP/1.1\r\nHost: x\r\nContent-Length: 3\r\n"
                      "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n")
        << 400;
    QTest::newRow("unknown coding")
        << QByteArray("PUT /a.json HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: gzip\r\n\r\n") << 501;
    QTest::newRow("bad chunk size")
        << QByteArray("PUT /a.json HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n")
        << 400;
    QTest::newRow("bad chunk end") << QByteArray(
        "PUT /a.json HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nab\r\n")
                                   << 400;
    QTest::newRow("websocket version") << QByteArray(
        "GET /.ws?v=5 HTTP/1.1\r\nHost: x\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
        "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 8\r\n\r\n")
                                       << 426;
    QTest::newRow("websocket key") << QByteArray(
        "GET /.ws?v=5 HTTP/1.1\r\nHost: x\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
        "Sec-WebSocket-Key: short\r\nSec-WebSocket-Version: 13\r\n\r\n")
                                   << 400;
}

void TestLocalService::malformedRequestsGet4xxAndTheServiceStaysUp()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, status);
    BareConnection connection(*m_local);
    QVERIFY(connection.isOpen());
    connection.write(bytes);
    const QList<RawResponse> answers = connection.responses(1);
    QCOMPARE(answers.size(), 1);
    QCOMPARE(answers.first().status, status);
    QVERIFY(answers.first().headers.value("content-type").startsWith("application/json")
            || answers.first().headers.value("content-type").startsWith("text/plain"));
    QVERIFY(connection.waitForClosed());

    BareConnection next(*m_local);
    next.write(request("GET", "/probe"));
    QCOMPARE(next.responses(1).value(0).status, 204);
}

void TestLocalService::slowAndIdleConnectionsTimeOut()
{
    BareConnection slow(*m_local);
    slow.write("GET /probe HTTP/1.1\r\nHost:");
    const QList<RawResponse> answers = slow.responses(1, 3000);
    QCOMPARE(answers.value(0).status, 408);
    QVERIFY(slow.waitForClosed());

    BareConnection idle(*m_local);
    idle.write(request("GET", "/probe"));
    QCOMPARE(idle.responses(1).value(0).status, 204);
    QVERIFY(idle.waitForClosed(3000));
}

void TestLocalService::restartKeepsEveryValue()
{
    RestClient rest(m_local.get());
    const QString account = "/services/7/accounts/9";
    const QByteArray value
        = R"({"chats":{"c1":{"status":"open","n":1.5,"t":true,"text":"привет \"q\"\n"}},
                                 "list":[1,2,3]})";
    QCOMPARE(rest.send("PUT", account + "/r.json?auth=" + m_token, value).status, 200);
    const QJsonValue before = rest.send("GET", account + "/r.json?auth=" + m_token).json;
    QVERIFY(m_local->restart());
    RestClient again(m_local.get());
    QCOMPARE(again.send("GET", account + "/r.json?auth=" + m_token).json, before);
}

void TestLocalService::changesReachTheDiskWithinTheBatchInterval()
{
    RestClient rest(m_local.get());
    const QString file = QDir(m_local->dataDirectory()).filePath("database.json");
    QCOMPARE(rest.send("PUT", "/services/7/accounts/9/batched.json?auth=" + m_token, "42").status,
             200);
    // No stop and no save call: the batch timer writes it (100 ms here, one second by default).
    QVERIFY(waitUntil(
        [&] {
            QFile snapshot(file);
            return snapshot.open(QIODevice::ReadOnly)
                   && snapshot.readAll().contains("\"batched\":42");
        },
        2000));
}

void TestLocalService::resetEmptiesTheDatabase()
{
    LocalService::Options options;
    options.reset = true;
    options.seed = QJsonObject{{"seeded", true}};
    LocalTestService fresh(options);
    QVERIFY(fresh.start());
    RestClient(&fresh).send("PUT", "/services/7/accounts/9/x.json?auth=" + fresh.idToken(9), "1");
    QVERIFY(fresh.restart()); // keeps the data: restart() does not reset
    QCOMPARE(fresh.service()->database()->value({}).toObject().keys(),
             QStringList({"seeded", "services"}));
}

QProcess *TestLocalService::startProgram(const QStringList &arguments, QString *baseUrl)
{
    auto *process = new QProcess(this);
    process->setProcessChannelMode(QProcess::SeparateChannels);
    process->start(QString::fromLatin1(kProgram), arguments);
    waitUntil(
        [process] { return process->canReadLine() || process->state() == QProcess::NotRunning; },
        10000);
    const QString line = QString::fromUtf8(process->readLine()).trimmed();
    *baseUrl = line.startsWith("listening on ") ? line.mid(13) : QString();
    return process;
}

void TestLocalService::programStartsPrintsAndStopsCleanly()
{
    QTemporaryDir dir;
    QProcess usage;
    usage.start(QString::fromLatin1(kProgram), {"--listen", "nonsense"});
    QVERIFY(usage.waitForFinished(5000));
    QCOMPARE(usage.exitCode(), 2);

    QProcess mint;
    mint.start(QString::fromLatin1(kProgram),
               {"--data", dir.path(), "--mint-token", "7", "9", "key-1"});
    QVERIFY(mint.waitForFinished(5000));
    QCOMPARE(mint.exitCode(), 0);
    const QByteArray custom = mint.readAllStandardOutput().trimmed();
    QCOMPARE(custom.count('.'), 2);

    QString base;
    QProcess *process
        = startProgram({"--listen", "127.0.0.1:0", "--data", dir.path(), "--token-lifetime", "120"},
                       &base);
    QVERIFY2(base.startsWith("https://127.0.0.1:"), qPrintable(base));
    const QUrl url(base);

    // The program's own CA is in its data directory; the minted token is good for it.
    QNetworkAccessManager manager;
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setCaCertificates(QSslCertificate::fromPath(QDir(dir.path()).filePath("ca.pem")));
    const auto call = [&](const QByteArray &verb, const QString &path, const QByteArray &body) {
        QNetworkRequest request(QUrl(base + path));
        request.setSslConfiguration(tls);
        request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
        QNetworkReply *reply = manager.sendCustomRequest(request, verb, body);
        waitUntil([reply] { return reply->isFinished(); }, 5000);
        const QByteArray answer = reply->readAll();
        delete reply;
        return answer;
    };
    const QJsonObject signIn = QJsonDocument::fromJson(
                                   call("POST",
                                        "/identitytoolkit/v3/relyingparty/verifyCustomToken?key=k",
                                        "{\"token\":\"" + custom + "\"}"))
                                   .object();
    QCOMPARE(signIn.value("expiresIn").toString(), QString("120"));
    const QString token = signIn.value("idToken").toString();
    QCOMPARE(call("PUT", "/services/7/accounts/9/saved.json?auth=" + token, "\"on exit\""),
             QByteArray("\"on exit\""));

    ::kill(process->processId(), SIGTERM);
    QVERIFY(process->waitForFinished(5000));
    QCOMPARE(process->exitStatus(), QProcess::NormalExit);
    QCOMPARE(process->exitCode(), 0);
    const QByteArray errors = process->readAllStandardError();
    QVERIFY2(!errors.contains(token.toLatin1()) && !errors.contains(custom), errors);
    QFile snapshot(QDir(dir.path()).filePath("database.json"));
    QVERIFY(snapshot.open(QIODevice::ReadOnly));
    QVERIFY(snapshot.readAll().contains("\"saved\":\"on exit\""));

    // Started again on the same port: the data is still there.
    process = startProgram({"--listen",
                            "127.0.0.1:" + QString::number(url.port()),
                            "--data",
                            dir.path()},
                           &base);
    QCOMPARE(base, url.toString());
    QCOMPARE(call("GET", "/services/7/accounts/9/saved.json?auth=" + token, QByteArray()),
             QByteArray("\"on exit\""));
    ::kill(process->processId(), SIGINT);
    QVERIFY(process->waitForFinished(5000));
    QCOMPARE(process->exitCode(), 0);

    process = startProgram({"--listen", "127.0.0.1:0", "--data", dir.path(), "--reset"}, &base);
    QVERIFY(!base.isEmpty());
    process->kill();
    process->waitForFinished(5000);
    snapshot.close();
    QVERIFY(snapshot.open(QIODevice::ReadOnly));
    QCOMPARE(snapshot.readAll().trimmed(), QByteArray("null"));
}

void TestLocalService::programKeepsDataThroughACrash()
{
    QTemporaryDir dir;
    QString base;
    QProcess *process = startProgram({"--listen", "127.0.0.1:0", "--data", dir.path(), "--plain"},
                                     &base);
    QVERIFY2(base.startsWith("http://127.0.0.1:"), qPrintable(base));
    QNetworkAccessManager manager;
    const auto call = [&](const QByteArray &verb, const QString &path, const QByteArray &body) {
        QNetworkReply *reply = manager.sendCustomRequest(QNetworkRequest(QUrl(base + path)),
                                                         verb,
                                                         body);
        waitUntil([reply] { return reply->isFinished(); }, 5000);
        const QByteArray answer = reply->readAll();
        delete reply;
        return answer;
    };
    QCOMPARE(call("PUT", "/crash.json?auth=owner", "{\"kept\":true}"),
             QByteArray("{\"kept\":true}"));
    QTest::qWait(1300); // past the one-second batch
    process->kill();    // SIGKILL: no chance to save
    QVERIFY(process->waitForFinished(5000));

    process = startProgram({"--listen", "127.0.0.1:0", "--data", dir.path(), "--plain"}, &base);
    QVERIFY(!base.isEmpty());
    QCOMPARE(call("GET", "/crash.json?auth=owner", QByteArray()), QByteArray("{\"kept\":true}"));
    process->kill();
    process->waitForFinished(5000);
}

void TestLocalService::plainModeTakesTheEmulatorsCredentials()
{
    LocalService::Options options;
    options.plain = true;
    LocalTestService plain(options);
    QVERIFY(plain.start());
    QVERIFY(plain.baseUrl().startsWith("http://"));
    RestClient rest(&plain);

    // An unsigned token with the account's claims, as the official SDK's emulator mode makes.
    const auto encode = [](const QJsonObject &object) {
        return QJsonDocument(object)
            .toJson(QJsonDocument::Compact)
            .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    };
    const QString unsignedToken = QString::fromLatin1(
        encode({{"alg", "none"}, {"type", "JWT"}}) + "."
        + encode({{"sub", "sdk-user"},
                  {"service_id", 7},
                  {"account_id", 9},
                  {"iat", QDateTime::currentSecsSinceEpoch()},
                  {"exp", QDateTime::currentSecsSinceEpoch() + 3600}})
        + ".");
    QCOMPARE(rest.send("PUT", "/services/7/accounts/9/a.json?auth=" + unsignedToken, "1").status,
             200);
    QCOMPARE(rest.send("PUT", "/services/7/accounts/8/a.json?auth=" + unsignedToken, "1").status,
             401);
    // "owner" is the emulator's administrator: everything is reachable.
    QCOMPARE(rest.send("GET", "/.json?auth=owner").json,
             QJsonValue(QJsonObject{
                 {"services",
                  QJsonObject{
                      {"7",
                       QJsonObject{{"accounts", QJsonObject{{"9", QJsonObject{{"a", 1}}}}}}}}}}));
    RealtimeClient admin(&plain);
    QVERIFY(admin.open());
    QCOMPARE(admin.request("gauth", {{"cred", "owner"}}).value("s").toString(), QString("ok"));
    QCOMPARE(admin.listen("/"), QString("ok"));

    // Over TLS neither is accepted.
    RestClient tls(m_local.get());
    QCOMPARE(tls.send("GET", "/.json?auth=owner").status, 401);
    QCOMPARE(tls.send("GET", "/services/7/accounts/9/a.json?auth=" + unsignedToken).status, 401);
}

QTEST_GUILESS_MAIN(TestLocalService)
#include "tst_localservice.moc"
