#include "records/firebasechat.h"

namespace {

// Operators of one chat are a handful; an index beyond this can only come from malformed data
// and must not make the list allocate without bound.
constexpr int MaxOperatorIndex = 1024;

// Invalid times (a record that never saw one) count as the earliest.
int compareTimes(const Timestamp &a, const Timestamp &b)
{
    if (!a.isValid() || !b.isValid())
        return int(a.isValid()) - int(b.isValid());
    const qint64 msA = a.toMSecsSinceEpoch();
    const qint64 msB = b.toMSecsSinceEpoch();
    return msA < msB ? -1 : (msA > msB ? 1 : 0);
}

const Timestamp &laterOf(const Timestamp &a, const Timestamp &b)
{
    return compareTimes(a, b) < 0 ? b : a;
}

} // namespace

void FirebaseChat::setOperator(int index, const QString &userKey)
{
    if (index < 0 || index > MaxOperatorIndex)
        return;
    while (m_operators.size() <= index)
        m_operators.append(QString());
    m_operators[index] = userKey;
}

void FirebaseChat::removeOperator(int index)
{
    if (index >= 0 && index < m_operators.size())
        m_operators.removeAt(index);
}

// Operators work the list from the top, so it reads like a queue:
// 1. chats whose last message came from the visitor and that still expect an answer
//    (noAnswerRequired not set) come first, the one waiting longest at the top;
// 2. then every other chat, most recent activity first.
// Activity is the later of the last message's time and the chat's creation, so a chat without
// messages sorts by when it was opened. Equal keys fall back to the id, which keeps the order
// total and sorting deterministic; only the same id compares equal.
int FirebaseChat::compareTo(const FirebaseChat &other) const
{
    const auto awaitsAnswer = [](const FirebaseChat &chat) {
        return !chat.m_noAnswerRequired && !chat.m_visitor.isEmpty()
               && chat.m_lastMessage.m_sender == chat.m_visitor;
    };
    const bool waiting = awaitsAnswer(*this);
    if (waiting != awaitsAnswer(other))
        return waiting ? -1 : 1;

    const int byTime = compareTimes(laterOf(m_lastMessage.m_sentAt, m_createdAt),
                                    laterOf(other.m_lastMessage.m_sentAt, other.m_createdAt));
    if (byTime != 0)
        return waiting ? byTime : -byTime;

    const int byId = m_id.compare(other.m_id);
    return byId < 0 ? -1 : (byId > 0 ? 1 : 0);
}
