#pragma once

#include <QAbstractListModel>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QPair>
#include <QStringList>

// What one row of the conversation list shows, read from the chat and its people.
struct ConversationRow
{
    QString chatId;
    QString name;
    QString photo;
    QString site;
    bool online = false;
    // "vk", "telegram", ... or empty for a site visitor.
    QString integration;
    // The last message as one line, and who wrote it when not the visitor ("Вы", an alias).
    QString preview;
    QString sender;
    // Someone typing: their name (empty for the visitor) and text; shown instead of the preview.
    bool typing = false;
    QString typingName;
    QString typingText;
    QDateTime sentAt;
    bool read = false;
    int unreadCount = 0;
    // "+N" and the frame's object name that the style keys on.
    QString badge;
    QString frameName;
    // Set while the visitor waits for an answer: since when.
    QDateTime waitingSince;
    qint64 messageCount = 0;
    // The operators in the chat: photo and name.
    QList<QPair<QString, QString>> operators;

    static ConversationRow fromChat(const QString &chatId);
};

// The rows of the conversation list in the controller's order. Each row's details are read
// from the repositories when it is first shown and again when the controller says it changed,
// so that a list of thousands costs only what is on screen.
class ConversationListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role {
        ChatIdRole = Qt::UserRole,
        NameRole,
        PreviewRole,   // the line under the name: typing, or sender and last message
        BadgeRole,     // "+N" or empty
        FrameNameRole, // "frame_conversationListItem_selected" when unread
        SearchRole,    // what the search looks in
    };

    explicit ConversationListModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;

    void setChats(const QStringList &chatIds);
    void insertChat(const QString &chatId, int row);
    // Refreshes the row and moves it to `row`; a chat without a row gets one there.
    void updateChat(const QString &chatId, int row);
    void removeChat(const QString &chatId);
    bool containsChat(const QString &chatId) const { return m_ids.contains(chatId); }
    QStringList chatIds() const { return m_ids; }
    const ConversationRow &row(int index) const;
    // The preview line as shown, for painting and tests.
    static QString previewText(const ConversationRow &row);

private:
    QStringList m_ids;
    mutable QHash<QString, ConversationRow> m_rows;
};
