#pragma once

#include <QList>
#include <QObject>
#include <QQueue>
#include <QString>

class OpenChatsView;

// The dialogs the operator has opened in this run, at most twenty, oldest first, and which one
// is current; every installed strip shows the same.
class OpenChatsController : public QObject
{
    Q_OBJECT

public:
    static constexpr int MaxOpenChats = 20;

    explicit OpenChatsController(QObject *parent = nullptr);

    void installView(OpenChatsView *view);
    QList<QString> openChats() const { return m_openChats; }
    QString currentChat() const { return m_currentChat; }

public slots:
    void onChatOpened(const QString &chatId);
    void onChatClosed(const QString &chatId);
    void onChatClicked(const QString &chatId);
    void onChatsInitialized();
    void setOpenedChat(const QString &chatId);

signals:
    void chatOpen(const QString &chatId);
    void currentChatClosed();

private:
    QList<OpenChatsView *> m_views;
    QQueue<QString> m_openChats;
    QString m_currentChat;
};
