#pragma once

#include "controller/openchatsview.h"

#include <QHash>
#include <QWidget>

class QBoxLayout;
class OpenChatTab;

// The dialogs opened in this run as a strip of tabs: horizontal above the chat, or vertical
// beside the list in the widest window. A tab shows the visitor, a dot for unread messages and
// a close button on hover; a middle click closes it too.
class OpenChatsStrip : public QWidget, public OpenChatsView
{
    Q_OBJECT

public:
    explicit OpenChatsStrip(Qt::Orientation orientation, QWidget *parent = nullptr);

    void addChat(const QString &chatId) override;
    void setOpenedChat(const QString &chatId) override;
    void removeChat(const QString &chatId) override;

    QStringList chats() const;
    QString openedChat() const { return m_current; }

signals:
    void chatClicked(QString chatId);
    void chatClosed(QString chatId);

private:
    void refresh(const QString &chatId);

    QBoxLayout *m_layout;
    QHash<QString, OpenChatTab *> m_tabs;
    QString m_current;
};
