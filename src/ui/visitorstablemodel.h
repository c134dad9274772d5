#pragma once

#include "controller/visitorsonlineview.h"

#include <QAbstractTableModel>
#include <QDateTime>
#include <QHash>
#include <QVector>

// The rows of the visitors page, one a visitor with the dialog columns of those who talk.
// Rows keep the order of the visitors' keys, which the database hands out in order of arrival,
// so a newcomer goes to the end and the rows above never move. A row is found by visitor id in
// constant time, so that a change touches its row alone.
class VisitorsTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column {
        VisitorColumn,
        PageColumn,
        TimeColumn,
        VisitsColumn,
        SourceColumn,
        DialogColumn,
        ActionColumn,
        ColumnCount
    };
    enum Role {
        // The smaller second line of a cell: location and site, the dialog's sender and time.
        SubtitleRole = Qt::UserRole + 1,
        VisitorIdRole,
        ChatIdRole,
        WidgetIdRole,
        InitialsRole,
        OnlineRole,
        HasDialogRole,
        BlockedRole,
    };

    explicit VisitorsTableModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    void setVisitors(const QList<FirebaseVisitor> &visitors);
    void updateVisitor(const FirebaseVisitor &visitor);
    void removeVisitor(const QString &visitorId);
    void setDialog(const QString &visitorId, const VisitorDialog &dialog);
    // -1 when the visitor has no row.
    int rowOf(const QString &visitorId) const { return m_index.value(visitorId, -1); }
    // Time on site is counted up to this moment; the page moves it on.
    void setNow(const QDateTime &now);

    static QString visitorName(const FirebaseVisitor &visitor);

private:
    struct Row
    {
        FirebaseVisitor visitor;
        VisitorDialog dialog;
    };

    void changed(int row, int first, int last);
    QString text(const Row &row, int column) const;
    QString subtitle(const Row &row, int column) const;
    QString timeOnSite(const FirebaseVisitor &visitor) const;
    static QString source(const FirebaseVisitor &visitor);

    QVector<Row> m_rows;
    QHash<QString, int> m_index;
    QDateTime m_now = QDateTime::currentDateTime();
};
