#pragma once

#include "controller/historyfilter.h"

#include <QJsonObject>
#include <QObject>

class ApiListLoader;
class PagedListView;

// The paged lists of the history and offline-request pages: a period filter, the page shown,
// and the service's list for them, one request at a time. A subclass hands the pages to its
// view (showAnswer).
class PagedListController : public QObject
{
    Q_OBJECT

public:
    HistoryFilter filter() const { return m_filter; }
    int page() const { return m_page; }
    // Rows a page; takes effect with the next request.
    void setPageSize(int size) { m_pageSize = qBound(1, size, 100); }

public slots:
    // A new search, from its first page.
    void setFilter(const HistoryFilter &filter);
    void setPage(int page);
    // The same search and page again.
    void refresh();
    void clear();

protected:
    // path: the list's API path, before its query; failure: the message when the service's
    // answer gives none.
    PagedListController(const QString &path, int pageSize, const QString &failure, QObject *parent);
    // Also connects the view's filterChanged, pageRequested and retry signals.
    void setListView(PagedListView *view);
    virtual void showAnswer(const QJsonObject &answer) = 0;

private:
    PagedListView *m_view = nullptr;
    ApiListLoader *m_loader;
    const QString m_path;
    HistoryFilter m_filter;
    int m_page = 1;
    int m_pageSize;
};
