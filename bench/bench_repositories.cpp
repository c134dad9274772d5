// Cost of the repositories on a whole account: filling them from the mapped first snapshots,
// merging one chat patch and reading the four counters of the main window, fanning one user
// change out to the chats, one event deleting thousands of chats (and of quick answers), and the
// memory the records hold against the JSON they came from.
//
//   bench_repositories [small|large] [--rounds N] [--patches N]
//
// Limits (large profile): filling under 100 ms, a patch with the counters under 100 us
// (median), memory under 3 times the JSON, a deletion of 16,000 under 20 times one of 2,000
// (linear: about 8). Times are given as wall-clock and as the thread's CPU time; the limits are
// checked on the CPU time, which other load on a shared machine does not inflate.
#include "benchsupport.h"
#include "network/firebasereply.h"
#include "repo/authsession.h"
#include "repo/chatsrepository.h"
#include "repo/quickanswersrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"
#include "snapshotgenerator.h"
#include "util/jsonparser.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QTextStream>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

// What the main window's refresh reads after each chat event.
int readCounters(const ChatsRepository *chats)
{
    return chats->getUnreadCount() + chats->getMissedCount() + chats->getUnreadForeignCount()
           + chats->getUnreadMessagesCount();
}

// The repositories log each deleted chat; thousands of lines would measure the terminal.
void dropDebugLines(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type != QtDebugMsg)
        fprintf(stderr, "%s\n", qPrintable(message));
}

// One event deleting `count` records, every other one of a repository of twice as many: the
// chats cloned from the account's, the quick answers made up.
struct MassDeletion
{
    int count;
    Samples chats;
    Samples answers;
};

MassDeletion measureMassDeletion(int count, const QList<FirebaseChat> &pattern, int rounds)
{
    ChatsRepository *chats = ChatsRepository::getInstance();
    QuickAnswersRepository *answers = QuickAnswersRepository::getInstance();
    QList<FirebaseChat> manyChats;
    QList<FirebaseQuickAnswer> manyAnswers;
    QJsonObject chatDeletion, answerDeletion;
    for (int i = 0; i < 2 * count; ++i) {
        FirebaseChat chat = pattern.at(i % pattern.size());
        chat.setId(QStringLiteral("-NqBenchChat%1").arg(i, 8, 10, QLatin1Char('0')));
        manyChats.append(chat);
        FirebaseQuickAnswer answer;
        answer.setId(100000 + i);
        answer.setType(QStringLiteral("account"));
        answer.setText(QStringLiteral("Здравствуйте! Чем могу помочь?"));
        manyAnswers.append(answer);
        if (i % 2 == 0) {
            chatDeletion.insert(chat.getId(), QJsonValue::Null);
            answerDeletion.insert(QString::number(answer.getId()), QJsonValue::Null);
        }
    }
    MassDeletion result{count, {}, {}};
    const QtMessageHandler previous = qInstallMessageHandler(dropDebugLines);
    for (int round = 0; round <= rounds; ++round) {
        chats->initChats(manyChats);
        answers->initializeAnswers(manyAnswers);
        const Stopwatch chatWatch;
        chats->update(chatDeletion);
        const qint64 chatWall = chatWatch.wallNs(), chatCpu = chatWatch.cpuNs();
        const Stopwatch answerWatch;
        answers->update(answerDeletion);
        const qint64 answerWall = answerWatch.wallNs(), answerCpu = answerWatch.cpuNs();
        if (chats->getChats().size() != count || answers->getQuickAnswers().size() != count)
            qFatal("mass deletion left the wrong number of records");
        if (round == 0)
            continue; // warm-up
        result.chats.add(chatWall, chatCpu, 1e6);
        result.answers.add(answerWall, answerCpu, 1e6);
    }
    qInstallMessageHandler(previous);
    chats->initChats({});
    answers->initializeAnswers({});
    return result;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);

    const Profile *profile = &Profiles[1];
    int rounds = 9;
    int patches = 20000;
    const QStringList args = app.arguments().mid(1);
    for (int i = 0; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--rounds") && i + 1 < args.size()) {
            rounds = qMax(1, args[++i].toInt());
        } else if (args[i] == QLatin1String("--patches") && i + 1 < args.size()) {
            patches = qMax(100, args[++i].toInt());
        } else {
            profile = nullptr;
            for (const Profile &p : Profiles) {
                if (args[i] == QLatin1String(p.name))
                    profile = &p;
            }
            if (!profile) {
                out << "usage: bench_repositories [small|large] [--rounds N] [--patches N]\n";
                return 2;
            }
        }
    }

    SnapshotGenerator generator(*profile);
    const FirebaseReply usersEvent = initEvent(generator.users());
    const FirebaseReply chatsEvent = initEvent(generator.chats());
    const FirebaseReply visitorsEvent = initEvent(generator.visitors());
    const FirebaseReply keysEvent = initEvent(generator.userKeys());
    const qint64 jsonBytes = jsonSize(usersEvent) + jsonSize(chatsEvent) + jsonSize(visitorsEvent)
                             + jsonSize(keysEvent);

    UsersRepository::init(nullptr);
    ChatsRepository::init(nullptr);
    VisitorsRepository::init(nullptr);
    QuickAnswersRepository::init(nullptr);
    AuthSession::init(nullptr);
    UsersRepository *users = UsersRepository::getInstance();
    ChatsRepository *chats = ChatsRepository::getInstance();
    VisitorsRepository *visitors = VisitorsRepository::getInstance();
    users->setUserKeys(JsonParser::getUserKeysFromJson(keysEvent.getData().value("d").toObject()));
    AuthSession::getInstance()->setUserId(generator.operatorKeys().first());

    out << "profile " << profile->name << ": " << profile->chats << " chats, "
        << profile->visitorUsers + profile->operators << " users, " << profile->visitorsOnline
        << " visitors; " << jsonBytes / 1024 << " KiB of JSON\n";
    out.flush();

    int sink = 0;
    const auto empty = [&] {
        users->initUsers({});
        chats->initChats({});
        visitors->initialize(QJsonObject());
    };

    // Filling empty repositories, as the handlers do on the first "init" after signing in:
    // the repositories alone, then wired as the application wires them (users' changes fan out
    // to the chats, and every chat event reads the counters, as the main window's refresh does).
    Samples fillUsers, fillChats, fillVisitors, fill, fillWired;
    for (int round = 0; round <= rounds; ++round) {
        empty();
        const Mapped mapped = map(usersEvent, chatsEvent, visitorsEvent);
        const Stopwatch total;
        Stopwatch part;
        users->initUsers(mapped.users);
        const qint64 usersWall = part.wallNs(), usersCpu = part.cpuNs();
        part = Stopwatch();
        chats->initChats(mapped.chats);
        const qint64 chatsWall = part.wallNs(), chatsCpu = part.cpuNs();
        part = Stopwatch();
        visitors->initialize(mapped.visitors);
        const qint64 visitorsWall = part.wallNs(), visitorsCpu = part.cpuNs();
        const qint64 totalWall = total.wallNs(), totalCpu = total.cpuNs();
        if (round == 0)
            continue; // warm-up
        fillUsers.add(usersWall, usersCpu, 1e6);
        fillChats.add(chatsWall, chatsCpu, 1e6);
        fillVisitors.add(visitorsWall, visitorsCpu, 1e6);
        fill.add(totalWall, totalCpu, 1e6);
    }
    {
        QObject wiring;
        QObject::connect(users, &UsersRepository::userChanged, &wiring, [&](const QString &key) {
            chats->onUserChanged(key);
        });
        QObject::connect(chats, &ChatsRepository::chatChanged, &wiring, [&](const QString &, bool) {
            sink += readCounters(chats);
        });
        for (int round = 0; round <= rounds; ++round) {
            empty();
            const Mapped mapped = map(usersEvent, chatsEvent, visitorsEvent);
            const Stopwatch watch;
            users->initUsers(mapped.users);
            chats->initChats(mapped.chats);
            visitors->initialize(mapped.visitors);
            if (round > 0)
                fillWired.add(watch, 1e6);
        }
    }

    // One chat patch as the stream delivers it (a visitor's new message), merged, then the
    // four counters read.
    QRandomGenerator random(7);
    const QStringList chatKeys = generator.chatKeys();
    std::vector<FirebaseReply> events;
    events.reserve(size_t(patches));
    for (int i = 0; i < patches; ++i) {
        const QString key = chatKeys.at(int(random.bounded(chatKeys.size())));
        const QJsonObject patch{{"unreadCount", int(random.bounded(5))},
                                {"lastMessage",
                                 QJsonObject{{"sender", chats->getChatById(key).getVisitor()},
                                             {"sentAt", SnapshotGenerator::Now + i * 1000},
                                             {"status", "delivered"},
                                             {"text", "Подскажите, пожалуйста, сроки доставки"},
                                             {"type", "text"}}}};
        events.emplace_back(QStringLiteral("patch"),
                            QJsonObject{{"p", QString("/" + key)}, {"d", patch}});
    }
    Samples patch, patchFromEvent;
    for (const FirebaseReply &event : events) {
        const Stopwatch watch;
        const QJsonObject tree = JsonParser::fromFirebaseReply(event);
        const Stopwatch merge;
        chats->update(tree);
        sink += readCounters(chats);
        patch.add(merge, 1e3);
        patchFromEvent.add(watch, 1e3);
    }

    // One user change fanned out to the user's chats: an operator's (a dozen chats or so), and
    // a visitor's online flag through the users repository, wired as in the application, with
    // the counters read after it.
    int fanned = 0;
    QObject receiver;
    QObject::connect(chats, &ChatsRepository::chatChanged, &receiver, [&](const QString &, bool) {
        ++fanned;
    });
    const QStringList operatorKeys = generator.operatorKeys();
    const int fanOuts = 20000;
    Samples fanOut;
    for (int i = 0; i < fanOuts; ++i) {
        const QString key = operatorKeys.at(i % operatorKeys.size());
        const Stopwatch watch;
        chats->onUserChanged(key);
        fanOut.add(watch, 1e3);
    }
    const int chatsPerOperator = fanned / fanOuts;
    QObject::connect(users, &UsersRepository::userChanged, &receiver, [&](const QString &key) {
        chats->onUserChanged(key);
    });
    const QStringList visitorKeys = generator.visitorKeys();
    Samples userEvent;
    for (int i = 0; i < 20000; ++i) {
        const QString key = visitorKeys.at(i % visitorKeys.size());
        const QJsonObject tree{{key, QJsonObject{{"online", (i / visitorKeys.size()) % 2 == 1}}}};
        const Stopwatch watch;
        users->update(tree);
        sink += readCounters(chats);
        userEvent.add(watch, 1e3);
    }
    QObject::disconnect(users, nullptr, &receiver, nullptr);

    // One event deleting many chats (an account's old chats purged) and many quick answers.
    std::vector<MassDeletion> deletions;
    for (int count : {2000, 16000})
        deletions.push_back(
            measureMassDeletion(count, map(usersEvent, chatsEvent, visitorsEvent).chats, rounds));
    const double deletionRatio = percentile(deletions.back().chats.cpu, 50)
                                 / percentile(deletions.front().chats.cpu, 50);
    const double answerDeletionRatio = percentile(deletions.back().answers.cpu, 50)
                                       / percentile(deletions.front().answers.cpu, 50);

    // Memory: the heap the filled repositories hold once the mapped lists and trees are gone.
    empty();
    const qint64 before = heapInUse();
    {
        const Mapped mapped = map(usersEvent, chatsEvent, visitorsEvent);
        users->initUsers(mapped.users);
        chats->initChats(mapped.chats);
        visitors->initialize(mapped.visitors);
    }
    const qint64 held = heapInUse() - before;
    const double ratio = double(held) / double(jsonBytes);

    out << "fill ms, median of " << rounds << ": users " << medianText(fillUsers) << ", chats "
        << medianText(fillChats) << ", visitors " << medianText(fillVisitors) << "; total "
        << medianText(fill) << " (limit 100)\n";
    out << "fill wired as in the application ms: " << medianText(fillWired) << "\n";
    out << "chat patch + 4 counters us: " << medianP99Text(patch) << " (limit 100 median)\n";
    out << "the same from the stream event us: " << medianP99Text(patchFromEvent) << "\n";
    out << "operator change fanned out to " << chatsPerOperator
        << " chats us: " << medianP99Text(fanOut) << "\n";
    out << "visitor online flag through the users repository + 4 counters us: "
        << medianP99Text(userEvent) << "\n";
    for (const MassDeletion &deletion : deletions) {
        out << "one event deleting " << deletion.count << " of " << 2 * deletion.count
            << " chats ms: " << medianText(deletion.chats)
            << "; quick answers ms: " << medianText(deletion.answers) << "\n";
    }
    out << QStringLiteral("deletion of 16000 against 2000 (cpu): chats %1, quick answers %2 "
                          "(linear about 8, limit 20)\n")
               .arg(deletionRatio, 0, 'f', 1)
               .arg(answerDeletionRatio, 0, 'f', 1);
    if (held > 0) {
        out << QStringLiteral("memory held %1 KiB for %2 KiB of JSON: ratio %3 (limit 3.00)\n")
                   .arg(held / 1024)
                   .arg(jsonBytes / 1024)
                   .arg(ratio, 0, 'f', 2);
    } else {
        out << "memory: not measurable with this allocator\n";
    }
    if (sink == -1)
        out << "";

    const bool met = percentile(fill.cpu, 50) < 100 && percentile(patch.cpu, 50) < 100
                     && (held <= 0 || ratio < 3.0) && deletionRatio < 20
                     && answerDeletionRatio < 20;
    out << (met ? "limits met\n" : "LIMITS MISSED\n");
    return met ? 0 : 1;
}
