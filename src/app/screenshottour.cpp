#include "app/screenshottour.h"

#include "app/appcontroller.h"
#include "app/notificationbuilder.h"
#include "repo/chatsrepository.h"
#include "ui/chathistorymessageswidget.h"
#include "ui/chatmessagemodel.h"
#include "ui/chatwidget.h"
#include "ui/conversationlistmodel.h"
#include "ui/conversationlistwidget.h"
#include "ui/emojipicker.h"
#include "ui/franchiseitemwidget.h"
#include "ui/imageviewer.h"
#include "ui/mainwindow.h"
#include "ui/notificationwindow.h"
#include "ui/settingsdialog.h"
#include "util/util.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDebug>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStackedWidget>

#include <QTableView>
#include <QTableWidget>
#include <memory>

namespace {

// How long a step may wait for the console to get there.
constexpr int StepTimeoutMs = 30000;
constexpr int OptionalStepTimeoutMs = 5000;
constexpr int PollMs = 100;

} // namespace

ScreenshotTour::ScreenshotTour(AppController *controller, const QString &directory, QObject *parent)
    : QObject(parent)
    , m_controller(controller)
    , m_directory(directory)
{
    m_poll.setInterval(PollMs);
    connect(&m_poll, &QTimer::timeout, this, &ScreenshotTour::next);
}

void ScreenshotTour::add(const QString &name,
                         std::function<bool()> ready,
                         std::function<void()> act,
                         bool optional)
{
    m_steps.append({name, std::move(ready), std::move(act), optional});
}

void ScreenshotTour::save(QWidget *widget, const QString &name)
{
    const QString path = m_directory.filePath(name + QStringLiteral(".png"));
    if (widget->grab().save(path)) {
        ++m_saved;
        qInfo().noquote() << "TOUR SAVED" << path;
    } else {
        qWarning().noquote() << "TOUR COULD NOT SAVE" << path;
    }
}

void ScreenshotTour::next()
{
    if (m_steps.isEmpty()) {
        m_poll.stop();
        emit finished(true);
        return;
    }
    Step &step = m_steps.first();
    if (!step.ready()) {
        m_waited += PollMs;
        if (m_waited < (step.optional ? OptionalStepTimeoutMs : StepTimeoutMs))
            return;
        if (step.optional) {
            qInfo().noquote() << "TOUR STEP SKIPPED" << step.name;
            m_waited = 0;
            m_steps.removeFirst();
            return;
        }
        qWarning().noquote() << "TOUR STEP TIMED OUT" << step.name;
        m_poll.stop();
        emit finished(false);
        return;
    }
    m_waited = 0;
    const Step current = m_steps.takeFirst();
    current.act();
}

void ScreenshotTour::start()
{
    m_directory.mkpath(QStringLiteral("."));
    MainWindow *window = m_controller->mainWindow();
    const auto find = [window](const char *name) { return window->findChild<QWidget *>(name); };
    const auto page = [window](const char *stack) {
        return window->findChild<QStackedWidget *>(stack)->currentWidget()->objectName();
    };
    const auto always = [] { return true; };
    const auto visible = [window](const char *name) {
        const QWidget *widget = window->findChild<QWidget *>(name);
        return widget && widget->isVisible();
    };
    const auto clickIn = [](QWidget *parent, const char *name) {
        if (auto *button = parent->findChild<QAbstractButton *>(name))
            button->click();
    };
    const auto shot = [this, window](const QString &name) {
        return [this, window, name] { save(window, name); };
    };
    const auto signIn = [window](const QString &login, const QString &password) {
        QList<QLineEdit *> fields;
        for (QLineEdit *field : window->findChildren<QLineEdit *>()) {
            if (field->objectName().startsWith(QLatin1String("lineEdit_"))
                && field->isVisibleTo(window)
                && field->objectName() != QLatin1String("lineEdit_conversationList_search"))
                fields.append(field);
        }
        for (QLineEdit *field : fields)
            field->setText(field->echoMode() == QLineEdit::Password ? password : login);
        window->findChild<QPushButton *>("pushButton_login")->click();
    };
    const auto listed = [window] { return window->conversationList()->model()->rowCount() > 0; };
    const QString login = qEnvironmentVariable("TALLYRA_TOUR_LOGIN",
                                               QStringLiteral("manager@demo.tallyra.local"));
    const QString password = qEnvironmentVariable("TALLYRA_TOUR_PASSWORD",
                                                  QStringLiteral("demo12345"));

    window->resize(1440, 900);
    add(
        "sign-in", [=] { return page("stackedWidget_main") == "page_signIn"; }, shot("01-sign-in"));
    add("sign-in error", always, [=] { signIn(login, QStringLiteral("not-the-password")); });
    add(
        "error shown",
        [=] { return find("label_login_error")->isVisible(); },
        shot("02-sign-in-error"));
    add("manager", always, [=] { signIn(login, password); });
    add(
        "service choice",
        [=] { return page("stackedWidget_signIn") == "page_franchise"; },
        shot("03-service-choice"));
    add("choose", always, [=] {
        window->findChildren<FranchiseItemWidget *>().first()->setFocus();
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        QApplication::sendEvent(window->findChildren<FranchiseItemWidget *>().first(), &press);
    });
    add(
        "conversations",
        [=] { return page("stackedWidget_main") == "page_main" && listed(); },
        shot("04-conversations-mine"));
    add("others", always, [=] { window->setChatsPage(Util::CategoryNotMy); });
    add("others shown", listed, shot("05-conversations-others"));
    add("missed", always, [=] {
        window->setChatsPage(Util::CategoryMissed);
        save(window, QStringLiteral("06-conversations-missed"));
        window->setChatsPage(Util::CategoryMy);
    });
    for (const auto &size : {std::make_pair(900, 4),
                             std::make_pair(1000, 1),
                             std::make_pair(1300, 2),
                             std::make_pair(1700, 3)}) {
        add(QStringLiteral("width %1").arg(size.first), always, [=] {
            window->resize(size.first, 900);
        });
        add(
            QStringLiteral("width %1 shown").arg(size.first),
            [=] { return window->sizeState() == size.second; },
            shot(QStringLiteral("07-width-state-%1-%2px").arg(size.second).arg(size.first)));
    }
    // A dialog of a colleague: the bar that offers to join it, then the chat once joined.
    // The operator's own first chat (the demo's blocked spammer), for its bar later on.
    const auto ownChat = std::make_shared<QString>();
    add("open chat", always, [=] {
        window->resize(1440, 900);
        *ownChat = window->conversationList()->visibleChats().value(0);
        window->setChatsPage(Util::CategoryNotMy);
        m_controller->onOpenDialog(window->conversationList()->visibleChats().value(0));
    });
    add(
        "chat",
        [=] {
            return page("stackedWidget_chat") == "page_chatView"
                   && visible("frame_chatWidget_notConnected");
        },
        [=] {
            save(window, QStringLiteral("08-chat-not-joined"));
            clickIn(window, "pushButton_chatWidget_connect");
        });
    add(
        "chat joined",
        [=] { return !visible("frame_chatWidget_notConnected"); },
        [=] {
            window->findChild<QPlainTextEdit *>("plainTextEdit_chatWidget_input")
                ->setPlainText(QStringLiteral("Сейчас уточню у склада и вернусь с ответом."));
            save(window, QStringLiteral("08-chat"));
            window->resize(900, 900);
        });
    add("quick answers", always, [=] { clickIn(window, "toolButton_chatWidget_quickAnswers"); });
    add(
        "quick answers shown",
        [=] { return visible("widget_chatWidget_quickAnswers"); },
        [=] {
            save(window, QStringLiteral("08-quick-answers"));
            clickIn(window, "toolButton_chatWidget_quickAnswers");
            clickIn(window, "toolButton_chatWidget_emoji");
        });
    add(
        "emoji picker",
        [=] {
            const auto *picker = window->findChild<EmojiPicker *>();
            return picker && picker->isVisible();
        },
        [=] {
            auto *picker = window->findChild<EmojiPicker *>();
            save(picker, QStringLiteral("08-emoji-picker"));
            picker->hide();
            const QStringList images = window->findChild<ChatWidget *>()->messageModel()->imageUrls();
            if (images.isEmpty())
                return;
            auto *viewer = new ImageViewer(window);
            viewer->setAttribute(Qt::WA_DeleteOnClose);
            viewer->resize(900, 700);
            viewer->showImages(images, images.value(0));
        });
    add(
        "image viewer",
        [=] {
            const auto *picture = window->findChild<QLabel *>("label_imageViewer_picture");
            return picture && !picture->pixmap(Qt::ReturnByValue).isNull();
        },
        [=] {
            auto *viewer = window->findChild<ImageViewer *>();
            save(viewer, QStringLiteral("08-image-viewer"));
            viewer->close();
        },
        true);
    add(
        "chat narrow",
        [=] { return window->sizeState() == 4; },
        [=] {
            save(window, QStringLiteral("09-chat-width-state-4"));
            window->resize(1440, 900);
        });
    // The chat's two dialogs, each shot once it shows and then closed.
    for (const auto &dialog : {std::make_pair("pushButton_conversationInfo_crm", "09-send-to-crm"),
                               std::make_pair("toolButton_chatWidget_payment", "09-payment-link")}) {
        const QString name = QLatin1String(dialog.second);
        // Clicked from a timer of its own: a dialog's exec() inside the poll's own timeout would
        // hold the poll, which Qt does not fire again while its handler runs.
        add(name, always, [=] {
            QTimer::singleShot(0, window, [=] { clickIn(window, dialog.first); });
        });
        add(
            name + QStringLiteral(" shown"),
            [] { return QApplication::activeModalWidget() != nullptr; },
            [=] {
                QWidget *modal = QApplication::activeModalWidget();
                save(window, name + QStringLiteral("-blackout"));
                save(modal, name);
                modal->close();
            },
            true);
        add(
            name + QStringLiteral(" closed"),
            [] { return !QApplication::activeModalWidget(); },
            [] {});
    }
    // A colleague's chat whose visitor is typing, then the operator's chat with a blocked visitor.
    add("typing chat", always, [=] {
        window->setChatsPage(Util::CategoryNotMy);
        m_controller->onOpenDialog(window->conversationList()->visibleChats().value(0));
    });
    add(
        "typing shown",
        [=] { return visible("label_chatWidget_typing"); },
        shot(QStringLiteral("08-chat-typing")),
        true);
    add("own chat", always, [=] {
        window->setChatsPage(Util::CategoryMy);
        m_controller->onOpenDialog(*ownChat);
    });
    add(
        "blocked shown",
        [=] { return visible("frame_chatWidget_blocked"); },
        shot(QStringLiteral("08-chat-blocked")),
        true);
    add("back", always, [=] {
        m_controller->onButtonBackClicked();
        window->setChatsPage(Util::CategoryMy);
        window->showPage(MainWindow::VisitorsPage);
    });
    add(
        "visitors",
        [=] {
            const auto *table = window->findChild<QTableView *>("tableView_visitorsOnline_list");
            return table->model() && table->model()->rowCount() > 0;
        },
        [=] {
            save(window, QStringLiteral("10-visitors-online"));
            window->showPage(MainWindow::HistoryPage);
            clickIn(window->findChild<QWidget *>("page_history"), "pushButton_historyPeriod_month");
        });
    const auto loaded = [=](const char *pageName, const char *loading, const char *table) {
        QWidget *host = window->findChild<QWidget *>(pageName);
        return !host->findChild<QWidget *>(loading)->isVisible()
               && host->findChild<QTableWidget *>(table)->rowCount() > 0;
    };
    add(
        "history",
        [=] {
            return loaded("page_history",
                          "label_chatHistory_loading",
                          "tableWidget_chatHistory_list");
        },
        [=] { window->findChild<QTableWidget *>("tableWidget_chatHistory_list")->selectRow(0); });
    add(
        "history dialog",
        [=] { return !window->findChild<ChatHistoryMessagesWidget *>()->messagesText().isEmpty(); },
        [=] {
            save(window, QStringLiteral("11-history"));
            window->showPage(MainWindow::OfflinePage);
            clickIn(window->findChild<QWidget *>("page_offline"), "pushButton_historyPeriod_month");
        });
    add(
        "offline requests",
        [=] {
            return loaded("page_offline",
                          "label_offlineMessages_loading",
                          "tableWidget_offlineMessages_list");
        },
        [=] {
            save(window, QStringLiteral("12-offline-requests"));
            window->showPage(MainWindow::ChatsPage);
        });
    add("settings", always, [=] {
        auto *dialog = new SettingsDialog(window);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        window->setBlackout(true);
        dialog->show();
        QTimer::singleShot(400, this, [=] {
            save(window, QStringLiteral("13-settings-blackout"));
            save(dialog, QStringLiteral("14-settings-dialog"));
            dialog->close();
            window->setBlackout(false);
        });
    });
    add(
        "tray",
        [=] { return !find("widget_blackout")->isVisible(); },
        [=] {
            window->trayMenu()->adjustSize();
            save(window->trayMenu(), QStringLiteral("15-tray-menu"));
        });
    add("disconnected", always, [=] {
        window->onConnectionChanged(false);
        save(window, QStringLiteral("16-disconnected"));
        window->onConnectionChanged(true);
    });
    add("notices", always, [=] {
        NotificationWindow *chat = NotificationBuilder::buildChatNotification(
            QString(),
            QStringLiteral("Елена Васильева"),
            QStringLiteral("А доставка в Казань сколько займёт? 🚚"),
            QString(),
            QString(),
            60000);
        NotificationWindow *reminder
            = NotificationBuilder::buildNotification(QStringLiteral("Обратите внимание"),
                                                     QStringLiteral(
                                                         "У вас есть 3 непрочитанных сообщений"),
                                                     60000,
                                                     QString());
        save(chat, QStringLiteral("17-notice-chat"));
        save(reminder, QStringLiteral("18-notice-reminder"));
        // The stack as the screen shows it: each notice drawn where it was placed.
        NotificationWindow *second
            = NotificationBuilder::buildChatNotification(QString(),
                                                         QStringLiteral("Николай"),
                                                         QStringLiteral("А есть View 27C в белом?"),
                                                         QString(),
                                                         QString(),
                                                         60000);
        QRect area;
        const QList<QWidget *> stack{chat, second, reminder};
        for (QWidget *notice : stack)
            area |= notice->geometry();
        QPixmap picture(area.size());
        picture.fill(QColor(0x40, 0x44, 0x5a));
        for (QWidget *notice : stack)
            notice->render(&picture, notice->geometry().topLeft() - area.topLeft());
        const QString path = m_directory.filePath(QStringLiteral("19-notices-stack.png"));
        if (picture.save(path))
            qDebug().noquote() << "TOUR SAVED" << path;
    });
    m_poll.start();
}
