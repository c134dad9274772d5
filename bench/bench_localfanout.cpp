// Fan-out of tallyra-local's realtime database: many websocket listeners on one chats path, a
// writer putting below it at a fixed rate; reports the time from a write leaving the writer to
// the last listener having it (median, p99), and the service's CPU and memory.
//
// usage: bench_localfanout [--listeners N] [--rate WRITES_PER_S] [--seconds S] [--warmup S]
//                          [--plain] [--client-threads N] [--timeline]
// The service runs as its own process (tallyra-local) so that its CPU and memory are its own.
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRandomGenerator>
#include <QSslSocket>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <QtEndian>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <limits>
#include <memory>
#include <vector>

#include <unistd.h>

namespace {

const QString kChats = QStringLiteral("/services/7/accounts/9/chats");

qint64 nowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

struct Target
{
    QString host = QStringLiteral("127.0.0.1");
    quint16 port = 0;
    bool tls = true;
    QSslConfiguration ssl;
    QByteArray token;
};

// A minimal websocket client: the upgrade, masked text frames out, unmasked frames in. Lighter
// than QWebSocket, so that 200 of them in this process do not become what is measured.
class BenchSocket : public QObject
{
public:
    explicit BenchSocket(const Target &target, QObject *parent = nullptr)
        : QObject(parent)
        , m_target(target)
    {}

    std::function<void(const char *data, int size)> onMessage;
    std::function<void()> onOpen;

    void open()
    {
        if (m_target.tls) {
            auto *socket = new QSslSocket(this);
            socket->setSslConfiguration(m_target.ssl);
            connect(socket, &QSslSocket::encrypted, this, &BenchSocket::sendUpgrade);
            m_socket = socket;
            socket->connectToHostEncrypted(m_target.host, m_target.port);
        } else {
            m_socket = new QTcpSocket(this);
            connect(m_socket, &QTcpSocket::connected, this, &BenchSocket::sendUpgrade);
            m_socket->connectToHost(m_target.host, m_target.port);
        }
        connect(m_socket, &QTcpSocket::readyRead, this, &BenchSocket::onReadyRead);
    }

    void sendText(const QByteArray &payload)
    {
        QByteArray frame;
        frame.reserve(payload.size() + 14);
        frame.append(char(0x81));
        if (payload.size() < 126) {
            frame.append(char(0x80 | payload.size()));
        } else {
            frame.append(char(0x80 | 126));
            frame.append(char((payload.size() >> 8) & 0xff));
            frame.append(char(payload.size() & 0xff));
        }
        const quint32 mask = QRandomGenerator::global()->generate();
        const char *maskBytes = reinterpret_cast<const char *>(&mask);
        frame.append(maskBytes, 4);
        for (int i = 0; i < payload.size(); ++i)
            frame.append(char(payload.at(i) ^ maskBytes[i % 4]));
        m_socket->write(frame);
    }

    bool isOpen() const { return m_open; }

private:
    void sendUpgrade()
    {
        // Only a connected socket takes the option; without it Nagle's algorithm would hold
        // each write back until the previous one is acknowledged.
        m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        QByteArray nonce(16, Qt::Uninitialized);
        for (char &c : nonce)
            c = char(QRandomGenerator::global()->bounded(256));
        m_socket->write("GET /.ws?v=5&ns=tallyra-local HTTP/1.1\r\nHost: "
                        + m_target.host.toLatin1() + ':' + QByteArray::number(m_target.port)
                        + "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Key: "
                        + nonce.toBase64() + "\r\nSec-WebSocket-Version: 13\r\n\r\n");
    }

    void onReadyRead()
    {
        m_buffer.append(m_socket->readAll());
        int offset = 0;
        if (!m_open) {
            const int end = m_buffer.indexOf("\r\n\r\n");
            if (end < 0)
                return;
            if (!m_buffer.startsWith("HTTP/1.1 101")) {
                std::fprintf(stderr, "upgrade refused: %s\n", m_buffer.left(end).constData());
                m_socket->abort();
                return;
            }
            m_open = true;
            offset = end + 4;
            if (onOpen)
                onOpen();
        }
        const auto *data = reinterpret_cast<const uchar *>(m_buffer.constData());
        while (m_buffer.size() - offset >= 2) {
            qint64 length = data[offset + 1] & 0x7f;
            int header = 2;
            if (length == 126) {
                if (m_buffer.size() - offset < 4)
                    break;
                length = qFromBigEndian<quint16>(data + offset + 2);
                header = 4;
            } else if (length == 127) {
                if (m_buffer.size() - offset < 10)
                    break;
                length = qint64(qFromBigEndian<quint64>(data + offset + 2));
                header = 10;
            }
            if (m_buffer.size() - offset < header + length)
                break;
            if (onMessage && (data[offset] & 0x0f) == 0x1)
                onMessage(m_buffer.constData() + offset + header, int(length));
            offset += header + int(length);
        }
        m_buffer.remove(0, offset);
    }

    Target m_target;
    QTcpSocket *m_socket = nullptr;
    QByteArray m_buffer;
    bool m_open = false;
};

QByteArray request(qint64 number, const char *action, const QJsonObject &body)
{
    return QJsonDocument(QJsonObject{{"t", "d"},
                                     {"d", QJsonObject{{"r", number}, {"a", action}, {"b", body}}}})
        .toJson(QJsonDocument::Compact);
}

// Listeners of one thread; records when each write reached each of them.
class ListenerGroup : public QObject
{
public:
    ListenerGroup(const Target &target, int count, int writes)
        : m_target(target)
        , m_count(count)
        , m_firstArrival(size_t(writes), 0)
        , m_lastArrival(size_t(writes), 0)
        , m_arrivals(size_t(writes), 0)
    {}

    void start()
    {
        for (int i = 0; i < m_count; ++i) {
            auto *socket = new BenchSocket(m_target, this);
            socket->onOpen = [this, socket] {
                socket->sendText(request(1, "s", QJsonObject{{"c", QJsonObject{{"bench", 1}}}}));
                socket->sendText(
                    request(2, "auth", QJsonObject{{"cred", QString::fromLatin1(m_target.token)}}));
                socket->sendText(request(3, "q", QJsonObject{{"p", kChats}, {"h", ""}}));
            };
            socket->onMessage = [this](const char *data, int size) { onMessage(data, size); };
            socket->open();
        }
    }

    std::atomic<int> listening{0};
    const std::vector<qint64> &firstArrival() const { return m_firstArrival; }
    const std::vector<qint64> &lastArrival() const { return m_lastArrival; }
    const std::vector<int> &arrivals() const { return m_arrivals; }

private:
    void onMessage(const char *data, int size)
    {
        const qint64 now = nowNs();
        const QByteArray text = QByteArray::fromRawData(data, size);
        if (text.contains("\"r\":3")) {
            ++listening;
            return;
        }
        const int at = text.indexOf("\"seq\":");
        if (at < 0)
            return;
        const size_t seq = size_t(
            text.mid(at + 6, 12).split(',').first().split('}').first().toLongLong());
        if (seq >= m_arrivals.size())
            return;
        if (m_arrivals[seq]++ == 0)
            m_firstArrival[seq] = now;
        m_lastArrival[seq] = std::max(m_lastArrival[seq], now);
    }

    Target m_target;
    int m_count;
    std::vector<qint64> m_firstArrival;
    std::vector<qint64> m_lastArrival;
    std::vector<int> m_arrivals;
};

struct ProcessSample
{
    double cpuSeconds = 0;
    qint64 rssKb = 0;
    qint64 peakRssKb = 0;
};

ProcessSample sample(qint64 pid)
{
    ProcessSample result;
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (stat.open(QIODevice::ReadOnly)) {
        const QByteArray text = stat.readAll();
        const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
        const double ticks = double(sysconf(_SC_CLK_TCK));
        result.cpuSeconds = (fields.value(11).toDouble() + fields.value(12).toDouble()) / ticks;
    }
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith("VmRSS:"))
                result.rssKb = line.mid(6).trimmed().split(' ').first().toLongLong();
            else if (line.startsWith("VmHWM:"))
                result.peakRssKb = line.mid(6).trimmed().split(' ').first().toLongLong();
        }
    }
    return result;
}

double percentile(std::vector<double> values, double fraction)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t index = std::min(values.size() - 1,
                                  size_t(fraction * double(values.size() - 1) + 0.5));
    return values[index];
}

// Runs the event loop, looking at done() every few milliseconds, without spinning.
bool waitFor(const std::function<bool()> &done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    QEventLoop loop;
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, &loop, [&] {
        if (done() || timer.hasExpired(timeoutMs))
            loop.quit();
    });
    check.start(5);
    if (!done())
        loop.exec();
    return done();
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    const QCommandLineOption listenersOption("listeners", "Websocket listeners (200).", "N", "200");
    const QCommandLineOption rateOption("rate", "Writes per second (1000).", "N", "1000");
    const QCommandLineOption secondsOption("seconds", "Measured seconds (10).", "S", "10");
    const QCommandLineOption threadsOption("client-threads",
                                           "Threads for the listeners (2).",
                                           "N",
                                           "2");
    const QCommandLineOption warmupOption("warmup",
                                          "Seconds written before measuring (2).",
                                          "S",
                                          "2");
    const QCommandLineOption plainOption("plain", "Plain ws instead of TLS.");
    const QCommandLineOption timelineOption("timeline",
                                            "Also print each measured second's figures.");
    const QCommandLineOption programOption("program",
                                           "The tallyra-local executable.",
                                           "PATH",
                                           QStringLiteral(TALLYRA_LOCAL_PROGRAM));
    parser.addOptions({listenersOption,
                       rateOption,
                       secondsOption,
                       warmupOption,
                       threadsOption,
                       plainOption,
                       timelineOption,
                       programOption});
    parser.process(app);
    const int listeners = parser.value(listenersOption).toInt();
    const int rate = parser.value(rateOption).toInt();
    const int seconds = parser.value(secondsOption).toInt();
    const int threads = qMax(1, parser.value(threadsOption).toInt());
    // Connections settle (buffers, caches) in the first seconds, which are not counted.
    const int warmupWrites = rate * qMax(0, parser.value(warmupOption).toInt());
    const int writes = rate * seconds + warmupWrites;
    const QString program = parser.value(programOption);

    QTemporaryDir dir;
    Target target;
    target.tls = !parser.isSet(plainOption);

    QProcess mint;
    mint.start(program, {"--data", dir.path(), "--mint-token", "7", "9", "bench"});
    mint.waitForFinished(10000);
    const QByteArray customToken = mint.readAllStandardOutput().trimmed();

    QProcess service;
    QStringList arguments{"--listen", "127.0.0.1:0", "--data", dir.path(), "--empty"};
    if (!target.tls)
        arguments << "--plain";
    service.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    service.start(program, arguments);
    if (!service.waitForReadyRead(20000)) {
        std::fprintf(stderr, "tallyra-local did not start\n");
        return 1;
    }
    const QString line = QString::fromUtf8(service.readLine()).trimmed();
    target.port = quint16(line.section(':', -1).toUInt());
    target.ssl = QSslConfiguration::defaultConfiguration();
    target.ssl.setCaCertificates(QSslCertificate::fromPath(QDir(dir.path()).filePath("ca.pem")));
    const QString base = line.mid(QStringLiteral("listening on ").size());

    QNetworkAccessManager manager;
    QNetworkRequest exchange(
        QUrl(base + "/identitytoolkit/v3/relyingparty/verifyCustomToken?key=bench"));
    exchange.setSslConfiguration(target.ssl);
    exchange.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
    QNetworkReply *reply = manager.post(exchange, "{\"token\":\"" + customToken + "\"}");
    waitFor([reply] { return reply->isFinished(); }, 10000);
    target.token
        = QJsonDocument::fromJson(reply->readAll()).object().value("idToken").toString().toLatin1();
    delete reply;
    if (target.token.isEmpty()) {
        std::fprintf(stderr, "sign-in failed\n");
        return 1;
    }

    // Listeners, spread over their own threads.
    std::vector<std::unique_ptr<QThread>> workers;
    std::vector<ListenerGroup *> groups;
    for (int t = 0; t < threads; ++t) {
        const int count = listeners / threads + (t < listeners % threads ? 1 : 0);
        auto *group = new ListenerGroup(target, count, writes);
        auto thread = std::make_unique<QThread>();
        group->moveToThread(thread.get());
        QObject::connect(thread.get(), &QThread::started, group, [group] { group->start(); });
        thread->start();
        groups.push_back(group);
        workers.push_back(std::move(thread));
    }
    const auto listening = [&] {
        int total = 0;
        for (ListenerGroup *group : groups)
            total += group->listening;
        return total;
    };
    if (!waitFor([&] { return listening() == listeners; }, 60000)) {
        std::fprintf(stderr, "only %d of %d listeners started\n", listening(), listeners);
        return 1;
    }

    // The writer: its own connection, puts below the listened path at a steady rate.
    BenchSocket writer(target);
    bool writerReady = false;
    writer.onOpen = [&] {
        writer.sendText(
            request(1, "auth", QJsonObject{{"cred", QString::fromLatin1(target.token)}}));
    };
    writer.onMessage = [&](const char *data, int size) {
        if (QByteArray::fromRawData(data, size).contains("\"r\":1"))
            writerReady = true;
    };
    writer.open();
    if (!waitFor([&] { return writerReady; }, 10000)) {
        std::fprintf(stderr, "writer did not sign in\n");
        return 1;
    }

    std::vector<qint64> sentAt(size_t(writes), 0);
    const QByteArray text(80, 'w');
    int sent = 0;
    ProcessSample startSample;
    QElapsedTimer clock;
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        const qint64 due = std::min<qint64>(writes, clock.nsecsElapsed() * rate / 1000000000);
        while (sent < due) {
            if (sent == warmupWrites)
                startSample = sample(service.processId());
            const QJsonObject value{{"seq", sent}, {"text", QString::fromLatin1(text)}};
            const QString path = kChats + "/c" + QString::number(sent % 50) + "/last";
            const QByteArray message = request(100 + sent,
                                               "p",
                                               QJsonObject{{"p", path}, {"d", value}});
            sentAt[size_t(sent)] = nowNs();
            writer.sendText(message);
            ++sent;
        }
        if (sent >= writes)
            ticker.stop();
    });
    clock.start();
    ticker.start(1);
    waitFor([&] { return sent >= writes; }, (seconds + 30) * 1000);
    const ProcessSample endSample = sample(service.processId());
    const double measuredSeconds = double(writes - warmupWrites) / rate;
    // Let the last pushes arrive.
    waitFor(
        [&] {
            for (ListenerGroup *group : groups) {
                if (group->arrivals()[size_t(writes - 1)] < listeners / threads)
                    return false;
            }
            return true;
        },
        5000);
    QThread::msleep(200);
    for (auto &worker : workers) {
        worker->quit();
        worker->wait();
    }

    std::vector<double> latencies;
    std::vector<double> firstLatencies;
    qint64 missing = 0;
    for (int i = warmupWrites; i < writes; ++i) {
        int received = 0;
        qint64 last = 0;
        for (ListenerGroup *group : groups) {
            received += group->arrivals()[size_t(i)];
            last = std::max(last, group->lastArrival()[size_t(i)]);
        }
        if (received < listeners) {
            missing += listeners - received;
            continue;
        }
        latencies.push_back(double(last - sentAt[size_t(i)]) / 1e6);
        qint64 first = std::numeric_limits<qint64>::max();
        for (ListenerGroup *group : groups)
            first = std::min(first, group->firstArrival()[size_t(i)]);
        firstLatencies.push_back(double(first - sentAt[size_t(i)]) / 1e6);
    }
    if (parser.isSet(timelineOption)) {
        for (int second = 1; second <= seconds; ++second) {
            std::vector<double> window;
            for (int i = warmupWrites + (second - 1) * rate; i < warmupWrites + second * rate; ++i) {
                qint64 last = 0;
                for (ListenerGroup *group : groups)
                    last = std::max(last, group->lastArrival()[size_t(i)]);
                window.push_back(double(last - sentAt[size_t(i)]) / 1e6);
            }
            std::printf("  second %d: median %.1f ms, max %.1f ms\n",
                        second,
                        percentile(window, 0.5),
                        percentile(window, 1.0));
        }
    }
    for (ListenerGroup *group : groups)
        delete group; // its thread has ended
    service.terminate();
    service.waitForFinished(10000);

    std::printf(
        "tallyra-local fan-out: %d listeners on %s, %d writes/s for %d s (%s, %d client threads)\n",
        listeners,
        qPrintable(kChats),
        rate,
        seconds,
        target.tls ? "TLS" : "plain",
        threads);
    std::printf("  deliveries missing: %lld of %lld\n",
                static_cast<long long>(missing),
                static_cast<long long>(qint64(writes - warmupWrites) * listeners));
    std::printf(
        "  write -> every listener: median %.2f ms, p90 %.2f ms, p99 %.2f ms, max %.2f ms\n",
        percentile(latencies, 0.5),
        percentile(latencies, 0.9),
        percentile(latencies, 0.99),
        percentile(latencies, 1.0));
    std::printf("  write -> first listener: median %.2f ms, p99 %.2f ms\n",
                percentile(firstLatencies, 0.5),
                percentile(firstLatencies, 0.99));
    std::printf("  service CPU: %.0f %% of one core; memory: %.1f MB resident (peak %.1f MB)\n",
                100.0 * (endSample.cpuSeconds - startSample.cpuSeconds) / measuredSeconds,
                double(endSample.rssKb) / 1024.0,
                double(endSample.peakRssKb) / 1024.0);
    return missing == 0 ? 0 : 1;
}
