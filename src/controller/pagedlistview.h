#pragma once

#include <QString>

// What the history and offline-request pages' lists share, as PagedListController drives it.
//
// Signals the widget declares and the controller connects:
//   void filterChanged(HistoryFilter filter);   // a new search, from its first page
//   void pageRequested(int page);               // 1 for the first
//   void retry();                               // "Повторить" after a failure
class PagedListView
{
public:
    virtual ~PagedListView() = default;
    virtual void setLoading(bool loading) = 0;
    virtual void showError(const QString &message) = 0;
    virtual void clear() = 0;
};
