#include "local/realtimedatabase.h"

#include "local/jsoncodec.h"

#include <QCryptographicHash>
#include <QHash>
#include <QJsonArray>
#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace {
// Strings above this are refused, as the hosted database refuses them.
constexpr int kMaxStringBytes = 10 * 1024 * 1024;

qint64 leafSize(const QJsonValue &leaf)
{
    switch (leaf.type()) {
    case QJsonValue::String:
        return leaf.toString().size() + 2;
    case QJsonValue::Bool:
        return 5;
    default:
        return 12;
    }
}

} // namespace

struct RealtimeDatabase::Node
{
    // A leaf holds a string, number or boolean; an inner node has children instead.
    QJsonValue leaf = QJsonValue(QJsonValue::Undefined);
    // Shared with snapshots being saved: see writable().
    std::map<QString, std::shared_ptr<Node>> children;
    // The size of this node's JSON text, roughly: what the size limit counts.
    qint64 size = 2;

    bool isLeaf() const { return !leaf.isUndefined(); }
    bool isEmpty() const { return leaf.isUndefined() && children.empty(); }
    // What a child adds to its parent's size.
    static qint64 entrySize(const QString &key, const Node *child)
    {
        return child ? key.size() + 4 + child->size : 0;
    }

    static std::shared_ptr<Node> fromJson(const QJsonValue &value);
    // A node that a snapshot still holds is copied before it changes, so the snapshot keeps
    // the tree as it was; the copy shares the children until they change in turn.
    static Node *writable(std::shared_ptr<Node> &slot)
    {
        if (slot.use_count() > 1)
            slot = std::make_shared<Node>(*slot);
        return slot.get();
    }
    QJsonValue toJson() const;
    // Objects only: arrays read back from their index keys.
    void appendJson(QByteArray &out) const;
    QString hash() const;
};

struct RealtimeDatabase::ListenNode
{
    std::map<QString, std::unique_ptr<ListenNode>> children;
    QVector<ListenEntry> entries;
};

std::shared_ptr<RealtimeDatabase::Node> RealtimeDatabase::Node::fromJson(const QJsonValue &value)
{
    const auto adopt = [](Node *node, const QString &key, std::shared_ptr<Node> child) {
        if (!child)
            return;
        node->size += entrySize(key, child.get());
        node->children.emplace(key, std::move(child));
    };
    switch (value.type()) {
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        return nullptr;
    case QJsonValue::Object: {
        const QJsonObject object = value.toObject();
        auto node = std::make_shared<Node>();
        for (auto it = object.begin(); it != object.end(); ++it)
            adopt(node.get(), it.key(), fromJson(it.value()));
        return node->isEmpty() ? nullptr : std::move(node);
    }
    case QJsonValue::Array: {
        const QJsonArray array = value.toArray();
        auto node = std::make_shared<Node>();
        for (int i = 0; i < array.size(); ++i)
            adopt(node.get(), QString::number(i), fromJson(array.at(i)));
        return node->isEmpty() ? nullptr : std::move(node);
    }
    default: {
        auto node = std::make_shared<Node>();
        node->leaf = value;
        node->size = leafSize(value);
        return node;
    }
    }
}

void RealtimeDatabase::Node::appendJson(QByteArray &out) const
{
    if (isLeaf()) {
        if (leaf.isString())
            JsonCodec::appendString(out, leaf.toString());
        else if (leaf.isBool())
            out += leaf.toBool() ? "true" : "false";
        else
            JsonCodec::appendNumber(out, leaf.toDouble());
        return;
    }
    if (children.empty()) {
        out += "null";
        return;
    }
    out += '{';
    bool first = true;
    for (const auto &child : children) {
        if (!first)
            out += ',';
        first = false;
        JsonCodec::appendString(out, child.first);
        out += ':';
        child.second->appendJson(out);
    }
    out += '}';
}

QJsonValue RealtimeDatabase::Node::toJson() const
{
    if (isLeaf())
        return leaf;
    if (children.empty())
        return QJsonValue();
    // Children named 0..n read back as an array when more than half the indexes are used.
    qint64 maxIndex = -1;
    bool allIndexes = true;
    for (const auto &child : children) {
        const QString &key = child.first;
        bool ok = !key.isEmpty() && key.size() <= 9 && (key.size() == 1 || key.at(0) != '0');
        for (const QChar c : key)
            ok = ok && c >= QLatin1Char('0') && c <= QLatin1Char('9');
        if (!ok) {
            allIndexes = false;
            break;
        }
        maxIndex = qMax(maxIndex, key.toLongLong());
    }
    if (allIndexes && maxIndex < 2 * qint64(children.size())) {
        QJsonArray array;
        for (qint64 i = 0; i <= maxIndex; ++i) {
            const auto it = children.find(QString::number(i));
            array.append(it == children.end() ? QJsonValue() : it->second->toJson());
        }
        return array;
    }
    QJsonObject object;
    for (const auto &child : children)
        object.insert(child.first, child.second->toJson());
    return object;
}

QString RealtimeDatabase::Node::hash() const
{
    QByteArray text;
    if (isLeaf()) {
        switch (leaf.type()) {
        case QJsonValue::Double: {
            uchar bytes[8];
            const double number = leaf.toDouble();
            quint64 bits;
            std::memcpy(&bits, &number, 8);
            qToBigEndian(bits, bytes);
            text = "number:" + QByteArray(reinterpret_cast<const char *>(bytes), 8).toHex();
            break;
        }
        case QJsonValue::Bool:
            text = leaf.toBool() ? "boolean:true" : "boolean:false";
            break;
        default:
            text = "string:" + leaf.toString().toUtf8();
            break;
        }
    } else {
        QVector<const QString *> keys;
        keys.reserve(int(children.size()));
        for (const auto &child : children)
            keys.append(&child.first);
        std::sort(keys.begin(), keys.end(), [](const QString *a, const QString *b) {
            return DatabaseQuery::compareKeys(*a, *b) < 0;
        });
        for (const QString *key : qAsConst(keys)) {
            const QString childHash = children.at(*key)->hash();
            if (!childHash.isEmpty())
                text += ':' + key->toUtf8() + ':' + childHash.toUtf8();
        }
        if (text.isEmpty())
            return {};
    }
    return QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Sha1).toBase64());
}

// What one write's notification computes once, however many listens share it: the value at a
// location and each distinct filtered view of it.
struct RealtimeDatabase::NotifyCache
{
    const RealtimeDatabase *database;
    QHash<QPair<QStringList, QByteArray>, DatabaseEvent> filtered;

    QJsonValue value(const DatabasePath &at)
    {
        return database->cachedValue(at, DatabaseQuery(), QByteArray());
    }
};

namespace {
// Reads kept until the next change, at most this much in all: bigger values are built again.
constexpr qint64 kMaxCachedReads = 16 * 1024 * 1024;
} // namespace

QJsonValue RealtimeDatabase::value(const DatabasePath &path, const DatabaseQuery &query) const
{
    return query.isDefault() ? cachedValue(path, query, QByteArray())
                             : cachedValue(path, query, query.cacheKey());
}

QByteArray RealtimeDatabase::encodedValue(const DatabasePath &path, const DatabaseQuery &query) const
{
    const QByteArray queryKey = query.isDefault() ? QByteArray() : query.cacheKey();
    const auto key = qMakePair(path.keys(), queryKey);
    auto it = m_reads.find(key);
    if (it != m_reads.end() && !it->text.isNull())
        return it->text;
    const QByteArray text = JsonCodec::encode(cachedValue(path, query, queryKey));
    it = m_reads.find(key); // kept by cachedValue() unless too big
    if (it != m_reads.end() && m_readsSize + text.size() <= kMaxCachedReads) {
        it->text = text;
        it->size += text.size();
        m_readsSize += text.size();
    }
    return text;
}

QJsonValue RealtimeDatabase::cachedValue(const DatabasePath &path,
                                         const DatabaseQuery &query,
                                         const QByteArray &queryKey) const
{
    const auto key = qMakePair(path.keys(), queryKey);
    const auto it = m_reads.constFind(key);
    if (it != m_reads.constEnd())
        return it->value;
    const Node *node = find(path);
    if (!node || node->size > kMaxCachedReads / 2)
        return query.apply(node ? node->toJson() : QJsonValue());
    const QJsonValue result = queryKey.isEmpty()
                                  ? node->toJson()
                                  : query.apply(cachedValue(path, DatabaseQuery(), QByteArray()));
    if (m_readsSize + node->size > kMaxCachedReads || m_reads.size() >= 64)
        forgetReads(DatabasePath());
    m_reads.insert(key, {result, QByteArray(), node->size});
    m_readsSize += node->size;
    return result;
}

void RealtimeDatabase::forgetReads(const DatabasePath &path) const
{
    if (path.isRoot()) {
        m_reads.clear();
        m_readsSize = 0;
        return;
    }
    for (auto it = m_reads.begin(); it != m_reads.end();) {
        if (path.overlaps(DatabasePath(it.key().first))) {
            m_readsSize -= it->size;
            it = m_reads.erase(it);
        } else {
            ++it;
        }
    }
}

RealtimeDatabase::RealtimeDatabase(QObject *parent)
    : QObject(parent)
    , m_root(std::make_shared<Node>())
    , m_listeners(std::make_unique<ListenNode>())
{}

RealtimeDatabase::~RealtimeDatabase() = default;

qint64 RealtimeDatabase::size() const
{
    return m_root->size;
}

QByteArray RealtimeDatabase::encode(const Snapshot &snapshot)
{
    QByteArray out;
    if (snapshot)
        snapshot->appendJson(out);
    return out;
}

bool RealtimeDatabase::fits(qint64 growth, QString *error) const
{
    // A write that shrinks the data is always taken, so that a full database can be cleaned.
    if (growth <= 0 || m_root->size + growth <= m_maxSize)
        return true;
    if (error)
        *error = QStringLiteral("Write too big: the database would grow past its limit of %1 "
                                "bytes")
                     .arg(m_maxSize);
    return false;
}

const RealtimeDatabase::Node *RealtimeDatabase::find(const DatabasePath &path) const
{
    const Node *node = m_root.get();
    for (const QString &key : path.keys()) {
        const auto it = node->children.find(key);
        if (it == node->children.end())
            return nullptr;
        node = it->second.get();
    }
    return node;
}

QJsonValue RealtimeDatabase::value(const DatabasePath &path) const
{
    const Node *node = find(path);
    return node ? node->toJson() : QJsonValue();
}

QJsonValue RealtimeDatabase::shallowValue(const DatabasePath &path) const
{
    const Node *node = find(path);
    if (!node || node->isEmpty())
        return QJsonValue();
    if (node->isLeaf())
        return node->leaf;
    QJsonObject object;
    for (const auto &child : node->children)
        object.insert(child.first, child.second->isLeaf() ? child.second->leaf : QJsonValue(true));
    return object;
}

QString RealtimeDatabase::hash(const DatabasePath &path) const
{
    const Node *node = find(path);
    return node ? node->hash() : QString();
}

bool RealtimeDatabase::normalize(const DatabasePath &at,
                                 const QJsonValue &raw,
                                 qint64 nowMs,
                                 int depth,
                                 QJsonValue *out,
                                 QString *error) const
{
    if (depth > DatabasePath::maxDepth) {
        *error = QStringLiteral("Invalid data; path too deep");
        return false;
    }
    switch (raw.type()) {
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        *out = QJsonValue();
        return true;
    case QJsonValue::Bool:
    case QJsonValue::Double:
        *out = raw;
        return true;
    case QJsonValue::String:
        if (raw.toString().size() > kMaxStringBytes) {
            *error = QStringLiteral("Invalid data; string too long");
            return false;
        }
        *out = raw;
        return true;
    case QJsonValue::Array: {
        // Stays an array: the tree stores it as children named by index all the same, and
        // an object of index keys built one by one would cost time quadratic in its length.
        const QJsonArray array = raw.toArray();
        QJsonArray result;
        bool empty = true;
        for (int i = 0; i < array.size(); ++i) {
            QJsonValue child;
            if (!normalize(at.child(QString::number(i)), array.at(i), nowMs, depth + 1, &child, error))
                return false;
            empty = empty && child.isNull();
            result.append(child);
        }
        *out = empty ? QJsonValue() : QJsonValue(result);
        return true;
    }
    case QJsonValue::Object:
        break;
    }
    const QJsonObject object = raw.toObject();
    if (object.contains(QLatin1String(".sv"))) {
        const QJsonValue sv = object.value(QLatin1String(".sv"));
        if (sv.toString() == QLatin1String("timestamp")) {
            *out = double(nowMs);
            return true;
        }
        const QJsonValue increment = sv.toObject().value(QLatin1String("increment"));
        if (increment.isDouble()) {
            const Node *existing = find(at);
            const bool isNumber = existing && existing->isLeaf() && existing->leaf.isDouble();
            *out = increment.toDouble() + (isNumber ? existing->leaf.toDouble() : 0.0);
            return true;
        }
        *error = QStringLiteral("Invalid data; unknown server value");
        return false;
    }
    // {".value": v} is v with a priority; priorities are not kept.
    if (object.contains(QLatin1String(".value")))
        return normalize(at, object.value(QLatin1String(".value")), nowMs, depth, out, error);
    QJsonObject result;
    for (auto it = object.begin(); it != object.end(); ++it) {
        const QString key = it.key();
        if (key == QLatin1String(".priority"))
            continue;
        if (!DatabasePath::isValidKey(key)) {
            *error = QStringLiteral("Invalid data; couldn't parse key \"%1\". Key names can't "
                                    "contain \".\", \"#\", \"$\", \"/\", \"[\", or \"]\"")
                         .arg(key);
            return false;
        }
        QJsonValue child;
        if (!normalize(at.child(key), it.value(), nowMs, depth + 1, &child, error))
            return false;
        if (!child.isNull())
            result.insert(key, child);
    }
    *out = result.isEmpty() ? QJsonValue() : QJsonValue(result);
    return true;
}

bool RealtimeDatabase::prepareValue(const DatabasePath &path,
                                    const QJsonValue &raw,
                                    qint64 nowMs,
                                    QJsonValue *prepared,
                                    QString *error) const
{
    return normalize(path, raw, nowMs, path.depth(), prepared, error);
}

bool RealtimeDatabase::prepareMerge(const DatabasePath &path,
                                    const QJsonObject &raw,
                                    qint64 nowMs,
                                    QVector<MergeChild> *children,
                                    QString *error) const
{
    children->clear();
    for (auto it = raw.begin(); it != raw.end(); ++it) {
        DatabasePath relative;
        if (!DatabasePath::parse(it.key(), &relative) || relative.isRoot()) {
            *error = QStringLiteral("Invalid data; invalid key path \"%1\"").arg(it.key());
            return false;
        }
        const DatabasePath target = path.child(relative);
        QJsonValue value;
        if (!normalize(target, it.value(), nowMs, target.depth(), &value, error))
            return false;
        children->append({relative, value});
    }
    std::sort(children->begin(), children->end(), [](const MergeChild &a, const MergeChild &b) {
        return a.relative < b.relative;
    });
    // Sorted, a path's descendants follow it directly.
    for (int i = 1; i < children->size(); ++i) {
        if (children->at(i - 1).relative.isAncestorOrSelf(children->at(i).relative)) {
            *error = QStringLiteral("Invalid data; path \"%1\" is an ancestor of \"%2\"")
                         .arg(children->at(i - 1).relative.toWireString(),
                              children->at(i).relative.toWireString());
            return false;
        }
    }
    return true;
}

void RealtimeDatabase::place(const DatabasePath &path, std::shared_ptr<Node> node)
{
    if (path.isRoot()) {
        m_root = node ? std::move(node) : std::make_shared<Node>();
        return;
    }
    // Deleting below nothing changes nothing, and copies nothing either.
    if (!node && !find(path))
        return;
    const QStringList &keys = path.keys();
    // The nodes on the way down, and what each child weighed in its parent before.
    QVector<Node *> chain;
    QVector<qint64> before;
    chain.reserve(path.depth());
    before.reserve(path.depth());
    Node *current = Node::writable(m_root);
    for (int i = 0; i < keys.size() - 1; ++i) {
        chain.append(current);
        std::shared_ptr<Node> &slot = current->children[keys.at(i)];
        before.append(Node::entrySize(keys.at(i), slot.get()));
        if (!slot)
            slot = std::make_shared<Node>();
        current = Node::writable(slot);
        // Writing below a leaf turns it into an object.
        if (current->isLeaf()) {
            current->leaf = QJsonValue(QJsonValue::Undefined);
            current->size = 2;
        }
    }
    chain.append(current);
    if (current->isLeaf()) {
        current->leaf = QJsonValue(QJsonValue::Undefined);
        current->size = 2;
    }
    const auto it = current->children.find(keys.last());
    const qint64 old = it == current->children.end()
                           ? 0
                           : Node::entrySize(keys.last(), it->second.get());
    if (node) {
        current->size += Node::entrySize(keys.last(), node.get()) - old;
        current->children[keys.last()] = std::move(node);
    } else {
        current->size -= old;
        current->children.erase(it);
    }
    // Up again: sizes follow, and parents left empty disappear with their last child.
    for (int i = chain.size() - 2; i >= 0; --i) {
        Node *child = chain.at(i + 1);
        qint64 now = 0;
        if (child->isEmpty())
            chain.at(i)->children.erase(keys.at(i));
        else
            now = Node::entrySize(keys.at(i), child);
        chain.at(i)->size += now - before.at(i);
    }
}

bool RealtimeDatabase::set(const DatabasePath &path, const QJsonValue &prepared, QString *error)
{
    std::shared_ptr<Node> node = Node::fromJson(prepared);
    const Node *old = find(path);
    if (!fits((node ? node->size : 0) - (old ? old->size : 0), error))
        return false;
    forgetReads(path);
    place(path, std::move(node));
    notifyPut(path);
    emit changed();
    return true;
}

bool RealtimeDatabase::merge(const DatabasePath &path,
                             const QVector<MergeChild> &children,
                             QString *error)
{
    if (children.isEmpty())
        return true;
    QVector<std::shared_ptr<Node>> nodes;
    nodes.reserve(children.size());
    qint64 growth = 0;
    for (const MergeChild &child : children) {
        nodes.append(Node::fromJson(child.value));
        const Node *old = find(path.child(child.relative));
        growth += (nodes.last() ? nodes.last()->size : 0) - (old ? old->size : 0);
    }
    if (!fits(growth, error))
        return false;
    for (const MergeChild &child : children)
        forgetReads(path.child(child.relative));
    for (int i = 0; i < children.size(); ++i)
        place(path.child(children.at(i).relative), std::move(nodes[i]));
    notifyMerge(path, children);
    emit changed();
    return true;
}

void RealtimeDatabase::replaceRoot(const QJsonValue &root)
{
    auto node = Node::fromJson(root);
    m_root = node ? std::move(node) : std::make_shared<Node>();
    forgetReads(DatabasePath());
}

void RealtimeDatabase::addListener(DatabaseObserver *observer,
                                   const DatabasePath &path,
                                   qint64 tag,
                                   const DatabaseQuery &query)
{
    ListenNode *node = m_listeners.get();
    for (const QString &key : path.keys()) {
        auto &child = node->children[key];
        if (!child)
            child = std::make_unique<ListenNode>();
        node = child.get();
    }
    for (ListenEntry &entry : node->entries) {
        if (entry.observer == observer && entry.tag == tag) {
            entry.query = query;
            return;
        }
    }
    node->entries.append(
        {observer, tag, query, query.isDefault() ? QByteArray() : query.cacheKey()});
    ++m_listenerCount;
}

void RealtimeDatabase::removeListener(DatabaseObserver *observer,
                                      const DatabasePath &path,
                                      qint64 tag)
{
    QVector<ListenNode *> chain{m_listeners.get()};
    for (const QString &key : path.keys()) {
        const auto it = chain.last()->children.find(key);
        if (it == chain.last()->children.end())
            return;
        chain.append(it->second.get());
    }
    QVector<ListenEntry> &entries = chain.last()->entries;
    for (int i = 0; i < entries.size(); ++i) {
        if (entries.at(i).observer == observer && entries.at(i).tag == tag) {
            entries.remove(i);
            --m_listenerCount;
            break;
        }
    }
    for (int i = chain.size() - 1; i > 0; --i) {
        if (!chain.at(i)->entries.isEmpty() || !chain.at(i)->children.empty())
            break;
        chain.at(i - 1)->children.erase(path.keys().at(i - 1));
    }
}

void RealtimeDatabase::sendTagged(const ListenEntry &entry,
                                  const DatabasePath &at,
                                  NotifyCache &cache)
{
    const auto key = qMakePair(at.keys(), entry.queryKey);
    auto it = cache.filtered.find(key);
    if (it == cache.filtered.end()) {
        DatabaseEvent event;
        event.kind = DatabaseEvent::Kind::Put;
        event.path = at;
        event.data = cachedValue(at, entry.query, entry.queryKey);
        it = cache.filtered.insert(key, event);
    }
    it->tag = entry.tag;
    entry.observer->databaseEvent(it.value());
}

// A write at path reaches listeners at, above and below it. Each connection gets one push per
// write: the event for the highest location it listens at covers everything beneath.
void RealtimeDatabase::notifyPut(const DatabasePath &path)
{
    if (m_listenerCount == 0)
        return;
    NotifyCache cache{this, {}};
    ObserverSet served;
    DatabaseEvent event;
    bool eventReady = false;
    const ListenNode *node = m_listeners.get();
    DatabasePath at;
    for (int depth = 0;; ++depth) {
        for (const ListenEntry &entry : node->entries) {
            if (entry.tag >= 0) {
                sendTagged(entry, at, cache);
                continue;
            }
            if (!served.insert(entry.observer).second)
                continue;
            if (!eventReady) {
                event.kind = DatabaseEvent::Kind::Put;
                event.path = path;
                event.data = cache.value(path);
                eventReady = true;
            }
            entry.observer->databaseEvent(event);
        }
        if (depth == path.depth())
            break;
        const auto it = node->children.find(path.keys().at(depth));
        if (it == node->children.end())
            return;
        node = it->second.get();
        at = at.child(path.keys().at(depth));
    }
    for (const auto &child : node->children)
        putToDescendants(child.second.get(), path.child(child.first), served, cache);
}

void RealtimeDatabase::putToDescendants(const ListenNode *node,
                                        const DatabasePath &at,
                                        ObserverSet &served,
                                        NotifyCache &cache)
{
    DatabaseEvent event;
    bool eventReady = false;
    QVector<DatabaseObserver *> added;
    for (const ListenEntry &entry : node->entries) {
        if (entry.tag >= 0) {
            sendTagged(entry, at, cache);
            continue;
        }
        if (!served.insert(entry.observer).second)
            continue;
        added.append(entry.observer);
        if (!eventReady) {
            event.kind = DatabaseEvent::Kind::Put;
            event.path = at;
            event.data = cache.value(at);
            eventReady = true;
        }
        entry.observer->databaseEvent(event);
    }
    for (const auto &child : node->children)
        putToDescendants(child.second.get(), at.child(child.first), served, cache);
    for (DatabaseObserver *observer : qAsConst(added))
        served.erase(observer);
}

void RealtimeDatabase::notifyMerge(const DatabasePath &path, const QVector<MergeChild> &children)
{
    if (m_listenerCount == 0)
        return;
    NotifyCache cache{this, {}};
    ObserverSet served;
    DatabaseEvent event;
    bool eventReady = false;
    const ListenNode *node = m_listeners.get();
    DatabasePath at;
    for (int depth = 0;; ++depth) {
        for (const ListenEntry &entry : node->entries) {
            if (entry.tag >= 0) {
                sendTagged(entry, at, cache);
                continue;
            }
            if (!served.insert(entry.observer).second)
                continue;
            if (!eventReady) {
                QJsonObject data;
                for (const MergeChild &child : children)
                    data.insert(child.relative.toWireString(), value(path.child(child.relative)));
                event.kind = DatabaseEvent::Kind::Merge;
                event.path = path;
                event.data = data;
                eventReady = true;
            }
            entry.observer->databaseEvent(event);
        }
        if (depth == path.depth())
            break;
        const auto it = node->children.find(path.keys().at(depth));
        if (it == node->children.end())
            return;
        node = it->second.get();
        at = at.child(path.keys().at(depth));
    }
    for (const auto &child : node->children)
        mergeToDescendants(child.second.get(),
                           path.child(child.first),
                           path,
                           children,
                           served,
                           cache);
}

void RealtimeDatabase::mergeToDescendants(const ListenNode *node,
                                          const DatabasePath &at,
                                          const DatabasePath &writePath,
                                          const QVector<MergeChild> &children,
                                          ObserverSet &served,
                                          NotifyCache &cache)
{
    // Which of the merged paths touch this location, and does one replace it whole?
    QVector<DatabasePath> below;
    bool replaced = false;
    for (const MergeChild &child : children) {
        const DatabasePath target = writePath.child(child.relative);
        if (target.isAncestorOrSelf(at))
            replaced = true;
        else if (at.isAncestorOrSelf(target))
            below.append(target);
    }
    if (!replaced && below.isEmpty())
        return; // nothing beneath can overlap either

    DatabaseEvent event;
    bool eventReady = false;
    QVector<DatabaseObserver *> added;
    for (const ListenEntry &entry : node->entries) {
        if (entry.tag >= 0) {
            sendTagged(entry, at, cache);
            continue;
        }
        if (!served.insert(entry.observer).second)
            continue;
        added.append(entry.observer);
        if (!eventReady) {
            event.path = at;
            if (replaced) {
                event.kind = DatabaseEvent::Kind::Put;
                event.data = cache.value(at);
            } else {
                QJsonObject data;
                for (const DatabasePath &target : qAsConst(below))
                    data.insert(target.relativeTo(at).toWireString(), value(target));
                event.kind = DatabaseEvent::Kind::Merge;
                event.data = data;
            }
            eventReady = true;
        }
        entry.observer->databaseEvent(event);
    }
    for (const auto &child : node->children)
        mergeToDescendants(child.second.get(),
                           at.child(child.first),
                           writePath,
                           children,
                           served,
                           cache);
    for (DatabaseObserver *observer : qAsConst(added))
        served.erase(observer);
}
