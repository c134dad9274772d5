// tallyra-local: the local stand-in for the hosted service.
#include "local/commandline.h"
#include "local/localservice.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalPipe[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    const ssize_t written = ::write(signalPipe[1], &byte, 1);
    Q_UNUSED(written)
}

// SIGINT and SIGTERM end the event loop, so the service can save before the process ends.
void watchTerminationSignals(QCoreApplication *app)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) != 0)
        return;
    auto *notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, app);
    QObject::connect(notifier, &QSocketNotifier::activated, app, [notifier] {
        notifier->setEnabled(false);
        char byte;
        const ssize_t got = ::read(signalPipe[0], &byte, 1);
        Q_UNUSED(got)
        QCoreApplication::quit();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tallyra-local"));

    CommandLine commandLine;
    QString error;
    if (!commandLine.parse(app.arguments(), &error)) {
        std::fprintf(stderr, "tallyra-local: %s\n", qPrintable(error));
        return 2;
    }
    if (commandLine.helpRequested) {
        std::fputs(qPrintable(commandLine.helpText), stdout);
        return 0;
    }
    const LocalService::Options &options = commandLine.options;
    if (commandLine.mintToken) {
        const QByteArray token = LocalService::mintCustomToken(options.dataDirectory,
                                                               options.databaseNamespace,
                                                               commandLine.mintServiceId,
                                                               commandLine.mintAccountId,
                                                               commandLine.mintUserKey,
                                                               &error);
        if (token.isEmpty()) {
            std::fprintf(stderr, "tallyra-local: %s\n", qPrintable(error));
            return 1;
        }
        std::printf("%s\n", token.constData());
        return 0;
    }

    watchTerminationSignals(&app);
    LocalService service(options);
    if (!service.start(&error)) {
        std::fprintf(stderr, "tallyra-local: %s\n", qPrintable(error));
        return 1;
    }
    std::printf("listening on %s\n", qPrintable(service.listenUrl()));
    std::fflush(stdout);
    const int status = app.exec();
    service.stop();
    return status;
}
