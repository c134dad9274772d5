#pragma once

#include "controller/conversationlistview.h"

#include <QWidget>

class ConversationListDelegate;
class ConversationListFilter;
class ConversationListModel;
class QLabel;
class QLineEdit;
class QListView;
class QStackedWidget;

// The conversation list of the current category: a search field over a list of painted rows
// (a model and a delegate, so that thousands of chats cost only the rows on screen), with its
// loading and empty states.
class ConversationListWidget : public QWidget, public ConversationListView
{
    Q_OBJECT

public:
    explicit ConversationListWidget(QWidget *parent = nullptr);

    void initDialogs(const QList<FirebaseChat> &chats) override;
    void addChat(const QString &chatId, int index) override;
    void updateChat(const QString &chatId, bool changed, int index) override;
    void removeChat(const QString &chatId) override;
    bool containsChat(const QString &chatId) const override;
    void clear() override;

    // The chat open beside the list, highlighted.
    void setCurrentChat(const QString &chatId);
    // The next (1) or previous (-1) visible dialog from the current one, as a click on it.
    void openAdjacent(int step);
    void focusSearch();

    ConversationListModel *model() const { return m_model; }
    QListView *listView() const { return m_list; }
    ConversationListDelegate *delegate() const { return m_delegate; }
    // The chat ids of the rows shown (after the search), in order.
    QStringList visibleChats() const;

signals:
    void itemClicked(QString chatId);

private:
    void updateState();

    ConversationListModel *m_model;
    ConversationListFilter *m_filter;
    ConversationListDelegate *m_delegate;
    QLineEdit *m_search;
    QListView *m_list;
    QStackedWidget *m_states;
    QLabel *m_empty;
    bool m_loaded = false;
    QString m_current;
};
