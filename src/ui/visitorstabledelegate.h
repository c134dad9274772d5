#pragma once

#include <QModelIndex>
#include <QStyledItemDelegate>

// Paints the visitors page's rows as the design has them: the visitor's round initials with
// the online mark and two lines, the page as a link, the dialog's sender over its last
// message, and the "Написать" button, which it also presses.
class VisitorsTableDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit VisitorsTableDelegate(QObject *parent = nullptr);

    void paint(QPainter *painter,
               const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    // The button's place within its cell.
    static QRect buttonRect(const QRect &cell);

signals:
    void writeClicked(const QModelIndex &index);

protected:
    bool editorEvent(QEvent *event,
                     QAbstractItemModel *model,
                     const QStyleOptionViewItem &option,
                     const QModelIndex &index) override;

private:
    // A bold first line over a muted second one.
    void paintTwoLines(QPainter *painter,
                       const QRect &rect,
                       const QString &first,
                       const QString &second,
                       const QFont &font) const;
};
