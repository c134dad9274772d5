#pragma once

#include "controller/chathistoryview.h"

#include <QMap>
#include <QWidget>

#include <memory>

namespace Ui {
class ChatHistoryWidget;
}

class ChatHistoryMessagesWidget;
class QComboBox;
class QLabel;

// The "История диалогов" page: the filters (period, widget, operator, status), the counts of
// the period, a page of dialogs with the page switch, and the chosen dialog beside them
// (messagesWidget(), the ChatHistoryMessagesView of the page).
class ChatHistoryWidget : public QWidget, public ChatHistoryView
{
    Q_OBJECT

public:
    explicit ChatHistoryWidget(QWidget *parent = nullptr);
    ~ChatHistoryWidget() override;

    ChatHistoryMessagesWidget *messagesWidget() const;

    void setLoading(bool loading) override;
    void setHistory(const ApiChatHistory &history, int page, int pageCount) override;
    void showError(const QString &message) override;
    void clear() override;

signals:
    void filterChanged(HistoryFilter filter);
    void pageRequested(int page);
    void chatSelected(qint64 chatApiId);
    void retry();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void emitFilter();
    QList<QLabel *> statLabels() const;
    void setStats(qint64 all, qint64 completed, qint64 lost, qint64 work);
    void showState(const QString &text, bool retry);
    void fillOperators(const QList<ApiChatHistoryUser> &users);
    static void refill(QComboBox *combo, const QMap<QString, qint64> &items);

    std::unique_ptr<Ui::ChatHistoryWidget> m_ui;
    // Operators by name, from the account and from every answer.
    QMap<QString, qint64> m_operators;
    int m_page = 1;
    int m_pageCount = 1;
    bool m_requested = false;
};
