#pragma once

#include "controller/historyfilter.h"
#include "controller/pagedlistview.h"
#include "records/apichathistory.h"

// The dialog history page's list, as ChatHistoryController drives it.
//
// Signals the widget declares and the controller connects, besides PagedListView's:
//   void chatSelected(qint64 chatApiId);
class ChatHistoryView : public PagedListView
{
public:
    // One page of the search: its dialogs, the period's counts, the widgets and the people the
    // dialogs name; page counts from 1.
    virtual void setHistory(const ApiChatHistory &history, int page, int pageCount) = 0;
};
