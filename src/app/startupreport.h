#pragma once

#include <QObject>

class MainWindow;
class QWidget;

// Start-up milestones on stderr, so that a benchmark launching the console can tell when they
// happen without screen scraping: "SHOWN <ms>" once the main window's first frame is painted,
// "LISTED <ms> <rows>" once the conversation list's first frame with rows is, and
// "LOADED <ms>" once the users, chats and visitors snapshots are handled. The milliseconds
// count from main()'s start. Made only when TALLYRA_REPORT_STARTUP is set.
class StartupReport : public QObject
{
    Q_OBJECT

public:
    // First thing in main(): the milestones count from here.
    static void startClock();
    static bool requested();

    explicit StartupReport(MainWindow *window, QObject *parent = nullptr);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void onInitialized(int repository);
    // Printed from the event loop, so after the frame (or the handlers) in progress is done.
    void reportLater(const QByteArray &milestone, const QByteArray &detail = QByteArray());

    MainWindow *m_window;
    QWidget *m_listViewport = nullptr;
    bool m_shown = false;
    bool m_listed = false;
    int m_initialized = 0;
};
