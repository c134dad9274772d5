#include "local/writebatcher.h"

#include "local/websocketconnection.h"

WriteBatcher::WriteBatcher(QObject *parent)
    : QObject(parent)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &WriteBatcher::flush);
    m_sinceFlush.start();
}

void WriteBatcher::schedule(WebSocketConnection *connection)
{
    m_pending.append(connection);
    if (!m_timer.isActive())
        m_timer.start(int(qMax<qint64>(0, m_intervalMs - m_sinceFlush.elapsed())));
}

void WriteBatcher::forget(WebSocketConnection *connection)
{
    m_pending.removeAll(connection);
}

void WriteBatcher::flush()
{
    const QVector<WebSocketConnection *> pending = std::move(m_pending);
    m_pending.clear();
    for (WebSocketConnection *connection : pending)
        connection->takeBatchTurn();
    m_sinceFlush.restart();
}
