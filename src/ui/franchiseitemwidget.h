#pragma once

#include "records/franchiseitem.h"

#include <QWidget>

// One service of the service choice: its picture and name; a click chooses it.
class FranchiseItemWidget : public QWidget
{
    Q_OBJECT

public:
    explicit FranchiseItemWidget(const FranchiseItem &item, QWidget *parent = nullptr);

    int franchiseId() const { return m_id; }

signals:
    void clicked(int franchiseId);

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    int m_id;
};
