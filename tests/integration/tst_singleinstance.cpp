// Launches the real console executable to check the single-instance hand-over.
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

} // namespace

class TestSingleInstance : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void quickSuccessionKeepsOneInstance();
    void launchAfterKilledOwnerRuns();

private:
    QProcess *launch();
    void clearStaleSegment();
    int countIn(QProcess *process, const QByteArray &text) const;
    bool waitForCount(QProcess *process, const QByteArray &text, int count, int timeoutMs = 20000);

    // Own temporary directory: the guard's segment, semaphore and local socket are keyed on
    // files there, so the test never meets a console that a developer is running.
    std::unique_ptr<QTemporaryDir> m_tmp;
    QList<QProcess *> m_processes;
    QHash<QProcess *, QByteArray> m_output;
};

void TestSingleInstance::init()
{
    QVERIFY2(QFileInfo::exists(QString::fromLatin1(kConsole)), kConsole);
    m_tmp = std::make_unique<QTemporaryDir>();
    QVERIFY(m_tmp->isValid());
    clearStaleSegment();
}

// System V keys come from the inode of a file in the temporary directory. A killed console
// leaves its segment behind, and a later directory may get the same inode: clear any such
// segment the way a launch does, with the guard itself, in this process.
void TestSingleInstance::clearStaleSegment()
{
    const QByteArray previous = qgetenv("TMPDIR");
    qputenv("TMPDIR", m_tmp->path().toUtf8());
    {
        RunGuard first(kKey);
        first.tryToRun(); // creates the key file; fails only on a stale segment
    }
    {
        RunGuard second(kKey); // the key file exists now, so a stale segment is cleared
        QVERIFY(second.tryToRun());
    }
    qputenv("TMPDIR", previous);
}

void TestSingleInstance::cleanup()
{
    for (QProcess *process : qAsConst(m_processes)) {
        if (process->state() != QProcess::NotRunning) {
            process->kill();
            process->waitForFinished(5000);
        }
        delete process;
    }
    m_processes.clear();
    m_output.clear();
    clearStaleSegment();
    m_tmp.reset();
}

QProcess *TestSingleInstance::launch()
{
    auto *process = new QProcess();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("TMPDIR"), m_tmp->path());
    env.insert(QStringLiteral("HOME"), m_tmp->path());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_tmp->path() + QStringLiteral("/config"));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_tmp->path());
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    env.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("qt.*=false"));
    process->setProcessEnvironment(env);
    process->setProcessChannelMode(QProcess::MergedChannels);
    connect(process, &QProcess::readyRead, this, [this, process]() {
        m_output[process] += process->readAll();
    });
    process->start(QString::fromLatin1(kConsole), {});
    m_processes.append(process);
    return process;
}

int TestSingleInstance::countIn(QProcess *process, const QByteArray &text) const
{
    return m_output.value(process).count(text);
}

bool TestSingleInstance::waitForCount(QProcess *process,
                                      const QByteArray &text,
                                      int count,
                                      int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (countIn(process, text) < count && timer.elapsed() < timeoutMs)
        QTest::qWait(20);
    return countIn(process, text) >= count;
}

void TestSingleInstance::quickSuccessionKeepsOneInstance()
{
    QProcess *first = launch();
    QProcess *second = launch();

    // Exactly one of the two hands over and leaves with 0; the other keeps running.
    QElapsedTimer timer;
    timer.start();
    while (first->state() != QProcess::NotRunning && second->state() != QProcess::NotRunning
           && timer.elapsed() < 40000)
        QTest::qWait(20);
    QProcess *leaver = first->state() == QProcess::NotRunning ? first : second;
    QProcess *owner = leaver == first ? second : first;
    QCOMPARE(leaver->state(), QProcess::NotRunning);
    QCOMPARE(leaver->exitStatus(), QProcess::NormalExit);
    QCOMPARE(leaver->exitCode(), 0);
    QCOMPARE(countIn(leaver, kStarted), 0);

    // The owner's local server saw the leaver's connection and showed the window for it.
    QVERIFY2(waitForCount(owner, kHandOver, 1), m_output.value(owner).constData());
    QVERIFY(waitForCount(owner, kShown, 2));
    QTest::qWait(300);
    QCOMPARE(owner->state(), QProcess::Running);
    QCOMPARE(countIn(owner, kStarted), 1);

    // A later launch is handed over the same way.
    QProcess *third = launch();
    QVERIFY(third->waitForFinished(40000));
    QCOMPARE(third->exitCode(), 0);
    QVERIFY(waitForCount(owner, kHandOver, 2));
}

void TestSingleInstance::launchAfterKilledOwnerRuns()
{
    QProcess *owner = launch();
    QVERIFY2(waitForCount(owner, kShown, 1), m_output.value(owner).constData());
    owner->kill(); // SIGKILL: no destructor runs, the guard's segment stays behind
    QVERIFY(owner->waitForFinished(5000));

    QProcess *next = launch();
    QVERIFY2(waitForCount(next, kShown, 1), m_output.value(next).constData());
    QTest::qWait(500);
    QCOMPARE(next->state(), QProcess::Running);

    // The new owner can be raised too: the killed owner's socket file did not block it.
    QProcess *knocker = launch();
    QVERIFY(knocker->waitForFinished(40000));
    QCOMPARE(knocker->exitCode(), 0);
    QVERIFY(waitForCount(next, kHandOver, 1));
}

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
