#pragma once

#include <QObject>

#include <memory>

class MainWindow;

// Creates the program's long-lived objects and wires them together.
class AppController : public QObject
{
    Q_OBJECT

public:
    explicit AppController(QObject *parent = nullptr);
    ~AppController() override;

    void Init();
    MainWindow *mainWindow() const { return m_mainWindow.get(); }

public slots:
    void openWindow();

private:
    std::unique_ptr<MainWindow> m_mainWindow;
};
