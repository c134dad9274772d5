// The whole console, as AppController builds and wires it, against the local service's demo
// account: saved credentials sign in at start, chat events raise the right notices, the unread
// reminder, sign-in errors, the service choice's double click, forced sign-outs, and the
// notice of a closed chat that left the lists.
#include "demoaccount.h"

#include "app/appcontroller.h"
#include "app/appsettings.h"
#include "controller/openchatscontroller.h"
#include "local/chatapi.h"
#include "local/chatservice.h"
#include "local/demoseed.h"
#include "local/faultinjector.h"
#include "network/networkmanager.h"
#include "repo/chatsrepository.h"
#include "ui/franchiseitemwidget.h"
#include "ui/mainwindow.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest>

const QString kOwn = QStringLiteral("-DemoChat0001shop");        // Елена, the operator's own
const QString kColleagues = QStringLiteral("-DemoChat0004shop"); // Ирина's

class TestAppController : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_demo.start(this));
        QSettings &store = AppSettings::instance()->settings();
        store.setValue("login", DemoSeed::operatorLogin);
        store.setValue("password", DemoSeed::password);
        store.setValue("saveCreds", true);
        store.setValue("soundsEnabled", false);
        m_controller.Init();
        m_window = m_controller.mainWindow();
        m_notices = std::make_unique<QSignalSpy>(&m_controller, &AppController::noticeShown);
    }

    void savedCredentialsSignIn()
    {
        QVERIFY(waitUntil([&] { return m_demo.loaded() && page() == "page_main"; }, 20000));
        QVERIFY(m_controller.unreadTimer()->isActive());
        QVERIFY(waitUntil(
            [&] {
                return m_demo.stored("users/" + DemoAccount::operatorKey() + "/online").toBool();
            },
            20000));
        // A page made only now, long after the snapshots came, starts full.
        m_window->showPage(MainWindow::VisitorsPage);
        const auto *visitors = m_window->findChild<QTableView *>("tableView_visitorsOnline_list");
        QVERIFY(visitors && visitors->model()->rowCount() > 0);
        m_window->showPage(MainWindow::ChatsPage);
    }

    void chatNotices()
    {
        // A visitor in the operator's own chat: one notice, with the widget's sound.
        m_notices->clear();
        QVERIFY(chatService()->visitorWrites({1, 101}, kOwn, "Когда доставка?"));
        QVERIFY(waitUntil([&] { return m_notices->size() == 1; }, 20000));
        QCOMPARE(m_notices->first(),
                 (QList<QVariant>{"Елена Васильева", "Когда доставка?", "chat7"}));
        // A visitor in a colleague's chat, and an invitation meant for someone else: none; the
        // invitation for the operator that follows them is the next notice.
        QVERIFY(chatService()->visitorWrites({1, 101}, kColleagues, "Алло"));
        QVERIFY(invite(kColleagues, "-DemoOpSergey0004"));
        QVERIFY(invite(kColleagues, DemoAccount::operatorKey()));
        QVERIFY(waitUntil([&] { return m_notices->size() == 2; }, 20000));
        QCOMPARE(m_notices->last().value(1).toString(), "Ольга, подключись к диалогу, пожалуйста");
        QCOMPARE(m_notices->last().value(0).toString(), "Ирина");
        // Nothing came between them: the next notice is the next message.
        QVERIFY(chatService()->visitorWrites({1, 101}, kOwn, "Ау"));
        QVERIFY(waitUntil([&] { return m_notices->size() == 3; }, 20000));
        QCOMPARE(m_notices->last().value(1).toString(), "Ау");
    }

    void unreadReminder()
    {
        m_notices->clear();
        m_controller.onNotifyUnreadMessagesCount();
        QCOMPARE(m_notices->size(), 1);
        QCOMPARE(m_notices->first().value(0).toString(), "Обратите внимание");
        // With everything read the reminder stays silent.
        const QJsonObject chats = m_demo.stored("chats").toObject();
        for (auto it = chats.begin(); it != chats.end(); ++it)
            QVERIFY(m_demo.write("PATCH", "chats/" + it.key(), "{'unreadCount':0}"));
        QVERIFY(
            waitUntil([&] { return ChatsRepository::getInstance()->getUnreadMessagesCount() == 0; },
                      20000));
        m_controller.onNotifyUnreadMessagesCount();
        QCOMPARE(m_notices->size(), 1);
    }

    void closedChatNotice()
    {
        // A chat that leaves every list while open: back to the list, and a notice says why.
        m_controller.onOpenDialog(kOwn);
        QCOMPARE(m_controller.openChatsController()->currentChat(), kOwn);
        m_notices->clear();
        QVERIFY(m_demo.write("PATCH", "chats/" + kOwn, "{'status':'ended'}"));
        QVERIFY(
            waitUntil([&] { return !ChatsRepository::getInstance()->chatIsInWork(kOwn); }, 20000));
        m_demo.local.service()->faults()->dropStreamsNow();
        QVERIFY(waitUntil([&] { return m_notices->size() == 1; }, 20000));
        QCOMPARE(m_notices->first().value(1).toString(), "Диалог был завершен");
        QVERIFY(m_controller.openChatsController()->currentChat().isEmpty());
    }

    void browserVisitorConversation()
    {
        // A visitor writes from the visitor page in Chromium; the operator joins from the chat
        // view and answers with its input; the visitor sees the answer.
        const QString node = QStandardPaths::findExecutable("node");
        const QString chromium = qEnvironmentVariable("CHROMIUM",
                                                      QStandardPaths::findExecutable("chromium"));
        const QString script = TALLYRA_SOURCE_DIR "/tests/browser/visitor-conversation.mjs";
        if (node.isEmpty() || chromium.isEmpty()
            || !QFileInfo::exists(TALLYRA_SOURCE_DIR "/tests/sdk/node_modules/playwright-core"))
            QSKIP("Node.js, Chromium or tests/sdk/node_modules is missing");
        const QString question = "Здравствуйте! Сколько стоит доставка в Тверь?";
        const QString answer
            = "Доставка в Тверь — 390 ₽, завтра после обеда.";
        QProcess visitor;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("CHROMIUM", chromium);
        visitor.setProcessEnvironment(environment);
        visitor.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QByteArray said;
        connect(&visitor, &QProcess::readyReadStandardOutput, [&] { said += visitor.readAll(); });
        visitor.start(node,
                      {script,
                       m_demo.local.baseUrl(),
                       m_demo.local.dataDirectory() + "/server.pem",
                       question,
                       answer});
        QVERIFY(
            waitUntil([&] { return said.contains('\n') || visitor.state() == QProcess::NotRunning; },
                      90000));
        const QString chatId = QString::fromUtf8(said).section('\n', 0, 0).section(' ', 1);
        QVERIFY2(said.startsWith("SENT "), said.constData());
        QVERIFY(
            waitUntil([&] { return ChatsRepository::getInstance()->chatExists(chatId); }, 20000));

        m_controller.onOpenDialog(chatId);
        auto *join = m_window->findChild<QPushButton *>("pushButton_chatWidget_connect");
        QVERIFY(waitUntil([&] { return join->isVisible(); }, 20000));
        join->click();
        auto *input = m_window->findChild<QPlainTextEdit *>("plainTextEdit_chatWidget_input");
        QVERIFY(waitUntil([&] { return !join->isVisible() && input->isEnabled(); }, 20000));
        input->setPlainText(answer);
        m_window->findChild<QPushButton *>("pushButton_chatWidget_send")->click();
        QVERIFY(waitUntil([&] { return visitor.state() == QProcess::NotRunning; }, 90000));
        QVERIFY2(said.contains("ANSWER SEEN"), said.constData());
        QCOMPARE(visitor.exitCode(), 0);
        m_controller.onButtonBackClicked();
    }

    void forcedSignOuts()
    {
        // A refused token refresh, then the operator's re-authentication flag.
        emit m_controller.networkManager()->tokenRefreshError();
        QCOMPARE(page(), "page_signIn");
        QVERIFY(!m_controller.unreadTimer()->isActive());
        m_controller.startupLogin();
        QVERIFY(waitUntil([&] { return page() == "page_main"; }, 20000));
        QVERIFY(m_demo.write("PUT", "users/" + DemoAccount::operatorKey() + "/reauth", "true"));
        QVERIFY(waitUntil([&] { return page() == "page_signIn"; }, 20000));
        QVERIFY(m_demo.write("PUT", "users/" + DemoAccount::operatorKey() + "/reauth", "false"));
    }

    void signInErrorsAndServiceChoice()
    {
        emit m_window->authenticate(DemoSeed::operatorLogin, "wrong", false);
        QVERIFY(
            waitUntil([&] { return m_window->findChild<QLabel *>("label_login_error")->isVisible(); },
                      20000));
        QCOMPARE(m_window->findChild<QLineEdit *>("lineEdit_error")->echoMode(),
                 QLineEdit::Password);
        // Without "remember", the saved password is gone.
        QVERIFY(!AppSettings::instance()->settings().contains("password"));

        emit m_window->authenticate(DemoSeed::managerLogin, DemoSeed::password, false);
        QVERIFY(
            waitUntil([&] { return m_window->findChildren<FranchiseItemWidget *>().size() == 2; },
                      20000));
        // A double click: the second comes while the first sign-in waits for its answer.
        QSignalSpy signedIn(m_controller.networkManager(), &NetworkManager::authenticateSuccess);
        const int id = m_window->findChildren<FranchiseItemWidget *>().first()->franchiseId();
        for (int i = 0; i < 2; ++i)
            QMetaObject::invokeMethod(
                m_window, [this, id] { emit m_window->franchiseSelect(id); }, Qt::QueuedConnection);
        QVERIFY(waitUntil([&] { return signedIn.size() >= 1 && page() == "page_main"; }, 20000));
        QTest::qWait(0);
        QCOMPARE(signedIn.size(), 1);
    }

private:
    ChatService *chatService() { return m_demo.local.service()->chatApi()->chatService(); }
    QString page()
    {
        return m_window->findChild<QStackedWidget *>("stackedWidget_main")
            ->currentWidget()
            ->objectName();
    }
    bool invite(const QString &chatId, const QString &target)
    {
        return m_demo
            .write("PATCH",
                   "chats/" + chatId,
                   "{'lastMessage':{'type':'invitation','sender':'-DemoOpIrina00003','target':'"
                       + target + "','sentAt':{'.sv':'timestamp'}}}");
    }

    DemoAccount m_demo;
    AppController m_controller;
    MainWindow *m_window = nullptr;
    std::unique_ptr<QSignalSpy> m_notices;
};

int main(int argc, char **argv)
{
    // The console's settings store in a folder of the test's own.
    QTemporaryDir config;
    qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
    QApplication app(argc, argv);
    TestAppController test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_appcontroller.moc"
