#pragma once

#include "records/firebasechatmessage.h"

#include <QList>

// A column of chat messages: the open chat's, or a dialog of the history. Messages come oldest
// first; the view groups them, separates days and draws each type.
class MessageView
{
public:
    virtual ~MessageView() = default;

    virtual void setMessages(const QList<FirebaseChatMessage> &messages) = 0;
    // A message that arrived after setMessages, to show at the end.
    virtual void addMessage(const FirebaseChatMessage &message) = 0;
    // A shown message whose status changed (delivered, read).
    virtual void updateMessage(const FirebaseChatMessage &message) = 0;
    virtual void clearMessages() = 0;
};
