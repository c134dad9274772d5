// Sign-in on a big account: the time from NetworkManager::authenticate until the users, chats
// and visitors repositories are initialized, and the console process's peak memory, against
// the official JavaScript SDK of the realtime database delivering the same three snapshots
// (bench/sdk-signin.js, tests/sdk/node_modules).
//
// usage: bench_signin [--rounds N] [--program PATH/TO/tallyra-local] [--node PATH]
//
// Two tallyra-local processes hold the same "large" account (3,000 chats, 3,200 users, 20,000
// visitors; no simulated visitors, so the data stays still): one over TLS for the console, one
// --plain for the SDK, whose emulator mode speaks plain HTTP and ws only. Each round signs in
// once on each side, each in a fresh process (the console side is this program run again with
// --console), so that the peak memory is that of one sign-in; the order alternates between
// rounds, and a first round of each side warms the services up and is not counted.
//
// Both clocks start at the client's first request: the console's at authenticate() (its login
// request goes out at once), the SDK's when the app is made (the first listen opens its
// websocket); starting the process and loading the libraries are left out on both sides.
//
// Targets: console median at most the SDK's and under 1.5 s, peak memory under 250 MB.
// Exits 0 with a message when Node.js or tests/sdk/node_modules is missing.
#include "local/demoseed.h"
#include "network/networkmanager.h"
#include "repo/authsession.h"
#include "repo/chatrepository.h"
#include "repo/chatsrepository.h"
#include "repo/quickanswersrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

// The demo operator of service 1, whose account the large profile fills.
const qint64 kService = 1;
const qint64 kAccount = 101;
const char kUserKey[] = "-DemoOpOlga000001";

// A field of /proc/self/status, in kB.
qint64 statusKb(const char *field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.mid(int(qstrlen(field))).trimmed().split(' ').first().toLongLong();
    }
    return 0;
}

// One sign-in of the console; prints a JSON line with the times in ms and the memory in kB.
int runConsole(const QString &envFile)
{
    // The service's addresses and CA, before AppSettings is first read.
    QFile env(envFile);
    if (!env.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(envFile));
        return 1;
    }
    for (const QByteArray &line : env.readAll().trimmed().split('\n')) {
        const int equals = line.indexOf('=');
        if (equals > 0)
            qputenv(line.left(equals).constData(), line.mid(equals + 1));
    }

    QElapsedTimer setup;
    setup.start();
    QObject root;
    // In the order the console creates them.
    UsersRepository::init(&root);
    ChatsRepository::init(&root);
    ChatRepository::init(&root);
    QuickAnswersRepository::init(&root);
    VisitorsRepository::init(&root);
    AuthSession::init(&root);
    NetworkManager manager;
    // Not part of the sign-in: the settings' first use loads the CAs, the system's included.
    const double setupMs = double(setup.nsecsElapsed()) / 1e6;

    QElapsedTimer clock;
    QEventLoop loop;
    double users = -1, chats = -1, visitors = -1;
    bool failed = false;
    const auto done = [&] { return failed || (users >= 0 && chats >= 0 && visitors >= 0); };
    // Each repository's first initialized() is its time; the loop ends with the last of them.
    const auto arrival = [&](double *at) {
        return [&, at] {
            if (*at < 0)
                *at = double(clock.nsecsElapsed()) / 1e6;
            if (done())
                loop.quit();
        };
    };
    QObject::connect(UsersRepository::getInstance(),
                     &UsersRepository::initialized,
                     &loop,
                     arrival(&users));
    QObject::connect(ChatsRepository::getInstance(),
                     &ChatsRepository::initialized,
                     &loop,
                     arrival(&chats));
    QObject::connect(VisitorsRepository::getInstance(),
                     &VisitorsRepository::initialized,
                     &loop,
                     arrival(&visitors));
    QObject::connect(&manager,
                     &NetworkManager::authenticateError,
                     &loop,
                     [&](int code, const QString &message) {
                         std::fprintf(stderr, "sign-in failed: %d %s\n", code, qPrintable(message));
                         failed = true;
                         loop.quit();
                     });
    // Only a bound on a failed run; it does not pace the measurement.
    QTimer::singleShot(120000, &loop, &QEventLoop::quit);

    clock.start();
    manager.authenticate(DemoSeed::operatorLogin, DemoSeed::password);
    const double authenticated = double(clock.nsecsElapsed()) / 1e6;
    if (!done())
        loop.exec();
    if (failed)
        return 1;
    if (!done()) {
        std::fprintf(stderr, "the repositories were not initialized in 120 s\n");
        return 1;
    }

    const QJsonObject result{
        {"ms", std::max({users, chats, visitors})},
        {"authenticate", authenticated},
        {"setup", setupMs},
        {"users", users},
        {"chats", chats},
        {"visitors", visitors},
        {"usersCount", UsersRepository::getInstance()->getUsers().size()},
        {"chatsCount", ChatsRepository::getInstance()->getChats().size()},
        {"visitorsCount", VisitorsRepository::getInstance()->getVisitors().size()},
        {"maxRssKb", statusKb("VmHWM:")},
        {"rssKb", statusKb("VmRSS:")},
    };
    std::printf("%s\n", QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
    // The sockets' teardown is not measured and not needed.
    std::_Exit(0);
}

double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// A tallyra-local process with the large account in its own data directory.
class Service
{
public:
    bool start(const QString &program, bool plain)
    {
        QStringList arguments{"--profile",
                              "large",
                              "--visitors",
                              "0",
                              "--listen",
                              "127.0.0.1:0",
                              "--data",
                              m_dir.path()};
        if (plain)
            arguments.prepend("--plain");
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(program, arguments);
        QByteArray output;
        QElapsedTimer waited;
        waited.start();
        const QRegularExpression listening(QStringLiteral("listening on \\S+:(\\d+)"));
        while (!waited.hasExpired(60000) && m_process.state() != QProcess::NotRunning) {
            m_process.waitForReadyRead(200);
            output += m_process.readAllStandardOutput();
            const QRegularExpressionMatch match = listening.match(QString::fromUtf8(output));
            if (match.hasMatch()) {
                port = match.captured(1).toUShort();
                return true;
            }
        }
        std::fprintf(stderr, "tallyra-local did not start: %s\n", output.constData());
        return false;
    }

    ~Service()
    {
        m_process.terminate();
        m_process.waitForFinished(10000);
    }

    QString envFile() const { return m_dir.filePath(QStringLiteral("env")); }
    quint16 port = 0;

private:
    QTemporaryDir m_dir;
    QProcess m_process;
};

// Runs a side's process and reads its JSON line; an empty object when it failed.
QJsonObject runSide(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(180000)) {
        process.kill();
        process.waitForFinished();
    }
    const QByteArray output = process.readAllStandardOutput();
    const QJsonObject result = QJsonDocument::fromJson(output.trimmed().split('\n').last()).object();
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0
        || !result.contains("ms")) {
        std::fprintf(stderr,
                     "%s failed:\n%s%s\n",
                     qPrintable(QFileInfo(arguments.value(0, program)).fileName()),
                     output.constData(),
                     process.readAllStandardError().right(4000).constData());
        return QJsonObject();
    }
    return result;
}

struct Side
{
    std::vector<double> total, users, chats, visitors, memoryMb, authenticate, setup;

    void add(const QJsonObject &r)
    {
        total.push_back(r.value("ms").toDouble());
        users.push_back(r.value("users").toDouble());
        chats.push_back(r.value("chats").toDouble());
        visitors.push_back(r.value("visitors").toDouble());
        memoryMb.push_back(r.value("maxRssKb").toDouble() / 1024);
        authenticate.push_back(r.value("authenticate").toDouble());
        setup.push_back(r.value("setup").toDouble());
    }
};

QString counts(const QJsonObject &r)
{
    return QStringLiteral("%1 users, %2 chats, %3 visitors")
        .arg(r.value("usersCount").toInt())
        .arg(r.value("chatsCount").toInt())
        .arg(r.value("visitorsCount").toInt());
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (app.arguments().value(1) == QLatin1String("--console"))
        return runConsole(app.arguments().value(2));

    QCommandLineParser parser;
    const QCommandLineOption roundsOption("rounds", "Counted rounds (5).", "N", "5");
    const QCommandLineOption programOption("program",
                                           "tallyra-local to run.",
                                           "PATH",
                                           QStringLiteral(TALLYRA_LOCAL_PROGRAM));
    const QCommandLineOption nodeOption("node", "Node.js to run.", "PATH", "node");
    parser.addOptions({roundsOption, programOption, nodeOption});
    parser.addHelpOption();
    parser.process(app);
    const int rounds = std::max(1, parser.value(roundsOption).toInt());

    const QString node = QStandardPaths::findExecutable(parser.value(nodeOption)).isEmpty()
                             ? parser.value(nodeOption)
                             : QStandardPaths::findExecutable(parser.value(nodeOption));
    QProcess version;
    version.start(node, {"-p", "process.versions.node.split('.')[0]"});
    if (!version.waitForFinished(30000) || version.exitCode() != 0
        || version.readAllStandardOutput().trimmed().toInt() < 20) {
        std::printf("bench_signin skipped: Node.js 20 or later not found\n");
        return 0;
    }
    const QString sdkDirectory = QStringLiteral(TALLYRA_SOURCE_DIR "/tests/sdk");
    if (!QFileInfo::exists(sdkDirectory + QStringLiteral("/node_modules/firebase"))) {
        std::printf("bench_signin skipped: %s/node_modules is missing (npm ci there)\n",
                    qPrintable(sdkDirectory));
        return 0;
    }
    const QString script = QStringLiteral(TALLYRA_SOURCE_DIR "/bench/sdk-signin.js");

    std::printf("starting two tallyra-local --profile large (TLS for the console, --plain for "
                "the SDK)...\n");
    std::fflush(stdout);
    Service tls, plain;
    if (!tls.start(parser.value(programOption), false)
        || !plain.start(parser.value(programOption), true))
        return 1;

    const QString self = QCoreApplication::applicationFilePath();
    const auto console = [&] { return runSide(self, {"--console", tls.envFile()}); };
    const auto sdk = [&] {
        return runSide(node,
                       {script,
                        QString::number(plain.port),
                        QString::number(kService),
                        QString::number(kAccount),
                        QLatin1String(kUserKey)});
    };

    Side consoleSide, sdkSide;
    QJsonObject lastConsole, lastSdk;
    std::printf("round  console ms (auth users chats visitors)  peak MB  |  SDK ms (users chats "
                "visitors)  peak MB\n");
    for (int round = 0; round <= rounds; ++round) {
        // Round 0 warms both services up; the order alternates so that neither side always
        // follows the other.
        QJsonObject c, s;
        if (round % 2) {
            c = console();
            s = sdk();
        } else {
            s = sdk();
            c = console();
        }
        if (c.isEmpty() || s.isEmpty())
            return 1;
        std::printf("%5s  %7.0f (%4.0f %5.0f %5.0f %5.0f)  %7.0f  |  %6.0f (%5.0f %5.0f %5.0f)  "
                    "%7.0f\n",
                    round ? qPrintable(QString::number(round)) : "warm",
                    c.value("ms").toDouble(),
                    c.value("authenticate").toDouble(),
                    c.value("users").toDouble(),
                    c.value("chats").toDouble(),
                    c.value("visitors").toDouble(),
                    c.value("maxRssKb").toDouble() / 1024,
                    s.value("ms").toDouble(),
                    s.value("users").toDouble(),
                    s.value("chats").toDouble(),
                    s.value("visitors").toDouble(),
                    s.value("maxRssKb").toDouble() / 1024);
        std::fflush(stdout);
        if (round == 0)
            continue;
        consoleSide.add(c);
        sdkSide.add(s);
        lastConsole = c;
        lastSdk = s;
    }

    const double consoleMs = median(consoleSide.total);
    const double sdkMs = median(sdkSide.total);
    const double memory = median(consoleSide.memoryMb);
    const double memoryMax = *std::max_element(consoleSide.memoryMb.begin(),
                                               consoleSide.memoryMb.end());
    std::printf("\nsign-in on the large account, medians of %d rounds:\n", rounds);
    std::printf("  console: %.0f ms to the three repositories initialized (authenticate() "
                "returns at %.0f; users %.0f, chats %.0f, visitors %.0f)\n",
                consoleMs,
                median(consoleSide.authenticate),
                median(consoleSide.users),
                median(consoleSide.chats),
                median(consoleSide.visitors));
    std::printf("  console before the clock: %.0f ms to create the repositories and "
                "NetworkManager (the settings load the CA certificates)\n",
                median(consoleSide.setup));
    std::printf("  SDK:     %.0f ms to the three first snapshots (users %.0f, chats %.0f, "
                "visitors %.0f)\n",
                sdkMs,
                median(sdkSide.users),
                median(sdkSide.chats),
                median(sdkSide.visitors));
    std::printf("  console / SDK: %.2f\n", sdkMs > 0 ? consoleMs / sdkMs : 0.0);
    std::printf("  peak memory: console %.0f MB (max %.0f), SDK's Node process %.0f MB\n",
                memory,
                memoryMax,
                median(sdkSide.memoryMb));
    std::printf("  records: console %s; SDK %s\n",
                qPrintable(counts(lastConsole)),
                qPrintable(counts(lastSdk)));
    const bool met = consoleMs <= sdkMs && consoleMs < 1500 && memoryMax < 250;
    std::printf("  console at most the SDK's time, under 1.5 s, memory under 250 MB: %s\n",
                met ? "yes" : "NO");
    return 0;
}
