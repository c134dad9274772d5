// The chat view, the conversation-info panel and their dialogs, driven by the real controllers
// on the demo account and by keys and clicks as an operator gives them.
#include "demoaccount.h"

#include "app/appfonts.h"
#include "app/appsettings.h"
#include "controller/chatcontroller.h"
#include "controller/conversationinfocontroller.h"
#include "local/chatapi.h"
#include "local/chatservice.h"
#include "local/httprouter.h"
#include "network/linkpreviewfetcher.h"
#include "repo/chatrepository.h"
#include "repo/resourcemanager.h"
#include "ui/chatmessagedelegate.h"
#include "ui/chatmessagemodel.h"
#include "ui/chatwidget.h"
#include "ui/conversationinfowidget.h"
#include "ui/messageboxprompts.h"
#include "ui/paymentdialog.h"
#include "ui/quickanswerspanel.h"
#include "ui/sendtocrmdialog.h"
#include "ui/settingsdialog.h"

#include <QtTest>
#include <QtWidgets>

// Answers the controllers' questions at once; the message boxes are checked on their own.
class AnsweringPrompts : public ModalPrompts
{
public:
    bool askYesNo(QWidget *, const QString &, const QString &) override { return false; }
    bool editCrmContact(QWidget *, CrmContact *) override { return false; }
};

const QString kShopChat = QStringLiteral("-DemoChat0001shop");
const QString kHelpChat = QStringLiteral("-DemoChat0002help");
// A colleague's chat the demo operator is not in.
const QString kIrinasChat = QStringLiteral("-DemoChat0004shop");

class TestChatWidget : public QObject
{
    Q_OBJECT

public slots:
    // Stands in for the browser.
    void openUrl(const QUrl &url) { m_opened << url; }

private slots:
    void initTestCase()
    {
        // The console's style and fonts, so that sizes and pictures are the real ones.
        QFile style(":/resources/styles/style.css");
        QVERIFY(style.open(QIODevice::ReadOnly));
        qApp->setStyleSheet(QString::fromUtf8(style.readAll()));
        AppFonts::addResourceFonts();
        AppFonts::installSubstitutions();
        // Test mode and a temporary home keep the cache and the download folder out of the user's.
        qputenv("HOME", m_home.path().toUtf8());
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_demo.start(this));
        QVERIFY(m_demo.signIn());
        ResourceManager::init(this);
        // The seed names its files without the service's port; downloads need the real one.
        const QString path = "chat-messages/" + kShopChat;
        QString json = QString::fromUtf8(QJsonDocument(m_demo.stored(path).toObject()).toJson());
        json.replace("https://127.0.0.1/", m_demo.local.baseUrl() + "/");
        QVERIFY(m_demo.write("PUT", path, json));
        m_sendKey = AppSettings::instance()->sendMessageKeySequence();
        m_chat = new ChatController(this);
        m_info = new ConversationInfoController(this);
        m_chat->setPrompts(&m_prompts);
        m_info->setPrompts(&m_prompts);
        m_page.resize(1100, 760);
        auto *layout = new QHBoxLayout(&m_page);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        m_view = new ChatWidget;
        m_panel = new ConversationInfoWidget;
        m_panel->setFixedWidth(300);
        layout->addWidget(m_view);
        layout->addWidget(m_panel);
        m_chat->installView(m_view);
        m_info->installView(m_panel);
        m_page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m_page));
        QDesktopServices::setUrlHandler("https", this, "openUrl");
    }

    void cleanupTestCase()
    {
        AppSettings::instance()->setSendMessageKeySequence(m_sendKey);
        AppSettings::instance()->setLinkPreviews(true);
        QDesktopServices::unsetUrlHandler("https");
    }

    void messagesOfEachType_data()
    {
        QTest::addColumn<QString>("chat");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("side");
        QTest::addColumn<QString>("caption");
        using M = ChatMessageModel;
        QTest::newRow("visitor") << kShopChat << "Выбираю ноутбук" << int(M::BubbleRow)
                                 << int(M::Left) << "";
        QTest::newRow("own") << kShopChat << "Меня зовут Ольга" << int(M::BubbleRow)
                             << int(M::Right) << "";
        QTest::newRow("robot") << kShopChat << "Подсказать что-нибудь" << int(M::SystemRow)
                               << int(M::Centre) << "";
        QTest::newRow("joined, own") << kShopChat << "Вы подключились к диалогу"
                                     << int(M::SystemRow) << int(M::Centre) << "";
        QTest::newRow("link preview")
            << kShopChat << "Ноутбук Aero 14 — купить" << int(M::LinkRow) << int(M::Right) << "";
        QTest::newRow("picture") << kShopChat << "elena-desk.png" << int(M::ImageRow)
                                 << int(M::Left) << "";
        QTest::newRow("file") << kShopChat << "Условия доставки.txt" << int(M::FileRow)
                              << int(M::Right) << "";
        QTest::newRow("payment") << kShopChat << "Ноутбук Aero 14" << int(M::PaymentRow)
                                 << int(M::Centre) << "";
        QTest::newRow("introduction") << kShopChat << "Посетитель представился"
                                      << int(M::IntroductionRow) << int(M::Centre) << "";
        QTest::newRow("colleague") << kHelpChat << "Подскажите номер заказа?" << int(M::BubbleRow)
                                   << int(M::Right) << "Ирина";
        QTest::newRow("colleague joined") << kHelpChat << "подключился(-ась) к диалогу"
                                          << int(M::SystemRow) << int(M::Centre) << "";
        QTest::newRow("colleague left")
            << kHelpChat << "покинул(а) диалог" << int(M::SystemRow) << int(M::Centre) << "";
    }

    void messagesOfEachType()
    {
        QFETCH(QString, chat);
        QFETCH(QString, text);
        openChat(chat);
        const ChatMessageModel *model = m_view->messageModel();
        // The row that shows exactly the text, else the first that shows it among more.
        int row = -1;
        for (int i = 0; i < model->rowCount() && row < 0; ++i) {
            if (model->index(i).data().toString() == text)
                row = i;
        }
        for (int i = 0; i < model->rowCount() && row < 0; ++i) {
            if (model->index(i).data().toString().contains(text))
                row = i;
        }
        QVERIFY2(row >= 0, qPrintable(text));
        const QModelIndex index = model->index(row);
        QTEST(index.data(ChatMessageModel::KindRole).toInt(), "kind");
        QTEST(index.data(ChatMessageModel::SideRole).toInt(), "side");
        QFETCH(QString, caption);
        if (!caption.isEmpty())
            QVERIFY(index.data(ChatMessageModel::CaptionRole).toString().startsWith(caption));
        else
            QCOMPARE(index.data(ChatMessageModel::CaptionRole).toString(), QString());
        QVERIFY(!index.data(ChatMessageModel::TimeRole).toString().isEmpty());
    }

    void opensAtTheNewMessages()
    {
        openChat(kShopChat);
        const ChatMessageModel *model = m_view->messageModel();
        QStringList shown;
        for (int i = 0; i < model->rowCount(); ++i)
            shown << model->index(i).data().toString();
        // The visitor's two unread questions follow the line; what she had read does not.
        const int line = shown.indexOf("Новые сообщения");
        QVERIFY(line > 0);
        QCOMPARE(shown.mid(line + 1),
                 (QStringList{"А можно привезти после шести вечера?",
                              "И ещё: сумка на 15 дюймов к нему подойдёт?"}));
        QCOMPARE(model->index(line - 1).data(ChatMessageModel::StatusRole).toString(), "read");
        QScrollBar *bar = list()->verticalScrollBar();
        QVERIFY(bar->maximum() > 0);
        QCOMPARE(bar->value(), bar->maximum());
        shot("chat-and-panel", &m_page);
        if (!qEnvironmentVariableIsEmpty("TALLYRA_SHOTS")) {
            // The pictures and cards higher up, once the thumbnails are in the cache.
            const int link = shown.indexOf("Ноутбук Aero 14 — купить в демо-магазине");
            list()->scrollTo(model->index(link), QAbstractItemView::PositionAtTop);
            // Painting asks for the thumbnails of the rows in sight.
            m_page.grab();
            for (int row = 0; row < model->rowCount(); ++row) {
                const QString preview = model->messageAt(row).getPreview();
                if (!preview.isEmpty()
                    && list()->viewport()->rect().intersects(list()->visualRect(model->index(row))))
                    QVERIFY(
                        waitUntil([&] { return ResourceManager::getInstance()->fileExists(preview); },
                                  20000));
            }
            QCoreApplication::processEvents();
            list()->scrollTo(model->index(link), QAbstractItemView::PositionAtTop);
            shot("chat-pictures", &m_page);
            list()->scrollToBottom();
        }
    }

    void sendKeys_data()
    {
        QTest::addColumn<int>("setting");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<bool>("sends");
        QTest::newRow("Enter sends")
            << int(AppSettings::EnterToSend) << int(Qt::NoModifier) << true;
        QTest::newRow("Shift+Enter breaks")
            << int(AppSettings::EnterToSend) << int(Qt::ShiftModifier) << false;
        QTest::newRow("Ctrl+Enter breaks")
            << int(AppSettings::EnterToSend) << int(Qt::ControlModifier) << false;
        QTest::newRow("Ctrl+Enter sends")
            << int(AppSettings::CtrlEnterToSend) << int(Qt::ControlModifier) << true;
        QTest::newRow("Enter breaks")
            << int(AppSettings::CtrlEnterToSend) << int(Qt::NoModifier) << false;
    }

    void sendKeys()
    {
        QFETCH(int, setting);
        QFETCH(int, modifiers);
        QFETCH(bool, sends);
        openChat(kShopChat);
        AppSettings::instance()->setSendMessageKeySequence(
            AppSettings::SendMessageKeySequence(setting));
        QPlainTextEdit *input = this->input();
        input->clear();
        QSignalSpy sent(m_view, &ChatWidget::sendMessage);
        const QString text = QString("Доставим завтра %1").arg(QTest::currentDataTag());
        type(input, text);
        QTest::keyClick(input, Qt::Key_Return, Qt::KeyboardModifiers(modifiers));
        if (sends) {
            QCOMPARE(sent.size(), 1);
            QCOMPARE(sent.at(0).at(0).toString(), text);
            QCOMPARE(input->toPlainText(), QString());
            // It reaches the chat through the controller.
            QVERIFY(waitUntil([&] { return lastText() == text; }, 20000));
        } else {
            QCOMPARE(sent.size(), 0);
            QCOMPARE(input->toPlainText(), text + "\n");
        }
        input->clear();
    }

    void quickAnswersBySlash()
    {
        openChat(kShopChat);
        AppSettings::instance()->setSendMessageKeySequence(AppSettings::EnterToSend);
        QPlainTextEdit *input = this->input();
        input->clear();
        QuickAnswersPanel *panel = m_view->quickAnswersPanel();
        QVERIFY(!panel->isVisibleTo(m_view));
        QTest::keyClicks(input, "/");
        QVERIFY(panel->isVisibleTo(m_view));
        const QStringList all = panel->shownTexts();
        QVERIFY(all.size() > 1);
        // A word of the second answer, typed in capitals, finds it among fewer.
        const QString word = all.at(1).section(' ', 0, 0).toUpper();
        type(input, word);
        const QStringList found = panel->shownTexts();
        QVERIFY(!found.isEmpty() && found.size() <= all.size());
        for (const QString &text : found)
            QVERIFY(text.contains(word, Qt::CaseInsensitive));
        QTest::keyClick(input, Qt::Key_Down);
        QTest::keyClick(input, Qt::Key_Up);
        shot("quick-answers", m_view);
        QTest::keyClick(input, Qt::Key_Return);
        QCOMPARE(input->toPlainText(), found.first());
        QVERIFY(!panel->isVisibleTo(m_view));
        input->clear();
    }

    void draftsAndTypingFollowTheChat()
    {
        openChat(kShopChat);
        type(input(), "Черновик для Елены");
        openChat(kHelpChat);
        QCOMPARE(input()->toPlainText(), QString());
        // Pavel's live text is in the seed of this chat.
        auto *typing = m_view->findChild<QLabel *>("label_chatWidget_typing");
        QVERIFY(typing->isVisibleTo(m_view));
        QVERIFY(typing->text().startsWith("Посетитель печатает…"));
        QVERIFY(typing->text().contains("Упаковка целая, только"));
        openChat(kShopChat);
        QCOMPARE(input()->toPlainText(), "Черновик для Елены");
        QVERIFY(!typing->isVisibleTo(m_view));
        input()->clear();
    }

    void jumpButtonCountsWhatArrivesAbove()
    {
        openChat(kShopChat);
        auto *jump = m_view->findChild<QPushButton *>("pushButton_chatWidget_jump");
        QScrollBar *bar = list()->verticalScrollBar();
        bar->setValue(0);
        QVERIFY(jump->isVisible());
        QCOMPARE(jump->text(), QString());
        const int rows = m_view->messageModel()->rowCount();
        QVERIFY(chatService()->visitorWrites({1, 101}, kShopChat, "Вы тут?"));
        QVERIFY(waitUntil([&] { return m_view->messageModel()->rowCount() > rows; }, 20000));
        QCOMPARE(bar->value(), 0);
        QCOMPARE(jump->text(), "1");
        QTest::mouseClick(jump, Qt::LeftButton);
        QCOMPARE(bar->value(), bar->maximum());
        QVERIFY(!jump->isVisible());
    }

    void fileDownloadsThenOpens()
    {
        openChat(kShopChat);
        ChatMessageModel *model = m_view->messageModel();
        int row = 0;
        while (row < model->rowCount() && model->index(row).data() != "Прайс-лист.csv")
            ++row;
        QVERIFY(row < model->rowCount());
        const QModelIndex index = model->index(row);
        list()->scrollTo(index);
        // The download link sits under the file's name and size.
        const QRect rect = list()->visualRect(index);
        QPoint link;
        for (int y = rect.top(); y < rect.bottom() && link.isNull(); y += 2) {
            for (int x = rect.left(); x < rect.right() && link.isNull(); x += 4) {
                list()->viewport()->setCursor(Qt::ArrowCursor);
                QTest::mouseMove(list()->viewport(), QPoint(x, y));
                if (list()->viewport()->cursor().shape() == Qt::PointingHandCursor)
                    link = QPoint(x, y);
            }
        }
        QVERIFY(!link.isNull());
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, Qt::NoModifier, link);
        QVERIFY(waitUntil([&] { return index.data(ChatMessageModel::ProgressRole).toInt() > 100; },
                          20000));
        QFile saved(ResourceManager::getInstance()->downloadPathForFile("Прайс-лист.csv"));
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QVERIFY(saved.size() > 0);
    }

    void droppedFileUploads()
    {
        openChat(kShopChat);
        const QString path = m_home.filePath("Смета.txt");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("смета") > 0);
        file.close();
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(m_view, &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(m_view, &drop);
        // An outgoing card while it goes, then the file among the messages.
        ChatMessageModel *model = m_view->messageModel();
        QCOMPARE(model->index(model->rowCount() - 1).data(ChatMessageModel::KindRole).toInt(),
                 int(ChatMessageModel::UploadRow));
        QVERIFY(waitUntil(
            [&] {
                return model->uploadCount() == 0
                       && model->index(model->rowCount() - 1).data() == "Смета.txt";
            },
            20000));
        QCOMPARE(model->index(model->rowCount() - 1).data(ChatMessageModel::KindRole).toInt(),
                 int(ChatMessageModel::FileRow));
    }

    void inviteListsOnlineColleaguesFirst()
    {
        openChat(kShopChat);
        auto *invite = m_panel->findChild<QToolButton *>("toolButton_conversationInfo_invite");
        QVERIFY(invite->isEnabled());
        QMenu *menu = invite->menu();
        QMetaObject::invokeMethod(menu, "aboutToShow");
        const QList<QAction *> actions = menu->actions();
        QVERIFY(actions.size() > 1);
        bool offline = false;
        for (QAction *action : actions) {
            const bool away = action->text().endsWith("— не в сети");
            QVERIFY(!offline || away);
            offline = away;
        }
        QVERIFY(!actions.first()->text().endsWith("— не в сети"));
        actions.first()->trigger();
        QVERIFY(waitUntil(
            [&] {
                const ChatMessageModel *model = m_view->messageModel();
                return model->index(model->rowCount() - 1)
                    .data()
                    .toString()
                    .startsWith("Вы пригласили в диалог: ");
            },
            20000));
    }

    void notConnectedBarConnects()
    {
        openChat(kIrinasChat);
        auto *bar = m_view->findChild<QFrame *>("frame_chatWidget_notConnected");
        QVERIFY(bar->isVisibleTo(m_view));
        QVERIFY(!m_view->findChild<QWidget *>("widget_chatWidget_inputArea")->isVisibleTo(m_view));
        QSignalSpy connectTo(m_chat, &ChatController::connectToDialog);
        QTest::mouseClick(m_view->findChild<QPushButton *>("pushButton_chatWidget_connect"),
                          Qt::LeftButton);
        QCOMPARE(connectTo.size(), 1);
        QCOMPARE(connectTo.at(0).at(0).toString(), kIrinasChat);
        // The panel's actions that need a participant say why they are off.
        auto *leave = m_panel->findChild<QPushButton *>("pushButton_conversationInfo_leave");
        QVERIFY(!leave->isEnabled());
        QCOMPARE(leave->toolTip(), "Вы не участвуете в этом диалоге");
    }

    void blockedBarUnblocks()
    {
        openChat(kShopChat);
        auto *bar = m_view->findChild<QFrame *>("frame_chatWidget_blocked");
        QVERIFY(!bar->isVisibleTo(m_view));
        QVERIFY(m_demo.write("PUT", "chats/" + kShopChat + "/visitorBlocked", "true"));
        QVERIFY(waitUntil([&] { return bar->isVisibleTo(m_view); }, 20000));
        auto *unblock = m_panel->findChild<QPushButton *>("pushButton_conversationInfo_unblock");
        QVERIFY(unblock->isEnabled());
        QTest::mouseClick(m_view->findChild<QPushButton *>("pushButton_chatWidget_unblock"),
                          Qt::LeftButton);
        QVERIFY(waitUntil([&] { return !bar->isVisibleTo(m_view); }, 20000));
        QCOMPARE(m_demo.stored("chats/" + kShopChat + "/visitorBlocked").toBool(), false);
        QVERIFY(!unblock->isEnabled());
        QCOMPARE(unblock->toolTip(), "Посетитель не заблокирован");
    }

    void panelHidesEmptyFields()
    {
        openChat(kShopChat);
        auto *name = m_panel->findChild<QLabel *>("label_conversationInfo_ip");
        QVERIFY(waitUntil([&] { return !name->text().isEmpty(); }, 20000));
        int shown = 0, hidden = 0;
        const auto grid = m_panel->findChild<QGridLayout *>("gridLayout_conversationInfo_visit");
        for (int row = 0; row < grid->rowCount(); ++row) {
            auto *caption = qobject_cast<QLabel *>(grid->itemAtPosition(row, 0)->widget());
            auto *value = qobject_cast<QLabel *>(grid->itemAtPosition(row, 1)->widget());
            QCOMPARE(value->isVisibleTo(m_panel), !value->text().isEmpty());
            QCOMPARE(caption->isVisibleTo(m_panel), !value->text().isEmpty());
            ++(value->text().isEmpty() ? hidden : shown);
        }
        QVERIFY(shown > 0 && hidden > 0);
        QVERIFY(m_panel->findChild<QPushButton *>("pushButton_conversationInfo_leave")->isEnabled());
    }

    void largeChatOpensAtItsEnd()
    {
        ChatWidget view;
        view.resize(800, 600);
        view.show();
        QList<FirebaseChatMessage> messages;
        const QDateTime start = QDateTime::currentDateTime().addDays(-3);
        for (int i = 0; i < 2000; ++i) {
            FirebaseChatMessage message;
            message.setId(QString("m%1").arg(i, 4, 10, QChar('0')));
            message.setType("text");
            message.setSender(i % 3 ? "visitor" : "operator");
            message.setText(QString("Сообщение %1 о доставке и оплате").arg(i));
            message.setSentAt(start.addSecs(i * 100));
            messages << message;
        }
        view.setMessages(messages);
        QScrollBar *bar = view.findChild<QListView *>()->verticalScrollBar();
        QVERIFY(bar->maximum() > 0);
        QCOMPARE(bar->value(), bar->maximum());
        const QListView *list = view.findChild<QListView *>();
        const QModelIndex last = view.messageModel()->index(view.messageModel()->rowCount() - 1);
        QVERIFY(list->viewport()->rect().contains(list->visualRect(last)));
    }

    // The first web address of a message gets its page's card under it, which opens the page.
    void linkPreviewCards_data()
    {
        QTest::addColumn<bool>("own");
        QTest::addColumn<QString>("page");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("site");
        QTest::newRow("open graph") << false << "og.html?card"
                                    << "Ноутбук Aero 14 — обзор и цены"
                                    << "Лёгкий ноутбук для работы и учёбы: экран 14 дюймов"
                                    << "Демо-магазин";
        QTest::newRow("title only") << false << "plain.html?card"
                                    << "Условия доставки и оплаты"
                                    << ""
                                    << "127.0.0.1";
        QTest::newRow("own message") << true << "og.html?own"
                                     << "Ноутбук Aero 14 — обзор и цены"
                                     << "Лёгкий"
                                     << "Демо-магазин";
    }

    void linkPreviewCards()
    {
        QFETCH(bool, own);
        QFETCH(QString, page);
        openChat(kShopChat);
        const QString url = m_demo.local.baseUrl() + "/test-pages/" + page;
        if (own) {
            AppSettings::instance()->setSendMessageKeySequence(AppSettings::EnterToSend);
            type(input(), "Подробнее здесь: " + url + ".");
            QTest::keyClick(input(), Qt::Key_Return);
        } else {
            QVERIFY(chatService()->visitorWrites({1, 101},
                                                 kShopChat,
                                                 "Вот этот, ftp://files.ru/a и " + url));
        }
        const QModelIndex index = linkRow(url);
        QVERIFY(waitUntil([&] { return index.data(ChatMessageModel::LinkPreviewRole).isValid(); },
                          20000));
        const LinkPreview preview = index.data(ChatMessageModel::LinkPreviewRole)
                                        .value<LinkPreview>();
        QTEST(preview.getTitle(), "title");
        QFETCH(QString, description);
        QCOMPARE(preview.getDescription().left(description.size()), description);
        QTEST(preview.getSite(), "site");
        // The card lies under the bubble, the whole of it a link to the page.
        list()->scrollToBottom();
        const QRect rect = list()->visualRect(index);
        QPoint card;
        const int x = own ? rect.right() - 40 : rect.left() + 40;
        for (int y = rect.bottom() - 4; y > rect.top() && card.isNull(); y -= 4) {
            list()->viewport()->setCursor(Qt::ArrowCursor);
            QTest::mouseMove(list()->viewport(), QPoint(x, y));
            if (list()->viewport()->cursor().shape() == Qt::PointingHandCursor)
                card = QPoint(x, y);
        }
        QVERIFY(!card.isNull());
        QVERIFY(rect.bottom() - card.y() < 40);
        if (!preview.getImage().isEmpty())
            QVERIFY(waitUntil(
                [&] {
                    return ResourceManager::getInstance()->fileExists(preview.getImage().toString());
                },
                20000));
        QCoreApplication::processEvents();
        shot("chat-link-preview-" + QString(QTest::currentDataTag()).replace(' ', '-'), &m_page);
        m_opened.clear();
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, Qt::NoModifier, card);
        QCOMPARE(m_opened, QList<QUrl>{QUrl(url)});
    }

    // A card whose picture turns out to be none gives up its place, and the row its height.
    void cardWithoutItsPicture()
    {
        m_demo.local.service()
            ->router()
            .addExact("/preview-test/no-picture.html", [](const HttpRequest &) {
                HttpResponse response(200);
                response.setBody("<meta property='og:title' content='T'>"
                                 "<meta property='og:image' "
                                 "content='/test-pages/plain.html'>",
                                 "text/html");
                return response;
            });
        openChat(kShopChat);
        const QString url = m_demo.local.baseUrl() + "/preview-test/no-picture.html";
        QVERIFY(chatService()->visitorWrites({1, 101}, kShopChat, url));
        const QModelIndex index = linkRow(url);
        QVERIFY(waitUntil([&] { return index.data(ChatMessageModel::LinkPreviewRole).isValid(); },
                          20000));
        list()->scrollToBottom();
        const int withPicture = list()->visualRect(index).height();
        QSignalSpy failed(m_view->findChild<ChatMessageDelegate *>(),
                          &ChatMessageDelegate::thumbnailReady);
        // Painting the card asks for its picture.
        m_page.grab();
        QVERIFY(waitUntil([&] { return !failed.isEmpty(); }, 20000));
        // The square took more height than the card's two lines of words.
        const int without = list()->visualRect(index).height();
        QVERIFY2(without < withPicture - 16,
                 qPrintable(QString("%1 %2").arg(without).arg(withPicture)));
    }

    // The same page in two messages is asked for once.
    void samePageFetchedOnce()
    {
        openChat(kShopChat);
        QSignalSpy started(m_view->linkPreviewFetcher(), &LinkPreviewFetcher::started);
        const QString url = m_demo.local.baseUrl() + "/test-pages/og.html?twice";
        QVERIFY(chatService()->visitorWrites({1, 101}, kShopChat, "Смотрите " + url));
        QVERIFY(chatService()->visitorWrites({1, 101}, kShopChat, url + " — вот он ещё раз"));
        const ChatMessageModel *model = m_view->messageModel();
        QVERIFY(waitUntil(
            [&] {
                int cards = 0;
                for (int row = 0; row < model->rowCount(); ++row) {
                    const QModelIndex index = model->index(row);
                    cards += index.data(ChatMessageModel::WebLinkRole) == url
                             && index.data(ChatMessageModel::LinkPreviewRole).isValid();
                }
                return cards == 2;
            },
            20000));
        QCOMPARE(started.size(), 1);
    }

    // Turned off in the settings, no page is asked for; turned on again, the card comes.
    void noPreviewsWhenTurnedOff()
    {
        openChat(kShopChat);
        const auto setInDialog = [](bool enabled) {
            SettingsDialog dialog;
            auto *box = dialog.findChild<QCheckBox *>("checkBox_settings_linkPreviews");
            QCOMPARE(box->isChecked(), !enabled);
            box->setChecked(enabled);
            dialog.accept();
            QCOMPARE(AppSettings::instance()->linkPreviews(), enabled);
        };
        setInDialog(false);
        QSignalSpy started(m_view->linkPreviewFetcher(), &LinkPreviewFetcher::started);
        const QString url = m_demo.local.baseUrl() + "/test-pages/og.html?off";
        QVERIFY(chatService()->visitorWrites({1, 101}, kShopChat, "Без превью: " + url));
        const QModelIndex index = linkRow(url);
        QVERIFY(index.isValid());
        QCOMPARE(started.size(), 0);
        QVERIFY(!index.data(ChatMessageModel::LinkPreviewRole).isValid());
        // The cards shown before go as well.
        const ChatMessageModel *model = m_view->messageModel();
        for (int row = 0; row < model->rowCount(); ++row)
            QVERIFY(!model->index(row).data(ChatMessageModel::LinkPreviewRole).isValid());
        setInDialog(true);
        QCOMPARE(started.size(), 1);
        QVERIFY(waitUntil([&] { return index.data(ChatMessageModel::LinkPreviewRole).isValid(); },
                          20000));
    }

    void crmDialogNeedsNameAndContact_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("email");
        QTest::addColumn<QString>("phone");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("name and e-mail") << "Елена"
                                         << "elena.v@example.ru"
                                         << "" << true;
        QTest::newRow("name and phone") << "Елена"
                                        << ""
                                        << "+7 915 200-14-88" << true;
        QTest::newRow("no name") << ""
                                 << "elena.v@example.ru"
                                 << "" << false;
        QTest::newRow("no contact") << "Елена"
                                    << ""
                                    << "" << false;
        QTest::newRow("bad e-mail") << "Елена"
                                    << "elena.v@"
                                    << "" << false;
        QTest::newRow("short phone") << "Елена"
                                     << ""
                                     << "12-34" << false;
        QTest::newRow("bad e-mail beside a phone") << "Елена"
                                                   << "elena"
                                                   << "+7 915 200-14-88" << false;
    }

    void crmDialogNeedsNameAndContact()
    {
        QFETCH(QString, name);
        QFETCH(QString, email);
        QFETCH(QString, phone);
        SendToCrmDialog dialog;
        CrmContact found;
        found.emails = QStringList{"found@example.ru"};
        dialog.setContact(found);
        dialog.show();
        type(dialog.findChild<QLineEdit *>("lineEdit_sendToCrmDialog_name"), name);
        auto *emailBox = dialog.findChild<QComboBox *>("comboBox_sendToCrmDialog_email");
        emailBox->lineEdit()->clear();
        QTest::keyClicks(emailBox->lineEdit(), email);
        QTest::keyClicks(dialog.findChild<QComboBox *>("comboBox_sendToCrmDialog_phone")->lineEdit(),
                         phone);
        auto *send = dialog.findChild<QPushButton *>("pushButton_sendToCrmDialog_send");
        QTEST(send->isEnabled(), "enabled");
        if (send->isEnabled()) {
            QTest::mouseClick(send, Qt::LeftButton);
            QCOMPARE(dialog.result(), int(QDialog::Accepted));
            QCOMPARE(dialog.contact().email, email);
        }
        if (QString(QTest::currentDataTag()) == "name and e-mail")
            shot("crm-dialog", &dialog);
    }

    void paymentDialogChecksTheAmount_data()
    {
        QTest::addColumn<QString>("amount");
        QTest::addColumn<QString>("sent");
        QTest::newRow("whole") << "84990"
                               << "84990";
        QTest::newRow("comma decimals") << "1499,5"
                                        << "1499.50";
        QTest::newRow("zero") << "0"
                              << "";
        QTest::newRow("three decimals") << "10.005"
                                        << "";
        QTest::newRow("letters") << "сто"
                                 << "";
        QTest::newRow("too much") << "1000001"
                                  << "";
    }

    void paymentDialogChecksTheAmount()
    {
        QFETCH(QString, amount);
        QFETCH(QString, sent);
        PaymentDialog dialog;
        dialog.show();
        QSignalSpy requested(&dialog, &PaymentDialog::paymentRequested);
        type(dialog.findChild<QLineEdit *>("lineEdit_paymentDialog_title"), "Ноутбук");
        type(dialog.findChild<QLineEdit *>("lineEdit_paymentDialog_amount"), amount);
        auto *send = dialog.findChild<QPushButton *>("pushButton_paymentDialog_send");
        auto *error = dialog.findChild<QLabel *>("label_paymentDialog_error");
        QCOMPARE(send->isEnabled(), !sent.isEmpty());
        QCOMPARE(error->isVisibleTo(&dialog), sent.isEmpty());
        QTest::mouseClick(send, Qt::LeftButton);
        QCOMPARE(requested.size(), sent.isEmpty() ? 0 : 1);
        if (!sent.isEmpty()) {
            QCOMPARE(requested.at(0).at(2).toString(), sent);
            // A refusal keeps the dialog open with the reason.
            dialog.setResult(false, "Платёжная система недоступна");
            QVERIFY(dialog.isVisible());
            QCOMPARE(error->text(), "Платёжная система недоступна");
            if (sent == "84990")
                shot("payment-dialog", &dialog);
        }
    }

    void questionsDefaultToNo()
    {
        QString buttons;
        QTimer::singleShot(0, this, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            QVERIFY(box);
            for (QAbstractButton *button : box->buttons())
                buttons += button->text() + (button == box->defaultButton() ? "*" : "") + " ";
            QTest::keyClick(box, Qt::Key_Return);
        });
        MessageBoxPrompts prompts;
        QVERIFY(!prompts.askYesNo(&m_page, "Завершение диалога", "Завершить диалог?"));
        QStringList shown = buttons.split(' ', Qt::SkipEmptyParts);
        shown.sort();
        QCOMPARE(shown, (QStringList{"Да", "Нет*"}));
    }

private:
    // Types as the keyboard would, Cyrillic included, which QTest::keyClicks cannot.
    static void type(QWidget *widget, const QString &text)
    {
        for (const QChar c : text) {
            QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, QString(c));
            QKeyEvent release(QEvent::KeyRelease, Qt::Key_unknown, Qt::NoModifier, QString(c));
            QApplication::sendEvent(widget, &press);
            QApplication::sendEvent(widget, &release);
        }
    }
    void openChat(const QString &chatId)
    {
        if (ChatRepository::getInstance()->getChatId() == chatId)
            return;
        m_demo.manager->disconnectFromChat();
        m_chat->clear();
        QSignalSpy loaded(ChatRepository::getInstance(), &ChatRepository::initialized);
        m_info->setChatId(chatId);
        m_demo.manager->connectToChat(chatId);
        QVERIFY(waitUntil([&] { return !loaded.isEmpty(); }, 20000));
        QVERIFY(m_view->messageModel()->rowCount() > 0);
    }
    ChatService *chatService() { return m_demo.local.service()->chatApi()->chatService(); }
    // The row of the message that links to the URL, once it has arrived.
    QModelIndex linkRow(const QString &url)
    {
        const ChatMessageModel *model = m_view->messageModel();
        QModelIndex found;
        waitUntil(
            [&] {
                for (int row = model->rowCount() - 1; row >= 0 && !found.isValid(); --row) {
                    if (model->index(row).data(ChatMessageModel::WebLinkRole) == url)
                        found = model->index(row);
                }
                return found.isValid();
            },
            20000);
        return found;
    }
    QListView *list() const
    {
        return m_view->findChild<QListView *>("listView_chatWidget_messages");
    }
    QPlainTextEdit *input() const
    {
        return m_view->findChild<QPlainTextEdit *>("plainTextEdit_chatWidget_input");
    }
    QString lastText()
    {
        return m_demo.stored("chats/" + kShopChat + "/lastMessage")
            .toObject()
            .value("text")
            .toString();
    }
    // With TALLYRA_SHOTS set, what a person would see is saved there as a picture.
    void shot(const QString &name, QWidget *widget)
    {
        const QString dir = qEnvironmentVariable("TALLYRA_SHOTS");
        if (dir.isEmpty())
            return;
        QDir().mkpath(dir);
        // Layouts settle before the picture is taken, as they would before a paint.
        // Each level's layout asks its parent's in turn.
        for (QWidget *level = widget->focusWidget(); level; level = level->parentWidget())
            QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        widget->grab().save(dir + "/" + name + ".png");
    }

    QTemporaryDir m_home;
    DemoAccount m_demo;
    AnsweringPrompts m_prompts;
    ChatController *m_chat = nullptr;
    ConversationInfoController *m_info = nullptr;
    QWidget m_page;
    ChatWidget *m_view = nullptr;
    ConversationInfoWidget *m_panel = nullptr;
    AppSettings::SendMessageKeySequence m_sendKey = AppSettings::EnterToSend;
    QList<QUrl> m_opened;
};

QTEST_MAIN(TestChatWidget)
#include "tst_chatwidget.moc"
