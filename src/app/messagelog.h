#pragma once

#include <QString>
#include <QtGlobal>

// File log handler: appends each message to "./log.txt". Kept ready for a build that installs it
// with qInstallMessageHandler; start-up does not.
void myMessageOutput(QtMsgType type, const QMessageLogContext &context, const QString &msg);

// The record that myMessageOutput writes, without the file around it (also used by tests).
QString formatLogRecord(QtMsgType type, const QMessageLogContext &context, const QString &msg);
QString logLevelName(QtMsgType type);
