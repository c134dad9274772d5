#pragma once

#include <QMainWindow>

#include <memory>

namespace Ui {
class MainWindow;
}

// The console's main window.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

signals:
    void activeStateChanged(bool active);

protected:
    bool event(QEvent *event) override;

private:
    std::unique_ptr<Ui::MainWindow> m_ui;
};
