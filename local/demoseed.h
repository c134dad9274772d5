#pragma once

#include <QJsonObject>
#include <QString>

// The demo account that --reset (and a new data directory) starts with: the realtime data of
// two services' accounts under "services", and the chat API's own records (logins with
// password hashes, services, account settings, chat and visit facts, history, offline requests)
// under "chat-api", a key that no account's token reaches.
class DemoSeed
{
public:
    static const QString operatorLogin; // one service
    static const QString managerLogin;  // two services
    static const QString password;      // both logins'

    // Pictures and documents are linked below baseUrl ("https://127.0.0.1:8443"); times are
    // laid out back from nowMs (-1: now), so the demo always looks current.
    static QJsonObject build(const QString &baseUrl, qint64 nowMs = -1);
};
