#pragma once

#include <QHash>
#include <QObject>
#include <QTimer>

// Failures on demand for tests and demonstrations: dropped streams, slow answers, refused token
// refreshes and failing endpoints.
class FaultInjector : public QObject
{
    Q_OBJECT

public:
    explicit FaultInjector(QObject *parent = nullptr);

    // Every open websocket is cut as a network failure would cut it.
    void dropStreamsNow();
    // Repeats dropStreamsNow() every interval; 0 stops it.
    void setDropStreamsInterval(int milliseconds);
    int dropStreamsInterval() const;

    // Delays every HTTP answer and every websocket message the service sends.
    void setReplyDelay(int milliseconds) { m_replyDelay = qMax(0, milliseconds); }
    int replyDelay() const { return m_replyDelay; }

    void setRefuseTokenRefresh(bool refuse) { m_refuseTokenRefresh = refuse; }
    bool refusesTokenRefresh() const { return m_refuseTokenRefresh; }

    // HTTP requests whose path starts with the prefix are answered with the status and not run.
    void setPathFailure(const QString &pathPrefix, int status);
    void clearPathFailures() { m_pathFailures.clear(); }
    // 0 when the path is not set to fail.
    int failureStatus(const QString &path) const;

signals:
    void dropStreamsRequested();

private:
    QTimer m_dropTimer;
    int m_replyDelay = 0;
    bool m_refuseTokenRefresh = false;
    QHash<QString, int> m_pathFailures;
};
