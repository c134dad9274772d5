#include "local/serviceclock.h"

#include <QDateTime>

ServiceClock::ServiceClock(QObject *parent)
    : QObject(parent)
{}

qint64 ServiceClock::nowMs() const
{
    return (m_frozen ? 0 : QDateTime::currentMSecsSinceEpoch()) + m_offsetMs;
}

qint64 ServiceClock::nowSecs() const
{
    return nowMs() / 1000;
}

void ServiceClock::freeze()
{
    m_offsetMs = nowMs();
    m_frozen = true;
}

void ServiceClock::advance(qint64 milliseconds)
{
    m_offsetMs += milliseconds;
    emit advanced();
}

void ServiceClock::reset()
{
    m_offsetMs = 0;
    m_frozen = false;
    emit advanced();
}

const ServiceClock *ServiceClock::system()
{
    static const ServiceClock clock;
    return &clock;
}
