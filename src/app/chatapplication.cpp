#include "app/chatapplication.h"

#include <QApplicationStateChangeEvent>
#include <QDebug>

ChatApplication *ChatApplication::s_instance = nullptr;

ChatApplication::ChatApplication(int &argc, char **argv)
    : QApplication(argc, argv)
{
    s_instance = this;
    installEventFilter(this);
}

ChatApplication::~ChatApplication()
{
    if (s_instance == this)
        s_instance = nullptr;
}

ChatApplication *ChatApplication::getInstance()
{
    return s_instance;
}

bool ChatApplication::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == this && event->type() == QEvent::ApplicationStateChange) {
        const auto state = static_cast<QApplicationStateChangeEvent *>(event)->applicationState();
        if (m_lastState == Qt::ApplicationActive && state == Qt::ApplicationActive) {
            emit getInstance()->showMainWindow();
            qDebug() << "Dock icon clicked!";
        }
        m_lastState = state;
    }
    return QApplication::eventFilter(watched, event);
}
