#pragma once

#include <QDir>
#include <QObject>
#include <QTimer>

#include <functional>

class AppController;

// A walk through the console's pages and states that saves a picture of each: the sign-in with
// an error, the service choice, each category and width state, a chat, the dialogs, the other
// pages, notices and the disconnected state. It drives the real widgets as an operator would and
// is started only when TALLYRA_TOUR names the folder for the pictures (tools/screenshots.sh).
class ScreenshotTour : public QObject
{
    Q_OBJECT

public:
    ScreenshotTour(AppController *controller, const QString &directory, QObject *parent = nullptr);

    void start();

signals:
    void finished(bool complete);

private:
    struct Step
    {
        QString name;
        // Holds once the step may act; waited for up to the time-out.
        std::function<bool()> ready;
        std::function<void()> act;
        // What another account may not have (an image, a typing visitor): skipped after a
        // short wait instead of ending the tour.
        bool optional = false;
    };

    void add(const QString &name,
             std::function<bool()> ready,
             std::function<void()> act,
             bool optional = false);
    void next();
    void save(QWidget *widget, const QString &name);

    AppController *m_controller;
    QDir m_directory;
    QList<Step> m_steps;
    QTimer m_poll;
    int m_waited = 0;
    int m_saved = 0;
};
