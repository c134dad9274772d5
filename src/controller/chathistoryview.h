#pragma once

#include "controller/historyfilter.h"
#include "records/apichathistory.h"

#include <QString>

// The dialog history page's list, as ChatHistoryController drives it.
//
// Signals the widget declares and the controller connects, in this order:
//   void filterChanged(HistoryFilter filter);
//   void pageRequested(int page);          // 1 for the first
//   void chatSelected(qint64 chatApiId);
//   void retry();                          // "Повторить" after a failure
class ChatHistoryView
{
public:
    virtual ~ChatHistoryView() = default;

    virtual void setLoading(bool loading) = 0;
    // One page of the search: its dialogs, the period's counts, the widgets and the people the
    // dialogs name; page counts from 1.
    virtual void setHistory(const ApiChatHistory &history, int page, int pageCount) = 0;
    virtual void showError(const QString &message) = 0;
    virtual void clear() = 0;
};
