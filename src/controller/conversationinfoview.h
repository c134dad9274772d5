#pragma once

#include "records/apichatinfo.h"

#include <QString>

// The conversation-info panel beside the open chat, as ConversationInfoController drives it.
// The panel reads the chat and its people from the repositories by id.
//
// Signals the widget declares and the controller connects, in this order:
//   void needChatInfo(QString chatId);
//   void sendToCrm();
//   void ignoreUser();          // block the visitor
//   void ignoreIpUser();        // block the visitor's address
//   void resetIgnoreUser();     // unblock
//   void exitChat();            // leave the dialog
//   void endChat();
//   void noNeedAnswer();
//   void operatorInvited(QString operatorKey);
class ConversationInfoView
{
public:
    virtual ~ConversationInfoView() = default;

    virtual void setChatId(const QString &chatId) = 0;
    virtual void setConnectedState(bool connected) = 0;
    virtual void setVisitorBlocked(bool blocked) = 0;
    virtual void setMessageCount(qint64 count) = 0;
    // The service's facts about the chat and the visit, for the visitor card.
    virtual void setChatInfo(const ApiChatInfo &info) = 0;
    // The service's answer to a send to CRM: its message, or why it refused.
    virtual void setCrmResult(bool sent, const QString &message) = 0;
};
