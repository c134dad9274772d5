#pragma once

// What the benchmark programs share: a stopwatch of wall-clock and thread CPU time, samples with
// their percentiles, and the account's first snapshots as the "init" handlers receive and map
// them.

#include "network/firebasereply.h"
#include "records/firebasechat.h"
#include "records/firebaseuser.h"
#include "util/jsonparser.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTextStream>

#include <algorithm>
#include <ctime>
#include <vector>

#ifdef __GLIBC__
#include <malloc.h>
#endif

inline qint64 threadCpuNs()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
}

class Stopwatch
{
public:
    Stopwatch()
        : m_cpu(threadCpuNs())
    {
        m_wall.start();
    }
    qint64 wallNs() const { return m_wall.nsecsElapsed(); }
    qint64 cpuNs() const { return threadCpuNs() - m_cpu; }

private:
    QElapsedTimer m_wall;
    qint64 m_cpu;
};

// Samples of one measure, in a chosen unit.
struct Samples
{
    std::vector<double> wall;
    std::vector<double> cpu;

    void add(qint64 wallNs, qint64 cpuNs, double unitNs)
    {
        wall.push_back(wallNs / unitNs);
        cpu.push_back(cpuNs / unitNs);
    }
    void add(const Stopwatch &watch, double unitNs) { add(watch.wallNs(), watch.cpuNs(), unitNs); }
};

inline double percentile(std::vector<double> values, int percent)
{
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, values.size() * size_t(percent) / 100)];
}

inline QString medianText(const Samples &samples)
{
    return QStringLiteral("%1 (cpu %2)")
        .arg(percentile(samples.wall, 50), 0, 'f', 1)
        .arg(percentile(samples.cpu, 50), 0, 'f', 1);
}

inline QString medianP99Text(const Samples &samples)
{
    return QStringLiteral("median %1, p99 %2 (cpu: median %3, p99 %4)")
        .arg(percentile(samples.wall, 50), 0, 'f', 1)
        .arg(percentile(samples.wall, 99), 0, 'f', 1)
        .arg(percentile(samples.cpu, 50), 0, 'f', 1)
        .arg(percentile(samples.cpu, 99), 0, 'f', 1);
}

// A stream's first event as the subscription hands it over: {"p": "/", "d": snapshot}, read
// from the text that came over the wire.
inline FirebaseReply initEvent(const QJsonObject &snapshot)
{
    const QByteArray body = QJsonDocument(QJsonObject{{"p", "/"}, {"d", snapshot}})
                                .toJson(QJsonDocument::Compact);
    return FirebaseReply(QStringLiteral("init"), QJsonDocument::fromJson(body).object());
}

inline qint64 jsonSize(const FirebaseReply &reply)
{
    return QJsonDocument(reply.getData()).toJson(QJsonDocument::Compact).size();
}

// Bytes the allocator has handed out and not got back; 0 where that cannot be asked.
inline qint64 heapInUse()
{
#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 33))
    return qint64(mallinfo2().uordblks);
#else
    return 0;
#endif
}

// What the "init" handlers build from the snapshots before they fill the repositories.
struct Mapped
{
    QList<FirebaseUser> users;
    QList<FirebaseChat> chats;
    QJsonObject visitors;
};

inline Mapped map(const FirebaseReply &users,
                  const FirebaseReply &chats,
                  const FirebaseReply &visitors)
{
    Mapped mapped;
    const QJsonObject userTree = users.getData().value("d").toObject();
    for (auto it = userTree.begin(); it != userTree.end(); ++it) {
        FirebaseUser user = JsonParser::getFirebaseUserFromJson(it.value().toObject());
        user.setId(it.key());
        mapped.users.append(user);
    }
    const QJsonObject chatTree = chats.getData().value("d").toObject();
    for (auto it = chatTree.begin(); it != chatTree.end(); ++it) {
        FirebaseChat chat = JsonParser::getFirebaseChatFromJson(it.value().toObject());
        chat.setId(it.key());
        mapped.chats.append(chat);
    }
    mapped.visitors = JsonParser::fromFirebaseReply(visitors);
    return mapped;
}

// The options the list benchmarks share: "[small|large] [--rounds N] [--changes N]". False, with
// the usage printed, on anything else.
struct ListBenchOptions
{
    int profile = 1; // index into Profiles: the large one
    int rounds = 15;
    int changes;
};

inline bool parseListBenchOptions(const QStringList &args,
                                  const char *name,
                                  ListBenchOptions *options,
                                  QTextStream &out)
{
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--rounds") && i + 1 < args.size())
            options->rounds = qMax(3, args[++i].toInt());
        else if (args[i] == QLatin1String("--changes") && i + 1 < args.size())
            options->changes = qMax(100, args[++i].toInt());
        else if (args[i] == QLatin1String("small"))
            options->profile = 0;
        else if (args[i] != QLatin1String("large")) {
            out << "usage: " << name << " [small|large] [--rounds N] [--changes N]\n";
            return false;
        }
    }
    return true;
}
