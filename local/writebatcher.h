#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <QVector>

class WebSocketConnection;

// Gathers what is sent to many websockets and hands it to each socket in one write. Frames sent
// during one turn of the event loop go out together at its end; under load, when the last
// batch left less than the interval ago, the next one waits for the interval. One write per
// socket then carries several pushes: fewer TLS records, system calls and event-loop passes,
// which is what keeps a fan-out to hundreds of listeners within one core.
class WriteBatcher : public QObject
{
    Q_OBJECT

public:
    explicit WriteBatcher(QObject *parent = nullptr);

    void setInterval(int milliseconds) { m_intervalMs = milliseconds; }
    void schedule(WebSocketConnection *connection);
    void forget(WebSocketConnection *connection);

private:
    void flush();

    QVector<WebSocketConnection *> m_pending;
    QTimer m_timer;
    QElapsedTimer m_sinceFlush;
    int m_intervalMs = 4;
};
