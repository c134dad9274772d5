#include "ui/mainwindow.h"
#include "ui_mainpage.h"
#include "ui_mainwindow.h"

#include "app/appsettings.h"
#include "repo/authsession.h"
#include "repo/usersrepository.h"
#include "ui/avatarcache.h"
#include "ui/blackoutoverlay.h"
#include "ui/conversationlistwidget.h"
#include "ui/franchiseitemwidget.h"
#include "ui/openchatsstrip.h"
#include "ui/settingsdialog.h"
#include "util/util.h"

#include <QActionGroup>
#include <QApplication>
#include <QApplicationStateChangeEvent>
#include <QButtonGroup>
#include <QCloseEvent>
#include <QDebug>
#include <QHBoxLayout>
#include <QMenu>
#include <QPainter>
#include <QShortcut>
#include <QStyle>
#include <QSvgRenderer>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QToolButton>

namespace {

QIcon icon(const QString &name, const QString &tone)
{
    return QIcon(QStringLiteral(":/resources/images/icons/%1-%2.svg").arg(name, tone));
}

// The sign-in form's icon, drawn here: through QIcon an SVG file loads Qt's SVG icon plug-in,
// which would hold up the form's first frame.
QIcon drawnIcon(const QString &name, const QString &tone, int size)
{
    QSvgRenderer renderer(QStringLiteral(":/resources/images/icons/%1-%2.svg").arg(name, tone));
    const qreal ratio = qApp->devicePixelRatio();
    QPixmap pixmap(QSize(size, size) * ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    renderer.render(&painter);
    painter.end();
    pixmap.setDevicePixelRatio(ratio);
    return QIcon(pixmap);
}

void repolish(QWidget *widget)
{
    widget->style()->unpolish(widget);
    widget->style()->polish(widget);
}

} // namespace

int MainWindow::widthState(int width)
{
    if (width >= 1601)
        return 3;
    if (width >= 1100)
        return 2;
    if (width >= 955)
        return 1;
    return 4;
}

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::MainWindow>())
    , m_tray(new QSystemTrayIcon(this))
    , m_trayMenu(new QMenu(this))
    , m_statusGroup(new QActionGroup(this))
{
    m_ui->setupUi(this);
    setWindowIcon(QIcon(QPixmap::fromImage(Util::appIcon())));
    m_blackoutOverlay = new BlackoutOverlay(m_ui->centralWidget_mainWindow);

    setUpSignIn();
    setUpActions();
    setUpTray();

    m_ui->stackedWidget_main->setCurrentIndex(0);
    m_ui->stackedWidget_signIn->setCurrentIndex(0);
    qApp->installEventFilter(this);
    m_sizeState = widthState(width());
}

MainWindow::~MainWindow()
{
    qApp->removeEventFilter(this);
}

void MainWindow::ensureMainPage()
{
    if (m_page)
        return;
    m_page = std::make_unique<Ui::MainPage>();
    m_page->setupUi(m_ui->page_main);
    m_conversationList = new ConversationListWidget(m_ui->page_main);
    m_openChatsHorizontal = new OpenChatsStrip(Qt::Horizontal, m_ui->page_main);
    m_openChatsVertical = new OpenChatsStrip(Qt::Vertical, m_ui->page_main);
    m_categories = new QButtonGroup(this);
    m_cardMenu = new QMenu(this);
    m_page->verticalLayout_conversationListHost->addWidget(m_conversationList);
    m_page->horizontalLayout_openChatsHorizontalHost->addWidget(m_openChatsHorizontal);
    m_page->verticalLayout_openChatsVerticalHost->addWidget(m_openChatsVertical);

    setUpMenu();
    setUpShortcuts();

    m_page->label_connectionBanner->setVisible(m_disconnected);
    m_page->stackedWidget_chat->setCurrentWidget(m_page->page_chatEmpty);
    applySizeState(m_sizeState);
    emit mainPageCreated();
}

ConversationListWidget *MainWindow::conversationList()
{
    ensureMainPage();
    return m_conversationList;
}

OpenChatsStrip *MainWindow::horizontalOpenChats()
{
    ensureMainPage();
    return m_openChatsHorizontal;
}

OpenChatsStrip *MainWindow::verticalOpenChats()
{
    ensureMainPage();
    return m_openChatsVertical;
}

void MainWindow::setUpSignIn()
{
    m_ui->label_login_logo->setPixmap(QIcon(QPixmap::fromImage(Util::appIcon())).pixmap(56, 56));
    m_ui->label_login_error->hide();
    m_ui->lineEdit_login->setPlaceholderText(tr("you@company.ru"));
    // The eye shows and hides the password.
    QAction *eye = m_ui->lineEdit_password->addAction(drawnIcon(QStringLiteral("eye"),
                                                                QStringLiteral("muted"),
                                                                32),
                                                      QLineEdit::TrailingPosition);
    eye->setToolTip(tr("Показать пароль"));
    connect(eye, &QAction::triggered, this, [this, eye] {
        const bool shown = m_ui->lineEdit_password->echoMode() == QLineEdit::Normal;
        m_ui->lineEdit_password->setEchoMode(shown ? QLineEdit::Password : QLineEdit::Normal);
        eye->setIcon(icon(shown ? QStringLiteral("eye") : QStringLiteral("eye-off"),
                          QStringLiteral("muted")));
        eye->setToolTip(shown ? tr("Показать пароль") : tr("Скрыть пароль"));
    });
    clearErrors();
    connect(m_ui->pushButton_login, &QPushButton::clicked, this, &MainWindow::submitSignIn);
    connect(m_ui->lineEdit_login, &QLineEdit::returnPressed, this, &MainWindow::submitSignIn);
    connect(m_ui->lineEdit_password, &QLineEdit::returnPressed, this, &MainWindow::submitSignIn);
    connect(m_ui->pushButton_franchiseBack, &QPushButton::clicked, this, &MainWindow::showLoginForm);
}

void MainWindow::setUpActions()
{
    // The operator's statuses, settings, sign-out and quit: the card's menu and the tray's.
    m_online = new QAction(tr("В сети"), this);
    m_online->setObjectName(QStringLiteral("trayAction_userOnline"));
    m_away = new QAction(tr("Нет на месте"), this);
    m_away->setObjectName(QStringLiteral("trayAction_userAway"));
    m_logout = new QAction(tr("Выйти"), this);
    m_logout->setObjectName(QStringLiteral("trayAction_logout"));
    m_quit = new QAction(tr("Закрыть приложение"), this);
    m_quit->setObjectName(QStringLiteral("trayAction_quit"));
    // Its icon comes with the main page's menu: see setUpMenu().
    m_settings = new QAction(tr("Настройки…"), this);
    for (QAction *status : {m_online, m_away}) {
        status->setCheckable(true);
        status->setEnabled(false);
        m_statusGroup->addAction(status);
    }
    m_statusGroup->setExclusive(true);
    m_logout->setEnabled(false);
    connect(m_online, &QAction::triggered, this, [this] { emit userOnline(true); });
    connect(m_away, &QAction::triggered, this, [this] { emit userOnline(false); });
    connect(m_logout, &QAction::triggered, this, &MainWindow::onLogout);
    connect(m_settings, &QAction::triggered, this, &MainWindow::openSettings);
    connect(m_quit, &QAction::triggered, this, [this] {
        QApplication::setQuitOnLastWindowClosed(true);
        m_closing = true;
        close();
    });
}

void MainWindow::setUpMenu()
{
    m_page->label_sideMenu_logo->setPixmap(
        QIcon(QPixmap::fromImage(Util::appIcon())).pixmap(32, 32));
    const struct
    {
        QPushButton *button;
        const char *icon;
        Page page;
    } items[] = {{m_page->menuItem_chat, "message-circle", ChatsPage},
                 {m_page->menuItem_usersOnline, "users", VisitorsPage},
                 {m_page->menuItem_dialogsHistory, "history", HistoryPage},
                 {m_page->menuItem_offlineRequests, "inbox", OfflinePage}};
    for (const auto &item : items) {
        QIcon menuIcon;
        menuIcon.addFile(QStringLiteral(":/resources/images/icons/%1-menu.svg")
                             .arg(QLatin1String(item.icon)),
                         QSize(),
                         QIcon::Normal,
                         QIcon::Off);
        menuIcon.addFile(QStringLiteral(":/resources/images/icons/%1-white.svg")
                             .arg(QLatin1String(item.icon)),
                         QSize(),
                         QIcon::Normal,
                         QIcon::On);
        item.button->setIcon(menuIcon);
        item.button->setIconSize(QSize(18, 18));
        m_menuTexts.insert(item.button, item.button->text());
        const Page page = item.page;
        connect(item.button, &QPushButton::clicked, this, [this, page] { showPage(page); });
    }
    // The counters sit at the right end of their menu items.
    const auto badge = [](QPushButton *button, const char *name) {
        auto *label = new QLabel(button);
        label->setObjectName(QLatin1String(name));
        label->setAlignment(Qt::AlignCenter);
        auto *layout = new QHBoxLayout(button);
        layout->setContentsMargins(0, 0, 10, 0);
        layout->addStretch(1);
        layout->addWidget(label);
        label->hide();
        return label;
    };
    m_chatCount = badge(m_page->menuItem_chat, "label_pushButton_chatCount");
    m_visitorCount = badge(m_page->menuItem_usersOnline, "label_pushButton_visitorCount");

    m_categories->addButton(m_page->pushButton_chatsMy, Util::CategoryMy);
    m_categories->addButton(m_page->pushButton_chatsForeign, Util::CategoryNotMy);
    m_categories->addButton(m_page->pushButton_chatsMissed, Util::CategoryMissed);
    m_categories->setExclusive(true);
    connect(m_categories, &QButtonGroup::idClicked, this, [this](int id) {
        m_category = id;
        if (id == Util::CategoryMy) {
            emit buttonMyClicked();
            emit categoryMy();
        } else if (id == Util::CategoryNotMy) {
            emit buttonNotMyClicked();
            emit categoryNotMy();
        } else {
            emit buttonMissedClicked();
            emit categoryMissed();
        }
    });
    connect(m_page->pushButton_chat_back,
            &QPushButton::clicked,
            this,
            &MainWindow::buttonBackClicked);
    m_page->pushButton_chat_back->setIcon(
        icon(QStringLiteral("chevron-left"), QStringLiteral("accent")));

    m_settings->setIcon(icon(QStringLiteral("settings"), QStringLiteral("text")));
    m_cardMenu->addAction(m_online);
    m_cardMenu->addAction(m_away);
    m_cardMenu->addSeparator();
    m_cardMenu->addAction(m_settings);
    m_cardMenu->addAction(m_logout);
    m_page->toolButton_operatorCard_menu->setMenu(m_cardMenu);
    m_page->toolButton_operatorCard_menu->setIcon(
        icon(QStringLiteral("chevron-down"), QStringLiteral("menu")));
    m_page->label_operatorCard_photo->setPixmap(
        AvatarCache::instance()->avatar(QString(), QString(), 36, devicePixelRatioF()));
}

void MainWindow::setUpTray()
{
    m_tray->setIcon(windowIcon());
    m_tray->setToolTip(windowTitle());
    m_trayMenu->setWindowFlags(m_trayMenu->windowFlags() | Qt::FramelessWindowHint);
    m_trayMenu->setAttribute(Qt::WA_TranslucentBackground);
    m_trayMenu->addAction(m_online);
    m_trayMenu->addAction(m_away);
    m_trayMenu->addSeparator();
    m_trayMenu->addAction(m_logout);
    m_trayMenu->addAction(m_quit);
    m_tray->setContextMenu(m_trayMenu);
    connect(m_tray,
            &QSystemTrayIcon::activated,
            this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::DoubleClick || reason == QSystemTrayIcon::Trigger
                    || reason == QSystemTrayIcon::MiddleClick) {
                    showNormal();
                    activateWindow();
                }
            });
    m_tray->show();
}

void MainWindow::setUpShortcuts()
{
    const Page pages[] = {ChatsPage, VisitorsPage, HistoryPage, OfflinePage};
    for (int i = 0; i < 4; ++i) {
        const Page page = pages[i];
        auto *shortcut = new QShortcut(QKeySequence(Qt::CTRL | (Qt::Key_1 + i)), this);
        connect(shortcut, &QShortcut::activated, this, [this, page] {
            if (m_ui->stackedWidget_main->currentWidget() == m_ui->page_main)
                showPage(page);
        });
    }
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Down), this),
            &QShortcut::activated,
            this,
            [this] { m_conversationList->openAdjacent(1); });
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Up), this),
            &QShortcut::activated,
            this,
            [this] { m_conversationList->openAdjacent(-1); });
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_F), this),
            &QShortcut::activated,
            this,
            [this] {
                showPage(ChatsPage);
                m_conversationList->focusSearch();
            });
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this, [this] {
        if (m_page->stackedWidget_chat->currentWidget() == m_page->page_chatView)
            emit buttonBackClicked();
    });
}

void MainWindow::submitSignIn()
{
    emit authenticate(m_ui->lineEdit_login->text().trimmed(),
                      m_ui->lineEdit_password->text(),
                      m_ui->checkBox_rememberMe->isChecked());
}

void MainWindow::showLoginForm()
{
    m_ui->pushButton_login->setEnabled(true);
    m_ui->pushButton_login->setText(tr("Войти"));
    m_ui->stackedWidget_main->setCurrentIndex(0);
    if (m_page)
        m_page->menuItem_chat->click();
    m_ui->stackedWidget_signIn->setCurrentIndex(0);
    // Focus starts in the first empty field.
    if (m_ui->lineEdit_login->text().isEmpty())
        m_ui->lineEdit_login->setFocus();
    else
        m_ui->lineEdit_password->setFocus();
}

void MainWindow::showMainPage()
{
    ensureMainPage();
    m_ui->stackedWidget_main->setCurrentIndex(1);
}

void MainWindow::showChatPage()
{
    ensureMainPage();
    m_chatPageShown = true;
    m_page->stackedWidget_chat->setCurrentWidget(m_page->page_chatView);
    updateChatColumns();
}

void MainWindow::showConversationList()
{
    ensureMainPage();
    m_chatPageShown = false;
    m_page->stackedWidget_chat->setCurrentWidget(m_page->page_chatEmpty);
    showPage(ChatsPage);
    updateChatColumns();
}

void MainWindow::showFranchiseSelection(const QList<FranchiseItem> &franchises)
{
    clearFranchiseList();
    QVBoxLayout *list = m_ui->verticalLayout_franchiseList;
    for (const FranchiseItem &item : franchises) {
        auto *row = new FranchiseItemWidget(item, m_ui->widget_franchiseList);
        connect(row, &FranchiseItemWidget::clicked, this, &MainWindow::franchiseSelect);
        // Before the spacer that keeps the rows at the top.
        list->insertWidget(list->count() - 1, row);
    }
    m_ui->pushButton_login->setEnabled(true);
    m_ui->pushButton_login->setText(tr("Войти"));
    m_ui->stackedWidget_main->setCurrentIndex(0);
    m_ui->stackedWidget_signIn->setCurrentIndex(1);
}

void MainWindow::clearFranchiseList()
{
    const QList<FranchiseItemWidget *> rows = m_ui->widget_franchiseList
                                                  ->findChildren<FranchiseItemWidget *>();
    for (FranchiseItemWidget *row : rows)
        delete row;
}

void MainWindow::setChatsPage(Util::ChatCategory category)
{
    ensureMainPage();
    QAbstractButton *button = m_categories->button(category);
    if (!button)
        return;
    m_category = category;
    // Without the group's signals: this is the controller's choice, not the operator's click.
    const QSignalBlocker blocker(m_categories);
    if (QAbstractButton *checked = m_categories->checkedButton())
        checked->setChecked(false);
    button->setChecked(true);
    if (category == Util::CategoryMy)
        emit categoryMy();
    else if (category == Util::CategoryNotMy)
        emit categoryNotMy();
    else
        emit categoryMissed();
}

void MainWindow::setFieldState(QWidget *field, bool wrong)
{
    field->setObjectName(wrong ? QStringLiteral("lineEdit_error")
                               : QStringLiteral("lineEdit_normal"));
    repolish(field);
}

void MainWindow::setAuthenticateError(const QString &message, bool loginWrong, bool passwordWrong)
{
    m_ui->label_login_error->setText(message);
    m_ui->label_login_error->show();
    setFieldState(m_ui->lineEdit_login, loginWrong);
    setFieldState(m_ui->lineEdit_password, passwordWrong);
}

void MainWindow::clearErrors()
{
    setFieldState(m_ui->lineEdit_login, false);
    setFieldState(m_ui->lineEdit_password, false);
    m_ui->label_login_error->hide();
}

void MainWindow::setUserInfo(const UserInfo &userInfo)
{
    ensureMainPage();
    m_ui->pushButton_login->setEnabled(true);
    m_ui->pushButton_login->setText(tr("Войти"));
    m_page->label_operatorCard_name->setText(userInfo.getNameFull());
    m_page->label_operatorCard_photo->setPixmap(
        AvatarCache::instance()->avatar(userInfo.getUserLogo(),
                                        userInfo.getNameFull(),
                                        36,
                                        devicePixelRatioF()));
    clearErrors();
}

void MainWindow::setCount(QLabel *label, int count)
{
    const bool inMenu = label == m_chatCount || label == m_visitorCount;
    // The three categories share the list's width: a big account's counts would push the last
    // one out of sight, so they stop at "99+" and the exact count is in the tooltip.
    const bool capped = !inMenu && count > 99;
    label->setText(count <= 0 ? QString()
                   : capped   ? QStringLiteral("99+")
                              : QString::number(count));
    label->setToolTip(capped ? QString::number(count) : QString());
    label->setVisible(count > 0 && (!inMenu || m_menuExpanded));
    if (inMenu) {
        auto *item = static_cast<QWidget *>(label->parent());
        const QString text = m_menuTexts.value(item);
        item->setToolTip(m_menuExpanded
                             ? QString()
                             : (count > 0 ? QStringLiteral("%1 (%2)").arg(text).arg(count) : text));
    }
}

void MainWindow::setNewCount(int count)
{
    ensureMainPage();
    setCount(m_page->label_chatsMy_count, count);
    setCount(m_chatCount, count);
}

void MainWindow::setForeignCount(int count)
{
    ensureMainPage();
    setCount(m_page->label_chatsForeign_count, count);
}

void MainWindow::setMissedCount(int count)
{
    ensureMainPage();
    setCount(m_page->label_chatsMissed_count, count);
}

void MainWindow::setVisitorsCount(int count)
{
    ensureMainPage();
    setCount(m_visitorCount, count);
}

void MainWindow::setLogin(const QString &login)
{
    m_ui->lineEdit_login->setText(login);
}

void MainWindow::setPassword(const QString &password)
{
    m_ui->lineEdit_password->setText(password);
}

void MainWindow::setRememberMe(const bool &remember)
{
    m_ui->checkBox_rememberMe->setChecked(remember);
}

void MainWindow::setButtonWaiter()
{
    m_ui->pushButton_login->setEnabled(false);
    m_ui->pushButton_login->setText(tr("Пожалуйста, подождите..."));
}

void MainWindow::setBlackout(bool blackout)
{
    m_blackout = blackout;
    m_blackoutOverlay->setShown(blackout);
}

void MainWindow::setChatWidgets(QWidget *chat, QWidget *info)
{
    ensureMainPage();
    m_page->horizontalLayout_chatViewHost->addWidget(chat, 1);
    if (info)
        m_page->horizontalLayout_chatViewHost->addWidget(info);
}

void MainWindow::setPageFactory(Page page, std::function<QWidget *()> factory)
{
    m_pageFactories[page] = std::move(factory);
}

void MainWindow::showPage(Page page)
{
    ensureMainPage();
    QWidget *pages[] = {m_page->page_chats,
                        m_page->page_visitors,
                        m_page->page_history,
                        m_page->page_offline};
    QPushButton *items[] = {m_page->menuItem_chat,
                            m_page->menuItem_usersOnline,
                            m_page->menuItem_dialogsHistory,
                            m_page->menuItem_offlineRequests};
    if (m_pageFactories[page]) {
        QVBoxLayout *hosts[] = {nullptr,
                                m_page->verticalLayout_visitorsHost,
                                m_page->verticalLayout_historyHost,
                                m_page->verticalLayout_offlineHost};
        if (hosts[page])
            hosts[page]->addWidget(m_pageFactories[page]());
        m_pageFactories[page] = nullptr;
    }
    m_page->stackedWidget_content->setCurrentWidget(pages[page]);
    items[page]->setChecked(true);
}

MainWindow::Page MainWindow::currentPage() const
{
    if (!m_page)
        return ChatsPage;
    return Page(m_page->stackedWidget_content->currentIndex());
}

void MainWindow::setCurrentChat(const QString &chatId)
{
    ensureMainPage();
    m_conversationList->setCurrentChat(chatId);
}

void MainWindow::onConnectionChanged(bool connected)
{
    if (!m_titleKnown) {
        m_title = windowTitle();
        m_titleKnown = true;
    }
    setWindowTitle(connected ? m_title : m_title + QStringLiteral(" - ") + tr("нет подключения"));
    m_disconnected = !connected;
    if (m_page)
        m_page->label_connectionBanner->setVisible(m_disconnected);
}

void MainWindow::onUsersInitialized()
{
    m_userId = AuthSession::getInstance()->getUserId();
    onUserChanged(m_userId);
    m_online->setEnabled(true);
    m_away->setEnabled(true);
    m_logout->setEnabled(true);
}

void MainWindow::onUserChanged(const QString &userKey)
{
    if (userKey.isEmpty() || userKey != m_userId)
        return;
    ensureMainPage();
    const FirebaseUser user = UsersRepository::getInstance()->getUserById(userKey);
    m_page->label_operatorCard_name->setText(user.getName());
    QPixmap photo = AvatarCache::instance()->avatar(user.getPhoto(),
                                                    user.getName(),
                                                    36,
                                                    devicePixelRatioF());
    if (user.getOnline()) {
        // The online marker, at the photo's corner.
        QPainter painter(&photo);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QColor(0x04, 0x05, 0x27), 2));
        painter.setBrush(QColor(0x21, 0xc1, 0x7a));
        painter.drawEllipse(QRectF(25, 25, 10, 10));
    }
    m_page->label_operatorCard_photo->setPixmap(photo);
    m_page->label_operatorCard_photo->setProperty("online", user.getOnline());
    updateCardButton();
    (user.getOnline() ? m_online : m_away)->setChecked(true);
}

void MainWindow::onUsersOnlineChanged(const QList<FirebaseUser> &users)
{
    ensureMainPage();
    // The operators of the account's widgets, and how many of them are online.
    const UsersRepository *repository = UsersRepository::getInstance();
    QSet<QString> keyed;
    const QHash<qint64, QStringList> keys = repository->getUserKeys();
    for (const QStringList &list : keys)
        keyed.unite(QSet<QString>(list.begin(), list.end()));
    int total = 0;
    int online = 0;
    for (const FirebaseUser &user : users) {
        if (user.getRole() != QLatin1String("operator") || !keyed.contains(user.getId()))
            continue;
        ++total;
        online += user.getOnline();
    }
    m_page->label_operatorCard_status->setText(tr("В сети %1 из %2").arg(online).arg(total));
}

void MainWindow::onLogout()
{
    emit logout();
    if (!AppSettings::instance()->settings().value(QStringLiteral("saveCreds"), false).toBool())
        m_ui->lineEdit_password->clear();
}

void MainWindow::openSettings()
{
    SettingsDialog dialog(this);
    dialog.exec();
}

bool MainWindow::event(QEvent *event)
{
    // The sign-in form is on screen: the rest of the window is built while the operator types.
    if (event->type() == QEvent::Paint && !m_page && !m_mainPageQueued) {
        m_mainPageQueued = true;
        QTimer::singleShot(0, this, &MainWindow::ensureMainPage);
    }
    if (event->type() == QEvent::WindowActivate)
        emit activeStateChanged(true);
    else if (event->type() == QEvent::WindowDeactivate)
        emit activeStateChanged(false);
    return QMainWindow::event(event);
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    // Any modal dialog over this window (settings, CRM, payment link, questions) darkens it.
    if (event->type() == QEvent::Show || event->type() == QEvent::Hide) {
        auto *widget = qobject_cast<QWidget *>(watched);
        if (widget && widget != this && widget->isWindow() && widget->isModal()
            && widget->parentWidget() && widget->parentWidget()->window() == this) {
            if (event->type() == QEvent::Show && !m_modals.contains(widget)) {
                m_modals.insert(widget);
                connect(widget, &QObject::destroyed, this, [this, widget] {
                    m_modals.remove(widget);
                    setBlackout(!m_modals.isEmpty());
                });
            } else if (event->type() == QEvent::Hide) {
                m_modals.remove(widget);
                disconnect(widget, &QObject::destroyed, this, nullptr);
            }
            setBlackout(!m_modals.isEmpty());
        }
    }
    // Every change to the active state counts: on macOS that is also a click on the dock icon.
    if (watched == qApp && event->type() == QEvent::ApplicationStateChange
        && static_cast<QApplicationStateChangeEvent *>(event)->applicationState()
               == Qt::ApplicationActive) {
        qDebug() << "Dock icon clicked!";
        QMetaObject::invokeMethod(qApp, "showMainWindow");
    }
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (m_closing) {
        emit userOnline(false);
        event->accept();
        return;
    }
    // The window's own close button only hides it: the console stays in the tray.
    hide();
    event->ignore();
}

void MainWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    const int state = widthState(width());
    if (state != m_sizeState)
        applySizeState(state);
}

void MainWindow::applySizeState(int state)
{
    m_sizeState = state;
    m_menuExpanded = state == 2 || state == 3;
    if (!m_page)
        return;
    const int menuWidth = m_menuExpanded ? 260 : 60;
    m_page->frame_sideMenu->setFixedWidth(menuWidth);
    m_page->label_sideMenu_product->setVisible(m_menuExpanded);
    m_page->label_operatorCard_name->setVisible(m_menuExpanded);
    m_page->label_operatorCard_status->setVisible(m_menuExpanded);
    // Collapsed, the card is its photo, which opens the card's menu.
    m_page->label_operatorCard_photo->setVisible(m_menuExpanded);
    updateCardButton();
    for (auto it = m_menuTexts.constBegin(); it != m_menuTexts.constEnd(); ++it) {
        auto *button = static_cast<QPushButton *>(it.key());
        button->setText(m_menuExpanded ? it.value() : QString());
        button->setToolTip(m_menuExpanded ? QString() : it.value());
    }
    // A collapsed item has no room for its counter; the counter moves to the tooltip.
    setCount(m_chatCount, m_chatCount->text().toInt());
    setCount(m_visitorCount, m_visitorCount->text().toInt());
    m_page->frame_sideMenu->setProperty("collapsed", !m_menuExpanded);
    repolish(m_page->frame_sideMenu);
    updateChatColumns();
}

void MainWindow::updateCardButton()
{
    QToolButton *button = m_page->toolButton_operatorCard_menu;
    if (m_menuExpanded) {
        button->setIcon(icon(QStringLiteral("chevron-down"), QStringLiteral("menu")));
        button->setIconSize(QSize(16, 16));
    } else {
        button->setIcon(QIcon(m_page->label_operatorCard_photo->pixmap(Qt::ReturnByValue)));
        button->setIconSize(QSize(36, 36));
    }
}

void MainWindow::updateChatColumns()
{
    // Below 955 pixels the list and the chat take turns; wider, they stand side by side.
    const bool collapsed = m_sizeState == 4;
    m_page->widget_conversationColumn->setVisible(!collapsed || !m_chatPageShown);
    // Alone, the list takes the whole width.
    m_page->widget_conversationColumn->setMaximumWidth(collapsed ? QWIDGETSIZE_MAX : 340);
    m_page->widget_chatColumn->setVisible(!collapsed || m_chatPageShown);
    m_page->pushButton_chat_back->setVisible(collapsed && m_chatPageShown);
    // The widest window keeps the open dialogs beside the list.
    const bool vertical = m_sizeState == 3;
    m_page->widget_openChatsVerticalHost->setVisible(vertical);
    m_page->widget_openChatsHorizontalHost->setVisible(!vertical);
}
