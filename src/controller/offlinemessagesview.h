#pragma once

#include "controller/historyfilter.h"
#include "controller/pagedlistview.h"
#include "records/apiofflinemessage.h"

#include <QList>

// The offline requests page ("Заявки"), as OfflineMessagesController drives it.
//
// Signals the widget declares and the controller connects, besides PagedListView's (whose filter
// is a period and a widget here):
//   void exportRequested(QString filePath);     // the file the operator chose
class OfflineMessagesView : public PagedListView
{
public:
    // One page of requests, newest first; page counts from 1; total of the whole filter.
    virtual void setMessages(const QList<ApiOfflineMessage> &messages,
                             int page,
                             int pageCount,
                             int total)
        = 0;
    virtual void setExportProgress(qint64 received, qint64 total) = 0;
    // The export ended: saved to the file, or why not.
    virtual void setExportResult(bool saved, const QString &message) = 0;
};
