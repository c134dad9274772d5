#pragma once

#include "controller/pagedlistcontroller.h"

class ChatHistoryView;

// Drives the dialog history's list: searches by period, widget, operator and status, a page at
// a time, and hands a chosen dialog to ChatHistoryMessagesController (loadChat).
class ChatHistoryController : public PagedListController
{
    Q_OBJECT

public:
    static constexpr int DefaultPageSize = 20;

    explicit ChatHistoryController(QObject *parent = nullptr);

    void installView(ChatHistoryView *view);

public slots:
    void onChatSelected(qint64 chatApiId);

signals:
    void loadChat(qint64 chatApiId);

protected:
    void showAnswer(const QJsonObject &answer) override;

private:
    ChatHistoryView *m_view = nullptr;
};
