// Cost of the conversation list widget on a whole account: 3,000 chats handed over by
// initDialogs until the first frame is painted, one updateChat until its repaint, and the
// memory the filled list holds.
//
//   bench_conversationlist [small|large] [--rounds N] [--changes N]
//
// Limits (large profile, thread CPU time): first frame under 100 ms, a change repainted under
// 2 ms at p99. Run on the offscreen platform, as tools/bench.sh does.
#include "benchsupport.h"
#include "repo/authsession.h"
#include "repo/chatsrepository.h"
#include "repo/usersrepository.h"
#include "snapshotgenerator.h"
#include "ui/conversationlistwidget.h"

#include <QApplication>
#include <QListView>
#include <QRandomGenerator>
#include <QTextStream>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QTextStream out(stdout);
    ListBenchOptions options{1, 15, 1000};
    if (!parseListBenchOptions(app.arguments(), "bench_conversationlist", &options, out))
        return 2;
    const Profile *profile = &Profiles[options.profile];
    const int rounds = options.rounds;
    const int changes = options.changes;

    SnapshotGenerator generator(*profile);
    const FirebaseReply usersEvent = initEvent(generator.users());
    const FirebaseReply chatsEvent = initEvent(generator.chats());
    const FirebaseReply visitorsEvent = initEvent(generator.visitors());
    UsersRepository::init(nullptr);
    ChatsRepository::init(nullptr);
    AuthSession::init(nullptr);
    const Mapped mapped = map(usersEvent, chatsEvent, visitorsEvent);
    UsersRepository::getInstance()->initUsers(mapped.users);
    ChatsRepository *chats = ChatsRepository::getInstance();
    chats->initChats(mapped.chats);
    AuthSession::getInstance()->setUserId(generator.operatorKeys().first());

    ConversationListWidget list;
    list.resize(340, 860);
    list.show();
    QListView *view = list.listView();
    QCoreApplication::processEvents();

    // The whole account, as the list controller hands over a category of 3,000.
    Samples firstFrame;
    const qint64 heapBefore = heapInUse();
    for (int round = 0; round <= rounds; ++round) {
        list.clear();
        QCoreApplication::processEvents();
        const Stopwatch watch;
        list.initDialogs(mapped.chats);
        view->viewport()->repaint();
        if (round > 0)
            firstFrame.add(watch, 1e6);
    }
    const qint64 held = heapInUse() - heapBefore;

    // A visitor's new message: the row moves to the top and is repainted.
    QRandomGenerator random(7);
    const QStringList keys = generator.chatKeys();
    Samples change;
    for (int i = 0; i < changes; ++i) {
        const QString key = keys.at(int(random.bounded(keys.size())));
        chats->update({{key,
                        QJsonObject{{"unreadCount", int(random.bounded(5))},
                                    {"lastMessage",
                                     QJsonObject{{"sender", "v"},
                                                 {"sentAt", SnapshotGenerator::Now + 1000 * i},
                                                 {"text", QStringLiteral("Сообщение %1").arg(i)},
                                                 {"type", "text"}}}}}});
        const Stopwatch watch;
        list.updateChat(key, true, int(random.bounded(3)));
        view->viewport()->repaint();
        change.add(watch, 1e3);
    }

    out << "profile " << profile->name << ": " << mapped.chats.size() << " chats in the list\n";
    out << "initDialogs to the first painted frame ms: " << medianText(firstFrame)
        << " (limit 100)\n";
    out << "updateChat to its repaint us: " << medianP99Text(change) << " (limit 2000 at p99)\n";
    if (held > 0)
        out << "memory held by the filled list: " << held / 1024 << " KiB\n";
    const bool met = percentile(firstFrame.cpu, 50) < 100 && percentile(change.cpu, 99) < 2000;
    out << (met ? "limits met\n" : "LIMITS MISSED\n");
    return met ? 0 : 1;
}
