#include "local/snapshotstore.h"

#include "local/jsoncodec.h"
#include "local/privatefiles.h"
#include "local/realtimedatabase.h"

#include <QDebug>
#include <QFile>

SnapshotStore::SnapshotStore(RealtimeDatabase *database, const QString &fileName, QObject *parent)
    : QObject(parent)
    , m_database(database)
    , m_fileName(fileName)
{
    // Not restarted by later changes: a steady stream of writes is still saved every interval.
    m_timer.setSingleShot(true);
    m_timer.setInterval(1000);
    connect(&m_timer, &QTimer::timeout, this, &SnapshotStore::saveInBackground);
    connect(m_database, &RealtimeDatabase::changed, this, &SnapshotStore::onChanged);
    m_writer.setMaxThreadCount(1); // one writer keeps the saves in order
}

SnapshotStore::~SnapshotStore()
{
    m_writer.waitForDone();
}

bool SnapshotStore::load(bool *found, QString *error)
{
    QFile file(m_fileName);
    *found = file.exists();
    if (!*found)
        return true;
    QJsonValue root;
    if (!file.open(QIODevice::ReadOnly) || !JsonCodec::decode(file.readAll(), &root)) {
        *error = QStringLiteral("%1 is not a readable database snapshot (start with --reset to "
                                "begin again)")
                     .arg(m_fileName);
        return false;
    }
    m_database->replaceRoot(root);
    return true;
}

void SnapshotStore::onChanged()
{
    m_dirty = true;
    if (!m_timer.isActive())
        m_timer.start();
}

void SnapshotStore::saveInBackground()
{
    if (!m_dirty)
        return;
    // One save at a time; changes meanwhile wait for the next interval.
    if (m_saving.loadAcquire()) {
        m_timer.start();
        return;
    }
    m_dirty = false;
    m_saving.storeRelease(1);
    // The event loop only takes the snapshot; the worker turns it into text and writes it.
    const RealtimeDatabase::Snapshot snapshot = m_database->snapshot();
    const QString fileName = m_fileName;
    m_writer.start([this, fileName, snapshot] {
        QString error;
        if (!write(fileName, RealtimeDatabase::encode(snapshot), &error))
            qWarning().noquote() << "SNAPSHOT NOT SAVED:" << error;
        m_saving.storeRelease(0);
    });
}

bool SnapshotStore::flush(QString *error)
{
    m_writer.waitForDone();
    return m_dirty ? save(error) : true;
}

bool SnapshotStore::save(QString *error)
{
    m_timer.stop();
    m_writer.waitForDone();
    m_dirty = false;
    QString message;
    if (!write(m_fileName, RealtimeDatabase::encode(m_database->snapshot()), &message)) {
        qWarning().noquote() << "SNAPSHOT NOT SAVED:" << message;
        if (error)
            *error = message;
        return false;
    }
    return true;
}

bool SnapshotStore::write(const QString &fileName, const QByteArray &data, QString *error)
{
    return PrivateFiles::write(fileName, data, error);
}
