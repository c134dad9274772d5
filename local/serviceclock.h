#pragma once

#include <QObject>
#include <QtGlobal>

// The service's one notion of "now": token checks, stream sessions and server timestamps all read
// it, so a token is valid or expired for every part of the service at the same instant. Tests
// move it forward instead of waiting for real time to pass.
class ServiceClock : public QObject
{
    Q_OBJECT

public:
    explicit ServiceClock(QObject *parent = nullptr);

    // Milliseconds and whole seconds since the epoch.
    qint64 nowMs() const;
    qint64 nowSecs() const;

    // A token that expires at expiresAt (seconds) is expired from that instant on.
    static bool isExpired(qint64 expiresAt, qint64 nowMs) { return nowMs >= expiresAt * 1000; }
    bool isExpired(qint64 expiresAt) const { return isExpired(expiresAt, nowMs()); }
    // Until that instant; 0 once it has come.
    qint64 msUntil(qint64 expiresAt) const { return qMax<qint64>(0, expiresAt * 1000 - nowMs()); }

    // Stops the clock where it is, until reset(); advance() then is the only way it moves.
    void freeze();
    // Moves the clock by so much; whoever keeps a deadline rechecks it at once.
    void advance(qint64 milliseconds);
    // Back to the system's time.
    void reset();

    // The clock of services built without one.
    static const ServiceClock *system();

signals:
    void advanced();

private:
    qint64 m_offsetMs = 0;
    bool m_frozen = false;
};
