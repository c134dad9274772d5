#pragma once

#include "controller/conversationinfoview.h"

#include <QWidget>

#include <memory>

namespace Ui {
class ConversationInfoWidget;
}
class QLabel;

// The panel beside the open chat: the visitor's card from the service's chat info (empty facts
// hidden), the chat's facts and the actions on it, each disabled with the reason when it does
// not apply. ConversationInfoController drives it.
class ConversationInfoWidget : public QWidget, public ConversationInfoView
{
    Q_OBJECT

public:
    explicit ConversationInfoWidget(QWidget *parent = nullptr);
    ~ConversationInfoWidget() override;

    void setChatId(const QString &chatId) override;
    void setConnectedState(bool connected) override;
    void setVisitorBlocked(bool blocked) override;
    void setMessageCount(qint64 count) override;
    void setChatInfo(const ApiChatInfo &info) override;
    void setCrmResult(bool sent, const QString &message) override;

signals:
    void needChatInfo(QString chatId);
    void sendToCrm();
    void ignoreUser();
    void ignoreIpUser();
    void resetIgnoreUser();
    void exitChat();
    void endChat();
    void noNeedAnswer();
    void operatorInvited(QString operatorKey);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showField(QLabel *caption, QLabel *value, const QString &text);
    void updateCard();
    void updateActions();
    void fillInviteMenu();

    std::unique_ptr<Ui::ConversationInfoWidget> m_ui;
    QString m_chatId;
    ApiChatInfo m_info;
    bool m_connected = false;
    bool m_blocked = false;
    qint64 m_messageCount = 0;
};
