#pragma once

#include "records/firebasechat.h"

#include <QList>
#include <QString>

// The conversation list of one category, as ConversationListController drives it. The widget
// inherits this beside QWidget and reads each row's details from the repositories by chat id.
//
// Signals the widget declares and the controller connects:
//   void itemClicked(QString chatId);
class ConversationListView
{
public:
    virtual ~ConversationListView() = default;

    // Replaces every row with these chats, in this order.
    virtual void initDialogs(const QList<FirebaseChat> &chats) = 0;
    // Inserts one row at index.
    virtual void addChat(const QString &chatId, int index) = 0;
    // Refreshes one row and moves it to index; a chat without a row gets one there.
    virtual void updateChat(const QString &chatId, bool changed, int index) = 0;
    virtual void removeChat(const QString &chatId) = 0;
    virtual bool containsChat(const QString &chatId) const = 0;
    virtual void clear() = 0;
};
