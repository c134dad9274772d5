// Launches the real console executable to check the single-instance hand-over. Every wait is
// for an event (a line of output, a process ending), never for a stretch of time; that an owner
// keeps running is shown by a later launch being handed over to it.
#include "app/runguard.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

const char kConsole[] = TALLYRA_BINARY_DIR "/src/tallyra";
const QByteArray kStarted = "START";
const QByteArray kShown = "SHOW MAIN WINDOW";
const QByteArray kHandOver = "SECOND LAUNCH";
const QString kKey = QStringLiteral("tallyra_onlinechat_2e2b303d-cd6a-45d7-a645-a5640bac0cf5");
const int kTimeoutMs = 60000;

} // namespace

class TestSingleInstance : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QVERIFY2(QFileInfo::exists(QString::fromLatin1(kConsole)), kConsole);
        m_tmp = std::make_unique<QTemporaryDir>();
        QVERIFY(m_tmp->isValid());
        clearStaleSegment();
    }
    void cleanup()
    {
        for (QProcess *process : qAsConst(m_processes)) {
            process->kill();
            process->waitForFinished(kTimeoutMs);
            delete process;
        }
        m_processes.clear();
        m_output.clear();
        clearStaleSegment();
        m_tmp.reset();
    }

    void quickSuccessionKeepsOneInstance()
    {
        QProcess *first = launch();
        QProcess *second = launch();
        // Exactly one of the two hands over and leaves with 0; the other keeps running.
        QTRY_VERIFY_WITH_TIMEOUT(first->state() == QProcess::NotRunning
                                     || second->state() == QProcess::NotRunning,
                                 kTimeoutMs);
        QProcess *leaver = first->state() == QProcess::NotRunning ? first : second;
        QProcess *owner = leaver == first ? second : first;
        QCOMPARE(leaver->exitStatus(), QProcess::NormalExit);
        QCOMPARE(leaver->exitCode(), 0);
        QCOMPARE(m_output.value(leaver).count(kStarted), 0);
        // The owner's local server saw the leaver's connection and showed the window for it.
        QVERIFY2(waitForCount(owner, kHandOver, 1), m_output.value(owner).constData());
        QVERIFY(waitForCount(owner, kShown, 2));
        // A later launch is handed over the same way, so the owner kept running.
        expectHandOver(owner, 2);
        QCOMPARE(m_output.value(owner).count(kStarted), 1);
    }

    void launchAfterKilledOwnerRuns()
    {
        QProcess *owner = launch();
        QVERIFY2(waitForCount(owner, kShown, 1), m_output.value(owner).constData());
        owner->kill(); // SIGKILL: no destructor runs, the guard's segment stays behind
        QVERIFY(owner->waitForFinished(kTimeoutMs));
        QProcess *next = launch();
        QVERIFY2(waitForCount(next, kShown, 1), m_output.value(next).constData());
        // The new owner can be raised too: the killed owner's socket file did not block it.
        expectHandOver(next, 1);
    }

private:
    // System V keys come from the inode of a file in the temporary directory. A killed console
    // leaves its segment behind, and a later directory may get the same inode: clear any such
    // segment the way a launch does, with the guard itself, in this process.
    void clearStaleSegment()
    {
        const QByteArray previous = qgetenv("TMPDIR");
        qputenv("TMPDIR", m_tmp->path().toUtf8());
        RunGuard(kKey).tryToRun();          // creates the key file; fails only on a stale segment
        QVERIFY(RunGuard(kKey).tryToRun()); // the key file exists now: a stale segment is cleared
        qputenv("TMPDIR", previous);
    }

    // Own temporary directory: the guard's segment, semaphore and local socket are keyed on
    // files there, so the test never meets a console that a developer is running.
    QProcess *launch()
    {
        auto *process = new QProcess();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"TMPDIR", "HOME", "XDG_RUNTIME_DIR"})
            env.insert(name, m_tmp->path());
        env.insert("XDG_CONFIG_HOME", m_tmp->path() + "/config");
        env.insert("QT_QPA_PLATFORM", "offscreen");
        env.insert("QT_LOGGING_RULES", "qt.*=false");
        process->setProcessEnvironment(env);
        process->setProcessChannelMode(QProcess::MergedChannels);
        connect(process, &QProcess::readyRead, this, [this, process] {
            m_output[process] += process->readAll();
        });
        process->start(QString::fromLatin1(kConsole), {});
        m_processes.append(process);
        return process;
    }

    // A further launch hands over to `owner` and leaves with 0; the owner counts `handOvers`.
    void expectHandOver(QProcess *owner, int handOvers)
    {
        QProcess *knocker = launch();
        QVERIFY(knocker->waitForFinished(kTimeoutMs));
        QCOMPARE(knocker->exitCode(), 0);
        QVERIFY2(waitForCount(owner, kHandOver, handOvers), m_output.value(owner).constData());
        QCOMPARE(owner->state(), QProcess::Running);
    }

    bool waitForCount(QProcess *process, const QByteArray &text, int count)
    {
        return QTest::qWaitFor([&] { return m_output.value(process).count(text) >= count; },
                               kTimeoutMs);
    }

    std::unique_ptr<QTemporaryDir> m_tmp;
    QList<QProcess *> m_processes;
    QHash<QProcess *, QByteArray> m_output;
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
