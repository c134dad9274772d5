#pragma once

#include "controller/chathistorymessagesview.h"

#include <QColor>
#include <QWidget>

#include <memory>

namespace Ui {
class ChatHistoryMessagesWidget;
}

// One dialog of the history, read-only: who it was with, the facts of the visit, and its
// messages as bubbles (the visitor's on the left, the operators' on the right, the robot's and
// the events centred). The bubble colours come from the style sheet through the properties.
class ChatHistoryMessagesWidget : public QWidget, public ChatHistoryMessagesView
{
    Q_OBJECT
    Q_PROPERTY(QColor visitorBubbleColor MEMBER m_visitorBubble)
    Q_PROPERTY(QColor operatorBubbleColor MEMBER m_operatorBubble)
    Q_PROPERTY(QColor mutedColor MEMBER m_muted)
    Q_PROPERTY(QColor accentColor MEMBER m_accent)

public:
    explicit ChatHistoryMessagesWidget(QWidget *parent = nullptr);
    ~ChatHistoryMessagesWidget() override;

    void setMessages(const QList<FirebaseChatMessage> &messages) override;
    void addMessage(const FirebaseChatMessage &message) override;
    void updateMessage(const FirebaseChatMessage &message) override;
    void clearMessages() override;
    void setLoading(bool loading) override;
    void setDialog(const ApiChatHistoryMesssages &dialog) override;
    void showError(const QString &message) override;
    void clear() override;

    // The messages as shown, without the markup.
    QString messagesText() const;

signals:
    void retry();

private:
    void render();
    QString messageHtml(const FirebaseChatMessage &message) const;
    QString nameOf(const QString &userKey) const;
    void addFact(const QString &name, const QString &value);
    void showState(const QString &text, bool retry);

    std::unique_ptr<Ui::ChatHistoryMessagesWidget> m_ui;
    ApiChatHistoryMesssages m_dialog;
    QList<FirebaseChatMessage> m_messages;
    QColor m_visitorBubble;
    QColor m_operatorBubble;
    QColor m_muted;
    QColor m_accent;
};
