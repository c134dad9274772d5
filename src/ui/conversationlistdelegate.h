#pragma once

#include <QDateTime>
#include <QStyledItemDelegate>

#include <functional>

// Paints a row of the conversation list from the model's ConversationRow: avatar with the online
// mark and the integration badge, name and site, relative time, the preview (or who is typing),
// the waiting time coloured by how long, the "+N" badge and the operators' avatars.
class ConversationListDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    static constexpr int RowHeight = 80;

    explicit ConversationListDelegate(QObject *parent = nullptr);

    void paint(QPainter *painter,
               const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

    // The chat open in the chat view, highlighted.
    void setCurrentChat(const QString &chatId) { m_current = chatId; }
    // Stands for the clock in tests.
    void setClock(std::function<QDateTime()> now) { m_now = std::move(now); }

    // "сейчас", "5 мин", "3 ч", "вчера", "12.03"; the row's time.
    static QString shortTime(const QDateTime &time, const QDateTime &now);
    // "ждёт 40 с", "ждёт 4 мин", "ждёт 2 ч".
    static QString waitingText(const QDateTime &since, const QDateTime &now);

private:
    QString m_current;
    std::function<QDateTime()> m_now;
};
