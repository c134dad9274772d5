#pragma once

#include <QAtomicInt>
#include <QObject>
#include <QThreadPool>
#include <QTimer>

class RealtimeDatabase;

// Keeps the database tree on disk: after a change, a snapshot is written within the batch
// interval (by atomic replace, off the event loop's thread) and once more on flush().
class SnapshotStore : public QObject
{
    Q_OBJECT

public:
    SnapshotStore(RealtimeDatabase *database, const QString &fileName, QObject *parent = nullptr);
    ~SnapshotStore() override;

    // False with an error when the file exists but cannot be read; *found tells whether it did.
    bool load(bool *found, QString *error);
    void setBatchInterval(int milliseconds) { m_timer.setInterval(milliseconds); }
    // Waits for writes in progress, then writes the current tree if it changed since.
    bool flush(QString *error = nullptr);
    // Waits for writes in progress, then writes the current tree.
    bool save(QString *error = nullptr);
    QString fileName() const { return m_fileName; }

private:
    void onChanged();
    void saveInBackground();
    static bool write(const QString &fileName, const QByteArray &data, QString *error);

    RealtimeDatabase *m_database;
    QString m_fileName;
    QTimer m_timer;
    QThreadPool m_writer;
    QAtomicInt m_saving;
    bool m_dirty = false;
};
