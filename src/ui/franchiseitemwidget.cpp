#include "ui/franchiseitemwidget.h"

#include "ui/avatarcache.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>

FranchiseItemWidget::FranchiseItemWidget(const FranchiseItem &item, QWidget *parent)
    : QWidget(parent)
    , m_id(item.getId())
{
    setObjectName(QStringLiteral("widget_franchiseItemWidget"));
    setAttribute(Qt::WA_StyledBackground);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    auto *picture = new QLabel(this);
    picture->setPixmap(
        AvatarCache::instance()->avatar(item.getPicture(), item.getName(), 36, devicePixelRatioF()));
    auto *name = new QLabel(item.getName(), this);
    name->setObjectName(QStringLiteral("label_franchiseItemWidget_name"));
    auto *arrow = new QLabel(this);
    arrow->setPixmap(
        QIcon(QStringLiteral(":/resources/images/icons/chevron-right-muted.svg")).pixmap(16, 16));
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 10, 14, 10);
    layout->setSpacing(12);
    layout->addWidget(picture);
    layout->addWidget(name, 1);
    layout->addWidget(arrow);
}

void FranchiseItemWidget::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->pos()))
        emit clicked(m_id);
}

void FranchiseItemWidget::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter
        || event->key() == Qt::Key_Space)
        emit clicked(m_id);
    else
        QWidget::keyPressEvent(event);
}
