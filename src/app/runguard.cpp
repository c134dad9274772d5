#include "app/runguard.h"

#include <QCryptographicHash>

namespace {

QString generateKeyHash(const QString &key, const QString &salt)
{
    QByteArray data;
    data.append(key.toUtf8());
    data.append(salt.toUtf8());
    return QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Sha1).toHex());
}

} // namespace

RunGuard::RunGuard(const QString &key)
    : m_key(key)
    , m_memLockKey(generateKeyHash(key, QStringLiteral("_memLockKey")))
    , m_sharedmemKey(generateKeyHash(key, QStringLiteral("_sharedmemKey")))
    , m_sharedMem(m_sharedmemKey)
    , m_memLock(m_memLockKey, 1, QSystemSemaphore::Open)
{
    // Attaching and detaching at once clears a segment that a crashed owner left behind (on
    // Unix the segment is destroyed when its last attachment goes away).
    m_memLock.acquire();
    {
        QSharedMemory fix(m_sharedmemKey);
        fix.attach();
    }
    m_memLock.release();
}

RunGuard::~RunGuard()
{
    release();
}

bool RunGuard::isAnotherRunning()
{
    if (m_sharedMem.isAttached())
        return false;

    m_memLock.acquire();
    const bool isRunning = m_sharedMem.attach();
    if (isRunning)
        m_sharedMem.detach();
    m_memLock.release();

    return isRunning;
}

bool RunGuard::tryToRun()
{
    if (isAnotherRunning())
        return false;

    m_memLock.acquire();
    const bool result = m_sharedMem.create(8);
    m_memLock.release();
    if (!result) {
        release();
        return false;
    }
    return true;
}

void RunGuard::release()
{
    m_memLock.acquire();
    if (m_sharedMem.isAttached())
        m_sharedMem.detach();
    m_memLock.release();
}
