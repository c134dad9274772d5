#include "repo/chatrepository.h"

#include "util/jsonparser.h"

#include <QSet>

QPointer<ChatRepository> ChatRepository::s_instance;

ChatRepository::ChatRepository(QObject *parent)
    : QObject(parent)
{}

void ChatRepository::init(QObject *parent)
{
    if (!s_instance)
        s_instance = new ChatRepository(parent);
}

ChatRepository *ChatRepository::getInstance()
{
    return s_instance.data();
}

void ChatRepository::initMessages(const QList<FirebaseChatMessage> &messages)
{
    m_messages.clear();
    m_indexById.clear();
    m_messages.reserve(messages.size());
    m_indexById.reserve(messages.size());
    for (const FirebaseChatMessage &message : messages) {
        // A key appears once in the database; should a list repeat one, the later record wins.
        const auto known = m_indexById.constFind(message.getId());
        if (known != m_indexById.constEnd()) {
            m_messages[known.value()] = message;
            continue;
        }
        m_indexById.insert(message.getId(), m_messages.size());
        m_messages.append(message);
    }
    emit initialized();
}

void ChatRepository::update(const QJsonObject &tree)
{
    for (auto it = tree.begin(); it != tree.end(); ++it)
        updateMessage(it.key(), it.value().toObject());
}

void ChatRepository::updateMessage(const QString &messageKey, const QJsonObject &object)
{
    const auto found = m_indexById.constFind(messageKey);
    if (found == m_indexById.constEnd()) {
        FirebaseChatMessage message = JsonParser::getFirebaseChatMessageFromJson(object);
        message.setId(messageKey);
        m_indexById.insert(messageKey, m_messages.size());
        m_messages.append(message);
        emit messageAdded(messageKey);
        return;
    }
    // What was sent stays as first received; only the delivery status moves on.
    if (object.contains(QLatin1String("status")))
        m_messages[found.value()].setStatus(object.value(QLatin1String("status")).toString());
    emit messageChanged(messageKey);
}

QList<FirebaseChatMessage> ChatRepository::getMessages() const
{
    return m_messages;
}

FirebaseChatMessage ChatRepository::getMessageById(const QString &messageKey) const
{
    const auto found = m_indexById.constFind(messageKey);
    return found != m_indexById.constEnd() ? m_messages.at(found.value()) : FirebaseChatMessage();
}

int ChatRepository::getMessageCount(const QStringList &senders) const
{
    const QSet<QString> senderSet(senders.begin(), senders.end());
    int count = 0;
    for (const FirebaseChatMessage &message : m_messages) {
        const QString type = message.getType();
        if (senderSet.contains(message.getSender()) || message.getAutoInvitation()
            || type == QLatin1String("invitation") || type == QLatin1String("joined")
            || type == QLatin1String("left"))
            ++count;
    }
    return count;
}

void ChatRepository::sendMessage(const QString &text)
{
    emit messageSend(text);
}

void ChatRepository::sendCurrentMessage(const QString &text)
{
    emit messageTextChanged(text);
}
