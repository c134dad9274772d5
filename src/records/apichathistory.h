#pragma once

#include "records/apichathistoryuser.h"
#include "records/apichathistorywidget.h"
#include "records/firebasechat.h"

#include <QList>
#include <QMetaType>

// Dialog counts of a history search.
class ApiChatHistoryStat
{
public:
    qint64 getAll() const { return m_all; }
    void setAll(qint64 all) { m_all = all; }

    qint64 getCompleted() const { return m_completed; }
    void setCompleted(qint64 completed) { m_completed = completed; }

    qint64 getLost() const { return m_lost; }
    void setLost(qint64 lost) { m_lost = lost; }

    qint64 getWork() const { return m_work; }
    void setWork(qint64 work) { m_work = work; }

    bool operator==(const ApiChatHistoryStat &other) const
    {
        return m_all == other.m_all && m_completed == other.m_completed && m_lost == other.m_lost
               && m_work == other.m_work;
    }
    bool operator!=(const ApiChatHistoryStat &other) const { return !(*this == other); }

private:
    qint64 m_all = 0;
    qint64 m_completed = 0;
    qint64 m_lost = 0;
    qint64 m_work = 0;
};

// One page of the dialog history search.
class ApiChatHistory
{
public:
    ApiChatHistoryStat getStat() const { return m_stat; }
    void setStat(const ApiChatHistoryStat &stat) { m_stat = stat; }

    QList<ApiChatHistoryWidget> getWidgets() const { return m_widgets; }
    void setWidgets(const QList<ApiChatHistoryWidget> &widgets) { m_widgets = widgets; }

    QList<ApiChatHistoryUser> getUsers() const { return m_users; }
    void setUsers(const QList<ApiChatHistoryUser> &users) { m_users = users; }

    QList<FirebaseChat> getChats() const { return m_chats; }
    void setChats(const QList<FirebaseChat> &chats) { m_chats = chats; }

    bool operator==(const ApiChatHistory &other) const
    {
        return m_stat == other.m_stat && m_widgets == other.m_widgets && m_users == other.m_users
               && m_chats == other.m_chats;
    }
    bool operator!=(const ApiChatHistory &other) const { return !(*this == other); }

private:
    ApiChatHistoryStat m_stat;
    QList<ApiChatHistoryWidget> m_widgets;
    QList<ApiChatHistoryUser> m_users;
    QList<FirebaseChat> m_chats;
};

Q_DECLARE_METATYPE(ApiChatHistory)
