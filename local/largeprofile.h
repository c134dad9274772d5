#pragma once

#include <QJsonObject>
#include <QString>

// The "large" load profile: the demo account made as big as the biggest customers' accounts,
// for the console's benchmarks: 3,000 chats in work, 3,200 users and 20,000 visitors online on
// top of the demo data of service 1's account.
class LargeProfile
{
public:
    static constexpr int chats = 3000;
    static constexpr int users = 3200;
    static constexpr int visitors = 20000;

    // Adds to a seed that DemoSeed::build made.
    static void addTo(QJsonObject *seed, const QString &baseUrl, qint64 nowMs);
};
