#include "ui/visitorstabledelegate.h"

#include "ui/visitorstablemodel.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace {

// The palette of the style sheet, for what is painted here.
const QColor kText(0x1d, 0x20, 0x33);
const QColor kMuted(0x8a, 0x8f, 0xa8);
const QColor kAccent(0x2f, 0x6b, 0xff);
const QColor kAccentLight(0xea, 0xf0, 0xff);
const QColor kAlert(0xfa, 0x27, 0x49);
const QColor kOnline(0x21, 0xc1, 0x7a);
const QColor kRowLine(0xf0, 0xf2, 0xf7);
const QColor kHover(0xf7, 0xf9, 0xff);
const QColor kSelected(0xe9, 0xf0, 0xff);
// Avatar backgrounds, chosen by the visitor's id so that a visitor keeps a colour.
const QColor kAvatars[] = {QColor(0xf0, 0x8c, 0x4a),
                           QColor(0x2b, 0xb3, 0x9a),
                           QColor(0x5b, 0x8d, 0xef),
                           QColor(0xc4, 0x56, 0x8c),
                           QColor(0x7a, 0x86, 0x99),
                           QColor(0x8e, 0x6b, 0xd8)};

const int kPadding = 16;
const int kAvatar = 32;
const int kButtonWidth = 96;
const int kButtonHeight = 30;

QFont withFamily(QFont font, const char *family, int pixelSize)
{
    font.setFamily(QLatin1String(family));
    font.setPixelSize(pixelSize);
    return font;
}

} // namespace

VisitorsTableDelegate::VisitorsTableDelegate(QObject *parent)
    : QStyledItemDelegate(parent)
{}

QSize VisitorsTableDelegate::sizeHint(const QStyleOptionViewItem &option,
                                      const QModelIndex &index) const
{
    Q_UNUSED(option)
    return QSize(index.column() == VisitorsTableModel::ActionColumn ? kButtonWidth + 24 : 80, 56);
}

QRect VisitorsTableDelegate::buttonRect(const QRect &cell)
{
    return QRect(cell.right() - kButtonWidth - 12,
                 cell.center().y() - kButtonHeight / 2 + 1,
                 kButtonWidth,
                 kButtonHeight);
}

void VisitorsTableDelegate::paintTwoLines(QPainter *painter,
                                          const QRect &rect,
                                          const QString &first,
                                          const QString &second,
                                          const QFont &font) const
{
    const QFont firstFont = withFamily(font, "Museo Sans Cyrl 700", 13);
    const QFont secondFont = withFamily(font, "Museo Sans Cyrl 500", 11);
    const QFontMetrics firstMetrics(firstFont);
    if (second.isEmpty()) {
        painter->setFont(firstFont);
        painter->setPen(kText);
        painter->drawText(rect,
                          Qt::AlignLeft | Qt::AlignVCenter,
                          firstMetrics.elidedText(first, Qt::ElideRight, rect.width()));
        return;
    }
    const QFontMetrics secondMetrics(secondFont);
    const int height = firstMetrics.height() + 2 + secondMetrics.height();
    const int top = rect.center().y() - height / 2 + 1;
    painter->setFont(firstFont);
    painter->setPen(kText);
    painter->drawText(QRect(rect.left(), top, rect.width(), firstMetrics.height()),
                      Qt::AlignLeft | Qt::AlignVCenter,
                      firstMetrics.elidedText(first, Qt::ElideRight, rect.width()));
    painter->setFont(secondFont);
    painter->setPen(kMuted);
    painter->drawText(QRect(rect.left(),
                            top + firstMetrics.height() + 2,
                            rect.width(),
                            secondMetrics.height()),
                      Qt::AlignLeft | Qt::AlignVCenter,
                      secondMetrics.elidedText(second, Qt::ElideRight, rect.width()));
}

void VisitorsTableDelegate::paint(QPainter *painter,
                                  const QStyleOptionViewItem &option,
                                  const QModelIndex &index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRect cell = option.rect;
    if (option.state & QStyle::State_Selected)
        painter->fillRect(cell, kSelected);
    else if (option.state & QStyle::State_MouseOver)
        painter->fillRect(cell, kHover);
    painter->fillRect(QRect(cell.left(), cell.bottom(), cell.width(), 1), kRowLine);

    const int column = index.column();
    const int left = column == VisitorsTableModel::VisitorColumn ? kPadding : 8;
    QRect content = cell.adjusted(left, 0, -8, 0);
    const QString text = index.data(Qt::DisplayRole).toString();
    const QString subtitle = index.data(VisitorsTableModel::SubtitleRole).toString();

    switch (column) {
    case VisitorsTableModel::VisitorColumn: {
        const QRect avatar(content.left(), cell.center().y() - kAvatar / 2 + 1, kAvatar, kAvatar);
        const QString id = index.data(VisitorsTableModel::VisitorIdRole).toString();
        painter->setPen(Qt::NoPen);
        painter->setBrush(kAvatars[qHash(id) % (sizeof(kAvatars) / sizeof(kAvatars[0]))]);
        painter->drawEllipse(avatar);
        painter->setPen(Qt::white);
        painter->setFont(withFamily(option.font, "Museo Sans Cyrl 700", 12));
        painter->drawText(avatar,
                          Qt::AlignCenter,
                          index.data(VisitorsTableModel::InitialsRole).toString());
        if (index.data(VisitorsTableModel::OnlineRole).toBool()) {
            const QRect dot(avatar.right() - 8, avatar.bottom() - 8, 10, 10);
            painter->setPen(QPen(Qt::white, 2));
            painter->setBrush(kOnline);
            painter->drawEllipse(dot);
        }
        content.setLeft(avatar.right() + 11);
        paintTwoLines(painter, content, text, subtitle, option.font);
        break;
    }
    case VisitorsTableModel::PageColumn: {
        const QFont font = withFamily(option.font, "Museo Sans Cyrl 500", 12);
        painter->setFont(font);
        painter->setPen(kAccent);
        painter->drawText(content,
                          Qt::AlignLeft | Qt::AlignVCenter,
                          QFontMetrics(font).elidedText(text, Qt::ElideMiddle, content.width()));
        break;
    }
    case VisitorsTableModel::DialogColumn:
        if (subtitle.isEmpty()) {
            painter->setFont(withFamily(option.font, "Museo Sans Cyrl 500", 13));
            painter->setPen(kMuted);
            painter->drawText(content, Qt::AlignLeft | Qt::AlignVCenter, text);
            break;
        }
        {
            // The sender's small caption above the message.
            const QFont captionFont = withFamily(option.font, "Museo Sans Cyrl 500", 11);
            const QFont textFont = withFamily(option.font, "Museo Sans Cyrl 500", 13);
            const QFontMetrics captionMetrics(captionFont);
            const QFontMetrics textMetrics(textFont);
            const int top = cell.center().y()
                            - (captionMetrics.height() + 2 + textMetrics.height()) / 2 + 1;
            painter->setFont(captionFont);
            painter->setPen(index.data(VisitorsTableModel::BlockedRole).toBool() ? kAlert : kMuted);
            painter->drawText(QRect(content.left(), top, content.width(), captionMetrics.height()),
                              Qt::AlignLeft | Qt::AlignVCenter,
                              captionMetrics.elidedText(subtitle, Qt::ElideRight, content.width()));
            painter->setFont(textFont);
            painter->setPen(kText);
            painter->drawText(QRect(content.left(),
                                    top + captionMetrics.height() + 2,
                                    content.width(),
                                    textMetrics.height()),
                              Qt::AlignLeft | Qt::AlignVCenter,
                              textMetrics.elidedText(text, Qt::ElideRight, content.width()));
            break;
        }
    case VisitorsTableModel::ActionColumn: {
        const QRect button = buttonRect(cell);
        const bool talking = index.data(VisitorsTableModel::HasDialogRole).toBool();
        painter->setPen(Qt::NoPen);
        painter->setBrush(talking ? kAccent : kAccentLight);
        painter->drawRoundedRect(button, 6, 6);
        painter->setPen(talking ? Qt::white : kAccent);
        painter->setFont(withFamily(option.font, "Museo Sans Cyrl 700", 13));
        painter->drawText(button, Qt::AlignCenter, text);
        break;
    }
    default: {
        const QFont font = withFamily(option.font, "Museo Sans Cyrl 500", 13);
        painter->setFont(font);
        painter->setPen(text == QLatin1String("—") ? kMuted : kText);
        painter->drawText(content,
                          Qt::AlignLeft | Qt::AlignVCenter,
                          QFontMetrics(font).elidedText(text, Qt::ElideRight, content.width()));
        break;
    }
    }
    painter->restore();
}

bool VisitorsTableDelegate::editorEvent(QEvent *event,
                                        QAbstractItemModel *model,
                                        const QStyleOptionViewItem &option,
                                        const QModelIndex &index)
{
    if (event->type() == QEvent::MouseButtonRelease
        && index.column() == VisitorsTableModel::ActionColumn) {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        if (mouse->button() == Qt::LeftButton && buttonRect(option.rect).contains(mouse->pos())) {
            emit writeClicked(index);
            return true;
        }
    }
    return QStyledItemDelegate::editorEvent(event, model, option, index);
}
