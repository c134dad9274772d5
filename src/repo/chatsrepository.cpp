#include "repo/chatsrepository.h"

#include "repo/authsession.h"
#include "repo/usersrepository.h"
#include "util/jsonparser.h"
#include "util/util.h"

#include <QDebug>
#include <QMutexLocker>

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

namespace {

const QString WorkStatus = QStringLiteral("work");

// A map of user key to text ("userActivity", "userText") merged entry by entry: the entries
// given are set and a null entry is deleted, as the database deletes it; a null map is gone.
void mergeUserMap(QMap<QString, QString> &map, const QJsonValue &value)
{
    if (value.isNull()) {
        map.clear();
        return;
    }
    const QJsonObject entries = value.toObject();
    for (auto it = entries.begin(); it != entries.end(); ++it) {
        if (it.value().isNull())
            map.remove(it.key());
        else
            map.insert(it.key(), it.value().toString());
    }
}

void removeFromIndex(QHash<QString, QSet<QString>> &index,
                     const QString &key,
                     const QString &chatKey)
{
    const auto found = index.find(key);
    if (found == index.end())
        return;
    found.value().remove(chatKey);
    if (found.value().isEmpty())
        index.erase(found);
}

} // namespace

QPointer<ChatsRepository> ChatsRepository::s_instance;

ChatsRepository::ChatsRepository(QObject *parent)
    : QObject(parent)
{}

void ChatsRepository::init(QObject *parent)
{
    if (!s_instance)
        s_instance = new ChatsRepository(parent);
}

ChatsRepository *ChatsRepository::getInstance()
{
    return s_instance.data();
}

void ChatsRepository::initChats(const QList<FirebaseChat> &chats)
{
    m_chats.clear();
    m_indexById.clear();
    m_chatsByVisitor.clear();
    m_chatsByOperator.clear();
    m_chats.reserve(chats.size());
    m_indexById.reserve(chats.size());
    for (const FirebaseChat &chat : chats) {
        // A key appears once in the database; should a list repeat one, the later record wins.
        const auto known = m_indexById.constFind(chat.getId());
        if (known != m_indexById.constEnd()) {
            m_chats[known.value()] = chat;
            continue;
        }
        m_indexById.insert(chat.getId(), m_chats.size());
        m_chats.append(chat);
    }
    m_summaries.fill(Summary(), m_chats.size());
    m_removedCount = 0;
    m_ownUnreadChats = 0;
    m_ownUnreadMessages = 0;
    m_missedUnreadChats = 0;
    m_foreignUnread.clear();
    m_agedUpTo = std::numeric_limits<qint64>::min();
    m_agedChats = 0;
    m_agedMessages = 0;
    for (int position = 0; position < m_chats.size(); ++position)
        indexChat(position);
    recomputeAllCategories();

    QStringList listed;
    for (int position = 0; position < m_chats.size(); ++position) {
        if (m_summaries.at(position).category != Util::CategoryUnlisted)
            listed.append(m_chats.at(position).getId());
    }
    for (const QString &chatKey : qAsConst(listed))
        emit chatChanged(chatKey, false);
    emit initialized();
}

void ChatsRepository::update(const QJsonObject &tree)
{
    for (auto it = tree.begin(); it != tree.end(); ++it)
        mergeChat(it.key(), it.value().toObject());
    compact();
}

void ChatsRepository::updateChat(const QString &chatKey, const QJsonObject &object)
{
    mergeChat(chatKey, object);
    compact();
}

// Merge of one chat:
// - unknown key: an empty object does nothing, anything else is built whole (chatAdded);
// - known key and an empty object (the node was deleted): removed, chatDeleted, chatChanged;
// - otherwise the fields given are set (below) and chatChanged follows, notifying only when
//   the last message came with its time.
// A deleted chat leaves a gap in the list until the event is merged: one event may delete
// thousands of chats, and closing each gap at once would move every later chat each time.
void ChatsRepository::mergeChat(const QString &chatKey, const QJsonObject &object)
{
    const auto found = m_indexById.constFind(chatKey);
    if (found == m_indexById.constEnd()) {
        if (object.isEmpty())
            return;
        FirebaseChat chat = JsonParser::getFirebaseChatFromJson(object);
        chat.setId(chatKey);
        const int position = m_chats.size();
        m_chats.append(chat);
        m_summaries.append(Summary());
        m_indexById.insert(chatKey, position);
        indexChat(position);
        summarize(position);
        emit chatAdded(chatKey);
        return;
    }

    const int position = found.value();
    if (object.isEmpty()) {
        qDebug().noquote() << QStringLiteral("CHAT DELETED: ") + chatKey;
        unindexChat(m_chats.at(position));
        tally(position, -1);
        m_summaries[position] = Summary();
        m_summaries[position].removed = true;
        m_indexById.remove(chatKey);
        ++m_removedCount;
        emit chatDeleted(chatKey);
        emit chatChanged(chatKey, false);
        return;
    }

    // Field by field with the snapshot parser's conversions. Merges read the widget under
    // "widget_id" only; the snapshot's "widgetId" in a merge changes nothing.
    const FirebaseChat parsed = JsonParser::getFirebaseChatFromJson(object);
    const bool regroups = object.contains(QLatin1String("visitor"))
                          || object.contains(QLatin1String("operators"));
    if (regroups)
        unindexChat(m_chats.at(position));
    FirebaseChat &chat = m_chats[position];

    if (object.contains(QLatin1String("apiId")))
        chat.setApiId(parsed.getApiId());
    if (object.contains(QLatin1String("visitor")))
        chat.setVisitor(parsed.getVisitor());
    if (object.contains(QLatin1String("unreadCount")))
        chat.setUnreadCount(parsed.getUnreadCount());
    if (object.contains(QLatin1String("noAnswerRequired")))
        chat.setNoAnswerRequired(parsed.getNoAnswerRequired());
    if (object.contains(QLatin1String("status")))
        chat.setChatStatus(parsed.getChatStatus());
    if (object.contains(QLatin1String("widget_id")))
        chat.setWidgetId(JsonParser::readInt64(object.value(QLatin1String("widget_id"))));
    if (object.contains(QLatin1String("createdAt")))
        chat.setCreatedAt(JsonParser::readTimestamp(object.value(QLatin1String("createdAt"))));
    if (object.contains(QLatin1String("startedAt")))
        chat.setStartedAt(
            JsonParser::readTimestampIfPresent(object.value(QLatin1String("startedAt"))));
    if (object.contains(QLatin1String("visitorBlocked")))
        chat.setVisitorBlocked(parsed.getVisitorBlocked());
    if (object.contains(QLatin1String("messageTarget")))
        chat.setMessageTarget(parsed.getMessageTarget());
    if (object.contains(QLatin1String("messagesCount")))
        chat.setMessageCount(parsed.getMessageCount());

    const QJsonValue activity = object.value(QLatin1String("userActivity"));
    if (activity.isObject() || activity.isNull()) {
        QMap<QString, QString> map = chat.getUserActivity();
        mergeUserMap(map, activity);
        chat.setUserActivity(map);
    }
    const QJsonValue userText = object.value(QLatin1String("userText"));
    if (userText.isObject() || userText.isNull()) {
        QMap<QString, QString> map = chat.getUserText();
        mergeUserMap(map, userText);
        chat.setUserText(map);
    }

    // An array replaces the list and null empties it; an object (the database's form of an
    // array with gaps) clears it and sets each index, which the parser has done already.
    const QJsonValue operators = object.value(QLatin1String("operators"));
    if (operators.isArray() || operators.isObject() || operators.isNull())
        chat.setOperators(parsed.getOperators());

    bool notify = false;
    const QJsonValue lastMessageValue = object.value(QLatin1String("lastMessage"));
    if (lastMessageValue.isObject()) {
        const QJsonObject fields = lastMessageValue.toObject();
        const FirebaseLastMessage given = parsed.getLastMessage();
        FirebaseLastMessage lastMessage = chat.getLastMessage();
        if (fields.contains(QLatin1String("sender")))
            lastMessage.setSender(given.getSender());
        if (fields.contains(QLatin1String("sentAt"))) {
            const Timestamp sentAt = JsonParser::readTimestamp(
                fields.value(QLatin1String("sentAt")));
            lastMessage.setSentAt(sentAt);
            // Taken out of the totals with the time it went in under, then known anew.
            tally(position, -1);
            m_summaries[position].sentAtKnown = true;
            m_summaries[position].sentAtMSecs = sentAt.toMSecsSinceEpoch();
            tally(position, 1);
            notify = true;
        }
        if (fields.contains(QLatin1String("status")))
            lastMessage.setStatus(given.getStatus());
        if (fields.contains(QLatin1String("text")))
            lastMessage.setText(given.getText());
        if (fields.contains(QLatin1String("type")))
            lastMessage.setType(given.getType());
        if (fields.contains(QLatin1String("target")))
            lastMessage.setTarget(given.getTarget());
        chat.setLastMessage(lastMessage);
    }

    if (regroups)
        indexChat(position);
    summarize(position);
    emit chatChanged(chatKey, notify);
}

QList<FirebaseChat> ChatsRepository::getChats() const
{
    if (m_removedCount == 0)
        return m_chats;
    QList<FirebaseChat> chats;
    chats.reserve(m_chats.size() - m_removedCount);
    for (int position = 0; position < m_chats.size(); ++position) {
        if (!m_summaries.at(position).removed)
            chats.append(m_chats.at(position));
    }
    return chats;
}

FirebaseChat ChatsRepository::getChatById(const QString &chatKey) const
{
    const auto found = m_indexById.constFind(chatKey);
    return found != m_indexById.constEnd() ? m_chats.at(found.value()) : FirebaseChat();
}

bool ChatsRepository::chatExists(const QString &chatKey) const
{
    return m_indexById.contains(chatKey);
}

bool ChatsRepository::chatIsInWork(const QString &chatKey) const
{
    const auto found = m_indexById.constFind(chatKey);
    return found != m_indexById.constEnd() && m_summaries.at(found.value()).inWork;
}

int ChatsRepository::getUnreadCount() const
{
    refreshCategories();
    return m_ownUnreadChats;
}

int ChatsRepository::getMissedCount() const
{
    refreshCategories();
    return m_missedUnreadChats;
}

// The clock is read as milliseconds since the epoch: the local date-time is not needed, and
// building it costs a time-zone lookup.
int ChatsRepository::getUnreadForeignCount() const
{
    refreshCategories();
    ageForeignUnread(QDateTime::currentMSecsSinceEpoch());
    return m_agedChats;
}

int ChatsRepository::getUnreadForeignCount(const QDateTime &now) const
{
    refreshCategories();
    ageForeignUnread(now.toMSecsSinceEpoch());
    return m_agedChats;
}

int ChatsRepository::getUnreadMessagesCount() const
{
    refreshCategories();
    ageForeignUnread(QDateTime::currentMSecsSinceEpoch());
    return unreadMessages();
}

int ChatsRepository::getUnreadMessagesCount(const QDateTime &now) const
{
    refreshCategories();
    ageForeignUnread(now.toMSecsSinceEpoch());
    return unreadMessages();
}

int ChatsRepository::unreadMessages() const
{
    return int(qMin<qint64>(m_ownUnreadMessages + m_agedMessages, std::numeric_limits<int>::max()));
}

// The age is counted in whole seconds, truncated: a message 25.9 s old is 25 s old and does not
// count yet; it counts from 26 s on. A last message from the future (clocks apart) is not old.
// The clock mostly moves forward, so the bound mostly moves over the few chats that came of
// age since the last read; a read for an earlier moment moves it back.
void ChatsRepository::ageForeignUnread(qint64 nowMSecs) const
{
    const qint64 upTo = nowMSecs - (ForeignUnreadAgeSeconds + 1) * 1000;
    if (upTo > m_agedUpTo) {
        const auto end = m_foreignUnread.upper_bound(upTo);
        for (auto it = m_foreignUnread.upper_bound(m_agedUpTo); it != end; ++it) {
            ++m_agedChats;
            m_agedMessages += it->second;
        }
    } else if (upTo < m_agedUpTo) {
        const auto end = m_foreignUnread.upper_bound(m_agedUpTo);
        for (auto it = m_foreignUnread.upper_bound(upTo); it != end; ++it) {
            --m_agedChats;
            m_agedMessages -= it->second;
        }
    }
    m_agedUpTo = upTo;
}

// Counted at most once per connection and gated as it always was: with the counter at 0 every
// call passes, resets it and announces the repository.
void ChatsRepository::onInitialized()
{
    QMutexLocker locker(&m_mutex);
    ++m_initCounter;
    if (m_initCounter < 1)
        return;
    m_initCounter = 0;
    locker.unlock();
    emit initialized();
}

void ChatsRepository::onUserChanged(const QString &userKey)
{
    const QStringList chatKeys = chatsOfUser(userKey, true);
    for (const QString &chatKey : chatKeys)
        emit chatChanged(chatKey, false);
}

void ChatsRepository::onUserDeleted(const QString &userKey)
{
    const QStringList chatKeys = chatsOfUser(userKey, false);
    for (const QString &chatKey : chatKeys)
        emit chatChanged(chatKey, false);
}

QStringList ChatsRepository::chatsOfUser(const QString &userKey, bool withOperators) const
{
    QVector<int> positions;
    const auto collect = [&](const QHash<QString, QSet<QString>> &index) {
        const auto found = index.constFind(userKey);
        if (found == index.constEnd())
            return;
        for (const QString &chatKey : found.value())
            positions.append(m_indexById.value(chatKey));
    };
    collect(m_chatsByVisitor);
    if (withOperators)
        collect(m_chatsByOperator);
    std::sort(positions.begin(), positions.end());
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());

    QStringList chatKeys;
    chatKeys.reserve(positions.size());
    for (int position : qAsConst(positions))
        chatKeys.append(m_chats.at(position).getId());
    return chatKeys;
}

void ChatsRepository::compact()
{
    if (m_removedCount == 0)
        return;
    int kept = 0;
    for (int position = 0; position < m_chats.size(); ++position) {
        if (m_summaries.at(position).removed)
            continue;
        if (kept != position) {
            m_chats[kept] = std::move(m_chats[position]);
            m_summaries[kept] = m_summaries.at(position);
            m_indexById[m_chats.at(kept).getId()] = kept;
        }
        ++kept;
    }
    m_chats.erase(m_chats.begin() + kept, m_chats.end());
    m_summaries.resize(kept);
    m_removedCount = 0;
}

void ChatsRepository::indexChat(int position)
{
    const FirebaseChat &chat = m_chats.at(position);
    const QString visitor = chat.getVisitor();
    if (!visitor.isEmpty())
        m_chatsByVisitor[visitor].insert(chat.getId());
    const QStringList operators = chat.getOperators();
    for (const QString &operatorKey : operators) {
        if (!operatorKey.isEmpty())
            m_chatsByOperator[operatorKey].insert(chat.getId());
    }
}

void ChatsRepository::unindexChat(const FirebaseChat &chat)
{
    removeFromIndex(m_chatsByVisitor, chat.getVisitor(), chat.getId());
    const QStringList operators = chat.getOperators();
    for (const QString &operatorKey : operators)
        removeFromIndex(m_chatsByOperator, operatorKey, chat.getId());
}

void ChatsRepository::summarize(int position) const
{
    const FirebaseChat &chat = m_chats.at(position);
    tally(position, -1);
    Summary &summary = m_summaries[position];
    summary.category = Util::getChatCategory(chat);
    summary.unreadCount = chat.getUnreadCount();
    summary.inWork = chat.getChatStatus() == WorkStatus;
    tally(position, 1);
}

// Adds the chat to the totals (sign 1) or takes it out again (sign -1).
void ChatsRepository::tally(int position, int sign) const
{
    Summary &summary = m_summaries[position];
    if (summary.unreadCount <= 0)
        return;
    if (summary.category == Util::CategoryMy && summary.inWork) {
        m_ownUnreadChats += sign;
        m_ownUnreadMessages += qint64(sign) * summary.unreadCount;
        return;
    }
    if (summary.category == Util::CategoryMissed) {
        m_missedUnreadChats += sign;
        return;
    }
    if (summary.category != Util::CategoryNotMy || !summary.inWork)
        return;

    if (!summary.sentAtKnown) {
        const QDateTime sentAt = m_chats.at(position).getLastMessage().getSentAt();
        summary.sentAtMSecs = sentAt.isValid() ? sentAt.toMSecsSinceEpoch() : 0;
        summary.sentAtKnown = true;
    }
    const bool aged = summary.sentAtMSecs <= m_agedUpTo;
    if (aged) {
        m_agedChats += sign;
        m_agedMessages += qint64(sign) * summary.unreadCount;
    }
    if (sign > 0) {
        m_foreignUnread.emplace(summary.sentAtMSecs, summary.unreadCount);
        return;
    }
    const auto range = m_foreignUnread.equal_range(summary.sentAtMSecs);
    for (auto it = range.first; it != range.second; ++it) {
        if (it->second == summary.unreadCount) {
            m_foreignUnread.erase(it);
            break;
        }
    }
}

// Brings the cached categories up to the session's user, the users and the user keys: all of
// them when the user or the keys changed, else those of the chats whose visitor changed.
void ChatsRepository::refreshCategories() const
{
    const AuthSession *session = AuthSession::getInstance();
    const UsersRepository *users = UsersRepository::getInstance();
    const QString userId = session ? session->getUserId() : QString();
    const quint64 revision = users ? users->categoryRevision() : 0;
    if (userId != m_categoryUserId) {
        recomputeAllCategories();
        return;
    }
    if (revision == m_categoryRevision)
        return;

    QStringList changedUsers;
    if (!users || !users->usersChangedSince(m_categoryRevision, &changedUsers)) {
        recomputeAllCategories();
        return;
    }
    for (const QString &userKey : qAsConst(changedUsers)) {
        const auto found = m_chatsByVisitor.constFind(userKey);
        if (found == m_chatsByVisitor.constEnd())
            continue;
        for (const QString &chatKey : found.value())
            summarize(m_indexById.value(chatKey));
    }
    m_categoryRevision = revision;
}

void ChatsRepository::recomputeAllCategories() const
{
    const AuthSession *session = AuthSession::getInstance();
    const UsersRepository *users = UsersRepository::getInstance();
    m_categoryUserId = session ? session->getUserId() : QString();
    m_categoryRevision = users ? users->categoryRevision() : 0;
    for (int position = 0; position < m_chats.size(); ++position) {
        if (!m_summaries.at(position).removed)
            summarize(position);
    }
}
