#pragma once

#include "controller/messageview.h"
#include "records/apichathistorymesssages.h"

#include <QString>

// One dialog of the history, read-only beside the list, as ChatHistoryMessagesController drives
// it: its messages (MessageView), the people they name and the visit's facts.
//
// Signals the widget declares and the controller connects:
//   void retry();   // "Повторить" after a failure
class ChatHistoryMessagesView : public MessageView
{
public:
    virtual void setLoading(bool loading) = 0;
    // The dialog, its people and its visit; the messages come through setMessages.
    virtual void setDialog(const ApiChatHistoryMesssages &dialog) = 0;
    virtual void showError(const QString &message) = 0;
    virtual void clear() = 0;
};
