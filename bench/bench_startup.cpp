// The console's start-up as an operator meets it, each round a fresh process on the offscreen
// platform:
//
//  1. Cold start to the sign-in form (an empty settings store) against a bare Qt Widgets window
//     (bench_barewindow) started the same way, rounds interleaved. Target: under 2x.
//  2. Start with a saved sign-in to the conversation list's first frame with rows, on the large
//     account of tallyra-local (3,000 chats, 3,200 users, 20,000 visitors). Target: under 1.5 s.
//  3. That process's peak memory (VmHWM) once the users, chats and visitors snapshots are
//     handled. Target: under 250 MB.
//
// usage: bench_startup [--rounds N] [--signin-rounds N] [--console PATH] [--bare PATH]
//                      [--program PATH/TO/tallyra-local]
//
// The console prints its milestones on stderr when TALLYRA_REPORT_STARTUP is set (StartupReport);
// every time here runs from QProcess::start to the line's arrival, so it includes exec and the
// loading of the libraries. The processes' own count from main() is shown in brackets. The first
// launch of each kind warms the caches and the service up and is not counted.
//
// The sign-in form is measured with the production endpoints (no TALLYRA_* variables, so no extra
// CA file is loaded); nothing goes over the network before the form is shown. Every launch gets a
// temporary directory of this run as TMPDIR, HOME and XDG_RUNTIME_DIR, so that the console's
// single-instance guard never meets a console a developer is running, and a settings store of
// its own.
#include "app/runguard.h"
#include "local/demoseed.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

// The console's single-instance key, as main() has it.
const QString kRunKey = QStringLiteral("tallyra_onlinechat_2e2b303d-cd6a-45d7-a645-a5640bac0cf5");
const int kLaunchTimeoutMs = 120000;

double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double maximum(const std::vector<double> &values)
{
    return values.empty() ? 0 : *std::max_element(values.begin(), values.end());
}

// A field of /proc/PID/status, in kB; -1 when it cannot be read.
qint64 statusKb(qint64 pid, const char *field)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.mid(int(qstrlen(field))).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

// The console's single-instance guard keys its semaphore and shared memory on files in TMPDIR,
// the launches' temporary directory. Made here first, the semaphore is this process's to remove
// at the end, the consoles only open it; a killed console leaves its segment, which the next
// launch clears, and this the last one.
class GuardKeys
{
public:
    explicit GuardKeys(const QString &directory)
        : m_directory(directory)
    {
        inTempDirectory([this] { m_semaphoreOwner = std::make_unique<RunGuard>(kRunKey); });
    }

    ~GuardKeys()
    {
        inTempDirectory([] { RunGuard(kRunKey).tryToRun(); });
    }

private:
    void inTempDirectory(const std::function<void()> &work) const
    {
        const QByteArray previous = qgetenv("TMPDIR");
        qputenv("TMPDIR", m_directory.toUtf8());
        work();
        qputenv("TMPDIR", previous);
    }

    QString m_directory;
    std::unique_ptr<RunGuard> m_semaphoreOwner;
};

// One launch: the milestones' arrival in ms from QProcess::start and the words after their
// names; the peak and resident memory when asked for, read once the last milestone is in.
struct Launch
{
    QHash<QByteArray, double> at;
    QHash<QByteArray, QList<QByteArray>> words;
    qint64 peakKb = -1;
    qint64 rssKb = -1;
    QByteArray error;

    bool ok() const { return error.isEmpty(); }
    // The process's own count from main(), the first word after the name.
    double fromMain(const QByteArray &milestone) const
    {
        return words.value(milestone).value(0).toDouble();
    }
};

Launch launch(const QString &program,
              const QProcessEnvironment &environment,
              const QList<QByteArray> &milestones,
              bool memory)
{
    Launch result;
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setReadChannel(QProcess::StandardError);
    QByteArray pending, log;
    QElapsedTimer clock;
    clock.start();
    process.start(program, QStringList());
    while (result.at.size() < milestones.size()) {
        const qint64 left = kLaunchTimeoutMs - clock.elapsed();
        if (left <= 0 || !process.waitForReadyRead(int(left))) {
            result.error = process.state() == QProcess::NotRunning ? "ended before its milestones"
                                                                   : "timed out";
            break;
        }
        const double now = double(clock.nsecsElapsed()) / 1e6;
        pending += process.readAllStandardError();
        for (int newline = pending.indexOf('\n'); newline >= 0; newline = pending.indexOf('\n')) {
            const QByteArray line = pending.left(newline);
            pending.remove(0, newline + 1);
            log += line + '\n';
            for (const QByteArray &milestone : milestones) {
                if (!result.at.contains(milestone) && line.startsWith(milestone + ' ')) {
                    result.at.insert(milestone, now);
                    result.words.insert(milestone, line.split(' ').mid(1));
                }
            }
        }
    }
    if (result.ok() && memory) {
        result.peakKb = statusKb(process.processId(), "VmHWM:");
        result.rssKb = statusKb(process.processId(), "VmRSS:");
    }
    if (!result.ok()) {
        log += process.readAllStandardError();
        std::fprintf(stderr,
                     "%s %s; its last output:\n%s\n",
                     qPrintable(QFileInfo(program).fileName()),
                     result.error.constData(),
                     log.right(4000).constData());
    }
    // The console has no way out but its menu; a killed one leaves its guard's segment, which
    // the next launch clears.
    process.kill();
    process.waitForFinished(-1);
    return result;
}

// A tallyra-local process with the large account in its own data directory, still: no
// simulated visitors, so every round signs in to the same data.
class Service
{
public:
    bool start(const QString &program)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(program,
                        {"--profile",
                         "large",
                         "--visitors",
                         "0",
                         "--listen",
                         "127.0.0.1:0",
                         "--data",
                         m_dir.path()});
        QByteArray output;
        QElapsedTimer waited;
        waited.start();
        const QRegularExpression listening(QStringLiteral("listening on \\S+:(\\d+)"));
        while (!waited.hasExpired(kLaunchTimeoutMs) && m_process.state() != QProcess::NotRunning) {
            m_process.waitForReadyRead(1000);
            output += m_process.readAllStandardOutput();
            if (listening.match(QString::fromUtf8(output)).hasMatch())
                return true;
        }
        std::fprintf(stderr, "tallyra-local did not start: %s\n", output.constData());
        return false;
    }

    ~Service()
    {
        m_process.terminate();
        m_process.waitForFinished(10000);
    }

    // The TALLYRA_* variables that point the console at this service.
    void addEndpoints(QProcessEnvironment *environment) const
    {
        QFile env(m_dir.filePath(QStringLiteral("env")));
        if (!env.open(QIODevice::ReadOnly))
            return;
        for (const QByteArray &line : env.readAll().trimmed().split('\n')) {
            const int equals = line.indexOf('=');
            if (equals > 0)
                environment->insert(QString::fromUtf8(line.left(equals)),
                                    QString::fromUtf8(line.mid(equals + 1)));
        }
    }

private:
    QTemporaryDir m_dir;
    QProcess m_process;
};

struct ColdRound
{
    std::vector<double> console, consoleMain, bare, bareMain, ratio;
};

struct SignInRound
{
    std::vector<double> listed, listedMain, loaded, peakMb, rssMb;
    int rows = 0;
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption roundsOption("rounds", "Counted cold-start rounds (9).", "N", "9");
    const QCommandLineOption signInRoundsOption("signin-rounds",
                                                "Counted saved sign-in rounds (7).",
                                                "N",
                                                "7");
    const QCommandLineOption consoleOption("console",
                                           "The console to start.",
                                           "PATH",
                                           QStringLiteral(TALLYRA_CONSOLE_PROGRAM));
    const QCommandLineOption bareOption("bare",
                                        "The bare window to start.",
                                        "PATH",
                                        QStringLiteral(TALLYRA_BARE_PROGRAM));
    const QCommandLineOption programOption("program",
                                           "tallyra-local to run.",
                                           "PATH",
                                           QStringLiteral(TALLYRA_LOCAL_PROGRAM));
    parser.addOptions({roundsOption, signInRoundsOption, consoleOption, bareOption, programOption});
    parser.addHelpOption();
    parser.process(app);
    const int rounds = std::max(1, parser.value(roundsOption).toInt());
    const int signInRounds = std::max(1, parser.value(signInRoundsOption).toInt());
    const QString console = parser.value(consoleOption);
    const QString bare = parser.value(bareOption);

    QTemporaryDir run;
    if (!run.isValid()) {
        std::fprintf(stderr, "no temporary directory\n");
        return 1;
    }
    const GuardKeys guardKeys(run.path());

    QProcessEnvironment base = QProcessEnvironment::systemEnvironment();
    for (const QString &name : base.keys()) {
        if (name.startsWith(QLatin1String("TALLYRA_")))
            base.remove(name);
    }
    for (const char *name : {"TMPDIR", "HOME", "XDG_RUNTIME_DIR"})
        base.insert(name, run.path());
    base.insert("QT_QPA_PLATFORM", "offscreen");
    base.insert("TALLYRA_REPORT_STARTUP", "1");
    int stores = 0;
    // A settings store of its own for each launch: the console writes to it once signed in.
    const auto withStore = [&](QProcessEnvironment environment, bool savedSignIn) {
        const QString config = run.filePath(QStringLiteral("config-%1").arg(++stores));
        QDir().mkpath(config);
        if (savedSignIn) {
            QSettings store(config + QStringLiteral("/tallyra/chat.conf"), QSettings::IniFormat);
            store.setValue("login", DemoSeed::operatorLogin);
            store.setValue("password", DemoSeed::password);
            store.setValue("saveCreds", true);
        }
        environment.insert("XDG_CONFIG_HOME", config);
        return environment;
    };

    // 1. Cold start to the sign-in form against the bare window.
    std::printf("cold start to the first frame, ms from QProcess::start (from main())\n");
    std::printf("round  console sign-in form      bare window  console/bare\n");
    ColdRound cold;
    for (int round = 0; round <= rounds; ++round) {
        Launch c, b;
        // The order alternates, so that neither side always follows the other.
        if (round % 2) {
            c = launch(console, withStore(base, false), {"SHOWN"}, false);
            b = launch(bare, withStore(base, false), {"SHOWN"}, false);
        } else {
            b = launch(bare, withStore(base, false), {"SHOWN"}, false);
            c = launch(console, withStore(base, false), {"SHOWN"}, false);
        }
        if (!c.ok() || !b.ok())
            return 1;
        const double ratio = c.at.value("SHOWN") / b.at.value("SHOWN");
        std::printf("%5s  %12.0f (%5.0f)  %9.0f (%4.0f)  %12.2f\n",
                    round ? qPrintable(QString::number(round)) : "warm",
                    c.at.value("SHOWN"),
                    c.fromMain("SHOWN"),
                    b.at.value("SHOWN"),
                    b.fromMain("SHOWN"),
                    ratio);
        std::fflush(stdout);
        if (round == 0)
            continue;
        cold.console.push_back(c.at.value("SHOWN"));
        cold.consoleMain.push_back(c.fromMain("SHOWN"));
        cold.bare.push_back(b.at.value("SHOWN"));
        cold.bareMain.push_back(b.fromMain("SHOWN"));
        cold.ratio.push_back(ratio);
    }

    // 2 and 3. A saved sign-in on the large account.
    std::printf("\nstarting tallyra-local --profile large...\n");
    std::fflush(stdout);
    Service service;
    if (!service.start(parser.value(programOption)))
        return 1;
    QProcessEnvironment signInBase = base;
    service.addEndpoints(&signInBase);
    std::printf("saved sign-in, ms from QProcess::start (from main())\n");
    std::printf("round  list's first frame with rows  snapshots handled  peak MB  resident MB\n");
    SignInRound signIn;
    for (int round = 0; round <= signInRounds; ++round) {
        const Launch s = launch(console, withStore(signInBase, true), {"LISTED", "LOADED"}, true);
        if (!s.ok())
            return 1;
        const int rows = s.words.value("LISTED").value(1).toInt();
        std::printf("%5s  %7.0f (%5.0f), %5d rows  %17.0f  %7.0f  %11.0f\n",
                    round ? qPrintable(QString::number(round)) : "warm",
                    s.at.value("LISTED"),
                    s.fromMain("LISTED"),
                    rows,
                    s.at.value("LOADED"),
                    double(s.peakKb) / 1024,
                    double(s.rssKb) / 1024);
        std::fflush(stdout);
        if (round == 0)
            continue;
        signIn.listed.push_back(s.at.value("LISTED"));
        signIn.listedMain.push_back(s.fromMain("LISTED"));
        signIn.loaded.push_back(s.at.value("LOADED"));
        signIn.peakMb.push_back(double(s.peakKb) / 1024);
        signIn.rssMb.push_back(double(s.rssKb) / 1024);
        signIn.rows = rows;
    }

    const double consoleMs = median(cold.console);
    const double bareMs = median(cold.bare);
    const double ratio = bareMs > 0 ? consoleMs / bareMs : 0;
    const double listedMs = median(signIn.listed);
    const double peakMb = median(signIn.peakMb);
    const bool coldMet = ratio < 2;
    const bool listedMet = listedMs < 1500;
    const bool memoryMet = peakMb < 250;
    std::printf("\ncold start, medians of %d rounds:\n", rounds);
    std::printf("  console to its sign-in form: %.0f ms (%.0f from main())\n",
                consoleMs,
                median(cold.consoleMain));
    std::printf("  bare Qt Widgets window:      %.0f ms (%.0f from main())\n",
                bareMs,
                median(cold.bareMain));
    std::printf("  console / bare: %.2f (median of the rounds' ratios %.2f), under 2: %s\n",
                ratio,
                median(cold.ratio),
                coldMet ? "yes" : "NO");
    std::printf("saved sign-in on the large account, medians of %d rounds:\n", signInRounds);
    std::printf("  to the conversation list's first frame with %d rows: %.0f ms (%.0f from "
                "main()), under 1.5 s: %s\n",
                signIn.rows,
                listedMs,
                median(signIn.listedMain),
                listedMet ? "yes" : "NO");
    std::printf("  to the users, chats and visitors snapshots handled: %.0f ms\n",
                median(signIn.loaded));
    std::printf("  peak memory then: %.0f MB (max %.0f; resident %.0f), under 250 MB: %s\n",
                peakMb,
                maximum(signIn.peakMb),
                median(signIn.rssMb),
                memoryMet ? "yes" : "NO");
    const bool met = coldMet && listedMet && memoryMet;
    std::printf(met ? "targets met\n" : "TARGETS MISSED\n");
    return met ? 0 : 1;
}
