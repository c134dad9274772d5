#pragma once

#include "local/localservice.h"

#include <QStringList>

// tallyra-local's command line.
class CommandLine
{
public:
    bool parse(const QStringList &arguments, QString *error);

    LocalService::Options options;
    bool mintToken = false;
    qint64 mintServiceId = 0;
    qint64 mintAccountId = 0;
    QString mintUserKey;
    bool helpRequested = false;
    QString helpText;
};
