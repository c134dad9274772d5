#pragma once

#include "local/databasepath.h"
#include "local/databasequery.h"

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QJsonValue>
#include <QObject>
#include <QVector>

#include <map>
#include <memory>
#include <unordered_set>

// One change as a listener sees it: the value at path replaced (Put) or the relative paths of
// an object set one by one (Merge). Events are shared by every listener at the same location,
// so the encoded message is cached on the event.
struct DatabaseEvent
{
    enum class Kind { Put, Merge };

    Kind kind = Kind::Put;
    DatabasePath path;
    QJsonValue data;
    qint64 tag = -1; // the listen's tag for a filtered query, -1 otherwise
    mutable QByteArray encoded;
    // The data's JSON text, shared by the tagged listens that share a filtered view of it.
    mutable QByteArray encodedData;
};

class DatabaseObserver
{
public:
    virtual ~DatabaseObserver() = default;
    // Called during the write, before the writer is answered. Must not change listeners or data.
    virtual void databaseEvent(const DatabaseEvent &event) = 0;
};

// The JSON tree of the realtime database: reads, validated writes with server values, and the
// registry of listeners that every overlapping write is pushed to.
class RealtimeDatabase : public QObject
{
    Q_OBJECT

public:
    struct MergeChild
    {
        DatabasePath relative;
        QJsonValue value;
    };

    struct Node; // the tree's nodes, defined in the source
    using Snapshot = std::shared_ptr<const Node>;

    explicit RealtimeDatabase(QObject *parent = nullptr);
    ~RealtimeDatabase() override;

    // Writes that would take the size past this are refused; smaller ones are always taken.
    void setMaxSize(qint64 bytes) { m_maxSize = bytes; }
    qint64 maxSize() const { return m_maxSize; }
    // The stored data's size as JSON text, roughly; kept up to date by every write.
    qint64 size() const;

    // The tree as it is now. It stays so while writes go on (they copy what they change), so
    // it can be written out on another thread.
    Snapshot snapshot() const { return m_root; }
    // The snapshot's JSON text; callable on any thread.
    static QByteArray encode(const Snapshot &snapshot);

    QJsonValue value(const DatabasePath &path) const;
    // The filtered value at path, kept until the next change: a thousand listens of one
    // location at once cost one walk of the tree and one filter.
    QJsonValue value(const DatabasePath &path, const DatabaseQuery &query) const;
    // The same as JSON text, kept likewise: the answers to a client that asks for one big value
    // again and again cost one encoding.
    QByteArray encodedValue(const DatabasePath &path, const DatabaseQuery &query) const;
    // Each child object replaced by true, as REST's shallow=true reads.
    QJsonValue shallowValue(const DatabasePath &path) const;
    // The hash clients compare for conditional writes; empty for no data.
    QString hash(const DatabasePath &path) const;

    // Checks keys and sizes and resolves server values ({".sv": ...}) into what will be stored
    // at path. A null result deletes.
    bool prepareValue(const DatabasePath &path,
                      const QJsonValue &raw,
                      qint64 nowMs,
                      QJsonValue *prepared,
                      QString *error) const;
    // The same for an update's children; keys are relative paths and none may be the ancestor
    // of another.
    bool prepareMerge(const DatabasePath &path,
                      const QJsonObject &raw,
                      qint64 nowMs,
                      QVector<MergeChild> *children,
                      QString *error) const;

    // Writes prepared values and pushes them to the listeners; false with an error, writing
    // nothing, when the database would grow past its size limit.
    bool set(const DatabasePath &path, const QJsonValue &prepared, QString *error = nullptr);
    bool merge(const DatabasePath &path,
               const QVector<MergeChild> &children,
               QString *error = nullptr);

    // Replaces everything without telling listeners (loading, reset).
    void replaceRoot(const QJsonValue &root);

    // tag -1: a plain listen, sent every write that overlaps path. Otherwise a filtered query,
    // sent its whole filtered value again on each overlapping write.
    void addListener(DatabaseObserver *observer,
                     const DatabasePath &path,
                     qint64 tag,
                     const DatabaseQuery &query = DatabaseQuery());
    void removeListener(DatabaseObserver *observer, const DatabasePath &path, qint64 tag);
    int listenerCount() const { return m_listenerCount; }

signals:
    // After every write; the snapshot store batches saves on it.
    void changed();

private:
    struct ListenNode;
    struct ListenEntry
    {
        DatabaseObserver *observer;
        qint64 tag;
        DatabaseQuery query;
        QByteArray queryKey;
    };
    struct NotifyCache;
    using ObserverSet = std::unordered_set<DatabaseObserver *>;

    const Node *find(const DatabasePath &path) const;
    void place(const DatabasePath &path, std::shared_ptr<Node> node);
    bool fits(qint64 growth, QString *error) const;
    // Drops the kept reads a write at path changes; the root drops all.
    void forgetReads(const DatabasePath &path) const;
    QJsonValue cachedValue(const DatabasePath &path,
                           const DatabaseQuery &query,
                           const QByteArray &queryKey) const;
    bool normalize(const DatabasePath &at,
                   const QJsonValue &raw,
                   qint64 nowMs,
                   int depth,
                   QJsonValue *out,
                   QString *error) const;

    void notifyPut(const DatabasePath &path);
    void notifyMerge(const DatabasePath &path, const QVector<MergeChild> &children);
    void putToDescendants(const ListenNode *node,
                          const DatabasePath &at,
                          ObserverSet &served,
                          NotifyCache &cache);
    void mergeToDescendants(const ListenNode *node,
                            const DatabasePath &at,
                            const DatabasePath &writePath,
                            const QVector<MergeChild> &children,
                            ObserverSet &served,
                            NotifyCache &cache);
    void sendTagged(const ListenEntry &entry, const DatabasePath &at, NotifyCache &cache);

    std::shared_ptr<Node> m_root;
    qint64 m_maxSize = 512 * 1024 * 1024;
    struct Read
    {
        QJsonValue value;
        QByteArray text; // its JSON, once asked for
        qint64 size = 0;
    };
    // Reads kept until a write changes them, by path and query.
    mutable QHash<QPair<QStringList, QByteArray>, Read> m_reads;
    mutable qint64 m_readsSize = 0;
    std::unique_ptr<ListenNode> m_listeners;
    int m_listenerCount = 0;
};
