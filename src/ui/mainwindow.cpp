#include "ui/mainwindow.h"
#include "ui_mainwindow.h"

#include <QEvent>
#include <QIcon>

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::MainWindow>())
{
    m_ui->setupUi(this);
    const QIcon icon(QStringLiteral(":/resources/images/icon.png"));
    setWindowIcon(icon);
    m_ui->label_mainWindow_logo->setPixmap(icon.pixmap(128, 128));
}

MainWindow::~MainWindow() = default;

bool MainWindow::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate)
        emit activeStateChanged(true);
    else if (event->type() == QEvent::WindowDeactivate)
        emit activeStateChanged(false);
    return QMainWindow::event(event);
}
