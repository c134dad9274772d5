// tallyra-local as a whole: its TLS listener's HTTP handling, its certificates and env file,
// durability across restarts and crashes, and the command-line program itself.
#include "localtestsupport.h"

#include "local/realtimedatabase.h"

#include <QDir>
#include <QProcess>
#include <QSslSocket>
#include <QtTest>

#include <csignal>

namespace {

const char kProgram[] = TALLYRA_BINARY_DIR "/local/tallyra-local";
const QByteArray kUpgrade = "GET /.ws?v=5&ns=tallyra-local HTTP/1.1\r\nHost: x\r\n"
                            "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: "
                            "13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";

QByteArray fileText(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestLocalService : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        LocalService::Options options;
        options.http.limits.maxBodyBytes = 1024 * 1024;
        options.http.limits.maxHeaderBytes = 8 * 1024;
        options.http.limits.maxRequestLine = 2 * 1024;
        options.saveIntervalMs = 100;
        m_local = std::make_unique<LocalTestService>(options);
        QVERIFY(m_local->start());
        m_token = m_local->idToken(9);
    }

    void certificateServesLocalhostAndLoopbackOnly()
    {
        const QString caFile = QDir(m_local->dataDirectory()).filePath("ca.pem");
        QCOMPARE(m_local->service()->caFile(), caFile);
        QVERIFY(QFile::exists(caFile));
        QVERIFY(!(QFile::permissions(QDir(m_local->dataDirectory()).filePath("ca.key"))
                  & (QFileDevice::ReadOther | QFileDevice::ReadGroup)));
        const auto handshake = [this](QSslSocket *socket, const QString &host) {
            socket->connectToHostEncrypted(host, m_local->service()->port());
            waitUntil(
                [socket] {
                    return socket->isEncrypted() || !socket->sslHandshakeErrors().isEmpty()
                           || socket->state() == QAbstractSocket::UnconnectedState;
                },
                10000);
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

    void envFileDescribesTheService()
    {
        QHash<QString, QString> env;
        for (const QString &line :
             QString(fileText(m_local->service()->envFile())).split('\n', Qt::SkipEmptyParts))
            env.insert(line.section('=', 0, 0), line.section('=', 1));
        const QString host = "127.0.0.1:" + QString::number(m_local->service()->port());
        const QString base = "https://" + host;
        QCOMPARE(env,
                 (QHash<QString, QString>{{"TALLYRA_API_HOST", host},
                                          {"TALLYRA_DATABASE_URL", base},
                                          {"TALLYRA_DATABASE_NS", "tallyra-local"},
                                          {"TALLYRA_IDENTITY_URL", base},
                                          {"TALLYRA_TOKEN_URL", base},
                                          {"TALLYRA_CA_FILE", m_local->service()->caFile()},
                                          {"TALLYRA_PROBE_URL", base + "/probe"}}));
        QCOMPARE(RestClient(m_local.get()).send("GET", "/probe").status, 204);
        QCOMPARE(RestClient(m_local.get()).send("HEAD", "/probe").status, 204);
    }

    void keepAliveAndPipelinedRequests()
    {
        RawConnection connection(*m_local);
        const QByteArray path = "/services/7/accounts/9/p.json?auth=" + m_token.toLatin1();
        // Three requests in one write: answered in order on the same connection.
        connection.write(RawConnection::request("PUT", path, "1")
                         + RawConnection::request("GET", path)
                         + RawConnection::request("PUT", path, "2"));
        QByteArray bodies;
        for (const RawConnection::Response &answer : connection.responses(3)) {
            QCOMPARE(answer.status, 200);
            QCOMPARE(answer.headers.value("connection"), "keep-alive");
            QVERIFY(!answer.headers.value("date").isEmpty());
            bodies += answer.body;
        }
        QCOMPARE(bodies, "112");
        // Still open for more, then closed when the client asks.
        connection.write(RawConnection::request("GET", "/probe", {}, "Connection: close\r\n"));
        const RawConnection::Response last = connection.responses(1).value(0);
        QCOMPARE(last.status, 204);
        QCOMPARE(last.headers.value("connection"), "close");
        QVERIFY(connection.waitForClosed());
        // HTTP/1.0 closes unless asked to keep the connection.
        RawConnection old(*m_local);
        old.write("GET /probe HTTP/1.0\r\n\r\n");
        QCOMPARE(old.responses(1).value(0).status, 204);
        QVERIFY(old.waitForClosed());
    }

    void chunkedAndContinuedBodies()
    {
        RawConnection connection(*m_local);
        const QByteArray put = "PUT /services/7/accounts/9/c.json?auth=" + m_token.toLatin1()
                               + " HTTP/1.1\r\nHost: x\r\n";
        connection.write(
            put
            + "Transfer-Encoding: "
              "chunked\r\n\r\n5;ext=1\r\n{\"a\":\r\na\r\n\"chunked\"}\r\n0\r\nTrailer: x\r\n\r\n");
        const RawConnection::Response chunked = connection.responses(1).value(0);
        QCOMPARE(chunked.status, 200);
        QCOMPARE(chunked.body, "{\"a\":\"chunked\"}");
        // The body is sent only after the service says to go on.
        connection.write(put + "Expect: 100-continue\r\nContent-Length: 4\r\n\r\n");
        QCOMPARE(connection.responses(1).value(0).status, 100);
        connection.write("true");
        QCOMPARE(connection.responses(1).value(0).body, "true");
    }

    void malformedRequestsGet4xxAndTheServiceStaysUp_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("status");
        const QByteArray put = "PUT /a.json HTTP/1.1\r\nHost: x\r\n",
                         chunked = put + "Transfer-Encoding: chunked\r\n\r\n",
                         probe = "GET /probe HTTP/1.1\r\nHost: x\r\n";
        const auto row = [](const char *name, int status, const QByteArray &bytes) {
            QTest::newRow(name) << bytes << status;
        };
        row("garbage", 400, "\x16\x03\x01 hello\r\n\r\n");
        row("no target", 400, "GET HTTP/1.1\r\nHost: x\r\n\r\n");
        row("relative target", 400, "GET probe HTTP/1.1\r\nHost: x\r\n\r\n");
        row("no host", 400, "GET /probe HTTP/1.1\r\n\r\n");
        row("version", 505, QByteArray(probe).replace("1.1", "2.0") + "\r\n");
        row("header line", 400, "GET /probe HTTP/1.1\r\nHost x\r\n\r\n");
        row("folded header", 400, probe + "  more\r\n\r\n");
        row("long target", 414, "GET /" + QByteArray(4096, 'a') + " HTTP/1.1\r\nHost: x\r\n\r\n");
        row("big headers", 431, probe + "X: " + QByteArray(9000, 'a') + "\r\n\r\n");
        row("big body", 413, put + "Content-Length: 2000000\r\n\r\n");
        row("big chunked body", 413, chunked + "FFFFFFF\r\n");
        row("bad length", 400, put + "Content-Length: -1\r\n\r\n");
        row("two lengths", 400, put + "Content-Length: 1\r\nContent-Length: 2\r\n\r\n");
        row("length and chunked", 400, put + "Content-Length: 3\r\n" + chunked + "0\r\n\r\n");
        row("unknown coding", 501, put + "Transfer-Encoding: gzip\r\n\r\n");
        row("bad chunk size", 400, chunked + "zz\r\n");
        row("bad chunk end", 400, chunked + "1\r\nab\r\n");
        QByteArray upgrade = kUpgrade + "\r\n";
        row("websocket version", 426, QByteArray(upgrade).replace("Version: 13", "Version: 8"));
        row("websocket key", 400, upgrade.replace("dGhlIHNhbXBsZSBub25jZQ==", "short"));
    }

    void malformedRequestsGet4xxAndTheServiceStaysUp()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, status);
        RawConnection connection(*m_local);
        connection.write(bytes);
        const QList<RawConnection::Response> answers = connection.responses(1);
        QCOMPARE(answers.size(), 1);
        QCOMPARE(answers.first().status, status);
        const QByteArray type = answers.first().headers.value("content-type");
        QVERIFY(type.startsWith("application/json") || type.startsWith("text/plain"));
        QVERIFY(connection.waitForClosed());
        RawConnection next(*m_local);
        next.write(RawConnection::request("GET", "/probe"));
        QCOMPARE(next.responses(1).value(0).status, 204);
    }

    void slowAndIdleConnectionsTimeOut()
    {
        HttpConnection::Settings settings;
        settings.requestTimeoutMs = 300;
        settings.idleTimeoutMs = 1000;
        m_local->service()->setConnectionSettings(settings);
        RawConnection slow(*m_local);
        slow.write("GET /probe HTTP/1.1\r\nHost:");
        QCOMPARE(slow.responses(1).value(0).status, 408);
        QVERIFY(slow.waitForClosed());
        RawConnection idle(*m_local);
        idle.write(RawConnection::request("GET", "/probe"));
        QCOMPARE(idle.responses(1).value(0).status, 204);
        QVERIFY(idle.waitForClosed());
        m_local->service()->setConnectionSettings(HttpConnection::Settings());
    }

    void dataOutlivesRestartsAndResetEmptiesIt()
    {
        RestClient rest(m_local.get());
        rest.token = m_token;
        const QString value
            = "{'c':{'s':'open','n':1.5,'t':true,'x':'привет \\'q\\'\\n'},'l':[1,2]}";
        QCOMPARE(rest.database("PUT", "/services/7/accounts/9/r", value).json, jsonValue(value));
        // No stop and no save call: the batch timer writes it (100 ms here, a second by default).
        const QString file = QDir(m_local->dataDirectory()).filePath("database.json");
        QVERIFY(waitUntil([&] { return fileText(file).contains("\"x\":\"привет"); }, 10000));
        QVERIFY(m_local->restart());
        RestClient again(m_local.get());
        again.token = m_token;
        QCOMPARE(again.database("GET", "/services/7/accounts/9/r").json, jsonValue(value));

        LocalService::Options options;
        options.reset = true;
        options.seed = QJsonObject{{"seeded", true}};
        LocalTestService fresh(options);
        QVERIFY(fresh.start());
        QCOMPARE(fresh.service()->database()->value({}), jsonValue("{'seeded':true}"));
        fresh.service()->database()->set(DatabasePath({"x"}), 1);
        QVERIFY(fresh.restart()); // keeps the data: restart() does not reset
        QCOMPARE(fresh.service()->database()->value({}), jsonValue("{'seeded':true,'x':1}"));
    }

    void programServesSavesAndStops()
    {
        QTemporaryDir dir;
        QProcess usage;
        usage.start(QString::fromLatin1(kProgram), {"--listen", "nonsense"});
        QVERIFY(usage.waitForFinished(30000));
        QCOMPARE(usage.exitCode(), 2);
        QProcess mint;
        mint.start(QString::fromLatin1(kProgram),
                   {"--data", dir.path(), "--mint-token", "7", "9", "key-1"});
        QVERIFY(mint.waitForFinished(30000));
        QCOMPARE(mint.exitCode(), 0);
        const QByteArray custom = mint.readAllStandardOutput().trimmed();
        QCOMPARE(custom.count('.'), 2);

        // The program's own CA is in its data directory; the minted token is good for it.
        QString base;
        QProcess *process = startProgram({"--data", dir.path(), "--token-lifetime", "120"}, &base);
        QVERIFY2(base.startsWith("https://127.0.0.1:"), qPrintable(base));
        QNetworkAccessManager manager;
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.setCaCertificates(QSslCertificate::fromPath(QDir(dir.path()).filePath("ca.pem")));
        const auto call = [&](const QByteArray &verb, const QString &path, const QByteArray &body) {
            QNetworkRequest request(QUrl(base + path));
            request.setSslConfiguration(tls);
            request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
            std::unique_ptr<QNetworkReply> reply(manager.sendCustomRequest(request, verb, body));
            waitUntil([&reply] { return reply->isFinished(); }, 30000);
            return reply->readAll();
        };
        const QJsonValue signIn = jsonValue(
            call("POST",
                 "/identitytoolkit/v3/relyingparty/verifyCustomToken?key=k",
                 "{\"token\":\"" + custom + "\"}"));
        QCOMPARE(signIn["expiresIn"].toString(), "120");
        const QString path = "/services/7/accounts/9/saved.json?auth="
                             + signIn["idToken"].toString();
        QCOMPARE(call("PUT", path, "\"batched\""), "\"batched\"");
        // Killed, without a chance to save, once the one-second batch has written the file.
        const QString file = QDir(dir.path()).filePath("database.json");
        QVERIFY(waitUntil([&] { return fileText(file).contains("batched"); }, 10000));
        process->kill();
        QVERIFY(process->waitForFinished(30000));

        // Started again on the same port: the data is still there; SIGTERM saves and stops.
        const QString port = QString::number(QUrl(base).port());
        process = startProgram({"--listen", "127.0.0.1:" + port, "--data", dir.path()}, &base);
        QCOMPARE(QUrl(base).port(), port.toInt());
        QCOMPARE(call("GET", path, {}), "\"batched\"");
        QCOMPARE(call("PUT", path, "\"on exit\""), "\"on exit\"");
        ::kill(process->processId(), SIGTERM);
        QVERIFY(process->waitForFinished(30000));
        QCOMPARE(process->exitStatus(), QProcess::NormalExit);
        QCOMPARE(process->exitCode(), 0);
        const QByteArray errors = process->readAllStandardError();
        QVERIFY2(!errors.contains(path.section('=', 1).toLatin1()) && !errors.contains(custom),
                 errors);
        QVERIFY(fileText(file).contains("\"saved\":\"on exit\""));

        // Without TLS, reset: only the seed is left of the database; SIGINT stops it too.
        process = startProgram({"--data", dir.path(), "--plain", "--reset"}, &base);
        QVERIFY2(base.startsWith("http://127.0.0.1:"), qPrintable(base));
        ::kill(process->processId(), SIGINT);
        QVERIFY(process->waitForFinished(30000));
        QCOMPARE(process->exitCode(), 0);
        QVERIFY(!fileText(file).isEmpty() && !fileText(file).contains("\"saved\""));
    }

    void plainModeServesThisMachineOnlyWithTheEmulatorsCredentials()
    {
        LocalService::Options options;
        options.plain = true;
        options.host = QStringLiteral("0.0.0.0");
        QString error;
        QVERIFY(!LocalTestService(options).start(&error));
        QVERIFY2(error.contains("loopback"), qPrintable(error));
        options.plain = false;
        LocalTestService everywhere(options);
        QVERIFY(everywhere.start());
        QVERIFY(everywhere.service()->listenUrl().startsWith("https://0.0.0.0:"));

        options.plain = true;
        options.host = QStringLiteral("127.0.0.1");
        LocalTestService plain(options);
        QVERIFY(plain.start());
        QVERIFY(plain.baseUrl().startsWith("http://"));
        // An unsigned token with the account's claims, as the official SDK's emulator mode makes.
        const auto encode = [](const QString &json) {
            return jsonBytes(json).toBase64(QByteArray::Base64UrlEncoding
                                            | QByteArray::OmitTrailingEquals);
        };
        const qint64 now = QDateTime::currentSecsSinceEpoch();
        const QString claims = QString(
                                   "{'sub':'u','service_id':7,'account_id':9,'iat':%1,'exp':%2}")
                                   .arg(now)
                                   .arg(now + 3600);
        const QString unsignedToken = QString::fromLatin1(encode("{'alg':'none','type':'JWT'}")
                                                          + "." + encode(claims) + ".");
        RestClient rest(&plain);
        rest.token = unsignedToken;
        QCOMPARE(rest.database("PUT", "/services/7/accounts/9/a", "1").status, 200);
        QCOMPARE(rest.database("PUT", "/services/7/accounts/8/a", "1").status, 401);
        // "owner" is the emulator's administrator: everything is reachable.
        rest.token = "owner";
        QCOMPARE(rest.database("GET", "/").json,
                 jsonValue("{'services':{'7':{'accounts':{'9':{'a':1}}}}}"));
        RealtimeClient admin(&plain);
        QVERIFY(admin.open());
        QCOMPARE(admin.status("gauth", {{"cred", "owner"}}), "ok");
        QCOMPARE(admin.listen("/"), "ok");
        // Only pages of this machine may call it.
        const HttpResult local = rest.database("GET",
                                               "/x",
                                               {},
                                               {{"Origin", "http://localhost:3000"}});
        QCOMPARE(local.status, 200);
        QCOMPARE(local.headers.value("access-control-allow-origin"), "http://localhost:3000");
        QCOMPARE(rest.database("GET", "/x", {}, {{"Origin", "http://evil.example"}}).status, 403);
        RawConnection upgrade(plain);
        upgrade.write(kUpgrade + "Origin: http://evil.example\r\n\r\n");
        QCOMPARE(upgrade.responses(1).value(0).status, 403);
        // Over TLS neither is accepted.
        RestClient tls(m_local.get());
        for (const QString &token : {QString("owner"), unsignedToken}) {
            tls.token = token;
            QCOMPARE(tls.database("GET", "/services/7/accounts/9/a").status, 401);
        }
    }

private:
    QProcess *startProgram(QStringList arguments, QString *baseUrl)
    {
        if (!arguments.contains("--listen"))
            arguments << "--listen"
                      << "127.0.0.1:0";
        auto *process = new QProcess(this);
        process->start(QString::fromLatin1(kProgram), arguments);
        waitUntil(
            [process] { return process->canReadLine() || process->state() == QProcess::NotRunning; },
            30000);
        const QString line = QString::fromUtf8(process->readLine()).trimmed();
        *baseUrl = line.startsWith("listening on ") ? line.mid(13) : QString();
        return process;
    }

    std::unique_ptr<LocalTestService> m_local;
    QString m_token;
};

QTEST_GUILESS_MAIN(TestLocalService)
#include "tst_localservice.moc"
