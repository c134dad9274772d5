#include "local/loginthrottle.h"

#include <QDateTime>

LoginThrottle::LoginThrottle(Clock clock)
    : m_clock(clock ? std::move(clock) : Clock([] { return QDateTime::currentMSecsSinceEpoch(); }))
{}

LoginThrottle::Entry *LoginThrottle::entry(const QString &login, qint64 now)
{
    const auto found = m_entries.find(login);
    if (found == m_entries.end())
        return nullptr;
    if (now - found->lastFailureAt > m_settings.forgetAfterMs && found->nextAt <= now) {
        m_entries.erase(found);
        return nullptr;
    }
    return &found.value();
}

bool LoginThrottle::admits(const QString &login)
{
    const qint64 now = m_clock();
    const Entry *current = entry(login, now);
    return !current || current->nextAt - now <= m_settings.maxWaitMs;
}

int LoginThrottle::answerDelay(const QString &login, bool passwordCorrect)
{
    const qint64 now = m_clock();
    Entry *current = entry(login, now);
    const qint64 turn = current ? qMax(now, current->nextAt) : now;
    if (passwordCorrect) {
        m_entries.remove(login);
        return int(turn - now);
    }
    if (!current)
        current = &m_entries[login];
    ++current->failures;
    current->lastFailureAt = now;
    qint64 delay = 0;
    const int beyond = current->failures - m_settings.freeFailures;
    if (beyond > 0) {
        delay = m_settings.firstDelayMs;
        for (int i = 1; i < beyond && delay < m_settings.maxDelayMs; ++i)
            delay *= 2;
        delay = qMin<qint64>(delay, m_settings.maxDelayMs);
    }
    current->nextAt = turn + delay;
    return int(current->nextAt - now);
}
