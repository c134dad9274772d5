// tallyra-local while hostile clients flood it: what a well-behaved client sees meanwhile (the
// round trip of /probe, and the time from a small write to its push at a listener) and the
// service's memory.
//
// The flood, all at once and repeated: requests without a token carrying an 800 KB array,
// websocket "g" requests and pipelined GETs of a 5 MB value that are never read, frames before
// auth that announce 64 MiB and keep coming, sockets that never authenticate, a thousand tagged
// listens per connection filtering a 200 KB list that a writer keeps changing, and a database
// big enough that saving it takes time.
//
// usage: bench_localhostile [--seconds S] [--program PATH] [--leave-out PART,...]
// PART: anonymous, unread, frames, tagged (to see what each costs a service without a defence).
// The service runs as its own process so that its memory is its own; all traffic is loopback.
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <QtEndian>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

const QString kAccount = QStringLiteral("/services/7/accounts/9");

QString at(const char *relative)
{
    return kAccount + QLatin1String(relative);
}

qint64 nowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

struct Target
{
    quint16 port = 0;
    QSslConfiguration ssl;
    QByteArray token;
};

QByteArray frame(const QByteArray &payload)
{
    // A zero mask leaves the payload as it is.
    QByteArray header("\x81\xff");
    for (int shift = 56; shift >= 0; shift -= 8)
        header += char((qint64(payload.size()) >> shift) & 0xff);
    return header + QByteArray(4, '\0') + payload;
}

QByteArray request(qint64 number, const char *action, const QJsonObject &body)
{
    return frame(
        QJsonDocument(
            QJsonObject{{"t", "d"}, {"d", QJsonObject{{"r", number}, {"a", action}, {"b", body}}}})
            .toJson(QJsonDocument::Compact));
}

const QByteArray kUpgrade = "GET /.ws?v=5&ns=tallyra-local HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                            "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: "
                            "13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";

QByteArray authFrame(const Target &target)
{
    return request(1, "auth", QJsonObject{{"cred", QString::fromLatin1(target.token)}});
}

// A TLS connection that sends at once what it is given; with a small read buffer it reads next
// to nothing, so what the service sends it piles up on the service's side.
QSslSocket *connectTo(const Target &target, QObject *parent, bool reads)
{
    auto *socket = new QSslSocket(parent);
    socket->setSslConfiguration(target.ssl);
    if (!reads)
        socket->setReadBufferSize(4096);
    socket->connectToHostEncrypted(QStringLiteral("127.0.0.1"), target.port);
    return socket;
}

void sendWhenEncrypted(QSslSocket *socket, const QByteArray &bytes)
{
    if (socket->isEncrypted()) {
        socket->write(bytes);
        return;
    }
    QObject::connect(socket, &QSslSocket::encrypted, socket, [socket, bytes] {
        socket->write(bytes);
    });
}

// Server frames as they arrive on a websocket whose upgrade was sent: calls onText for each.
class FrameReader
{
public:
    std::function<void(const QByteArray &)> onText;

    void feed(const QByteArray &bytes)
    {
        m_buffer += bytes;
        int offset = 0;
        if (!m_open) {
            const int end = m_buffer.indexOf("\r\n\r\n");
            if (end < 0)
                return;
            m_open = true;
            offset = end + 4;
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
            if (onText && (data[offset] & 0x0f) == 0x1)
                onText(m_buffer.mid(offset + header, int(length)));
            offset += header + int(length);
        }
        m_buffer.remove(0, offset);
    }

private:
    QByteArray m_buffer;
    bool m_open = false;
};

// The well-behaved client, on its own thread: a /probe every 25 ms on one keep-alive connection,
// and a small write every 50 ms from one websocket to a listener on another.
class Victim : public QObject
{
public:
    explicit Victim(const Target &target)
        : m_target(target)
    {}

    void start()
    {
        m_probe = connectTo(m_target, this, true);
        connect(m_probe, &QSslSocket::encrypted, this, &Victim::sendProbe);
        connect(m_probe, &QSslSocket::readyRead, this, [this] {
            m_probeReply += m_probe->readAll();
            if (!m_probeReply.contains("\r\n\r\n"))
                return;
            if (m_measuring)
                probes.push_back(double(nowNs() - m_probeSent) / 1e6);
            m_probeReply.clear();
            QTimer::singleShot(25, this, &Victim::sendProbe);
        });

        m_listener = connectTo(m_target, this, true);
        sendWhenEncrypted(m_listener,
                          kUpgrade + authFrame(m_target)
                              + request(2, "q", {{"p", at("/victim")}, {"h", ""}}));
        m_listenerFrames.onText = [this](const QByteArray &text) {
            const int at = text.indexOf("\"seq\":");
            if (at < 0 || !text.contains("\"a\":\"d\""))
                return;
            const int seq = text.mid(at + 6, 10).split('}').first().split(',').first().toInt();
            if (m_measuring && seq < int(m_sentAt.size()) && m_sentAt[size_t(seq)] > 0)
                pushes.push_back(double(nowNs() - m_sentAt[size_t(seq)]) / 1e6);
        };
        connect(m_listener, &QSslSocket::readyRead, this, [this] {
            m_listenerFrames.feed(m_listener->readAll());
        });

        m_writer = connectTo(m_target, this, true);
        sendWhenEncrypted(m_writer, kUpgrade + authFrame(m_target));
        connect(m_writer, &QSslSocket::readyRead, this, [this] { m_writer->readAll(); });
        m_sentAt.assign(100000, 0);
        auto *ticker = new QTimer(this);
        connect(ticker, &QTimer::timeout, this, [this] {
            if (!m_writer->isEncrypted() || m_seq >= int(m_sentAt.size()))
                return;
            m_sentAt[size_t(m_seq)] = nowNs();
            m_writer->write(request(10 + m_seq,
                                    "p",
                                    {{"p", at("/victim/v")}, {"d", QJsonObject{{"seq", m_seq}}}}));
            ++m_seq;
        });
        ticker->start(50);
    }

    void setMeasuring(bool measuring) { m_measuring = measuring; }

    std::vector<double> probes;
    std::vector<double> pushes;

private:
    void sendProbe()
    {
        m_probeSent = nowNs();
        m_probe->write("GET /probe HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    }

    Target m_target;
    QSslSocket *m_probe = nullptr;
    QByteArray m_probeReply;
    qint64 m_probeSent = 0;
    QSslSocket *m_listener = nullptr;
    FrameReader m_listenerFrames;
    QSslSocket *m_writer = nullptr;
    std::vector<qint64> m_sentAt;
    int m_seq = 0;
    bool m_measuring = false;
};

// The flood; started once, some of it repeated every second.
class Flood : public QObject
{
public:
    Flood(const Target &target, const QStringList &leftOut)
        : m_target(target)
        , m_leftOut(leftOut)
    {}

    void start()
    {
        // A thousand tagged listens per connection on the list, read and thrown away, and a
        // writer that changes one entry of the list ten times a second.
        for (int connection = 0; connection < 2 && !m_leftOut.contains("tagged"); ++connection) {
            QByteArray listens = kUpgrade + authFrame(m_target);
            for (int tag = 1; tag <= 1000; ++tag) {
                const QJsonObject query{{"i", ".key"}, {"l", 1}, {"vf", "r"}};
                listens += request(tag + 1,
                                   "q",
                                   {{"p", at("/list")}, {"q", query}, {"t", tag}, {"h", ""}});
            }
            QSslSocket *socket = connectTo(m_target, this, true);
            connect(socket, &QSslSocket::readyRead, socket, [socket] { socket->readAll(); });
            sendWhenEncrypted(socket, listens);
        }
        m_listWriter = connectTo(m_target, this, true);
        connect(m_listWriter, &QSslSocket::readyRead, this, [this] { m_listWriter->readAll(); });
        sendWhenEncrypted(m_listWriter, kUpgrade + authFrame(m_target));
        auto *listTicker = new QTimer(this);
        connect(listTicker, &QTimer::timeout, this, [this] {
            if (m_listWriter->isEncrypted())
                m_listWriter->write(
                    request(++m_writes, "p", {{"p", at("/list/k0999/n")}, {"d", m_writes % 10}}));
        });
        listTicker->start(100);

        // Sockets that never authenticate, or never finish a frame they announced as 64 MiB.
        for (int i = 0; i < 20 && !m_leftOut.contains("frames"); ++i)
            sendWhenEncrypted(connectTo(m_target, this, false), kUpgrade);
        for (int i = 0; i < 4 && !m_leftOut.contains("frames"); ++i) {
            QSslSocket *socket = connectTo(m_target, this, false);
            sendWhenEncrypted(socket,
                              kUpgrade + QByteArray("\x81\xff\0\0\0\0\x04\0\0\0", 10)
                                  + QByteArray(4, '\0'));
            m_trickles.push_back(socket);
        }

        auto *ticker = new QTimer(this);
        connect(ticker, &QTimer::timeout, this, &Flood::everySecond);
        ticker->start(1000);
        everySecond();
    }

private:
    void everySecond()
    {
        ++m_second;
        // Without a token, an 800 KB array of zeros.
        if (!m_leftOut.contains("anonymous"))
            sendAnonymous();

        // Every tenth second, readers that never read: websocket gets and pipelined GETs of
        // the 5 MB value, a hundred each. The service cuts them; new ones take their place.
        if (m_second % 10 == 1 && !m_leftOut.contains("unread")) {
            QByteArray gets = kUpgrade + authFrame(m_target);
            for (int i = 0; i < 100; ++i)
                gets += request(i + 2, "g", {{"p", at("/big")}});
            sendWhenEncrypted(connectTo(m_target, this, false), gets);
            QByteArray pipelined;
            for (int i = 0; i < 100; ++i)
                pipelined += "GET " + kAccount.toLatin1() + "/big.json?auth=" + m_target.token
                             + " HTTP/1.1\r\nHost: x\r\n\r\n";
            sendWhenEncrypted(connectTo(m_target, this, false), pipelined);
        }
        // The announced frames keep coming, 1 MB a second each.
        for (QSslSocket *socket : m_trickles) {
            if (socket->state() == QAbstractSocket::ConnectedState && socket->isEncrypted())
                socket->write(QByteArray(1024 * 1024, 't'));
        }
    }

    void sendAnonymous()
    {
        QSslSocket *anonymous = connectTo(m_target, this, true);
        const QByteArray zeros = "{\"zeros\":[" + QByteArray("0,").repeated(399999) + "0]}";
        sendWhenEncrypted(anonymous,
                          "PATCH " + kAccount.toLatin1() + ".json HTTP/1.1\r\nHost: x\r\n"
                              + "Content-Length: " + QByteArray::number(zeros.size())
                              + "\r\nConnection: close\r\n\r\n" + zeros);
        connect(anonymous, &QSslSocket::readyRead, anonymous, [anonymous] { anonymous->readAll(); });
        connect(anonymous, &QSslSocket::disconnected, anonymous, &QObject::deleteLater);
    }

    Target m_target;
    QStringList m_leftOut;
    QSslSocket *m_listWriter = nullptr;
    std::vector<QSslSocket *> m_trickles;
    int m_writes = 0;
    int m_second = 0;
};

// The database the service starts with: the 5 MB value, the 200 KB list and 20 MB more in
// small records, which every save writes out.
QByteArray seedDatabase()
{
    QJsonObject list;
    for (int i = 0; i < 1000; ++i)
        list.insert(QStringLiteral("k%1").arg(i, 4, 10, QLatin1Char('0')),
                    QJsonObject{{"n", i}, {"text", QString(180, 'l')}});
    QJsonObject records;
    for (int i = 0; i < 200000; ++i)
        records.insert(QStringLiteral("r%1").arg(i, 6, 10, QLatin1Char('0')), QString(90, 'r'));
    const QJsonObject account{{"big", QString(5 * 1024 * 1024, 'b')},
                              {"list", list},
                              {"records", records}};
    return QJsonDocument(
               QJsonObject{
                   {"services",
                    QJsonObject{{"7", QJsonObject{{"accounts", QJsonObject{{"9", account}}}}}}}})
        .toJson(QJsonDocument::Compact);
}

qint64 residentKb(qint64 pid, const char *field)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.mid(int(qstrlen(field))).trimmed().split(' ').first().toLongLong();
    }
    return 0;
}

double percentile(std::vector<double> values, double fraction)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, size_t(fraction * double(values.size() - 1) + 0.5))];
}

void runFor(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    const QCommandLineOption secondsOption("seconds", "Measured seconds (30).", "S", "30");
    const QCommandLineOption programOption("program",
                                           "The tallyra-local executable.",
                                           "PATH",
                                           QStringLiteral(TALLYRA_LOCAL_PROGRAM));
    const QCommandLineOption leaveOutOption("leave-out",
                                            "Parts of the flood to leave out.",
                                            "PART,...");
    parser.addOptions({secondsOption, programOption, leaveOutOption});
    parser.process(app);
    const int seconds = qBound(1, parser.value(secondsOption).toInt(), 120);
    const QString program = parser.value(programOption);

    QTemporaryDir dir;
    QFile seed(QDir(dir.path()).filePath("database.json"));
    if (!seed.open(QIODevice::WriteOnly) || seed.write(seedDatabase()) < 0)
        return 1;
    seed.close();
    QProcess mint;
    mint.start(program, {"--data", dir.path(), "--mint-token", "7", "9", "bench"});
    mint.waitForFinished(20000);
    const QByteArray customToken = mint.readAllStandardOutput().trimmed();

    QProcess service;
    service.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // Empty, with no simulated visitors: the flood is the only other load.
    service.start(program, {"--listen", "127.0.0.1:0", "--data", dir.path(), "--empty"});
    if (!service.waitForReadyRead(30000)) {
        std::fprintf(stderr, "tallyra-local did not start\n");
        return 1;
    }
    Target target;
    target.port = quint16(QString::fromUtf8(service.readLine()).trimmed().section(':', -1).toUInt());
    target.ssl = QSslConfiguration::defaultConfiguration();
    target.ssl.setCaCertificates(QSslCertificate::fromPath(QDir(dir.path()).filePath("ca.pem")));
    const qint64 startKb = residentKb(service.processId(), "VmRSS:");

    // Sign in through the identity endpoint.
    QSslSocket *signIn = connectTo(target, &app, true);
    const QByteArray body = "{\"token\":\"" + customToken + "\"}";
    sendWhenEncrypted(signIn,
                      "POST /identitytoolkit/v3/relyingparty/verifyCustomToken?key=bench "
                      "HTTP/1.1\r\nHost: x\r\nContent-Type: application/json\r\nContent-Length: "
                          + QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n"
                          + body);
    QByteArray answer;
    QElapsedTimer waited;
    waited.start();
    while (!answer.contains("idToken") && !waited.hasExpired(10000)) {
        runFor(20);
        answer += signIn->readAll();
    }
    const QByteArray idToken = answer.mid(answer.indexOf("\r\n\r\n") + 4);
    target.token = QJsonDocument::fromJson(idToken).object().value("idToken").toString().toLatin1();
    if (target.token.isEmpty()) {
        std::fprintf(stderr, "sign-in failed\n");
        return 1;
    }

    QThread victimThread;
    auto *victim = new Victim(target);
    victim->moveToThread(&victimThread);
    QObject::connect(&victimThread, &QThread::started, victim, [victim] { victim->start(); });
    victimThread.start();
    runFor(1000);

    Flood flood(target, parser.value(leaveOutOption).split(',', Qt::SkipEmptyParts));
    flood.start();
    runFor(3000); // the flood gets going
    QMetaObject::invokeMethod(victim, [victim] { victim->setMeasuring(true); });
    qint64 endKb = 0;
    for (int second = 0; second < seconds; ++second) {
        runFor(1000);
        endKb = residentKb(service.processId(), "VmRSS:");
    }
    QMetaObject::invokeMethod(
        victim, [victim] { victim->setMeasuring(false); }, Qt::BlockingQueuedConnection);
    const std::vector<double> probes = victim->probes;
    const std::vector<double> pushes = victim->pushes;
    QMetaObject::invokeMethod(
        victim, [victim] { delete victim; }, Qt::BlockingQueuedConnection);
    victimThread.quit();
    victimThread.wait();
    const qint64 peakKb = residentKb(service.processId(), "VmHWM:");
    service.kill();
    service.waitForFinished(10000);

    const double probeP99 = percentile(probes, 0.99);
    const double pushP99 = percentile(pushes, 0.99);
    std::printf("tallyra-local under a hostile flood: %d s measured (TLS)\n", seconds);
    std::printf("  /probe round trip:        p50 %.2f ms, p99 %.2f ms, max %.1f ms (%zu)\n",
                percentile(probes, 0.5),
                probeP99,
                percentile(probes, 1.0),
                probes.size());
    std::printf("  small write -> listener:  p50 %.2f ms, p99 %.2f ms, max %.1f ms (%zu)\n",
                percentile(pushes, 0.5),
                pushP99,
                percentile(pushes, 1.0),
                pushes.size());
    std::printf("  service memory: %.0f MB at start, %.0f MB at the end, peak %.0f MB\n",
                double(startKb) / 1024.0,
                double(endKb) / 1024.0,
                double(peakKb) / 1024.0);
    const bool met = probeP99 < 50 && pushP99 < 50 && peakKb < 300 * 1024 && !probes.empty()
                     && !pushes.empty();
    std::printf("  p99 under 50 ms and memory under 300 MB: %s\n", met ? "yes" : "NO");
    return 0;
}
