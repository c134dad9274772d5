#pragma once

// What the tests of the realtime client and its streams share: a receiver of stream events and
// a client of the local service.
#include "localtestsupport.h"

#include "network/firebaseclient.h"
#include "network/firebasesubscription.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

inline const QString kAccount = QStringLiteral("/services/7/accounts/9");

// Compact JSON of any value, as a request body.
inline QByteArray json(const QJsonValue &value)
{
    return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact).mid(1).chopped(1);
}

class EventRecorder : public QObject
{
    Q_OBJECT

public:
    QList<FirebaseReply> events;
    QStringList names;

public slots:
    void onEvent(FirebaseReply reply)
    {
        events.append(reply);
        names.append(reply.getEvent());
    }
};

// Signs in, refreshes and probes at the local service; streams go to databaseUrl when given.
inline std::unique_ptr<FirebaseClient> makeClient(const LocalTestService &local,
                                                  QString databaseUrl = QString())
{
    if (databaseUrl.isEmpty())
        databaseUrl = local.baseUrl();
    auto client = std::make_unique<FirebaseClient>(databaseUrl, "test-key", "tallyra-local", "");
    client->setIdentityUrl(local.baseUrl());
    client->setTokenUrl(local.baseUrl());
    client->setProbeUrl(local.baseUrl() + QStringLiteral("/probe"));
    // The probe's own ticks would come between a test's: tests tick by hand.
    client->setConnectionCheckInterval(24 * 3600 * 1000);
    // Spies wait for the probe's answers.
    qRegisterMetaType<QNetworkReply *>();
    return client;
}
