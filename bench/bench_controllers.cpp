// Cost of the presentation controllers on a whole account: the conversation list of each mode
// filled, one chat change from ChatsRepository::update to the list view's updateChat with every
// chat in one list, the visitors page switched between categories and widgets, and one visitor
// change to its row.
//
//   bench_controllers [small|large] [--rounds N] [--changes N]
//
// Limits (large profile, thread CPU time): a list fill under 20 ms, a chat change under 1 ms at
// p99, a category or widget switch under 50 ms, a visitor change under 0.5 ms.
#include "benchsupport.h"
#include "controller/conversationlistcontroller.h"
#include "controller/conversationlistview.h"
#include "controller/visitorsonlinecontroller.h"
#include "controller/visitorsonlineview.h"
#include "records/apichatsettings.h"
#include "repo/authsession.h"
#include "repo/chatsrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"
#include "snapshotgenerator.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QTextStream>

namespace {

// Notes when the row of a change arrives in a view.
struct Arrivals
{
    void arrived()
    {
        if (watch)
            samples->add(*watch, 1e3);
        watch = nullptr;
    }
    const Stopwatch *watch = nullptr;
    Samples *samples = nullptr;
    int rows = 0;
};

// Views that only count.
class ListView : public QObject, public ConversationListView, public Arrivals
{
    Q_OBJECT
signals:
    void itemClicked(QString chatId);

public:
    void initDialogs(const QList<FirebaseChat> &chats) override { rows = chats.size(); }
    void addChat(const QString &, int) override { ++rows; }
    void updateChat(const QString &, bool, int) override { arrived(); }
    void removeChat(const QString &) override { --rows; }
    bool containsChat(const QString &) const override { return false; }
    void clear() override { rows = 0; }
};

class VisitorsView : public QObject, public VisitorsOnlineView, public Arrivals
{
    Q_OBJECT
signals:
    void loadWidgets();
    void sendMessage(QString visitorId, QString chatId, qint64 widgetId);
    void unblockUser(QString visitorId);
    void widgetChanged(int widgetId);
    void categoryChanged(int category);

public:
    void setVisitors(const QList<FirebaseVisitor> &visitors) override { rows = visitors.size(); }
    void updateVisitor(const FirebaseVisitor &) override { arrived(); }
    void removeVisitor(const QString &) override { arrived(); }
    void setDialog(const QString &, const VisitorDialog &) override {}
    void setVisitorsCount(int all, int, int) override { counted = all; }
    void setWidgets(const QList<ApiChatHistoryWidget> &) override {}
    void showError(const QString &) override {}
    int counted = 0;
};

// The repositories log; thousands of lines would measure the terminal.
void quiet(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type != QtDebugMsg)
        fprintf(stderr, "%s\n", qPrintable(message));
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    qInstallMessageHandler(quiet);
    ListBenchOptions options{1, 15, 2000};
    if (!parseListBenchOptions(app.arguments(), "bench_controllers", &options, out))
        return 2;
    const Profile *profile = &Profiles[options.profile];
    const int rounds = options.rounds;
    const int changes = options.changes;

    SnapshotGenerator generator(*profile);
    const FirebaseReply usersEvent = initEvent(generator.users());
    const FirebaseReply chatsEvent = initEvent(generator.chats());
    const FirebaseReply visitorsEvent = initEvent(generator.visitors());
    const FirebaseReply keysEvent = initEvent(generator.userKeys());
    UsersRepository::init(nullptr);
    ChatsRepository::init(nullptr);
    VisitorsRepository::init(nullptr);
    AuthSession::init(nullptr);
    UsersRepository *users = UsersRepository::getInstance();
    ChatsRepository *chats = ChatsRepository::getInstance();
    VisitorsRepository *visitors = VisitorsRepository::getInstance();
    AuthSession *session = AuthSession::getInstance();
    users->setUserKeys(JsonParser::getUserKeysFromJson(keysEvent.getData().value("d").toObject()));
    const QString me = generator.operatorKeys().first();
    const Mapped mapped = map(usersEvent, chatsEvent, visitorsEvent);
    users->initUsers(mapped.users);
    session->setUserId(me);
    // The operator on every widget, as an account's manager is.
    UserInfo profileInfo;
    profileInfo.setId(1000);
    session->setuserInfo(profileInfo);
    ApiChatSettings settings;
    QList<ApiUserToSite> assignments;
    for (qint64 widget : generator.widgets()) {
        ApiUserToSite assignment;
        assignment.setChatWidgetId(quint64(widget));
        assignment.setUserId(1000);
        assignments.append(assignment);
    }
    settings.addUserToSites(QStringLiteral("1"), assignments);
    session->setSettings(settings);

    ConversationListController list;
    ListView listView;
    list.installView(&listView);

    // The lists as the account has them, filled in each mode.
    Samples fills[3];
    int sizes[3] = {0, 0, 0};
    chats->initChats(mapped.chats);
    for (int round = 0; round <= rounds; ++round) {
        for (int mode = 0; mode < 3; ++mode) {
            const Stopwatch watch;
            mode == 0 ? list.setMy() : mode == 1 ? list.setNotMy() : list.setMissed();
            if (round > 0)
                fills[mode].add(watch, 1e6);
            sizes[mode] = listView.rows;
        }
    }

    // Every chat in the operator's own list, on the widgets she is keyed to: the longest list
    // there can be.
    QList<qint64> keyed;
    for (qint64 widget : generator.widgets()) {
        if (users->hasUserKey(widget, me))
            keyed.append(widget);
    }
    QList<FirebaseChat> own = mapped.chats;
    for (int i = 0; i < own.size(); ++i) {
        FirebaseChat &chat = own[i];
        chat.setWidgetId(keyed.at(i % keyed.size()));
        chat.setOperators({me});
        chat.setChatStatus(QStringLiteral("work"));
        chat.setUserToNotification({});
    }
    chats->initChats(own);
    list.setMy();
    Samples ownFill;
    for (int round = 0; round < rounds; ++round) {
        const Stopwatch watch;
        list.setMy();
        ownFill.add(watch, 1e6);
    }
    const int ownRows = listView.rows;

    // A visitor's new message in one of them, as the stream delivers it.
    QRandomGenerator random(7);
    const QStringList chatKeys = generator.chatKeys();
    Samples chatChange;
    listView.samples = &chatChange;
    for (int i = 0; i < changes; ++i) {
        const QString key = chatKeys.at(int(random.bounded(chatKeys.size())));
        const FirebaseChat chat = chats->getChatById(key);
        const QJsonObject patch{
            {key,
             QJsonObject{{"unreadCount", int(random.bounded(5))},
                         {"lastMessage",
                          QJsonObject{{"sender", chat.getVisitor()},
                                      {"sentAt", SnapshotGenerator::Now + 1000 * i},
                                      {"status", "sent"},
                                      {"text", QStringLiteral("Сообщение %1").arg(i)},
                                      {"type", "text"}}}}}};
        const Stopwatch watch;
        listView.watch = &watch;
        chats->update(patch);
    }
    const int changesSeen = int(chatChange.wall.size());

    // The visitors page.
    visitors->initialize(mapped.visitors);
    VisitorsOnlineController page;
    VisitorsView pageView;
    page.installView(&pageView);
    QObject::connect(visitors,
                     &VisitorsRepository::visitorUpdated,
                     &page,
                     &VisitorsOnlineController::onVisitorChanged);
    Samples categorySwitch, widgetSwitch, visitorChange;
    const QList<qint64> widgets = generator.widgets();
    for (int round = 0; round <= rounds; ++round) {
        for (int category : {1, 2, 0}) {
            const Stopwatch watch;
            page.onCategoryChanged(category);
            if (round > 0)
                categorySwitch.add(watch, 1e6);
        }
        for (int i = 0; i <= widgets.size(); ++i) {
            const Stopwatch watch;
            page.onWidgetChanged(int(i < widgets.size() ? widgets.at(i) : 0));
            if (round > 0)
                widgetSwitch.add(watch, 1e6);
        }
    }
    const int visitorRows = pageView.rows;
    const QStringList visitorKeys = mapped.visitors.keys();
    pageView.samples = &visitorChange;
    for (int i = 0; i < changes; ++i) {
        const QString key = visitorKeys.at(int(random.bounded(visitorKeys.size())));
        const QJsonObject change{
            {key,
             QJsonObject{{"said", i % 2 == 0},
                         {"currentUrl", QStringLiteral("https://shop.example/p/%1").arg(i)}}}};
        const Stopwatch watch;
        pageView.watch = &watch;
        visitors->update(change);
    }

    out << "profile " << profile->name << ": " << chats->getChats().size() << " chats, "
        << visitors->getVisitors().size() << " visitors\n";
    const char *names[3] = {"own", "others'", "missed"};
    for (int mode = 0; mode < 3; ++mode)
        out << "list fill, " << names[mode] << " (" << sizes[mode]
            << " rows) ms: " << medianText(fills[mode]) << "\n";
    out << "list fill, every chat own (" << ownRows << " rows) ms: " << medianText(ownFill)
        << " (limit 20)\n";
    out << "chat change to updateChat (" << changesSeen << " of " << changes
        << ") us: " << medianP99Text(chatChange) << " (limit 1000 at p99)\n";
    out << "visitors page (" << visitorRows << " rows of " << pageView.counted
        << " counted): category switch ms " << medianText(categorySwitch) << ", widget switch ms "
        << medianText(widgetSwitch) << " (limit 50)\n";
    out << "visitor change to its row us: " << medianP99Text(visitorChange)
        << " (limit 500 median)\n";

    const bool met = percentile(ownFill.cpu, 50) < 20 && percentile(chatChange.cpu, 99) < 1000
                     && percentile(categorySwitch.cpu, 50) < 50
                     && percentile(widgetSwitch.cpu, 50) < 50
                     && percentile(visitorChange.cpu, 50) < 500 && changesSeen == changes;
    out << (met ? "limits met\n" : "LIMITS MISSED\n");
    return met ? 0 : 1;
}

#include "bench_controllers.moc"
