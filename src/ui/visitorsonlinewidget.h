#pragma once

#include "controller/visitorsonlineview.h"

#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>

namespace Ui {
class VisitorsOnlineWidget;
}

class QButtonGroup;
class VisitorsTableDelegate;
class VisitorsTableModel;

// The "Посетители онлайн" page: the category switch with its counters, the widget selector
// and the table of visitors with "Написать" on every row. Live changes touch their rows only,
// so the scroll position and the selection stay where the operator left them.
class VisitorsOnlineWidget : public QWidget, public VisitorsOnlineView
{
    Q_OBJECT

public:
    explicit VisitorsOnlineWidget(QWidget *parent = nullptr);
    ~VisitorsOnlineWidget() override;

    void setVisitors(const QList<FirebaseVisitor> &visitors) override;
    void updateVisitor(const FirebaseVisitor &visitor) override;
    void removeVisitor(const QString &visitorId) override;
    void setDialog(const QString &visitorId, const VisitorDialog &dialog) override;
    void setVisitorsCount(int all, int said, int notSaid) override;
    void setWidgets(const QList<ApiChatHistoryWidget> &widgets) override;
    void showError(const QString &message) override;

    VisitorsTableModel *model() const { return m_model; }

signals:
    void loadWidgets();
    void sendMessage(QString visitorId, QString chatId, qint64 widgetId);
    void unblockUser(QString visitorId);
    void widgetChanged(int widgetId);
    void categoryChanged(int category);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void write(int row);
    void showContextMenu(const QPoint &pos);
    void updateState();
    QString selectedVisitor() const;

    std::unique_ptr<Ui::VisitorsOnlineWidget> m_ui;
    VisitorsTableModel *m_model;
    VisitorsTableDelegate *m_delegate;
    QButtonGroup *m_categories;
    QTimer m_clock;
    // What "Повторить" repeats: the request that failed last.
    std::function<void()> m_lastRequest;
    bool m_filled = false;
    bool m_widgetsLoaded = false;
    bool m_switching = false;
    int m_all = 0;
};
