#pragma once

#include <QSharedMemory>
#include <QString>
#include <QSystemSemaphore>

// Single-instance guard. The shared-memory segment is the marker that an instance runs; the
// system semaphore orders the attach, create and detach steps of concurrent launches.
class RunGuard
{
public:
    explicit RunGuard(const QString &key);
    ~RunGuard();

    bool isAnotherRunning();
    bool tryToRun();
    void release();

    // Exposed for diagnostics and tests; derived from the key as hex SHA-1 with a fixed suffix.
    QString memLockKey() const { return m_memLockKey; }
    QString sharedmemKey() const { return m_sharedmemKey; }

private:
    const QString m_key;
    const QString m_memLockKey;
    const QString m_sharedmemKey;

    QSharedMemory m_sharedMem;
    QSystemSemaphore m_memLock;

    Q_DISABLE_COPY(RunGuard)
};
