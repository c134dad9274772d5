#include "app/appcontroller.h"

#include "app/appsettings.h"
#include "ui/mainwindow.h"

#include <QDebug>

AppController::AppController(QObject *parent)
    : QObject(parent)
{}

AppController::~AppController() = default;

void AppController::Init()
{
    m_mainWindow = std::make_unique<MainWindow>();
    connect(m_mainWindow.get(),
            &MainWindow::activeStateChanged,
            AppSettings::instance(),
            &AppSettings::onMainWindowActiveChanged);
    openWindow();
}

void AppController::openWindow()
{
    if (!m_mainWindow)
        return;
    qDebug() << "SHOW MAIN WINDOW";
    m_mainWindow->showNormal();
    m_mainWindow->raise();
    m_mainWindow->activateWindow();
}
