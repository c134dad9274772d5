#include "app/appcontroller.h"
#include "app/appfonts.h"
#include "app/appsettings.h"
#include "app/chatapplication.h"
#include "app/cocoainitializer.h"
#include "app/runguard.h"
#include "app/screenshottour.h"
#include "app/sparkleautoupdater.h"
#include "app/startupreport.h"
#include "app/startupwarmup.h"
#include "network/firebasereply.h"
#include "util/util.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QFile>
#include <QFont>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPalette>
#include <QSettings>
#include <QThread>

namespace {

// Connects to the running instance's local server, which shows its window. A launch right after
// the first one may come before that server listens, so keep trying within the time allowed.
bool knockOnRunningInstance(const QString &key, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    QLocalSocket socket;
    while (true) {
        socket.connectToServer(key, QIODevice::ReadWrite);
        const int remaining = int(qMax<qint64>(0, timeoutMs - timer.elapsed()));
        if (socket.waitForConnected(remaining))
            return true;
        if (timer.elapsed() >= timeoutMs)
            return false;
        socket.abort();
        QThread::msleep(50);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    StartupReport::startClock();
    const QString key = QStringLiteral("tallyra_onlinechat_2e2b303d-cd6a-45d7-a645-a5640bac0cf5");
    RunGuard guard(key);
    if (!guard.tryToRun()) {
        // Another instance runs: knocking on its local server makes it show its window.
        knockOnRunningInstance(key, 30000);
        return 0;
    }
    StartupWarmUp warmUp;

    // A language chosen in the settings wins over the system's; read before the application
    // object exists, so from the store directly.
    const QString locale = AppSettings::localeForLanguage(
        QSettings(QStringLiteral("tallyra"), QStringLiteral("chat")).value("language").toString());
    if (locale.isEmpty())
        Util::applyLang();
    else
        Util::applyLang(locale);

    qRegisterMetaType<FirebaseReply>("FirebaseReply");

    QString styleSheet;
    QFile styleFile(QStringLiteral(":/resources/styles/style.css"));
    if (styleFile.open(QIODevice::ReadOnly)) {
        styleSheet = QString::fromUtf8(styleFile.readAll());
        styleFile.close();
    }

    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    ChatApplication app(argc, argv);
    warmUp.startIconDecoding();

    if (locale.isEmpty())
        Util::installTranslator(app);
    else
        Util::installTranslator(app, locale);

    // The text colours of the palette; a style sheet colour would also recolour placeholders.
    QPalette palette = app.palette();
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, QColor(0x1d, 0x20, 0x33));
    palette.setColor(QPalette::PlaceholderText, QColor(0x8a, 0x8f, 0xa8));
    app.setPalette(palette);
    app.setStyleSheet(styleSheet);

    warmUp.waitForFontConfiguration();
    AppFonts::addResourceFonts();
    AppFonts::installSubstitutions();

    QFont font(QStringLiteral("Museo Sans Cyrl 500"), 12, 500, false);
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setStyleStrategy(QFont::PreferAntialias);
    QApplication::setFont(font);

    // Reads the configuration and adds any extra certificate authorities before the first
    // connection is made.
    AppSettings::instance();

    AppController controller;
    controller.Init();
    if (StartupReport::requested())
        new StartupReport(controller.mainWindow(), &controller);

    // The screenshot tour, when asked for: it walks the console and quits.
    const QString tourDirectory = qEnvironmentVariable("TALLYRA_TOUR");
    if (!tourDirectory.isEmpty()) {
        auto *tour = new ScreenshotTour(&controller, tourDirectory, &controller);
        QObject::connect(tour, &ScreenshotTour::finished, &app, [](bool complete) {
            QCoreApplication::exit(complete ? 0 : 1);
        });
        tour->start();
    }

    QObject::connect(&app,
                     &ChatApplication::showMainWindow,
                     &controller,
                     &AppController::openWindow);

    QCoreApplication::setApplicationName(QStringLiteral("tallyra"));

    QLocalServer server;
    // We hold the run guard, so a socket file left by a crashed owner is stale: without its
    // removal a later launch could not raise this instance.
    QLocalServer::removeServer(key);
    QObject::connect(&server, &QLocalServer::newConnection, &controller, &AppController::openWindow);
    QObject::connect(&server, &QLocalServer::newConnection, &server, [] {
        qDebug() << "SECOND LAUNCH";
    });
    server.listen(key);

    CocoaInitializer cocoaInitializer;
    SparkleAutoUpdater updater(AppSettings::instance()->updateFeedUrl());
    updater.checkForUpdates();

    return app.exec();
}
