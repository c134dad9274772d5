#pragma once

#include "records/apichathistorywidget.h"
#include "records/firebasevisitor.h"

#include <QDateTime>
#include <QList>
#include <QString>

// The dialog columns of a visitor's row: the last message of the visitor's chat.
struct VisitorDialog
{
    QString chatId;
    // The visitor's alias name, "Оператор %1" or "Робот %1".
    QString sender;
    QString text;
    QDateTime sentAt;
    QString status;
    bool visitorBlocked = false;
};

// The "Посетители онлайн" page, as VisitorsOnlineController drives it.
//
// Signals the widget declares and the controller connects, in this order:
//   void loadWidgets();
//   void sendMessage(QString visitorId, QString chatId, qint64 widgetId);   // "Написать"
//   void unblockUser(QString visitorId);
//   void widgetChanged(int widgetId);     // the chosen widget's id, 0 for all
//   void categoryChanged(int category);   // 0 all, 1 have talked, 2 have not
class VisitorsOnlineView
{
public:
    virtual ~VisitorsOnlineView() = default;

    // Replaces every row: the visitors that pass the filter, in no particular order.
    virtual void setVisitors(const QList<FirebaseVisitor> &visitors) = 0;
    // Adds the visitor's row or refreshes it in place.
    virtual void updateVisitor(const FirebaseVisitor &visitor) = 0;
    virtual void removeVisitor(const QString &visitorId) = 0;
    virtual void setDialog(const QString &visitorId, const VisitorDialog &dialog) = 0;
    // The three captions of the category switch: all, have talked, have not.
    virtual void setVisitorsCount(int all, int said, int notSaid) = 0;
    // The widget selector's choices; "all widgets" is the view's own.
    virtual void setWidgets(const QList<ApiChatHistoryWidget> &widgets) = 0;
    virtual void showError(const QString &message) = 0;
};
