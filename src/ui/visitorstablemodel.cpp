#include "ui/visitorstablemodel.h"

#include <QUrl>

#include <algorithm>

VisitorsTableModel::VisitorsTableModel(QObject *parent)
    : QAbstractTableModel(parent)
{}

int VisitorsTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

int VisitorsTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant VisitorsTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    switch (section) {
    case VisitorColumn:
        return tr("Посетитель");
    case PageColumn:
        return tr("Сейчас на странице");
    case TimeColumn:
        return tr("На сайте");
    case VisitsColumn:
        return tr("Визит");
    case SourceColumn:
        return tr("Источник");
    case DialogColumn:
        return tr("Диалог");
    default:
        return QString();
    }
}

QVariant VisitorsTableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return QVariant();
    const Row &row = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return text(row, index.column());
    case SubtitleRole:
        return subtitle(row, index.column());
    case Qt::ToolTipRole:
        if (index.column() == PageColumn)
            return row.visitor.getCurrentUrl();
        if (index.column() == DialogColumn)
            return row.dialog.text;
        return QVariant();
    case VisitorIdRole:
        return row.visitor.getId();
    case ChatIdRole:
        return row.dialog.chatId.isEmpty() ? row.visitor.getChatKey() : row.dialog.chatId;
    case WidgetIdRole:
        return row.visitor.getChatWidgetId();
    case InitialsRole: {
        if (row.visitor.getName().trimmed().isEmpty())
            return tr("Г");
        const QStringList words = row.visitor.getName().simplified().split(QLatin1Char(' '));
        QString initials;
        for (int i = 0; i < words.size() && i < 2; ++i)
            initials += words.at(i).left(1).toUpper();
        return initials;
    }
    case OnlineRole:
        return row.visitor.getOnline();
    case HasDialogRole:
        return !row.dialog.chatId.isEmpty();
    case BlockedRole:
        return row.dialog.visitorBlocked;
    default:
        return QVariant();
    }
}

QString VisitorsTableModel::visitorName(const FirebaseVisitor &visitor)
{
    const QString name = visitor.getName().simplified();
    if (!name.isEmpty())
        return name;
    const qint64 number = visitor.getApiVisitorId() ? visitor.getApiVisitorId()
                                                    : visitor.getApiVisitId();
    return tr("Гость %1").arg(number % 10000);
}

QString VisitorsTableModel::text(const Row &row, int column) const
{
    const FirebaseVisitor &visitor = row.visitor;
    switch (column) {
    case VisitorColumn:
        return visitorName(visitor);
    case PageColumn: {
        const QUrl url(visitor.getCurrentUrl());
        return url.isValid() && !url.host().isEmpty()
                   ? url.toDisplayString(QUrl::RemoveScheme | QUrl::StripTrailingSlash)
                         .mid(2) // the "//" left of the scheme
                   : visitor.getCurrentUrl();
    }
    case TimeColumn:
        return timeOnSite(visitor);
    case VisitsColumn:
        return visitor.getHits() > 0 ? tr("%1-й").arg(visitor.getHits()) : QStringLiteral("—");
    case SourceColumn:
        return source(visitor);
    case DialogColumn:
        return row.dialog.chatId.isEmpty() ? QStringLiteral("—") : row.dialog.text;
    case ActionColumn:
        return tr("Написать");
    default:
        return QString();
    }
}

QString VisitorsTableModel::subtitle(const Row &row, int column) const
{
    if (column == VisitorColumn) {
        QStringList parts;
        if (!row.visitor.getLocation().isEmpty())
            parts << row.visitor.getLocation();
        const QString host = QUrl(row.visitor.getCurrentUrl()).host();
        if (!host.isEmpty())
            parts << host;
        return parts.join(QStringLiteral(" · "));
    }
    if (column == DialogColumn && !row.dialog.chatId.isEmpty()) {
        QStringList parts;
        // A visitor without a name for the widget is the row's visitor all the same.
        parts << (row.dialog.sender.trimmed().isEmpty() ? visitorName(row.visitor)
                                                        : row.dialog.sender.trimmed());
        if (row.dialog.sentAt.isValid())
            parts << row.dialog.sentAt.toLocalTime().toString(QStringLiteral("HH:mm"));
        if (row.dialog.status == QLatin1String("read"))
            parts << tr("прочитано");
        else if (row.dialog.status == QLatin1String("delivered"))
            parts << tr("доставлено");
        else if (row.dialog.status == QLatin1String("sent"))
            parts << tr("отправлено");
        if (row.dialog.visitorBlocked)
            parts << tr("заблокирован");
        return parts.join(QStringLiteral(" · "));
    }
    return QString();
}

QString VisitorsTableModel::timeOnSite(const FirebaseVisitor &visitor) const
{
    const QDateTime created = visitor.getCreatedAt();
    if (!created.isValid())
        return QStringLiteral("—");
    const qint64 seconds = qMax<qint64>(0, created.secsTo(m_now));
    if (seconds < 60)
        return tr("%1 с").arg(seconds);
    if (seconds < 3600)
        return tr("%1 мин").arg(seconds / 60);
    if (seconds < 24 * 3600)
        return tr("%1 ч %2 мин").arg(seconds / 3600).arg(seconds % 3600 / 60);
    // A tab left open for days.
    return tr("%1 дн.").arg(seconds / (24 * 3600));
}

QString VisitorsTableModel::source(const FirebaseVisitor &visitor)
{
    // Sites pass where a visitor came from among their parameters, when they know it.
    QString referrer;
    QString utm;
    for (const FirebaseVisitorParam &param : visitor.getParams()) {
        const QString key = param.getKey().toLower();
        if (key == QLatin1String("referrer") || key == QLatin1String("source"))
            referrer = param.getValue();
        else if (key == QLatin1String("utm_source") || key == QLatin1String("utm_medium"))
            utm = utm.isEmpty() ? param.getValue() : utm + QLatin1Char('/') + param.getValue();
    }
    if (!utm.isEmpty())
        return QStringLiteral("utm: ") + utm;
    if (!referrer.isEmpty()) {
        const QString host = QUrl(referrer).host();
        return host.isEmpty() ? referrer : host;
    }
    return QStringLiteral("—");
}

void VisitorsTableModel::setVisitors(const QList<FirebaseVisitor> &visitors)
{
    beginResetModel();
    m_rows.clear();
    m_rows.reserve(visitors.size());
    for (const FirebaseVisitor &visitor : visitors)
        m_rows.append({visitor, VisitorDialog()});
    std::sort(m_rows.begin(), m_rows.end(), [](const Row &a, const Row &b) {
        return a.visitor.getId() < b.visitor.getId();
    });
    m_index.clear();
    m_index.reserve(m_rows.size());
    for (int i = 0; i < m_rows.size(); ++i)
        m_index.insert(m_rows.at(i).visitor.getId(), i);
    endResetModel();
}

void VisitorsTableModel::updateVisitor(const FirebaseVisitor &visitor)
{
    const int row = rowOf(visitor.getId());
    if (row >= 0) {
        m_rows[row].visitor = visitor;
        changed(row, 0, ColumnCount - 1);
        return;
    }
    beginInsertRows(QModelIndex(), m_rows.size(), m_rows.size());
    m_index.insert(visitor.getId(), m_rows.size());
    m_rows.append({visitor, VisitorDialog()});
    endInsertRows();
}

void VisitorsTableModel::removeVisitor(const QString &visitorId)
{
    const int row = rowOf(visitorId);
    if (row < 0)
        return;
    beginRemoveRows(QModelIndex(), row, row);
    m_rows.remove(row);
    m_index.remove(visitorId);
    for (int i = row; i < m_rows.size(); ++i)
        m_index[m_rows.at(i).visitor.getId()] = i;
    endRemoveRows();
}

void VisitorsTableModel::setDialog(const QString &visitorId, const VisitorDialog &dialog)
{
    const int row = rowOf(visitorId);
    if (row < 0)
        return;
    m_rows[row].dialog = dialog;
    // The button changes with the dialog too.
    changed(row, DialogColumn, ActionColumn);
}

void VisitorsTableModel::changed(int row, int first, int last)
{
    // Cell by cell: a view repaints a single changed cell's rectangle, but the whole viewport
    // for a range.
    for (int column = first; column <= last; ++column)
        emit dataChanged(index(row, column), index(row, column));
}

void VisitorsTableModel::setNow(const QDateTime &now)
{
    m_now = now;
    if (!m_rows.isEmpty())
        emit dataChanged(index(0, TimeColumn), index(m_rows.size() - 1, TimeColumn));
}
