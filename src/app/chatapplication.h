#pragma once

#include <QApplication>

// The application object. It notices a click on the dock icon of an already active
// application, which macOS delivers as a repeated change to the Active state.
class ChatApplication : public QApplication
{
    Q_OBJECT

public:
    // argc by reference: QApplication keeps a reference to it for the process lifetime.
    ChatApplication(int &argc, char **argv);
    ~ChatApplication() override;

    static ChatApplication *getInstance();

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void showMainWindow();

private:
    Qt::ApplicationState m_lastState = Qt::ApplicationActive;
    static ChatApplication *s_instance;
};
