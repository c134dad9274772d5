#include "local/realtimedatabase.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace {
// Strings above this are refused, as the hosted database refuses them.
constexpr int kMaxStringBytes = 10 * 1024 * 1024;
} // namespace

struct RealtimeDatabase::Node
{
    // A leaf holds a string, number or boolean; an inner node has children instead.
    QJsonValue leaf = QJsonValue(QJsonValue::Undefined);
    std::map<QString, std::unique_ptr<Node>> children;

    bool isLeaf() const { return !leaf.isUndefined(); }
    bool isEmpty() const { return leaf.isUndefined() && children.empty(); }

    static std::unique_ptr<Node> fromJson(const QJsonValue &value);
    QJsonValue toJson() const;
    QString hash() const;
};

struct RealtimeDatabase::ListenNode
{
    std::map<QString, std::unique_ptr<ListenNode>> children;
    QVector<ListenEntry> entries;
};

std::unique_ptr<RealtimeDatabase::Node> RealtimeDatabase::Node::fromJson(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        return nullptr;
    case QJsonValue::Object: {
        const QJsonObject object = value.toObject();
        auto node = std::make_unique<Node>();
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (auto child = fromJson(it.value()))
                node->children.emplace(it.key(), std::move(child));
        }
        return node->isEmpty() ? nullptr : std::move(node);
    }
    case QJsonValue::Array: {
        const QJsonArray array = value.toArray();
        auto node = std::make_unique<Node>();
        for (int i = 0; i < array.size(); ++i) {
            if (auto child = fromJson(array.at(i)))
                node->children.emplace(QString::number(i), std::move(child));
        }
        return node->isEmpty() ? nullptr : std::move(node);
    }
    default: {
        auto node = std::make_unique<Node>();
        node->leaf = value;
        return node;
    }
    }
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

RealtimeDatabase::RealtimeDatabase(QObject *parent)
    : QObject(parent)
    , m_root(std::make_unique<Node>())
    , m_listeners(std::make_unique<ListenNode>())
{}

RealtimeDatabase::~RealtimeDatabase() = default;

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
        QJsonObject object;
        const QJsonArray array = raw.toArray();
        for (int i = 0; i < array.size(); ++i)
            object.insert(QString::number(i), array.at(i));
        return normalize(at, object, nowMs, depth, out, error);
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

void RealtimeDatabase::place(const DatabasePath &path, std::unique_ptr<Node> node)
{
    if (path.isRoot()) {
        m_root = node ? std::move(node) : std::make_unique<Node>();
        return;
    }
    QVector<Node *> chain;
    chain.reserve(path.depth());
    Node *current = m_root.get();
    const QStringList &keys = path.keys();
    for (int i = 0; i < keys.size() - 1; ++i) {
        chain.append(current);
        auto it = current->children.find(keys.at(i));
        if (it == current->children.end()) {
            if (!node)
                return; // deleting below nothing changes nothing
            it = current->children.emplace(keys.at(i), std::make_unique<Node>()).first;
        }
        current = it->second.get();
        // Writing below a leaf turns it into an object.
        if (current->isLeaf()) {
            if (!node)
                return;
            current->leaf = QJsonValue(QJsonValue::Undefined);
        }
    }
    chain.append(current);
    if (current->isLeaf()) {
        if (!node)
            return;
        current->leaf = QJsonValue(QJsonValue::Undefined);
    }
    if (node) {
        current->children[keys.last()] = std::move(node);
        return;
    }
    current->children.erase(keys.last());
    // Parents left empty disappear with their last child.
    for (int i = chain.size() - 1; i > 0 && chain.at(i)->isEmpty(); --i)
        chain.at(i - 1)->children.erase(keys.at(i - 1));
}

void RealtimeDatabase::set(const DatabasePath &path, const QJsonValue &prepared)
{
    place(path, Node::fromJson(prepared));
    notifyPut(path);
    emit changed();
}

void RealtimeDatabase::merge(const DatabasePath &path, const QVector<MergeChild> &children)
{
    if (children.isEmpty())
        return;
    for (const MergeChild &child : children)
        place(path.child(child.relative), Node::fromJson(child.value));
    notifyMerge(path, children);
    emit changed();
}

void RealtimeDatabase::replaceRoot(const QJsonValue &root)
{
    auto node = Node::fromJson(root);
    m_root = node ? std::move(node) : std::make_unique<Node>();
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
    node->entries.append({observer, tag, query});
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

void RealtimeDatabase::sendTagged(const ListenEntry &entry, const DatabasePath &at)
{
    DatabaseEvent event;
    event.kind = DatabaseEvent::Kind::Put;
    event.path = at;
    event.data = entry.query.apply(value(at));
    event.tag = entry.tag;
    entry.observer->databaseEvent(event);
}

// A write at path reaches listeners at, above and below it. Each connection gets one push per
// write: the event for the highest location it listens at covers everything beneath.
void RealtimeDatabase::notifyPut(const DatabasePath &path)
{
    if (m_listenerCount == 0)
        return;
    ObserverSet served;
    DatabaseEvent event;
    bool eventReady = false;
    const ListenNode *node = m_listeners.get();
    DatabasePath at;
    for (int depth = 0;; ++depth) {
        for (const ListenEntry &entry : node->entries) {
            if (entry.tag >= 0) {
                sendTagged(entry, at);
                continue;
            }
            if (!served.insert(entry.observer).second)
                continue;
            if (!eventReady) {
                event.kind = DatabaseEvent::Kind::Put;
                event.path = path;
                event.data = value(path);
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
        putToDescendants(child.second.get(), path.child(child.first), served);
}

void RealtimeDatabase::putToDescendants(const ListenNode *node,
                                        const DatabasePath &at,
                                        ObserverSet &served)
{
    DatabaseEvent event;
    bool eventReady = false;
    QVector<DatabaseObserver *> added;
    for (const ListenEntry &entry : node->entries) {
        if (entry.tag >= 0) {
            sendTagged(entry, at);
            continue;
        }
        if (!served.insert(entry.observer).second)
            continue;
        added.append(entry.observer);
        if (!eventReady) {
            event.kind = DatabaseEvent::Kind::Put;
            event.path = at;
            event.data = value(at);
            eventReady = true;
        }
        entry.observer->databaseEvent(event);
    }
    for (const auto &child : node->children)
        putToDescendants(child.second.get(), at.child(child.first), served);
    for (DatabaseObserver *observer : qAsConst(added))
        served.erase(observer);
}

void RealtimeDatabase::notifyMerge(const DatabasePath &path, const QVector<MergeChild> &children)
{
    if (m_listenerCount == 0)
        return;
    ObserverSet served;
    DatabaseEvent event;
    bool eventReady = false;
    const ListenNode *node = m_listeners.get();
    DatabasePath at;
    for (int depth = 0;; ++depth) {
        for (const ListenEntry &entry : node->entries) {
            if (entry.tag >= 0) {
                sendTagged(entry, at);
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
        mergeToDescendants(child.second.get(), path.child(child.first), path, children, served);
}

void RealtimeDatabase::mergeToDescendants(const ListenNode *node,
                                          const DatabasePath &at,
                                          const DatabasePath &writePath,
                                          const QVector<MergeChild> &children,
                                          ObserverSet &served)
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
            sendTagged(entry, at);
            continue;
        }
        if (!served.insert(entry.observer).second)
            continue;
        added.append(entry.observer);
        if (!eventReady) {
            event.path = at;
            if (replaced) {
                event.kind = DatabaseEvent::Kind::Put;
                event.data = value(at);
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
        mergeToDescendants(child.second.get(), at.child(child.first), writePath, children, served);
    for (DatabaseObserver *observer : qAsConst(added))
        served.erase(observer);
}
