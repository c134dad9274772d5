#pragma once

#include <QHash>
#include <QString>

#include <functional>

// Slows down guessing of one login's password. Attempts on a login take turns: after a few
// wrong passwords each further wrong one is answered later, the delay doubling up to a cap, and
// the next attempt waits for that answer. An attempt that would wait too long is turned away at
// once, so nothing queues without bound.
class LoginThrottle
{
public:
    struct Settings
    {
        int freeFailures = 2; // wrong passwords answered at once
        int firstDelayMs = 1000;
        int maxDelayMs = 8000;
        int maxWaitMs = 30000;                 // longer waits are refused
        qint64 forgetAfterMs = 15 * 60 * 1000; // failures this old no longer count
    };

    // Milliseconds on any steady clock; the default is the wall clock.
    using Clock = std::function<qint64()>;

    explicit LoginThrottle(Clock clock = Clock());

    void setSettings(const Settings &settings) { m_settings = settings; }
    const Settings &settings() const { return m_settings; }

    // Whether an attempt on the login may be checked now; false when it would wait too long.
    bool admits(const QString &login);
    // Records the attempt's outcome and returns how long to hold its answer back.
    int answerDelay(const QString &login, bool passwordCorrect);

private:
    struct Entry
    {
        int failures = 0;
        qint64 lastFailureAt = 0;
        qint64 nextAt = 0; // when the next attempt's turn comes
    };

    // The login's entry, forgetting it when its failures are old.
    Entry *entry(const QString &login, qint64 now);

    Settings m_settings;
    Clock m_clock;
    QHash<QString, Entry> m_entries;
};
