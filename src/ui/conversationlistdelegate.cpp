#include "ui/conversationlistdelegate.h"

#include "ui/avatarcache.h"
#include "ui/conversationlistmodel.h"
#include "ui/emojitextpainter.h"

#include <QAbstractProxyModel>
#include <QApplication>
#include <QPainter>
#include <QPainterPath>

namespace {

// The palette of the style sheet, for what only a delegate paints.
const QColor Text(0x1d, 0x20, 0x33);
const QColor Muted(0x8a, 0x8f, 0xa8);
const QColor Accent(0x2f, 0x6b, 0xff);
const QColor Alert(0xfa, 0x27, 0x49);
const QColor Amber(0xe0, 0x8a, 0x00);
const QColor Online(0x21, 0xc1, 0x7a);
const QColor Line(0xee, 0xf0, 0xf5);

void drawPill(QPainter *painter,
              const QRect &rect,
              const QColor &fill,
              const QColor &text,
              const QString &label)
{
    QPainterPath path;
    path.addRoundedRect(rect, rect.height() / 2.0, rect.height() / 2.0);
    painter->fillPath(path, fill);
    painter->setPen(text);
    painter->drawText(rect, Qt::AlignCenter, label);
}

} // namespace

ConversationListDelegate::ConversationListDelegate(QObject *parent)
    : QStyledItemDelegate(parent)
    , m_now([] { return QDateTime::currentDateTime(); })
{}

QSize ConversationListDelegate::sizeHint(const QStyleOptionViewItem &option,
                                         const QModelIndex &) const
{
    return QSize(option.rect.width(), RowHeight);
}

QString ConversationListDelegate::shortTime(const QDateTime &time, const QDateTime &now)
{
    if (!time.isValid())
        return QString();
    const qint64 seconds = qMax<qint64>(0, time.secsTo(now));
    if (seconds < 60)
        return tr("сейчас");
    if (seconds < 3600)
        return tr("%1 мин").arg(seconds / 60);
    if (time.date() == now.date())
        return tr("%1 ч").arg(seconds / 3600);
    if (time.date() == now.date().addDays(-1))
        return tr("вчера");
    return time.toString(QStringLiteral("dd.MM"));
}

QString ConversationListDelegate::waitingText(const QDateTime &since, const QDateTime &now)
{
    const qint64 seconds = qMax<qint64>(0, since.secsTo(now));
    if (seconds < 60)
        return tr("ждёт %1 с").arg(seconds);
    if (seconds < 3600)
        return tr("ждёт %1 мин").arg(seconds / 60);
    return tr("ждёт %1 ч").arg(seconds / 3600);
}

void ConversationListDelegate::paint(QPainter *painter,
                                     const QStyleOptionViewItem &option,
                                     const QModelIndex &index) const
{
    const auto *model = qobject_cast<const QAbstractProxyModel *>(index.model());
    const QModelIndex source = model ? model->mapToSource(index) : index;
    const auto *list = qobject_cast<const ConversationListModel *>(source.model());
    if (!list)
        return;
    const ConversationRow &row = list->row(source.row());
    const QDateTime now = m_now();
    const QRect r = option.rect;
    const qreal dpr = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    QColor background = Qt::white;
    if (row.chatId == m_current)
        background = QColor(0xe9, 0xf0, 0xff);
    else if (option.state & QStyle::State_MouseOver)
        background = QColor(0xf7, 0xf9, 0xff);
    painter->fillRect(r, background);
    if (row.unreadCount > 0 || row.chatId == m_current)
        painter->fillRect(QRect(r.left(), r.top(), 3, r.height()), Accent);
    painter->fillRect(QRect(r.left(), r.bottom(), r.width(), 1), Line);

    // Avatar, online mark and the messenger's badge.
    const int avatar = 44;
    const QRect face(r.left() + 14, r.top() + 12, avatar, avatar);
    painter->drawPixmap(face, AvatarCache::instance()->avatar(row.photo, row.name, avatar, dpr));
    if (row.online) {
        const QRect dot(face.right() - 11, face.bottom() - 11, 12, 12);
        painter->setPen(QPen(background, 2));
        painter->setBrush(Online);
        painter->drawEllipse(dot);
    }
    QFont font = option.font;
    font.setPixelSize(9);
    font.setBold(true);
    if (!row.integration.isEmpty()) {
        painter->setFont(font);
        const QRect badge(face.right() - 14, face.top() - 2, 18, 14);
        drawPill(painter,
                 badge,
                 row.integration == QLatin1String("vk") ? QColor(0x44, 0x7b, 0xba)
                                                        : QColor(0x2a, 0xa3, 0xdf),
                 Qt::white,
                 row.integration.left(2).toUpper());
    }

    const int left = face.right() + 12;
    const int right = r.right() - 14;
    // First line: name, site and time.
    font.setPixelSize(11);
    font.setBold(false);
    painter->setFont(font);
    const QString time = shortTime(row.sentAt, now);
    const int timeWidth = painter->fontMetrics().horizontalAdvance(time);
    painter->setPen(Muted);
    painter->drawText(QRect(right - timeWidth, r.top() + 10, timeWidth, 18),
                      Qt::AlignRight | Qt::AlignVCenter,
                      time);
    QFont nameFont = option.font;
    nameFont.setPixelSize(14);
    nameFont.setBold(row.unreadCount > 0);
    painter->setFont(nameFont);
    const int nameRoom = right - timeWidth - 8 - left;
    const QString name = painter->fontMetrics().elidedText(row.name,
                                                           Qt::ElideRight,
                                                           nameRoom * 2 / 3);
    const int nameWidth = painter->fontMetrics().horizontalAdvance(name);
    painter->setPen(Text);
    painter->drawText(QRect(left, r.top() + 10, nameWidth, 18),
                      Qt::AlignLeft | Qt::AlignVCenter,
                      name);
    painter->setFont(font);
    painter->setPen(Muted);
    painter->drawText(QRect(left + nameWidth + 6, r.top() + 10, nameRoom - nameWidth - 6, 18),
                      Qt::AlignLeft | Qt::AlignVCenter,
                      painter->fontMetrics().elidedText(row.site,
                                                        Qt::ElideRight,
                                                        nameRoom - nameWidth - 6));

    // Second line: who types, or the last message.
    QFont textFont = option.font;
    textFont.setPixelSize(13);
    painter->setFont(textFont);
    const QRect line(left, r.top() + 31, right - left, 18);
    if (row.typing) {
        painter->setPen(Accent);
        EmojiTextPainter::drawLine(painter, line, ConversationListModel::previewText(row));
    } else {
        QRect rest = line;
        if (!row.sender.isEmpty()) {
            const QString prefix = row.sender + QStringLiteral(": ");
            painter->setPen(Accent);
            painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter, prefix);
            rest.setLeft(line.left() + painter->fontMetrics().horizontalAdvance(prefix));
        }
        painter->setPen(row.unreadCount > 0 ? Text : QColor(0x4a, 0x4f, 0x66));
        EmojiTextPainter::drawLine(painter, rest, row.preview);
    }

    // Third line: waiting time, unread badge, operators.
    font.setPixelSize(11);
    font.setBold(true);
    painter->setFont(font);
    int x = left;
    if (row.waitingSince.isValid()) {
        const qint64 waited = row.waitingSince.secsTo(now);
        const QColor tone = waited < 60 ? Muted : waited < 180 ? Amber : Alert;
        const QString label = waitingText(row.waitingSince, now);
        const int width = painter->fontMetrics().horizontalAdvance(label) + 12;
        QColor fill = tone;
        fill.setAlpha(28);
        drawPill(painter, QRect(x, r.top() + 55, width, 18), fill, tone, label);
        x += width + 6;
    }
    if (!row.badge.isEmpty()) {
        const int width = qMax(22, painter->fontMetrics().horizontalAdvance(row.badge) + 12);
        drawPill(painter, QRect(x, r.top() + 55, width, 18), Alert, Qt::white, row.badge);
    }
    int ox = right - 18;
    for (int i = row.operators.size() - 1; i >= 0 && ox > x + 40; --i) {
        const auto &op = row.operators.at(i);
        painter->setPen(QPen(background, 2));
        painter->setBrush(Qt::NoBrush);
        painter->drawPixmap(QRect(ox, r.top() + 55, 18, 18),
                            AvatarCache::instance()->avatar(op.first, op.second, 18, dpr));
        painter->drawEllipse(QRect(ox, r.top() + 55, 18, 18));
        ox -= 13;
    }
    painter->restore();
}
