#include "ui/blackoutoverlay.h"

#include <QEvent>
#include <QPainter>
#include <QPropertyAnimation>

BlackoutOverlay::BlackoutOverlay(QWidget *parent)
    : QWidget(parent)
    , m_fade(new QPropertyAnimation(this, "opacity", this))
{
    setObjectName(QStringLiteral("widget_blackout"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    m_fade->setDuration(150);
    connect(m_fade, &QPropertyAnimation::finished, this, [this] {
        if (m_opacity <= 0)
            hide();
    });
    parent->installEventFilter(this);
    hide();
}

void BlackoutOverlay::setShown(bool shown)
{
    m_fade->stop();
    m_fade->setStartValue(m_opacity);
    m_fade->setEndValue(shown ? 1.0 : 0.0);
    if (shown) {
        setGeometry(parentWidget()->rect());
        raise();
        show();
    }
    m_fade->start();
}

void BlackoutOverlay::setOpacity(qreal opacity)
{
    m_opacity = opacity;
    update();
}

bool BlackoutOverlay::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        setGeometry(parentWidget()->rect());
    return QWidget::eventFilter(watched, event);
}

void BlackoutOverlay::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    // The menu's navy at 40 %.
    painter.fillRect(rect(), QColor(0x04, 0x05, 0x27, int(0.4 * 255 * m_opacity)));
}
