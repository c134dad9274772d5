#pragma once

#include <QString>

// The account's chat tariff.
class ApiChatTariff
{
public:
    QString getChatCost() const { return m_chatCost; }
    void setChatCost(const QString &chatCost) { m_chatCost = chatCost; }

    int getChatPayDialog() const { return m_chatPayDialog; }
    void setChatPayDialog(int chatPayDialog) { m_chatPayDialog = chatPayDialog; }

    int getFreeChatWidget() const { return m_freeChatWidget; }
    void setFreeChatWidget(int freeChatWidget) { m_freeChatWidget = freeChatWidget; }

    int getIsPaidChat() const { return m_isPaidChat; }
    void setIsPaidChat(int isPaidChat) { m_isPaidChat = isPaidChat; }

    bool operator==(const ApiChatTariff &other) const
    {
        return m_chatCost == other.m_chatCost && m_chatPayDialog == other.m_chatPayDialog
               && m_freeChatWidget == other.m_freeChatWidget && m_isPaidChat == other.m_isPaidChat;
    }
    bool operator!=(const ApiChatTariff &other) const { return !(*this == other); }

private:
    QString m_chatCost;
    int m_chatPayDialog = 0;
    int m_freeChatWidget = 0;
    int m_isPaidChat = 0;
};
