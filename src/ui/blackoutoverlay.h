#pragma once

#include <QWidget>

class QPropertyAnimation;

// Darkens the window behind a modal dialog: 40 % navy over everything, faded in and out.
class BlackoutOverlay : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(qreal opacity READ opacity WRITE setOpacity)

public:
    explicit BlackoutOverlay(QWidget *parent);

    void setShown(bool shown);
    qreal opacity() const { return m_opacity; }
    void setOpacity(qreal opacity);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QPropertyAnimation *m_fade;
    qreal m_opacity = 0;
};
