#pragma once

// The account snapshots of the benchmarks: users, chats, visitors and user keys generated with
// a fixed seed in the shapes the realtime database sends, for a chosen load profile.

#include <QJsonObject>
#include <QList>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>

struct Profile
{
    const char *name;
    int chats;
    int visitorUsers;
    int operators;
    int visitorsOnline;
};

inline constexpr Profile Profiles[] = {
    {"small", 100, 100, 10, 500},
    {"large", 3000, 3000, 200, 20000},
};

class SnapshotGenerator
{
public:
    // A fixed "now" keeps the bodies identical between runs.
    static constexpr qint64 Now = 1709641234567;

    explicit SnapshotGenerator(const Profile &profile);

    // Each body draws from one random sequence: asking for them in the same order gives the
    // same bodies.
    QJsonObject users();
    QJsonObject chats();
    QJsonObject visitors();
    // {widget id: {operator key: bool}}.
    QJsonObject userKeys() const;

    // The first operator has REST id 1000; the others follow.
    QStringList operatorKeys() const { return m_operatorKeys; }
    QStringList visitorKeys() const { return m_visitorKeys; }
    QStringList chatKeys() const { return m_chatKeys; }
    QList<qint64> widgets() const { return m_widgets; }

private:
    // Keys in the shape of the database's push ids: 20 characters of its alphabet.
    QString pushKey();
    QString avatar(int i) const;
    QString page();
    qint64 bounded(qint64 n) { return m_random.bounded(quint32(n)); }
    bool chance(int percent) { return bounded(100) < percent; }
    template<typename T>
    T pick(const QList<T> &list)
    {
        return list.at(int(bounded(list.size())));
    }

    const Profile m_profile;
    QRandomGenerator m_random{20240305};
    QList<qint64> m_widgets;
    QStringList m_operatorKeys;
    QStringList m_visitorKeys;
    QStringList m_chatKeys;
};
