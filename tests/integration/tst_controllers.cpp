// The presentation controllers with views that record what they are told, on the repositories
// the demo account fills through the console's own NetworkManager: list order and membership
// as chats change, the open-chats strip, the open chat and its panel, the visitors page, and
// the history and offline-request pages against the service's answers.
#include "demoaccount.h"

#include "app/appsettings.h"
#include "controller/chatcontroller.h"
#include "controller/chathistorycontroller.h"
#include "controller/chathistorymessagescontroller.h"
#include "controller/chathistorymessagesview.h"
#include "controller/chathistoryview.h"
#include "controller/chatview.h"
#include "controller/conversationinfocontroller.h"
#include "controller/conversationinfoview.h"
#include "controller/conversationlistcontroller.h"
#include "controller/conversationlistview.h"
#include "controller/modalprompts.h"
#include "controller/offlinemessagescontroller.h"
#include "controller/offlinemessagesview.h"
#include "controller/openchatscontroller.h"
#include "controller/openchatsview.h"
#include "controller/visitorsonlinecontroller.h"
#include "controller/visitorsonlineview.h"
#include "local/chatapi.h"
#include "local/chatservice.h"
#include "network/firebaseclient.h"
#include "repo/authsession.h"
#include "repo/chatsrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"
#include "util/util.h"

#include <QtTest>

#include <algorithm>

// Each fake view writes what it is told into log, a line a call, and keeps what a person would
// see where a test looks at it.
class FakeList : public QObject, public ConversationListView
{
    Q_OBJECT
public:
    void initDialogs(const QList<FirebaseChat> &chats) override
    {
        ids.clear();
        for (const FirebaseChat &chat : chats)
            ids.append(chat.getId());
    }
    void addChat(const QString &chatId, int index) override { ids.insert(index, chatId); }
    void updateChat(const QString &chatId, bool, int index) override
    {
        ids.removeAll(chatId);
        ids.insert(index, chatId);
    }
    void removeChat(const QString &chatId) override { ids.removeAll(chatId); }
    bool containsChat(const QString &chatId) const override { return ids.contains(chatId); }
    void clear() override { ids.clear(); }
    QStringList ids;
signals:
    void itemClicked(QString chatId);
};

class FakeStrip : public QObject, public OpenChatsView
{
    Q_OBJECT
public:
    void addChat(const QString &chatId) override { ids.append(chatId); }
    void setOpenedChat(const QString &chatId) override { current = chatId; }
    void removeChat(const QString &chatId) override { ids.removeAll(chatId); }
    QStringList ids;
    QString current;
signals:
    void chatClicked(QString chatId);
    void chatClosed(QString chatId);
};

class FakeChat : public QObject, public ChatView
{
    Q_OBJECT
public:
    void setMessages(const QList<FirebaseChatMessage> &messages) override
    {
        shown = messages;
        log << "messages";
    }
    void addMessage(const FirebaseChatMessage &message) override
    {
        shown.append(message);
        log << "add " + message.getText();
    }
    void updateMessage(const FirebaseChatMessage &) override {}
    void clearMessages() override { shown.clear(); }
    void clear() override { log << "clear"; }
    void setConnectedState(bool on) override { log << QString("connected %1").arg(on); }
    void setWidgetId(qint64) override {}
    void setVisitorBlocked(bool blocked) override { log << QString("blocked %1").arg(blocked); }
    void setVisitor(const FirebaseUser &) override {}
    void setVisitorState(bool online, bool hasEmail) override
    {
        log << QString("visitor %1 %2").arg(online).arg(hasEmail);
    }
    void setTyping(const QList<ChatTyping> &list) override
    {
        QStringList lines;
        for (const ChatTyping &t : list)
            lines << t.name + ": " + t.text;
        log << "typing " + lines.join(", ");
    }
    void setUploads(const QList<FileUploaderNotifier *> &) override {}
    void addUpload(FileUploaderNotifier *) override {}
    void setPaymentAllowed(bool allowed) override { log << QString("payable %1").arg(allowed); }
    void setPaymentResult(bool sent, const QString &text) override
    {
        log << QString("paid %1 %2").arg(sent).arg(text);
    }
    void setQuickAnswers(const QList<FirebaseQuickAnswer> &) override {}
    void setLastHost(const QString &) override {}
    void showError(const QString &message) override { log << "error " + message; }
    QStringList log;
    QList<FirebaseChatMessage> shown;
signals:
    void connectedToDialog(QString chatId);
    void unblockChat();
    void sendMessage(QString text);
    void messageChanged(QString text);
    void showQuickAnswers(QString text);
    void showAllQuickAnswers();
    void newAnswer(int kind, QString text);
    void editAnswer(qint64 id, QString text);
    void deleteAnswer(qint64 id);
    void uploadFile(QString path);
    void imageInserted(QImage image);
    void sendPayment(QString title, int quantity, QString amount, QString currency, QString text);
};

class FakeInfo : public QObject, public ConversationInfoView
{
    Q_OBJECT
public:
    void setChatId(const QString &) override {}
    void setConnectedState(bool) override {}
    void setVisitorBlocked(bool blocked) override { log << QString("blocked %1").arg(blocked); }
    void setMessageCount(qint64) override {}
    void setChatInfo(const ApiChatInfo &info) override
    {
        log << QString("info %1").arg(info.getId());
    }
    void setCrmResult(bool, const QString &) override {}
    QStringList log;
signals:
    void needChatInfo(QString chatId);
    void sendToCrm();
    void ignoreUser();
    void ignoreIpUser();
    void resetIgnoreUser();
    void exitChat();
    void endChat();
    void noNeedAnswer();
    void operatorInvited(QString operatorKey);
};

class FakeVisitors : public QObject, public VisitorsOnlineView
{
    Q_OBJECT
public:
    void setVisitors(const QList<FirebaseVisitor> &visitors) override
    {
        ids.clear();
        for (const FirebaseVisitor &visitor : visitors)
            ids.insert(visitor.getId());
    }
    void updateVisitor(const FirebaseVisitor &visitor) override { ids.insert(visitor.getId()); }
    void removeVisitor(const QString &visitorId) override { ids.remove(visitorId); }
    void setDialog(const QString &visitorId, const VisitorDialog &dialog) override
    {
        dialogs.insert(visitorId, dialog.sender + ": " + dialog.text);
    }
    void setVisitorsCount(int all, int said, int notSaid) override
    {
        counts = {all, said, notSaid};
    }
    void setWidgets(const QList<ApiChatHistoryWidget> &list) override
    {
        for (const ApiChatHistoryWidget &widget : list)
            widgets << widget.getName();
    }
    void showError(const QString &) override {}
    QSet<QString> ids;
    QHash<QString, QString> dialogs;
    QList<int> counts;
    QStringList widgets;
signals:
    void loadWidgets();
    void sendMessage(QString visitorId, QString chatId, qint64 widgetId);
    void unblockUser(QString visitorId);
    void widgetChanged(int widgetId);
    void categoryChanged(int category);
};

class FakeHistory : public QObject, public ChatHistoryView, public ChatHistoryMessagesView
{
    Q_OBJECT
public:
    void setLoading(bool) override {}
    void setHistory(const ApiChatHistory &history, int page, int pageCount) override
    {
        pages.insert(page, history.getChats());
        this->pageCount = pageCount;
        all = history.getStat().getAll();
    }
    void setDialog(const ApiChatHistoryMesssages &dialog) override { this->dialog = dialog; }
    void setMessages(const QList<FirebaseChatMessage> &messages) override { shown = messages; }
    void addMessage(const FirebaseChatMessage &) override {}
    void updateMessage(const FirebaseChatMessage &) override {}
    void clearMessages() override {}
    void showError(const QString &message) override { error = message; }
    void clear() override { shown.clear(); }
    QHash<int, QList<FirebaseChat>> pages;
    int pageCount = 0;
    qint64 all = 0;
    ApiChatHistoryMesssages dialog;
    QList<FirebaseChatMessage> shown;
    QString error;
signals:
    void filterChanged(HistoryFilter filter);
    void pageRequested(int page);
    void chatSelected(qint64 chatApiId);
    void retry();
};

class FakeOffline : public QObject, public OfflineMessagesView
{
    Q_OBJECT
public:
    void setLoading(bool) override {}
    void setMessages(const QList<ApiOfflineMessage> &list, int, int, int total) override
    {
        messages = list;
        this->total = total;
    }
    void showError(const QString &) override {}
    void setExportProgress(qint64, qint64) override {}
    void setExportResult(bool saved, const QString &) override { exported << saved; }
    void clear() override {}
    QList<ApiOfflineMessage> messages;
    int total = -1;
    QList<bool> exported;
signals:
    void filterChanged(HistoryFilter filter);
    void pageRequested(int page);
    void exportRequested(QString filePath);
    void retry();
};

class FakePrompts : public ModalPrompts
{
public:
    bool askYesNo(QWidget *, const QString &title, const QString &) override
    {
        asked << title;
        return answer;
    }
    bool editCrmContact(QWidget *, CrmContact *) override { return false; }
    bool answer = false;
    QStringList asked;
};

const QString kShopChat = QStringLiteral("-DemoChat0001shop");
const QString kElena = QStringLiteral("-DemoVisElena0001");

class TestControllers : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qRegisterMetaType<HistoryFilter>();
        QVERIFY(m_demo.start(this));
        QVERIFY(m_demo.signIn());
    }

    void conversationList()
    {
        ConversationListController list;
        FakeList view;
        list.installView(&view);
        QSignalSpy clicked(&list, &ConversationListController::itemClicked);
        emit view.itemClicked(kShopChat);
        QCOMPARE(clicked.value(0).value(0).toString(), kShopChat);

        list.setMy();
        QVERIFY(view.ids.contains(kShopChat));
        QCOMPARE(view.ids, listed(0));
        // A colleague's chat that gains the operator shows in her list at its place.
        const QString irinas = "-DemoChat0004shop";
        QVERIFY(!view.ids.contains(irinas));
        QVERIFY(m_demo.write("PUT",
                             "chats/" + irinas + "/operators",
                             "['-DemoOpIrina00003','" + DemoAccount::operatorKey() + "']"));
        QVERIFY(waitUntil([&] { return view.ids.contains(irinas); }, 20000));
        QCOMPARE(view.ids, listed(0));
        // A visitor's message moves the chat up among those waiting for an answer.
        QVERIFY(chatService()->visitorWrites({1, 101}, "-DemoChat0002help", "Алло?"));
        QVERIFY(waitUntil(
            [&] {
                return ChatsRepository::getInstance()
                           ->getChatById("-DemoChat0002help")
                           .getLastMessage()
                           .getText()
                       == "Алло?";
            },
            20000));
        QCOMPARE(view.ids, listed(0));
        // An ended chat leaves the list.
        QVERIFY(m_demo.write("PATCH", "chats/-DemoChat0008help", "{'status':'ended'}"));
        QVERIFY(waitUntil([&] { return !view.ids.contains("-DemoChat0008help"); }, 20000));
        QCOMPARE(view.ids, listed(0));

        list.setNotMy();
        QVERIFY(!view.ids.isEmpty() && !view.ids.contains(irinas));
        QCOMPARE(view.ids, listed(1));
        list.setMissed();
        QCOMPARE(view.ids, listed(2));

        // The widgets' keys may be the last snapshot to come: the list fills when they do.
        UsersRepository *users = UsersRepository::getInstance();
        const auto keys = users->getUserKeys();
        users->setUserKeys({});
        list.setMy();
        QVERIFY(view.ids.isEmpty());
        users->setUserKeys(keys);
        QVERIFY(!view.ids.isEmpty());
        QCOMPARE(view.ids, listed(0));
    }

    void openChats()
    {
        OpenChatsController open;
        FakeStrip strip, side;
        open.installView(&strip);
        open.installView(&side);
        QSignalSpy closed(&open, &OpenChatsController::currentChatClosed);
        QSignalSpy clicked(&open, &OpenChatsController::chatOpen);
        QStringList expected;
        for (int i = 1; i <= 21; ++i) {
            open.onChatOpened(QString("c%1").arg(i));
            expected << QString("c%1").arg(i);
        }
        // The twenty-first pushes out the first from every strip.
        expected.removeFirst();
        QCOMPARE(strip.ids, expected);
        QCOMPARE(side.ids, expected);
        QCOMPARE(side.current, "c21");
        // Reopening marks it current and adds nothing.
        open.onChatOpened("c5");
        QCOMPARE(strip.ids, expected);
        QCOMPARE(strip.current, "c5");
        emit strip.chatClicked("c7");
        QCOMPARE(clicked.value(0).value(0).toString(), "c7");
        // Only closing the current one says so.
        emit side.chatClosed("c6");
        QCOMPARE(closed.size(), 0);
        emit side.chatClosed("c5");
        QCOMPARE(closed.size(), 1);
        QVERIFY(!strip.ids.contains("c5") && !strip.ids.contains("c6"));
        // A closed chat opens anew, at the end.
        open.onChatOpened("c5");
        QCOMPARE(strip.ids.last(), "c5");
        // Chats in no list close when the chats are loaded again; listed ones stay.
        open.onChatOpened(kShopChat);
        open.onChatsInitialized();
        QCOMPARE(strip.ids, QStringList{kShopChat});
        QCOMPARE(closed.size(), 1);
    }

    void visitorsOnline_data()
    {
        QTest::addColumn<int>("widget");
        QTest::addColumn<int>("category");
        for (int widget : {0, 601, 603}) {
            for (int category : {0, 1, 2})
                QTest::addRow("widget %d category %d", widget, category) << widget << category;
        }
    }

    void visitorsOnline()
    {
        QFETCH(int, widget);
        QFETCH(int, category);
        VisitorsOnlineController controller;
        FakeVisitors page;
        controller.installView(&page);
        emit page.widgetChanged(widget);
        emit page.categoryChanged(category);
        // What the rule gives, counted afresh over the repository's visitors.
        QSet<QString> shown;
        QList<int> counts{0, 0, 0};
        const QList<qint64> widgets = widget ? QList<qint64>{widget}
                                             : AuthSession::getInstance()->getWidgetList();
        const auto visitors = VisitorsRepository::getInstance()->getVisitors();
        for (const FirebaseVisitor &visitor : visitors) {
            if (!widgets.contains(visitor.getChatWidgetId()))
                continue;
            ++counts[0];
            ++counts[visitor.getSaid() ? 1 : 2];
            if (category == 0 || visitor.getSaid() == (category == 1))
                shown.insert(visitor.getId());
        }
        QCOMPARE(page.ids, shown);
        QCOMPARE(page.counts, counts);
        QVERIFY(counts[0] > 0);
    }

    void visitorsOnlineFollowsVisitors()
    {
        VisitorsOnlineController controller;
        FakeVisitors page;
        controller.installView(&page);
        connect(VisitorsRepository::getInstance(),
                &VisitorsRepository::visitorUpdated,
                &controller,
                &VisitorsOnlineController::onVisitorChanged);
        emit page.categoryChanged(2);
        QVERIFY(!page.ids.isEmpty());
        const QString quiet = *page.ids.begin();
        const QList<int> before = page.counts;
        // One who starts talking leaves "not yet" but stays counted.
        QVERIFY(m_demo.write("PUT", "visitors/" + quiet + "/said", "true"));
        QVERIFY(waitUntil([&] { return !page.ids.contains(quiet); }, 20000));
        QCOMPARE(page.counts, (QList<int>{before[0], before[1] + 1, before[2] - 1}));

        // The dialog columns of a visitor who talks.
        emit page.categoryChanged(0);
        QCOMPARE(page.dialogs.value(kElena).isEmpty(), false);
        // Writing to a visitor whose chat is in work opens it, with no request.
        QSignalSpy opened(&controller, &VisitorsOnlineController::openChat);
        emit page.sendMessage(kElena, kShopChat, 601);
        QCOMPARE(opened.size(), 1);
        QCOMPARE(opened.value(0).value(0).toString(), kShopChat);
        // Otherwise the service opens a chat, which the console then opens.
        emit page.sendMessage(quiet, QString(), 0);
        QVERIFY(opened.wait(20000));
        QVERIFY(waitUntil(
            [&] {
                return ChatsRepository::getInstance()
                           ->getChatById(opened.value(1).value(0).toString())
                           .getVisitor()
                       == quiet;
            },
            20000));
        emit page.loadWidgets();
        QVERIFY(waitUntil([&] { return page.widgets.contains("shop.demo.tallyra.local - Магазин"); },
                          20000));
    }

    void openChat()
    {
        ChatController chat;
        FakeChat view;
        FakePrompts prompts;
        chat.installView(&view);
        chat.setPrompts(&prompts);
        ConversationInfoController info;
        FakeInfo panel;
        info.installView(&panel);
        info.setPrompts(&prompts);
        connect(AppSettings::instance(),
                &AppSettings::mainWindowActiveChanged,
                &chat,
                &ChatController::onMainWindowActiveStateChanged);
        AppSettings::instance()->onMainWindowActiveChanged(false);
        info.setChatId(kShopChat);
        m_demo.manager->connectToChat(kShopChat);
        QVERIFY(waitUntil([&] { return view.log.contains("messages"); }, 20000));
        QVERIFY(view.log.contains("connected 1") && view.log.contains("payable 1"));
        for (int i = 1; i < view.shown.size(); ++i)
            QVERIFY(view.shown[i - 1].getSentAt() <= view.shown[i].getSentAt());

        // In the background a new message shows, but the chat is read only once focused.
        FirebaseClient *firebase = m_demo.manager->firebaseClient();
        QVERIFY(waitUntil([&] { return firebase->pendingAsyncRequests() == 0; }, 20000));
        QVERIFY(chatService()->visitorWrites({1, 101}, kShopChat, "Есть скидка?"));
        QVERIFY(waitUntil([&] { return view.log.contains("add Есть скидка?"); }, 20000));
        QCOMPARE(firebase->pendingAsyncRequests(), 0);
        QVERIFY(m_demo.stored("chats/" + kShopChat + "/unreadCount").toInt() > 0);
        AppSettings::instance()->onMainWindowActiveChanged(true);
        QVERIFY(waitUntil(
            [&] { return m_demo.stored("chats/" + kShopChat + "/unreadCount").toInt() == 0; },
            20000));

        // Another chat's change reaches neither the chat view nor the panel; the open one's does.
        // The first typing mark comes after every earlier change of the chats.
        QVERIFY(waitUntil([&] { return firebase->pendingAsyncRequests() == 0; }, 20000));
        const auto type = [&](const QString &chatId, const QString &visitor, const QString &text) {
            return m_demo.write("PATCH",
                                "chats/" + chatId,
                                "{'userActivity':{'" + visitor + "':'text'},'userText':{'" + visitor
                                    + "':'" + text + "'}}");
        };
        QVERIFY(type(kShopChat, kElena, "скидка"));
        QVERIFY(
            waitUntil([&] { return view.log.contains("typing Елена Васильева: скидка"); }, 20000));
        view.log.clear();
        panel.log.clear();
        QVERIFY(type("-DemoChat0003ship", "-DemoVisSveta0003", "доставка"));
        QVERIFY(type(kShopChat, kElena, "скидка на"));
        QVERIFY(waitUntil([&] { return !view.log.filter("typing").isEmpty(); }, 20000));
        QCOMPARE(view.log.filter("typing"), QStringList{"typing Елена Васильева: скидка на"});
        QCOMPARE(panel.log, QStringList{"blocked 0"});

        // An offline visitor with an e-mail address: the question, and both answers.
        QVERIFY(m_demo.write("PUT", "users/" + kElena + "/online", "false"));
        QVERIFY(waitUntil([&] { return view.log.contains("visitor 0 1"); }, 20000));
        emit view.sendMessage("В чат");
        QCOMPARE(prompts.asked, QStringList{"Отправка на email"});
        QVERIFY(waitUntil([&] { return lastText() == "В чат"; }, 20000));
        prompts.answer = true;
        emit view.sendMessage("По почте");
        QVERIFY(waitUntil([&] { return outbox("email").contains("По почте"); }, 20000));
        QCOMPARE(lastText(), "В чат");
        QCOMPARE(prompts.asked.size(), 2);

        // A payment link goes into the chat once the service has made it.
        emit view.sendPayment("Ноутбук", 1, "84990", "RUB", "₽");
        QVERIFY(waitUntil([&] { return view.log.contains("paid 1 "); }, 20000));
        QVERIFY(waitUntil([&] { return view.shown.last().getSubtype() == "pay_link"; }, 20000));

        // Blocking, blocking by address and unblocking each ask for the chat info again.
        QSignalSpy infos(m_demo.manager.get(), &NetworkManager::chatInfo);
        for (const char *action : {"ignoreUser", "ignoreIpUser", "resetIgnoreUser"}) {
            const int before = infos.size();
            QVERIFY(QMetaObject::invokeMethod(&panel, action));
            QVERIFY(waitUntil([&] { return infos.size() == before + 1; }, 20000));
        }
        QVERIFY(panel.log.contains("info 70001"));
        // The marks are written after the calls, without waiting: the last one, "false", stays.
        QVERIFY(waitUntil(
            [&] { return !m_demo.stored("chats/" + kShopChat + "/visitorBlocked").toBool(); },
            20000));

        // Ending asks first; leaving closes nothing.
        QSignalSpy closed(&info, &ConversationInfoController::chatClosed);
        emit panel.exitChat();
        QVERIFY(waitUntil(
            [&] {
                const QJsonValue operators = m_demo.stored("chats/" + kShopChat + "/operators");
                return !operators.toVariant().toStringList().contains(DemoAccount::operatorKey());
            },
            20000));
        prompts.answer = false;
        emit panel.endChat();
        QCOMPARE(closed.size(), 0);
        prompts.answer = true;
        emit panel.endChat();
        QCOMPARE(closed.size(), 1);
        QVERIFY(waitUntil([&] { return m_demo.stored("chats/" + kShopChat + "/status") != "work"; },
                          20000));
        m_demo.manager->disconnectFromChat();
    }

    void history()
    {
        ChatHistoryController history;
        ChatHistoryMessagesController dialog;
        FakeHistory page;
        history.installView(&page);
        dialog.installView(&page);
        connect(&history,
                &ChatHistoryController::loadChat,
                &dialog,
                &ChatHistoryMessagesController::loadChat);
        history.setPageSize(3);
        HistoryFilter filter;
        filter.period = HistoryFilter::Month;
        emit page.filterChanged(filter);
        QVERIFY(waitUntil([&] { return page.pages.contains(1); }, 20000));
        QVERIFY(page.all > 3);
        QCOMPARE(page.pageCount, int((page.all + 2) / 3));
        QCOMPARE(page.pages[1].size(), 3);
        emit page.pageRequested(2);
        QVERIFY(waitUntil([&] { return page.pages.contains(2); }, 20000));
        QVERIFY(page.pages[2].first().getApiId() != page.pages[1].first().getApiId());

        emit page.chatSelected(page.pages[2].first().getApiId());
        QVERIFY(waitUntil([&] { return !page.shown.isEmpty(); }, 20000));
        QCOMPARE(page.dialog.getChat().getApiId(), page.pages[2].first().getApiId());
        for (int i = 1; i < page.shown.size(); ++i)
            QVERIFY(page.shown[i - 1].getSentAt() <= page.shown[i].getSentAt());
        // A new search starts from its first page.
        emit page.filterChanged(filter);
        QCOMPARE(history.page(), 1);

        filter.period = HistoryFilter::Range;
        filter.start = QDate(2026, 3, 2);
        emit page.filterChanged(filter);
        QCOMPARE(page.error, "Укажите начало и конец периода");
    }

    void offlineRequests()
    {
        OfflineMessagesController offline;
        FakeOffline page;
        offline.installView(&page);
        HistoryFilter filter;
        filter.period = HistoryFilter::Month;
        emit page.filterChanged(filter);
        QVERIFY(waitUntil([&] { return page.total > 0; }, 20000));
        QCOMPARE(page.messages.size(), page.total);

        QTemporaryDir dir;
        const QString path = dir.filePath("Заявки.csv");
        emit page.exportRequested(path);
        QVERIFY(waitUntil([&] { return !page.exported.isEmpty(); }, 20000));
        QCOMPARE(page.exported, QList<bool>{true});
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(file.readAll());
        QVERIFY(text.startsWith(QString::fromUtf8("\xEF\xBB\xBF") + "Дата;Имя"));
        QCOMPARE(text.trimmed().count('\n'), page.total);
        // A place that cannot be written is said at once.
        emit page.exportRequested(dir.filePath("нет/такой/папки.csv"));
        QCOMPARE(page.exported, (QList<bool>{true, false}));
    }

private:
    ChatService *chatService() { return m_demo.local.service()->chatApi()->chatService(); }
    // The chats of a list as the category rule and the chat order make it, computed afresh.
    QStringList listed(int category)
    {
        QList<FirebaseChat> chats;
        for (const FirebaseChat &chat : ChatsRepository::getInstance()->getChats()) {
            if (Util::getChatCategory(chat) == category)
                chats.append(chat);
        }
        std::sort(chats.begin(), chats.end(), [](const FirebaseChat &a, const FirebaseChat &b) {
            return a.compareTo(b) < 0;
        });
        QStringList ids;
        for (const FirebaseChat &chat : qAsConst(chats))
            ids << chat.getId();
        return ids;
    }
    QJsonObject lastOfChat()
    {
        return m_demo.stored("chats/" + kShopChat + "/lastMessage").toObject();
    }
    QString lastText() { return lastOfChat().value("text").toString(); }
    QString outbox(const QString &name)
    {
        QFile file(m_demo.local.dataDirectory() + "/outbox/" + name + ".jsonl");
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    DemoAccount m_demo;
};

QTEST_MAIN(TestControllers)
#include "tst_controllers.moc"
