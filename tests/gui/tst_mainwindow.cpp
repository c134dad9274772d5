// The main window and the conversations page through the real widgets, offscreen: the tray and
// closing, width states, the sign-in form, the title while disconnected, the categories, and
// the conversation list's rows, search and order on repositories filled from records.
#include "records/firebasechat.h"
#include "repo/authsession.h"
#include "repo/chatsrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"
#include "ui/conversationlistmodel.h"
#include "ui/conversationlistwidget.h"
#include "ui/franchiseitemwidget.h"
#include "ui/mainwindow.h"
#include "ui/openchatsstrip.h"
#include "util/jsonparser.h"

#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QPushButton>
#include <QSystemTrayIcon>
#include <QtTest>

namespace {

const QString kMe = QStringLiteral("-Op1");
const QString kColleague = QStringLiteral("-Op2");
const QString kVisitor = QStringLiteral("-Vis1");

FirebaseChat chatFrom(const QString &id, const QString &json)
{
    FirebaseChat chat = JsonParser::getFirebaseChatFromJson(
        QJsonDocument::fromJson(QString(json).replace('\'', '"').toUtf8()).object());
    chat.setId(id);
    return chat;
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UsersRepository::init(this);
        ChatsRepository::init(this);
        VisitorsRepository::init(this);
        AuthSession::init(this);
        QList<FirebaseUser> users;
        const auto user = [&](const QString &id, const QString &json) {
            FirebaseUser u = JsonParser::getFirebaseUserFromJson(
                QJsonDocument::fromJson(QString(json).replace('\'', '"').toUtf8()).object());
            u.setId(id);
            users << u;
        };
        user(kMe,
             "{'name':'Ольга Смирнова','role':'operator','online':true,"
             "'aliases':{'7':{'name':'Ольга'}}}");
        user(kColleague,
             "{'name':'Ирина Котова','role':'operator','online':true,"
             "'aliases':{'7':{'name':'Ирина'}}}");
        user(kVisitor, "{'name':'Елена','role':'visitor','online':true}");
        UsersRepository::getInstance()->initUsers(users);
        AuthSession::getInstance()->setUserId(kMe);
    }

    void closingLeavesTheConsoleInTheTray()
    {
        MainWindow window;
        QSignalSpy online(&window, &MainWindow::userOnline);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        window.close();
        QVERIFY(!window.isVisible());
        QCOMPARE(online.size(), 0);
        // A right click on the tray icon does not raise the window; a click does.
        emit window.trayIcon()->activated(QSystemTrayIcon::Context);
        QVERIFY(!window.isVisible());
        emit window.trayIcon()->activated(QSystemTrayIcon::Trigger);
        QVERIFY(window.isVisible());
        // The tray menu in its order; the statuses and sign-out wait for the users.
        QStringList texts;
        for (QAction *action : window.trayMenu()->actions())
            texts << (action->isSeparator() ? QString("|")
                                            : action->text() + (action->isEnabled() ? "" : "*"));
        QCOMPARE(texts.join(','), "В сети*,Нет на месте*,|,Выйти*,Закрыть приложение");
        QVERIFY(window.trayMenu()->windowFlags() & Qt::FramelessWindowHint);
        window.onUsersInitialized();
        QVERIFY(window.trayMenu()->actions().at(0)->isEnabled());
        QVERIFY(window.trayMenu()->actions().at(0)->isChecked()); // she is online
        // Only quitting closes, and it reports the operator offline first.
        window.trayMenu()->actions().last()->trigger();
        QCOMPARE(online.size(), 1);
        QCOMPARE(online.first().first().toBool(), false);
        QVERIFY(!window.isVisible());
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void modalDialogsDarkenTheWindow()
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        auto *inner = new QWidget(&window);
        auto *first = new QDialog(inner);
        first->open();
        QVERIFY(window.blackout());
        // A second dialog over the first: the window stays dark until both are gone.
        auto *second = new QDialog(first);
        second->open();
        second->close();
        QVERIFY(window.blackout());
        delete first; // deleted while open, with the one it opened
        QVERIFY(!window.blackout());
        // Other windows' dialogs and modeless ones leave it alone.
        QDialog modeless(&window);
        modeless.show();
        QDialog elsewhere;
        elsewhere.open();
        QVERIFY(!window.blackout());
    }

    void widthStates_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("menu");
        for (const auto &row : {std::array<int, 3>{954, 4, 60},
                                {955, 1, 60},
                                {1099, 1, 60},
                                {1100, 2, 260},
                                {1600, 2, 260},
                                {1601, 3, 260}})
            QTest::addRow("%d", row[0]) << row[0] << row[1] << row[2];
    }

    void widthStates()
    {
        QFETCH(int, width);
        QFETCH(int, state);
        QFETCH(int, menu);
        MainWindow window;
        window.showMainPage();
        window.resize(width, 800);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.sizeState(), state);
        QCOMPARE(window.findChild<QWidget *>("frame_sideMenu")->width(), menu);
        QCOMPARE(window.findChild<QPushButton *>("menuItem_chat")->text().isEmpty(), menu == 60);
        // The vertical strip only in the widest window.
        QCOMPARE(window.verticalOpenChats()->isVisibleTo(&window), state == 3);
        // Below 955 the chat takes the list's place, with a way back.
        window.showChatPage();
        QCOMPARE(window.conversationList()->isVisibleTo(&window), state != 4);
        QCOMPARE(window.findChild<QPushButton *>("pushButton_chat_back")->isVisibleTo(&window),
                 state == 4);
    }

    void signInForm()
    {
        MainWindow window;
        QSignalSpy signIn(&window, &MainWindow::authenticate);
        window.setLogin("olga@demo");
        window.showLoginForm();
        // The fields go by the names the style keys on, which follow their state.
        QLineEdit *password = nullptr;
        for (QLineEdit *field : window.findChildren<QLineEdit *>("lineEdit_normal")) {
            if (field->echoMode() == QLineEdit::Password)
                password = field;
        }
        QVERIFY(password);
        auto *button = window.findChild<QPushButton *>("pushButton_login");
        QTest::keyClicks(password, "secret");
        QTest::keyClick(password, Qt::Key_Return);
        QCOMPARE(signIn.value(0), (QVariantList{"olga@demo", "secret", false}));
        window.setButtonWaiter();
        QVERIFY(!button->isEnabled());
        QCOMPARE(button->text(), "Пожалуйста, подождите...");

        window.setAuthenticateError("Неверный пароль", false, true);
        QCOMPARE(password->objectName(), "lineEdit_error");
        QCOMPARE(window.findChild<QLineEdit *>("lineEdit_normal")->text(), "olga@demo");
        QCOMPARE(window.findChild<QLabel *>("label_login_error")->text(), "Неверный пароль");
        window.showLoginForm();
        QVERIFY(button->isEnabled());
        QCOMPARE(button->text(), "Войти");
        window.clearErrors();
        QCOMPARE(window.findChildren<QLineEdit *>("lineEdit_normal").size(), 2);

        // The service choice, and back.
        QSignalSpy chosen(&window, &MainWindow::franchiseSelect);
        FranchiseItem shop, partners;
        shop.setId(1);
        shop.setName("Магазин");
        partners.setId(2);
        partners.setName("Партнёры");
        window.showFranchiseSelection({shop, partners});
        const auto rows = window.findChildren<FranchiseItemWidget *>();
        QCOMPARE(rows.size(), 2);
        QTest::mouseClick(rows.last(), Qt::LeftButton);
        QCOMPARE(chosen.value(0).value(0).toInt(), 2);
        window.clearFranchiseList();
        QVERIFY(window.findChildren<FranchiseItemWidget *>().isEmpty());
    }

    // The sign-in form's first frame comes before the main page is built; the page is built
    // once, then or at the first call that needs it, with what was set before it existed.
    void mainPageAfterFirstFrame()
    {
        MainWindow window;
        QSignalSpy created(&window, &MainWindow::mainPageCreated);
        window.onConnectionChanged(false);
        QVERIFY(!window.hasMainPage());
        window.show();
        QTRY_COMPARE(created.size(), 1);
        QVERIFY(!window.findChild<QLabel *>("label_connectionBanner")->isHidden());
        window.conversationList();
        QCOMPARE(created.size(), 1);

        MainWindow hidden;
        QSignalSpy hiddenCreated(&hidden, &MainWindow::mainPageCreated);
        QVERIFY(!hidden.findChild<QWidget *>("frame_sideMenu"));
        hidden.setNewCount(3);
        QCOMPARE(hiddenCreated.size(), 1);
        QCOMPARE(hidden.findChild<QLabel *>("label_chatsMy_count")->text(), "3");
    }

    void titleAndCategories()
    {
        MainWindow window;
        window.onConnectionChanged(false);
        QCOMPARE(window.windowTitle(), "Tallyra Онлайн чат - нет подключения");
        window.onConnectionChanged(true);
        QCOMPARE(window.windowTitle(), "Tallyra Онлайн чат");

        QSignalSpy notMy(&window, &MainWindow::categoryNotMy);
        QSignalSpy clicked(&window, &MainWindow::buttonNotMyClicked);
        window.setChatsPage(Util::CategoryNotMy);
        QCOMPARE(notMy.size(), 1);
        QCOMPARE(clicked.size(), 0);
        QVERIFY(window.findChild<QPushButton *>("pushButton_chatsForeign")->isChecked());
        QVERIFY(!window.findChild<QPushButton *>("pushButton_chatsMy")->isChecked());
        QTest::mouseClick(window.findChild<QPushButton *>("pushButton_chatsForeign"),
                          Qt::LeftButton);
        QCOMPARE(clicked.size(), 1);
        QCOMPARE(notMy.size(), 2);

        // A big account's counts stop at "99+" in the categories, not in the side menu.
        window.setMissedCount(1929);
        window.setNewCount(1929);
        const auto *missed = window.findChild<QLabel *>("label_chatsMissed_count");
        QCOMPARE(missed->text(), "99+");
        QCOMPARE(missed->toolTip(), "1929");
        QCOMPARE(window.findChild<QLabel *>("label_pushButton_chatCount")->text(), "1929");
        window.setMissedCount(99);
        QCOMPARE(missed->text(), "99");
    }

    void rows_data()
    {
        QTest::addColumn<QString>("lastMessage");
        QTest::addColumn<QString>("preview");
        QTest::addRow("visitor's text")
            << "{'sender':'-Vis1','type':'text','text':'Привет 🙂'}"
            << "Привет 🙂";
        QTest::addRow("own text") << "{'sender':'-Op1','type':'text','text':'Добрый день'}"
                                  << "Вы: Добрый день";
        QTest::addRow("colleague's image") << "{'sender':'-Op2','type':'image'}"
                                           << "Ирина: Изображение";
        QTest::addRow("file") << "{'sender':'-Vis1','type':'file'}"
                              << "Файл";
        QTest::addRow("invitation") << "{'sender':'-Op2','type':'invitation','target':'-Op1'}"
                                    << "Ольга, подключитесь к диалогу, пожалуйста.";
        QTest::addRow("joined") << "{'sender':'-Op2','type':'joined'}"
                                << "Ирина подключился к диалогу.";
        QTest::addRow("left") << "{'sender':'-Op2','type':'left'}"
                              << "Ирина отключился от диалога.";
        QTest::addRow("other") << "{'sender':'robot_7','type':'system','text':'Чат завершён'}"
                               << "Чат завершён";
    }

    void rows()
    {
        QFETCH(QString, lastMessage);
        QFETCH(QString, preview);
        ChatsRepository::getInstance()->initChats(
            {chatFrom("a",
                      "{'visitor':'-Vis1','widgetId':7,'status':'work','lastMessage':" + lastMessage
                          + "}")});
        ConversationListModel model;
        model.setChats({"a"});
        QCOMPARE(model.index(0).data(ConversationListModel::PreviewRole).toString(), preview);
        QCOMPARE(model.index(0).data(ConversationListModel::NameRole).toString(), "Елена");
    }

    void badgesAndTyping()
    {
        ChatsRepository::getInstance()->initChats(
            {chatFrom("none", "{'visitor':'-Vis1','unreadCount':0}"),
             chatFrom("one", "{'visitor':'-Vis1','unreadCount':1}"),
             chatFrom("five",
                      "{'visitor':'-Vis1','unreadCount':5,'userActivity':{'-Vis1':'text'},"
                      "'userText':{'-Vis1':'а доставка'}}"),
             chatFrom("colleague",
                      "{'visitor':'-Vis1','widgetId':7,"
                      "'userActivity':{'-Op2':'text','-Op1':'text'}}")});
        ConversationListModel model;
        model.setChats({"none", "one", "five", "colleague"});
        const auto at = [&](int row, int role) { return model.index(row).data(role).toString(); };
        QCOMPARE(at(0, ConversationListModel::BadgeRole), "");
        QCOMPARE(at(0, ConversationListModel::FrameNameRole), "frame_conversationListItem");
        QCOMPARE(at(1, ConversationListModel::BadgeRole), "+1");
        QCOMPARE(at(1, ConversationListModel::FrameNameRole), "frame_conversationListItem_selected");
        QCOMPARE(at(2, ConversationListModel::BadgeRole), "+5");
        QCOMPARE(at(2, ConversationListModel::PreviewRole), "печатает: а доставка");
        // The operator's own typing is not shown; a colleague's is, by alias.
        QCOMPARE(at(3, ConversationListModel::PreviewRole), "Ирина печатает…");
    }

    void listOrderAndSearch()
    {
        QList<FirebaseChat> chats;
        for (const char *id : {"a", "b", "c", "d"})
            chats << chatFrom(id,
                              "{'visitor':'-Vis1','lastMessage':{'type':'text','text':'про "
                                  + QString(id) + "'}}");
        ChatsRepository::getInstance()->initChats(chats);
        ConversationListWidget list;
        QSignalSpy clicked(&list, &ConversationListWidget::itemClicked);
        list.resize(320, 600);
        list.show();
        list.initDialogs(chats.mid(0, 3));
        list.updateChat("c", true, 0);
        QCOMPARE(list.visibleChats(), (QStringList{"c", "a", "b"}));
        list.updateChat("c", true, 2);
        QCOMPARE(list.visibleChats(), (QStringList{"a", "b", "c"}));
        list.updateChat("d", true, 1);
        list.addChat("x", 4);
        list.removeChat("x");
        QCOMPARE(list.visibleChats(), (QStringList{"a", "d", "b", "c"}));

        auto *search = list.findChild<QLineEdit *>("lineEdit_conversationList_search");
        QTest::keyClicks(search, "B"); // any case
        QCOMPARE(list.visibleChats(), QStringList{"b"});
        search->clear();
        QCOMPARE(list.visibleChats().size(), 4);
        // A click on a row opens its chat; Ctrl+Down's step goes to the next one.
        QListView *view = list.listView();
        QTest::mouseClick(view->viewport(),
                          Qt::LeftButton,
                          {},
                          view->visualRect(view->model()->index(1, 0)).center());
        QCOMPARE(clicked.value(0).value(0).toString(), "d");
        list.setCurrentChat("d");
        list.openAdjacent(1);
        QCOMPARE(clicked.value(1).value(0).toString(), "b");
        list.clear();
        QCOMPARE(list.visibleChats(), QStringList{});
    }

    void openChatsStrip()
    {
        ChatsRepository::getInstance()->initChats(
            {chatFrom("a", "{'visitor':'-Vis1','unreadCount':2}")});
        OpenChatsStrip strip(Qt::Horizontal);
        QSignalSpy closed(&strip, &OpenChatsStrip::chatClosed);
        QSignalSpy clicked(&strip, &OpenChatsStrip::chatClicked);
        strip.addChat("a");
        strip.addChat("b");
        strip.setOpenedChat("b");
        QCOMPARE(strip.chats(), (QStringList{"a", "b"}));
        auto *tab = strip.findChildren<QFrame *>("frame_openChatsTab").first();
        QTest::mouseClick(tab, Qt::LeftButton);
        QCOMPARE(clicked.value(0).value(0).toString(), "a");
        QTest::mouseClick(tab, Qt::MiddleButton);
        QCOMPARE(closed.value(0).value(0).toString(), "a");
        strip.removeChat("a");
        QCOMPARE(strip.chats(), QStringList{"b"});
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
