#include "local/faultinjector.h"

FaultInjector::FaultInjector(QObject *parent)
    : QObject(parent)
{
    connect(&m_dropTimer, &QTimer::timeout, this, &FaultInjector::dropStreamsNow);
}

void FaultInjector::dropStreamsNow()
{
    emit dropStreamsRequested();
}

void FaultInjector::setDropStreamsInterval(int milliseconds)
{
    if (milliseconds <= 0) {
        m_dropTimer.stop();
        return;
    }
    m_dropTimer.start(milliseconds);
}

int FaultInjector::dropStreamsInterval() const
{
    return m_dropTimer.isActive() ? m_dropTimer.interval() : 0;
}

void FaultInjector::setPathFailure(const QString &pathPrefix, int status)
{
    m_pathFailures.insert(pathPrefix, status);
}

int FaultInjector::failureStatus(const QString &path) const
{
    for (auto it = m_pathFailures.constBegin(); it != m_pathFailures.constEnd(); ++it) {
        if (path.startsWith(it.key()))
            return it.value();
    }
    return 0;
}
