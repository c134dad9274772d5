#include "app/startupreport.h"

#include "repo/chatsrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"
#include "ui/conversationlistwidget.h"
#include "ui/mainwindow.h"

#include <QElapsedTimer>
#include <QEvent>
#include <QListView>
#include <QTimer>

#include <cstdio>

namespace {

QElapsedTimer &mainClock()
{
    static QElapsedTimer timer;
    return timer;
}

enum Repository { Users = 1, Chats = 2, Visitors = 4, All = Users | Chats | Visitors };

} // namespace

void StartupReport::startClock()
{
    mainClock().start();
}

bool StartupReport::requested()
{
    return !qEnvironmentVariableIsEmpty("TALLYRA_REPORT_STARTUP");
}

StartupReport::StartupReport(MainWindow *window, QObject *parent)
    : QObject(parent)
    , m_window(window)
{
    m_window->installEventFilter(this);
    // The list is on the main page, which is built after the first frame.
    const auto watchList = [this] {
        m_listViewport = m_window->conversationList()->listView()->viewport();
        m_listViewport->installEventFilter(this);
    };
    if (m_window->hasMainPage())
        watchList();
    else
        connect(m_window, &MainWindow::mainPageCreated, this, watchList);
    connect(UsersRepository::getInstance(), &UsersRepository::initialized, this, [this] {
        onInitialized(Users);
    });
    connect(ChatsRepository::getInstance(), &ChatsRepository::initialized, this, [this] {
        onInitialized(Chats);
    });
    connect(VisitorsRepository::getInstance(), &VisitorsRepository::initialized, this, [this] {
        onInitialized(Visitors);
    });
}

bool StartupReport::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Paint) {
        if (watched == m_window && !m_shown) {
            m_shown = true;
            reportLater("SHOWN");
        } else if (watched == m_listViewport && !m_listed) {
            const int rows = m_window->conversationList()->listView()->model()->rowCount();
            if (rows > 0) {
                m_listed = true;
                reportLater("LISTED", QByteArray::number(rows));
            }
        }
    }
    return QObject::eventFilter(watched, event);
}

void StartupReport::onInitialized(int repository)
{
    if (m_initialized == All)
        return;
    m_initialized |= repository;
    if (m_initialized == All)
        reportLater("LOADED");
}

void StartupReport::reportLater(const QByteArray &milestone, const QByteArray &detail)
{
    QTimer::singleShot(0, this, [milestone, detail] {
        QByteArray line = milestone + ' ' + QByteArray::number(mainClock().elapsed());
        if (!detail.isEmpty())
            line += ' ' + detail;
        std::fprintf(stderr, "%s\n", line.constData());
        std::fflush(stderr);
    });
}
