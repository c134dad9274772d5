#pragma once

#include "controller/historyfilter.h"
#include "records/apiofflinemessage.h"

#include <QList>
#include <QString>

// The offline requests page ("Заявки"), as OfflineMessagesController drives it.
//
// Signals the widget declares and the controller connects, in this order:
//   void filterChanged(HistoryFilter filter);   // period and widget
//   void pageRequested(int page);               // 1 for the first
//   void exportRequested(QString filePath);     // the file the operator chose
//   void retry();                               // "Повторить" after a failure
class OfflineMessagesView
{
public:
    virtual ~OfflineMessagesView() = default;

    virtual void setLoading(bool loading) = 0;
    // One page of requests, newest first; page counts from 1; total of the whole filter.
    virtual void setMessages(const QList<ApiOfflineMessage> &messages,
                             int page,
                             int pageCount,
                             int total)
        = 0;
    virtual void showError(const QString &message) = 0;
    virtual void setExportProgress(qint64 received, qint64 total) = 0;
    // The export ended: saved to the file, or why not.
    virtual void setExportResult(bool saved, const QString &message) = 0;
    virtual void clear() = 0;
};
