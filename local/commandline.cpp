#include "local/commandline.h"

#include <QCommandLineParser>
#include <QStandardPaths>

bool CommandLine::parse(const QStringList &arguments, QString *error)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Local stand-in for the hosted service: identity endpoints and the realtime "
                       "database (REST and websocket protocol 5) on one port."));
    const QCommandLineOption help({"h", "help"}, QStringLiteral("Shows this help."));
    const QCommandLineOption listen("listen",
                                    QStringLiteral("Address to listen on (default 127.0.0.1:8443; "
                                                   "port 0 picks a free one)."),
                                    QStringLiteral("HOST:PORT"));
    const QCommandLineOption data("data",
                                  QStringLiteral("Data directory: database snapshot, secret, "
                                                 "certificates, env file."),
                                  QStringLiteral("DIR"));
    const QCommandLineOption plain("plain",
                                   QStringLiteral("Serve plain HTTP and ws instead of TLS."));
    const QCommandLineOption reset("reset",
                                   QStringLiteral("Seed the database again (the demo account, or "
                                                  "nothing with --empty) and make a new secret."));
    const QCommandLineOption empty("empty",
                                   QStringLiteral("Seed an empty database instead of the demo "
                                                  "account, with no simulated visitors."));
    const QCommandLineOption profile("profile",
                                     QStringLiteral("\"large\": the demo account with 3,000 chats, "
                                                    "3,200 users and 20,000 visitors online."),
                                     QStringLiteral("NAME"));
    const QCommandLineOption visitors("visitors",
                                      QStringLiteral("Simulated visitors arriving a minute "
                                                     "(default 4 with the demo account; 0: none)."),
                                      QStringLiteral("N"));
    const QCommandLineOption events("events",
                                    QStringLiteral("Visitor messages a second across the demo "
                                                   "account's chats (load; default 0)."),
                                    QStringLiteral("N"));
    const QCommandLineOption lifetime("token-lifetime",
                                      QStringLiteral("Lifetime of ID tokens (default 3600)."),
                                      QStringLiteral("SECONDS"));
    const QCommandLineOption apiKey("api-key",
                                    QStringLiteral("Web API key the identity endpoints require "
                                                   "(default: any non-empty key)."),
                                    QStringLiteral("KEY"));
    const QCommandLineOption dropEvery("drop-streams-every",
                                       QStringLiteral(
                                           "Drop every websocket connection this often."),
                                       QStringLiteral("SECONDS"));
    const QCommandLineOption replyDelay("reply-delay",
                                        QStringLiteral("Delay every answer and push."),
                                        QStringLiteral("MS"));
    const QCommandLineOption refuseRefresh("refuse-token-refresh",
                                           QStringLiteral("Refuse every token refresh."));
    const QCommandLineOption ns("namespace",
                                QStringLiteral("Database namespace (default tallyra-local)."),
                                QStringLiteral("NS"));
    const QCommandLineOption maxSize("max-size",
                                     QStringLiteral("Refuse writes that would make the database "
                                                    "bigger than this (default 512)."),
                                     QStringLiteral("MB"));
    const QCommandLineOption verbose("verbose", QStringLiteral("Log each database request's path."));
    const QCommandLineOption mint("mint-token",
                                  QStringLiteral("Print a custom token for SERVICE ACCOUNT USERKEY "
                                                 "and exit."),
                                  QStringLiteral("SERVICE"));
    parser.addOptions({help,
                       listen,
                       data,
                       plain,
                       reset,
                       empty,
                       profile,
                       visitors,
                       events,
                       lifetime,
                       apiKey,
                       dropEvery,
                       replyDelay,
                       refuseRefresh,
                       ns,
                       maxSize,
                       verbose,
                       mint});
    parser.addPositionalArgument(QStringLiteral("ACCOUNT USERKEY"),
                                 QStringLiteral("With --mint-token only."));
    if (!parser.parse(arguments)) {
        *error = parser.errorText();
        return false;
    }
    if (parser.isSet(help)) {
        helpRequested = true;
        helpText = parser.helpText();
        return true;
    }

    const auto number = [&](const QCommandLineOption &option, int minimum, int *out) {
        bool ok = false;
        const int value = parser.value(option).toInt(&ok);
        if (!ok || value < minimum) {
            *error = QStringLiteral("--%1 wants a whole number of at least %2")
                         .arg(option.names().constFirst())
                         .arg(minimum);
            return false;
        }
        *out = value;
        return true;
    };

    if (parser.isSet(listen)) {
        const QString text = parser.value(listen);
        const int colon = text.lastIndexOf(QLatin1Char(':'));
        bool ok = false;
        const uint port = colon < 0 ? 0 : text.mid(colon + 1).toUInt(&ok);
        QString host = colon < 0 ? QString() : text.left(colon);
        if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
            host = host.mid(1, host.size() - 2);
        if (!ok || port > 65535 || host.isEmpty()) {
            *error = QStringLiteral("--listen wants HOST:PORT, e.g. 127.0.0.1:8443");
            return false;
        }
        options.host = host;
        options.port = quint16(port);
    }
    options.dataDirectory = parser.isSet(data) ? parser.value(data)
                                               : QStandardPaths::writableLocation(
                                                     QStandardPaths::GenericDataLocation)
                                                     + QStringLiteral("/tallyra-local");
    options.plain = parser.isSet(plain);
    options.reset = parser.isSet(reset);
    options.verbose = parser.isSet(verbose);
    options.refuseTokenRefresh = parser.isSet(refuseRefresh);
    if (parser.isSet(apiKey))
        options.apiKey = parser.value(apiKey);
    if (parser.isSet(ns))
        options.databaseNamespace = parser.value(ns);
    if (parser.isSet(lifetime) && !number(lifetime, 1, &options.tokenLifetime))
        return false;
    int seconds = 0;
    if (parser.isSet(dropEvery)) {
        if (!number(dropEvery, 1, &seconds))
            return false;
        options.dropStreamsEveryMs = seconds * 1000;
    }
    if (parser.isSet(replyDelay) && !number(replyDelay, 0, &options.replyDelayMs))
        return false;
    int megabytes = 0;
    if (parser.isSet(maxSize)) {
        if (!number(maxSize, 1, &megabytes))
            return false;
        options.maxDatabaseBytes = qint64(megabytes) * 1024 * 1024;
    }

    options.demo = !parser.isSet(empty);
    if (parser.isSet(profile)) {
        if (parser.value(profile) != QLatin1String("large")) {
            *error = QStringLiteral("--profile knows \"large\" only");
            return false;
        }
        options.largeProfile = true;
    }
    int perMinute = options.demo ? 4 : 0;
    if (parser.isSet(visitors) && !number(visitors, 0, &perMinute))
        return false;
    options.visitorsPerMinute = perMinute;
    if (parser.isSet(events) && !number(events, 0, &options.eventsPerSecond))
        return false;

    const QStringList positional = parser.positionalArguments();
    if (parser.isSet(mint)) {
        bool serviceOk = false;
        bool accountOk = false;
        mintServiceId = parser.value(mint).toLongLong(&serviceOk);
        mintAccountId = positional.value(0).toLongLong(&accountOk);
        mintUserKey = positional.value(1);
        if (positional.size() != 2 || !serviceOk || !accountOk || mintUserKey.isEmpty()) {
            *error = QStringLiteral("usage: tallyra-local --mint-token SERVICE ACCOUNT USERKEY");
            return false;
        }
        mintToken = true;
    } else if (!positional.isEmpty()) {
        *error = QStringLiteral("unexpected argument: %1").arg(positional.first());
        return false;
    }
    return true;
}
