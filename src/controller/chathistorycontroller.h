#pragma once

#include "controller/historyfilter.h"

#include <QObject>

class ApiListLoader;
class ChatHistoryView;

// Drives the dialog history's list: searches by period, widget, operator and status, a page at
// a time, and hands a chosen dialog to ChatHistoryMessagesController (loadChat).
class ChatHistoryController : public QObject
{
    Q_OBJECT

public:
    static constexpr int DefaultPageSize = 20;

    explicit ChatHistoryController(QObject *parent = nullptr);

    void installView(ChatHistoryView *view);
    HistoryFilter filter() const { return m_filter; }
    int page() const { return m_page; }
    // Dialogs a page; takes effect with the next request.
    void setPageSize(int size) { m_pageSize = qBound(1, size, 100); }

public slots:
    // A new search, from its first page.
    void setFilter(const HistoryFilter &filter);
    void setPage(int page);
    // The same search and page again.
    void refresh();
    void clear();
    void onChatSelected(qint64 chatApiId);

signals:
    void loadChat(qint64 chatApiId);

private:
    ChatHistoryView *m_view = nullptr;
    ApiListLoader *m_loader;
    HistoryFilter m_filter;
    int m_page = 1;
    int m_pageSize = DefaultPageSize;
};
