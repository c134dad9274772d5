#pragma once

#include "localtestsupport.h"

#include "network/networkmanager.h"

#include <QJsonValue>
#include <QObject>

#include <memory>

// tallyra-local seeded with the demo account, the console's settings pointed at it as its env
// file says, and the console's repositories; signIn() adds a NetworkManager signed in as the
// demo operator.
class DemoAccount
{
public:
    // Below the root: the demo operator's account.
    static QString path() { return QStringLiteral("/services/1/accounts/101/"); }
    static QString operatorKey() { return QStringLiteral("-DemoOpOlga000001"); }

    // Starts the service, exports its env file and creates the repositories and the session
    // (owned by owner) in the order the console creates them.
    bool start(QObject *owner);
    // Signs in as the demo operator and waits until every repository holds what the service
    // holds; online: with the rule that puts the operator online at start-up.
    bool signIn(bool online = false);
    // A value of the account as the service holds it (path below the account).
    QJsonValue stored(const QString &accountPath);
    // Writes below the account as the service's administrator would; true when taken.
    bool write(const QByteArray &verb, const QString &accountPath, const QString &json);
    // Every collection holds as many records as the service does.
    bool loaded();

    LocalTestService local{demoOptions()};
    RestClient rest{&local};
    std::unique_ptr<NetworkManager> manager;

private:
    static LocalService::Options demoOptions();
};
