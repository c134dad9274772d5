#pragma once

#include "records/firebasechatmessage.h"

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

// The messages of the one chat the operator has open, merged from its "chat-messages" stream,
// and the relay of the operator's outgoing text to the network layer (messageSend,
// messageTextChanged), so that views never call it directly.
//
// The list keeps arrival order; lookups by key go through a hash of positions.
class ChatRepository : public QObject
{
    Q_OBJECT

public:
    // Creates the process-wide instance; later calls keep the one that exists.
    static void init(QObject *parent);
    static ChatRepository *getInstance();

    // Replaces every message. Also the way back to an empty repository (an empty list).
    void initMessages(const QList<FirebaseChatMessage> &messages);
    // A partial tree {message key: fields}.
    void update(const QJsonObject &tree);
    // A new key adds the message whole; a known one takes only its "status" and is announced
    // whatever came, also when nothing did (a deleted message stays).
    void updateMessage(const QString &messageKey, const QJsonObject &object);

    QList<FirebaseChatMessage> getMessages() const;
    // An empty record when absent.
    FirebaseChatMessage getMessageById(const QString &messageKey) const;
    // Messages from the given senders, auto-invitations, and invitation, joined and left notes.
    int getMessageCount(const QStringList &senders) const;

    void setChatId(const QString &chatId) { m_chatId = chatId; }
    QString getChatId() const { return m_chatId; }
    void setConnectedState(bool connected) { m_connected = connected; }
    bool connectedState() const { return m_connected; }

    // Hand the operator's text on to the network layer: a message to send, and the text being
    // typed.
    void sendMessage(const QString &text);
    void sendCurrentMessage(const QString &text);

signals:
    void initialized();
    void messageAdded(QString messageKey);
    void messageChanged(QString messageKey);
    // Declared for the views; no merge removes a message, so nothing emits it.
    void messageDeleted(QString messageKey);
    void messageSend(QString text);
    void messageTextChanged(QString text);

private:
    explicit ChatRepository(QObject *parent);

    static QPointer<ChatRepository> s_instance;

    QList<FirebaseChatMessage> m_messages;
    QHash<QString, int> m_indexById;
    QString m_chatId;
    bool m_connected = false;
};
