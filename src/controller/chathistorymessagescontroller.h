#pragma once

#include <QObject>

class ApiListLoader;
class ChatHistoryMessagesView;

// Drives one dialog of the history, read-only: its messages, the people they name and the
// visit. A dialog the service no longer has asks the list to refresh (needChatHistoryRefresh).
class ChatHistoryMessagesController : public QObject
{
    Q_OBJECT

public:
    explicit ChatHistoryMessagesController(QObject *parent = nullptr);

    void installView(ChatHistoryMessagesView *view);
    qint64 chatApiId() const { return m_chatApiId; }

public slots:
    void loadChat(qint64 chatApiId);
    void reload();
    void clear();

signals:
    void needChatHistoryRefresh();

private:
    ChatHistoryMessagesView *m_view = nullptr;
    ApiListLoader *m_loader;
    qint64 m_chatApiId = 0;
};
