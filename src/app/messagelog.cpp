#include "app/messagelog.h"

#include <QDateTime>
#include <QFile>

QString logLevelName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return QStringLiteral("DebugMsg");
    case QtWarningMsg:
        return QStringLiteral("WarningMsg");
    case QtCriticalMsg:
        return QStringLiteral("CriticalMsg");
    case QtFatalMsg:
        return QStringLiteral("FatalMsg");
    case QtInfoMsg:
        return QStringLiteral("InfoMsg");
    }
    return QString();
}

QString formatLogRecord(QtMsgType type, const QMessageLogContext &context, const QString &msg)
{
    return QStringLiteral("[%6] %1: \n\tMessage: %2\n\tFile: %3\n\tLine: %4\n\tFunction: %5\n\n")
        .arg(logLevelName(type),
             msg,
             context.file ? QString::fromUtf8(context.file) : QString(),
             QString::number(context.line),
             context.function ? QString::fromUtf8(context.function) : QString(),
             QDateTime::currentDateTime().toString(QStringLiteral("dd/M hh:mm:ss")));
}

void myMessageOutput(QtMsgType type, const QMessageLogContext &context, const QString &msg)
{
    QFile file(QStringLiteral("./log.txt"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return;
    file.write(formatLogRecord(type, context, msg).toUtf8());
    file.close();
}
