// The visitors, history and offline-request pages, driven as an operator drives them, with the
// real controllers on the demo account: what each page asks the service for and what it shows
// of the answer. With TALLYRA_GRAB_DIR set, screenshots() saves a picture of every page there.
#include "demoaccount.h"

#include "app/appfonts.h"
#include "controller/chatcontroller.h"
#include "controller/chathistorycontroller.h"
#include "controller/chathistorymessagescontroller.h"
#include "controller/offlinemessagescontroller.h"
#include "controller/visitorsonlinecontroller.h"
#include "local/faultinjector.h"
#include "repo/authsession.h"
#include "repo/chatsrepository.h"
#include "repo/visitorsrepository.h"
#include "ui/chathistorymessageswidget.h"
#include "ui/chathistorywidget.h"
#include "ui/offlinemessageswidget.h"
#include "ui/visitorsonlinewidget.h"
#include "ui/visitorstabledelegate.h"
#include "ui/visitorstablemodel.h"
#include "util/jsonparser.h"

#include <QComboBox>
#include <QDateEdit>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTableView>
#include <QTableWidget>
#include <QtTest>

const QString kShopChat = QStringLiteral("-DemoChat0001shop");
const QString kElena = QStringLiteral("-DemoVisElena0001");

// The visitors page wired to the repositories as the console wires it.
struct VisitorsPage
{
    VisitorsPage()
    {
        controller.installView(&widget);
        VisitorsRepository *visitors = VisitorsRepository::getInstance();
        QObject::connect(visitors,
                         &VisitorsRepository::visitorUpdated,
                         &controller,
                         &VisitorsOnlineController::onVisitorChanged);
        QObject::connect(visitors,
                         &VisitorsRepository::visitorAdded,
                         &controller,
                         &VisitorsOnlineController::onVisitorAdded);
        QObject::connect(visitors,
                         &VisitorsRepository::visitorRemoved,
                         &controller,
                         &VisitorsOnlineController::onVisitorRemoved);
        widget.resize(1180, 700);
        widget.show();
        controller.onVisitorsInitialized();
    }
    template<typename T>
    T *child(const char *name) const
    {
        return widget.findChild<T *>(QLatin1String(name));
    }
    QTableView *table() const { return child<QTableView>("tableView_visitorsOnline_list"); }
    QStringList captions() const
    {
        QStringList texts;
        for (const char *name : {"pushButton_visitorsOnline_all",
                                 "pushButton_visitorsOnline_said",
                                 "pushButton_visitorsOnline_notSaid"})
            texts << child<QPushButton>(name)->text();
        return texts;
    }
    QSet<QString> shownIds() const
    {
        QSet<QString> ids;
        for (int row = 0; row < widget.model()->rowCount(); ++row)
            ids << widget.model()->index(row, 0).data(VisitorsTableModel::VisitorIdRole).toString();
        return ids;
    }
    void clickWrite(const QString &visitorId)
    {
        const QModelIndex index = widget.model()->index(widget.model()->rowOf(visitorId),
                                                        VisitorsTableModel::ActionColumn);
        table()->scrollTo(index);
        const QRect button = VisitorsTableDelegate::buttonRect(table()->visualRect(index));
        QTest::mouseClick(table()->viewport(), Qt::LeftButton, {}, button.center());
    }

    VisitorsOnlineController controller;
    VisitorsOnlineWidget widget;
};

class TestPages : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qRegisterMetaType<HistoryFilter>();
        AppFonts::addResourceFonts();
        AppFonts::installSubstitutions();
        QFile style(QStringLiteral(":/resources/styles/style.css"));
        QVERIFY(style.open(QIODevice::ReadOnly));
        qApp->setStyleSheet(QString::fromUtf8(style.readAll()));
        QVERIFY(m_demo.start(this));
        QVERIFY(m_demo.signIn());
    }

    void visitorsFollowSwitches_data()
    {
        QTest::addColumn<int>("widget");
        QTest::addColumn<int>("category");
        for (int widget : {0, 601, 603}) {
            for (int category : {0, 1, 2})
                QTest::addRow("widget %d category %d", widget, category) << widget << category;
        }
    }

    void visitorsFollowSwitches()
    {
        QFETCH(int, widget);
        QFETCH(int, category);
        VisitorsPage page;
        QComboBox *widgets = page.child<QComboBox>("comboBox_visitorsOnline_widget");
        QCOMPARE(widgets->itemText(0), "Все виджеты");
        QVERIFY(waitUntil([&] { return widgets->findData(qint64(widget)) >= 0; }, 20000));
        widgets->setCurrentIndex(widgets->findData(qint64(widget)));
        const char *buttons[] = {"pushButton_visitorsOnline_all",
                                 "pushButton_visitorsOnline_said",
                                 "pushButton_visitorsOnline_notSaid"};
        QTest::mouseClick(page.child<QPushButton>(buttons[category]), Qt::LeftButton);

        // What the rule gives, counted afresh over the repository's visitors.
        QSet<QString> shown;
        int counts[3] = {0, 0, 0};
        const QList<qint64> mine = widget ? QList<qint64>{widget}
                                          : AuthSession::getInstance()->getWidgetList();
        const auto visitors = VisitorsRepository::getInstance()->getVisitors();
        for (const FirebaseVisitor &visitor : visitors) {
            if (!mine.contains(visitor.getChatWidgetId()))
                continue;
            ++counts[0];
            ++counts[visitor.getSaid() ? 1 : 2];
            if (category == 0 || visitor.getSaid() == (category == 1))
                shown.insert(visitor.getId());
        }
        QCOMPARE(page.captions(),
                 (QStringList{QString("Все посетители  %1").arg(counts[0]),
                              QString("С кем общались  %1").arg(counts[1]),
                              QString("Еще не общались  %1").arg(counts[2])}));
        QCOMPARE(page.shownIds(), shown);
        QVERIFY(counts[0] > 0);
        const auto *stack = page.child<QStackedWidget>("stackedWidget_visitorsOnline");
        QCOMPARE(stack->currentIndex() == 0, !shown.isEmpty());
    }

    void visitorsKeepPlaceAndCount()
    {
        VisitorsPage page;
        page.widget.resize(1180, 260);
        QTest::mouseClick(page.child<QPushButton>("pushButton_visitorsOnline_notSaid"),
                          Qt::LeftButton);
        QVERIFY(page.widget.model()->rowCount() > 3);
        const auto idAt = [&](int row) {
            return page.widget.model()
                ->index(row, 0)
                .data(VisitorsTableModel::VisitorIdRole)
                .toString();
        };
        const QString chosen = idAt(page.widget.model()->rowCount() - 1);
        const QString talker = idAt(0);
        const QString browser = idAt(1);
        page.table()->selectRow(page.widget.model()->rowCount() - 1);
        page.table()->scrollToBottom();
        QScrollBar *scroll = page.table()->verticalScrollBar();
        QVERIFY(scroll->value() > 0);
        const int place = scroll->value();
        const QStringList before = page.captions();

        // One who starts talking leaves "not yet" but stays counted; one who browses moves on.
        QVERIFY(m_demo.write("PUT", "visitors/" + talker + "/said", "true"));
        QVERIFY(m_demo.write("PUT",
                             "visitors/" + browser + "/currentUrl",
                             "'https://shop.demo.tallyra.local/cart'"));
        QVERIFY(waitUntil([&] { return !page.shownIds().contains(talker); }, 20000));
        QVERIFY(waitUntil(
            [&] {
                const int row = page.widget.model()->rowOf(browser);
                return page.widget.model()
                           ->index(row, VisitorsTableModel::PageColumn)
                           .data()
                           .toString()
                       == "shop.demo.tallyra.local/cart";
            },
            20000));
        const auto number = [](const QString &caption) { return caption.section(' ', -1).toInt(); };
        QCOMPARE(number(page.captions()[0]), number(before[0]));
        QCOMPARE(number(page.captions()[1]), number(before[1]) + 1);
        QCOMPARE(number(page.captions()[2]), number(before[2]) - 1);
        QCOMPARE(page.table()
                     ->selectionModel()
                     ->selectedRows()
                     .value(0)
                     .data(VisitorsTableModel::VisitorIdRole)
                     .toString(),
                 chosen);
        // The row above the view went, so the same rows sit one row higher.
        QCOMPARE(scroll->value(), qMin(place, scroll->maximum()));
    }

    void visitorsWrite()
    {
        VisitorsPage page;
        QSignalSpy opened(&page.controller, &VisitorsOnlineController::openChat);
        // A chat in work opens at once: no request goes out.
        page.clickWrite(kElena);
        QCOMPARE(opened.size(), 1);
        QCOMPARE(opened.value(0).value(0).toString(), kShopChat);

        // Otherwise the service starts a chat, which then opens.
        QTest::mouseClick(page.child<QPushButton>("pushButton_visitorsOnline_notSaid"),
                          Qt::LeftButton);
        QString quiet;
        for (const QString &id : page.shownIds()) {
            if (VisitorsRepository::getInstance()->getVisitorById(id).getChatKey().isEmpty())
                quiet = id;
        }
        QVERIFY(!quiet.isEmpty());
        page.clickWrite(quiet);
        QVERIFY(waitUntil([&] { return opened.size() == 2; }, 20000));
        QVERIFY(waitUntil(
            [&] {
                return ChatsRepository::getInstance()
                           ->getChatById(opened.value(1).value(0).toString())
                           .getVisitor()
                       == quiet;
            },
            20000));
    }

    void historyShowsWhatItAsks_data()
    {
        QTest::addColumn<QStringList>("row");
        // period | widget | status | operator | page
        addRow("month", "month|0||0|1");
        addRow("next page", "month|0||0|2");
        addRow("widget", "month|601||0|1");
        addRow("lost", "month|0|lost|0|1");
        addRow("completed", "month|0|completed|0|1");
        addRow("operator", "month|0||1001|1");
        addRow("range", "range|0||0|1");
    }

    void historyShowsWhatItAsks()
    {
        QFETCH(QStringList, row);
        ChatHistoryController history;
        ChatHistoryMessagesController dialog;
        ChatHistoryWidget page;
        history.installView(&page);
        history.setPageSize(3);
        page.resize(1180, 700);
        page.show();

        HistoryFilter expected;
        if (row[0] == "month") {
            QTest::mouseClick(page.findChild<QPushButton *>("pushButton_historyPeriod_month"),
                              Qt::LeftButton);
            expected.period = HistoryFilter::Month;
        } else {
            expected.period = HistoryFilter::Range;
            expected.start = QDate::currentDate().addDays(-20);
            expected.end = QDate::currentDate().addDays(-2);
            page.findChild<QDateEdit *>("dateEdit_historyPeriod_end")->setDate(expected.end);
            page.findChild<QDateEdit *>("dateEdit_historyPeriod_start")->setDate(expected.start);
        }
        expected.widgetId = row[1].toLongLong();
        expected.status = row[2];
        expected.operatorId = row[3].toLongLong();
        const auto choose = [&](const char *name, const QVariant &value) {
            auto *combo = page.findChild<QComboBox *>(name);
            combo->setCurrentIndex(combo->findData(value));
        };
        choose("comboBox_chatHistory_widget", expected.widgetId);
        choose("comboBox_chatHistory_status", expected.status);
        choose("comboBox_chatHistory_operator", expected.operatorId);
        QCOMPARE(history.filter(), expected);
        const int pageNumber = row[4].toInt();
        if (pageNumber == 2) {
            QVERIFY(waitUntil(
                [&] { return label(page, "label_chatHistory_page").startsWith("Страница 1 из"); },
                20000));
            QTest::mouseClick(page.findChild<QPushButton *>("pushButton_chatHistory_next"),
                              Qt::LeftButton);
        }
        QCOMPARE(history.page(), pageNumber);

        // The same search asked for independently: the page shows its answer.
        const QJsonObject answer = get("/api/chat/client/history?"
                                       + expected.query(pageNumber, 3).toString(QUrl::FullyEncoded));
        const ApiChatHistory truth = JsonParser::getApiChatHistoryFromJson(answer);
        QList<qint64> ids;
        for (const FirebaseChat &chat : truth.getChats())
            ids << chat.getApiId();
        QVERIFY(!ids.isEmpty());
        QVERIFY(waitUntil([&] { return shownChats(page) == ids; }, 20000));
        QCOMPARE(label(page, "label_chatHistory_statAll"),
                 QString("Всего: %1").arg(truth.getStat().getAll()));
        QCOMPARE(label(page, "label_chatHistory_statLost"),
                 QString("Потерянных: %1").arg(truth.getStat().getLost()));
        QCOMPARE(label(page, "label_chatHistory_page"),
                 QString("Страница %1 из %2").arg(pageNumber).arg(HistoryFilter::pageCount(answer)));
    }

    void historyDialogAndRetry()
    {
        ChatHistoryController history;
        ChatHistoryMessagesController dialog;
        ChatHistoryWidget page;
        history.installView(&page);
        dialog.installView(page.messagesWidget());
        connect(&history,
                &ChatHistoryController::loadChat,
                &dialog,
                &ChatHistoryMessagesController::loadChat);
        page.resize(1180, 700);
        // A failed search says so and offers to repeat it; a redirect is no answer either.
        FaultInjector *faults = m_demo.local.service()->faults();
        faults->setPathFailure("/api/chat/client/history", 300);
        page.show();
        QTest::mouseClick(page.findChild<QPushButton *>("pushButton_historyPeriod_month"),
                          Qt::LeftButton);
        auto *retry = page.findChild<QPushButton *>("pushButton_chatHistory_retry");
        QVERIFY(waitUntil([&] { return retry->isVisible(); }, 20000));
        QVERIFY(!label(page, "label_chatHistory_state").isEmpty());
        faults->clearPathFailures();
        QTest::mouseClick(retry, Qt::LeftButton);
        QVERIFY(waitUntil([&] { return !shownChats(page).isEmpty(); }, 20000));

        // A chosen dialog shows its messages in order, and the visit it came from.
        auto *table = page.findChild<QTableWidget *>("tableWidget_chatHistory_list");
        const int longest = longestDialog(page);
        QTest::mouseClick(table->viewport(),
                          Qt::LeftButton,
                          {},
                          table->visualItemRect(table->item(longest, 0)).center());
        const qint64 apiId = shownChats(page).at(longest);
        QCOMPARE(dialog.chatApiId(), apiId);
        const ApiChatHistoryMesssages truth = JsonParser::getApiChatHistoryMessages(
            get(QString("/api/chat/client/history/info/%1").arg(apiId)));
        QVERIFY(waitUntil([&] { return !page.messagesWidget()->messagesText().isEmpty(); }, 20000));
        const QString shown = page.messagesWidget()->messagesText();
        int at = 0;
        int texts = 0;
        for (const FirebaseChatMessage &message :
             ChatController::sortMessages(truth.getMessages())) {
            if (message.getType() != "text" || message.getText().isEmpty())
                continue;
            // Emoji show as pictures: the text up to the first one.
            QString line = message.getText().section('\n', 0, 0);
            for (int i = 0; i < line.size(); ++i) {
                if (line.at(i).isSurrogate())
                    line.truncate(i);
            }
            const int found = shown.indexOf(line.trimmed(), at);
            QVERIFY2(found >= at, qPrintable(message.getText()));
            at = found;
            ++texts;
        }
        QVERIFY(texts > 0);
        QCOMPARE(label(*page.messagesWidget(), "label_chatHistoryMessages_name").isEmpty(), false);
    }

    void offlineExport()
    {
        OfflineMessagesController offline;
        OfflineMessagesWidget page;
        offline.installView(&page);
        page.resize(1180, 700);
        page.show();
        QTest::mouseClick(page.findChild<QPushButton *>("pushButton_historyPeriod_month"),
                          Qt::LeftButton);
        auto *table = page.findChild<QTableWidget *>("tableWidget_offlineMessages_list");
        QVERIFY(waitUntil([&] { return table->rowCount() > 0; }, 20000));
        const int total = label(page, "label_offlineMessages_total").section(' ', -1).toInt();
        QCOMPARE(table->rowCount(), qMin(total, int(OfflineMessagesController::PageSize)));

        // The service fails the first time: the page says so, and "Повторить" saves the file.
        QTemporaryDir dir;
        const QString path = dir.filePath("Заявки.csv");
        FaultInjector *faults = m_demo.local.service()->faults();
        faults->setPathFailure("/api/chat/client/offline_messages/export", 500);
        QTest::mouseClick(page.findChild<QPushButton *>("pushButton_offlineMessages_export"),
                          Qt::LeftButton);
        auto *chooser = page.findChild<QFileDialog *>();
        QVERIFY(chooser && chooser->isVisible());
        chooser->selectFile(path);
        static_cast<QDialog *>(chooser)->accept();
        auto *result = page.findChild<QFrame *>("frame_offlineMessages_export")
                           ->findChild<QLabel *>();
        auto *retry = page.findChild<QPushButton *>("pushButton_offlineMessages_exportRetry");
        QVERIFY(waitUntil([&] { return retry->isVisible(); }, 20000));
        QCOMPARE(result->text(), "Не удалось сохранить заявки");
        QVERIFY(!QFile::exists(path));
        faults->clearPathFailures();
        QTest::mouseClick(retry, Qt::LeftButton);
        QVERIFY(waitUntil([&] { return result->text().startsWith("Заявки сохранены"); }, 20000));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(file.readAll()).trimmed().count('\n'), total);
        QVERIFY(page.findChild<QPushButton *>("pushButton_offlineMessages_export")->isEnabled());
    }

    void screenshots()
    {
        const QString dir = qEnvironmentVariable("TALLYRA_GRAB_DIR");
        if (dir.isEmpty())
            QSKIP("TALLYRA_GRAB_DIR is not set");
        QDir().mkpath(dir);
        VisitorsPage visitors;
        visitors.widget.resize(1180, 760);
        QVERIFY(waitUntil(
            [&] { return visitors.child<QComboBox>("comboBox_visitorsOnline_widget")->count() > 1; },
            20000));
        QVERIFY(visitors.widget.grab().save(dir + "/visitors.png"));

        ChatHistoryController history;
        ChatHistoryMessagesController dialog;
        ChatHistoryWidget historyPage;
        history.installView(&historyPage);
        dialog.installView(historyPage.messagesWidget());
        connect(&history,
                &ChatHistoryController::loadChat,
                &dialog,
                &ChatHistoryMessagesController::loadChat);
        historyPage.resize(1400, 860);
        historyPage.show();
        QTest::mouseClick(historyPage.findChild<QPushButton *>("pushButton_historyPeriod_month"),
                          Qt::LeftButton);
        QVERIFY(waitUntil([&] { return shownChats(historyPage).size() > 1; }, 20000));
        historyPage.findChild<QTableWidget *>("tableWidget_chatHistory_list")
            ->selectRow(longestDialog(historyPage));
        QVERIFY(waitUntil([&] { return !historyPage.messagesWidget()->messagesText().isEmpty(); },
                          20000));
        QVERIFY(historyPage.grab().save(dir + "/history.png"));
        m_demo.local.service()->faults()->setPathFailure("/api/chat/client/history", 500);
        QTest::mouseClick(historyPage.findChild<QPushButton *>("pushButton_historyPeriod_week"),
                          Qt::LeftButton);
        QVERIFY(waitUntil([&] { return shownChats(historyPage).isEmpty(); }, 20000));
        m_demo.local.service()->faults()->clearPathFailures();
        QVERIFY(historyPage.grab().save(dir + "/history-failed.png"));

        OfflineMessagesController offline;
        OfflineMessagesWidget offlinePage;
        offline.installView(&offlinePage);
        offlinePage.resize(1180, 760);
        offlinePage.show();
        QTest::mouseClick(offlinePage.findChild<QPushButton *>("pushButton_historyPeriod_month"),
                          Qt::LeftButton);
        QVERIFY(waitUntil([&] { return offlinePage.findChild<QTableWidget *>()->rowCount() > 0; },
                          20000));
        QVERIFY(offlinePage.grab().save(dir + "/offline.png"));
    }

private:
    static QString label(const QWidget &page, const char *name)
    {
        return page.findChild<QLabel *>(QLatin1String(name))->text();
    }
    // The row of the dialog with the most messages.
    static int longestDialog(const ChatHistoryWidget &page)
    {
        const auto *table = page.findChild<QTableWidget *>("tableWidget_chatHistory_list");
        int longest = 0;
        for (int row = 1; row < table->rowCount(); ++row) {
            if (table->item(row, 5)->text().toInt() > table->item(longest, 5)->text().toInt())
                longest = row;
        }
        return longest;
    }
    static QList<qint64> shownChats(const ChatHistoryWidget &page)
    {
        const auto *table = page.findChild<QTableWidget *>("tableWidget_chatHistory_list");
        QList<qint64> ids;
        for (int row = 0; row < table->rowCount(); ++row)
            ids << table->item(row, 0)->data(Qt::UserRole).toLongLong();
        return ids;
    }
    QJsonObject get(const QString &pathAndQuery)
    {
        QNetworkReply *reply = m_demo.manager->sendApiRequestAsync(NetworkManager::Get,
                                                                   pathAndQuery);
        waitUntil([&] { return reply->isFinished(); }, 20000);
        return m_demo.manager->parseReply(reply);
    }

    DemoAccount m_demo;
};

QTEST_MAIN(TestPages)
#include "tst_pages.moc"
