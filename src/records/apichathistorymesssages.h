#pragma once

#include "records/apichatvisitinfo.h"
#include "records/firebasechat.h"
#include "records/firebasechatmessage.h"
#include "records/firebaseuser.h"

#include <QHash>
#include <QList>
#include <QMetaType>
#include <QString>

// A past dialog with its messages and participants, as the history shows it.
class ApiChatHistoryMesssages
{
public:
    FirebaseChat getChat() const { return m_chat; }
    void setChat(const FirebaseChat &chat) { m_chat = chat; }

    QList<FirebaseChatMessage> getMessages() const { return m_messages; }
    void setMessages(const QList<FirebaseChatMessage> &messages) { m_messages = messages; }

    // Participants by user key.
    QHash<QString, FirebaseUser> getUsers() const { return m_users; }
    void setUsers(const QHash<QString, FirebaseUser> &users) { m_users = users; }

    ApiChatVisitInfo getVisit() const { return m_visit; }
    void setVisit(const ApiChatVisitInfo &visit) { m_visit = visit; }

    bool operator==(const ApiChatHistoryMesssages &other) const
    {
        return m_chat == other.m_chat && m_messages == other.m_messages && m_users == other.m_users
               && m_visit == other.m_visit;
    }
    bool operator!=(const ApiChatHistoryMesssages &other) const { return !(*this == other); }

private:
    FirebaseChat m_chat;
    QList<FirebaseChatMessage> m_messages;
    QHash<QString, FirebaseUser> m_users;
    ApiChatVisitInfo m_visit;
};

Q_DECLARE_METATYPE(ApiChatHistoryMesssages)
