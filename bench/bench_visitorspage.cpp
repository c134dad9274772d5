// The visitors page on a whole account, shown on the offscreen platform with the console's
// style: the first fill, a category switch and a widget switch, each to its repainted screen,
// one visitor change from VisitorsRepository::update to its repainted row, and the page's
// memory.
//
//   bench_visitorspage [small|large] [--rounds N] [--changes N]
//
// Limits (large profile, thread CPU time, medians): a category or widget switch under 50 ms, a
// visitor change under 0.5 ms. With TALLYRA_GRAB_DIR set, the page is saved there as a picture.
#include "app/appfonts.h"
#include "benchsupport.h"
#include "controller/visitorsonlinecontroller.h"
#include "records/apichatsettings.h"
#include "repo/authsession.h"
#include "repo/chatsrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"
#include "snapshotgenerator.h"
#include "ui/visitorsonlinewidget.h"
#include "ui/visitorstablemodel.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QRandomGenerator>
#include <QTableView>
#include <QTextStream>

namespace {

// Counts the paints of the table, so that a measure is known to include its repaint.
class PaintCounter : public QObject
{
public:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            ++paints;
        return false;
    }
    int paints = 0;
};

void quiet(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    // The offscreen platform's note on every resize of the widget selector says nothing here.
    if (type != QtDebugMsg && !message.contains(QLatin1String("propagateSizeHints")))
        fprintf(stderr, "%s\n", qPrintable(message));
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QTextStream out(stdout);
    qInstallMessageHandler(quiet);
    ListBenchOptions options{1, 15, 2000};
    if (!parseListBenchOptions(app.arguments(), "bench_visitorspage", &options, out))
        return 2;
    const Profile *profile = &Profiles[options.profile];
    const int rounds = options.rounds;
    const int changes = options.changes;
    AppFonts::addResourceFonts();
    AppFonts::installSubstitutions();
    QFile style(QStringLiteral(":/resources/styles/style.css"));
    if (style.open(QIODevice::ReadOnly))
        app.setStyleSheet(QString::fromUtf8(style.readAll()));

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
    VisitorsRepository *visitors = VisitorsRepository::getInstance();
    AuthSession *session = AuthSession::getInstance();
    users->setUserKeys(JsonParser::getUserKeysFromJson(keysEvent.getData().value("d").toObject()));
    const Mapped mapped = map(usersEvent, chatsEvent, visitorsEvent);
    users->initUsers(mapped.users);
    ChatsRepository::getInstance()->initChats(mapped.chats);
    session->setUserId(generator.operatorKeys().first());
    // The operator on every widget, as an account's manager is.
    UserInfo profileInfo;
    profileInfo.setId(1000);
    session->setuserInfo(profileInfo);
    ApiChatSettings settings;
    QList<ApiUserToSite> assignments;
    QList<ApiChatHistoryWidget> choices;
    for (qint64 widget : generator.widgets()) {
        ApiUserToSite assignment;
        assignment.setChatWidgetId(quint64(widget));
        assignment.setUserId(1000);
        assignments.append(assignment);
        ApiChatHistoryWidget choice;
        choice.setId(widget);
        choice.setName(QStringLiteral("shop.example - %1").arg(widget));
        choices.append(choice);
    }
    settings.addUserToSites(QStringLiteral("1"), assignments);
    session->setSettings(settings);
    visitors->initialize(mapped.visitors);

    const qint64 heapBefore = heapInUse();
    VisitorsOnlineController controller;
    auto *page = new VisitorsOnlineWidget;
    // Shown before it is installed: its first show asks the service for the widgets, and the
    // benchmark has no service; they are handed over below.
    page->resize(1440, 900);
    page->show();
    controller.installView(page);
    QObject::connect(visitors,
                     &VisitorsRepository::visitorUpdated,
                     &controller,
                     &VisitorsOnlineController::onVisitorChanged);
    page->setWidgets(choices);
    QApplication::processEvents();
    auto *table = page->findChild<QTableView *>(QStringLiteral("tableView_visitorsOnline_list"));
    PaintCounter painted;
    table->viewport()->installEventFilter(&painted);

    Samples fill, categorySwitch, widgetSwitch, visitorChange;
    for (int round = 0; round <= rounds; ++round) {
        const Stopwatch watch;
        controller.onVisitorsInitialized();
        QApplication::processEvents();
        if (round > 0)
            fill.add(watch, 1e6);
    }
    const int rows = page->model()->rowCount();
    const qint64 pageBytes = heapInUse() - heapBefore;

    QList<QPushButton *> categories;
    for (const char *name : {"pushButton_visitorsOnline_said",
                             "pushButton_visitorsOnline_notSaid",
                             "pushButton_visitorsOnline_all"})
        categories << page->findChild<QPushButton *>(QLatin1String(name));
    auto *widgetChoice = page->findChild<QComboBox *>(
        QStringLiteral("comboBox_visitorsOnline_widget"));
    int paintsBefore = painted.paints;
    for (int round = 0; round <= rounds; ++round) {
        for (QPushButton *button : qAsConst(categories)) {
            const Stopwatch watch;
            button->click();
            QApplication::processEvents();
            if (round > 0)
                categorySwitch.add(watch, 1e6);
        }
        for (int i = 1; i <= widgetChoice->count(); ++i) {
            const Stopwatch watch;
            widgetChoice->setCurrentIndex(i % widgetChoice->count());
            QApplication::processEvents();
            if (round > 0)
                widgetSwitch.add(watch, 1e6);
        }
    }
    const bool switchesPainted = painted.paints - paintsBefore
                                 >= (rounds + 1) * (categories.size() + widgetChoice->count());

    // Changes to the visitors on the screen, each to its repainted row.
    QStringList shown;
    for (int row = 0; row < rows; ++row) {
        if (table->visualRect(page->model()->index(row, 0)).intersects(table->viewport()->rect()))
            shown << page->model()->index(row, 0).data(VisitorsTableModel::VisitorIdRole).toString();
    }
    QRandomGenerator random(7);
    int repainted = 0;
    for (int i = 0; i < changes; ++i) {
        const QString key = shown.at(int(random.bounded(shown.size())));
        const QJsonObject change{
            {key,
             QJsonObject{{"hits", i % 30 + 1},
                         {"currentUrl", QStringLiteral("https://shop.example/p/%1").arg(i)}}}};
        const int before = painted.paints;
        const Stopwatch watch;
        visitors->update(change);
        QApplication::processEvents();
        visitorChange.add(watch, 1e3);
        repainted += painted.paints > before;
    }

    const QString grabDir = qEnvironmentVariable("TALLYRA_GRAB_DIR");
    if (!grabDir.isEmpty()) {
        QDir().mkpath(grabDir);
        page->grab().save(grabDir + QStringLiteral("/visitors-large.png"));
    }

    out << "profile " << profile->name << ": " << visitors->getVisitors().size() << " visitors, "
        << rows << " rows, " << shown.size() << " on the screen\n";
    out << "first fill ms: " << medianP99Text(fill) << "\n";
    out << "category switch ms: " << medianP99Text(categorySwitch) << " (limit 50)\n";
    out << "widget switch ms: " << medianP99Text(widgetSwitch) << " (limit 50)\n";
    out << "visitor change to its repainted row us: " << medianP99Text(visitorChange)
        << " (limit 500 median; " << repainted << " of " << changes << " repainted)\n";
    out << "page memory MB: " << QString::number(pageBytes / 1048576.0, 'f', 1) << "\n";

    const bool met = percentile(categorySwitch.cpu, 50) < 50
                     && percentile(widgetSwitch.cpu, 50) < 50
                     && percentile(visitorChange.cpu, 50) < 500 && repainted == changes
                     && switchesPainted;
    out << (met ? "limits met\n" : "LIMITS MISSED\n");
    delete page;
    return met ? 0 : 1;
}
