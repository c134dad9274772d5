#pragma once

#include <QJsonObject>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QString>

// Loads a list of the chat API whose filters the operator may change before it answers: only
// the latest request's answer is delivered, and one that does not come within the time-out
// fails, so that a page never waits for ever.
class ApiListLoader : public QObject
{
    Q_OBJECT

public:
    explicit ApiListLoader(QObject *parent = nullptr);

    // GET of a path of the chat API, with its query; drops the request before it.
    void load(const QString &pathAndQuery);
    // Drops the request under way, if any.
    void cancel();
    bool isLoading() const { return m_reply; }
    void setTimeout(int milliseconds) { m_timeout = milliseconds; }

signals:
    void loaded(QJsonObject answer);
    // httpStatus is 0 when no answer came; message is the service's reason, if it gave one.
    void failed(int httpStatus, QString message);

private:
    QPointer<QNetworkReply> m_reply;
    int m_timeout = 30000;
};
