#pragma once

#include "records/firebaseuser.h"
#include "records/franchiseitem.h"
#include "records/userinfo.h"
#include "util/util.h"

#include <QHash>
#include <QList>
#include <QMainWindow>
#include <QSet>

#include <functional>

#include <memory>

class BlackoutOverlay;
class ConversationListWidget;
class OpenChatsStrip;
class QAction;
class QActionGroup;
class QButtonGroup;
class QLabel;
class QMenu;
class QSystemTrayIcon;

namespace Ui {
class MainWindow;
class MainPage;
} // namespace Ui

// The console's main window: the sign-in page and the service choice, then the main page with
// the side menu, the conversation categories and list, the open-chats strips and the content
// pages; the tray icon with the operator's status; the connection state in the title; a layout
// that follows the window's width.
//
// The main page is most of the window's widgets, and nobody sees it before the sign-in: it is
// built once the sign-in form's first frame is on screen, or earlier by the first call that
// needs it, and announced by mainPageCreated().
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    // The content pages of the side menu.
    enum Page { ChatsPage = 0, VisitorsPage, HistoryPage, OfflinePage };
    // Width states: 1 from 955, 2 from 1100, 3 from 1601 pixels, 4 below 955.
    static int widthState(int width);

    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    void showLoginForm();
    void showMainPage();
    void showChatPage();
    void showConversationList();
    void showFranchiseSelection(const QList<FranchiseItem> &franchises);
    void clearFranchiseList();
    void setChatsPage(Util::ChatCategory category);
    void setAuthenticateError(const QString &message, bool loginWrong, bool passwordWrong);
    void clearErrors();
    void setUserInfo(const UserInfo &userInfo);
    void setNewCount(int count);
    void setForeignCount(int count);
    void setMissedCount(int count);
    void setVisitorsCount(int count);
    void setLogin(const QString &login);
    void setPassword(const QString &password);
    void setRememberMe(const bool &remember);
    void setButtonWaiter();
    void setBlackout(bool blackout);
    bool blackout() const { return m_blackout; }

    // Builds the main page now if it is not yet built.
    void ensureMainPage();
    bool hasMainPage() const { return m_page != nullptr; }

    // Where the other widgets go: the list and strips are the window's own (these build the main
    // page); the chat view with its panel and the three other pages are made elsewhere and put in
    // here.
    ConversationListWidget *conversationList();
    OpenChatsStrip *horizontalOpenChats();
    OpenChatsStrip *verticalOpenChats();
    void setChatWidgets(QWidget *chat, QWidget *info);
    // The page's widget is made the first time the page shows: most sessions never open some of
    // them, and each costs start-up time.
    void setPageFactory(Page page, std::function<QWidget *()> factory);
    void showPage(Page page);
    Page currentPage() const;
    // The dialog open in the chat view, highlighted in the list.
    void setCurrentChat(const QString &chatId);

    int sizeState() const { return m_sizeState; }
    bool isMenuExpanded() const { return m_menuExpanded; }
    QSystemTrayIcon *trayIcon() const { return m_tray; }
    QMenu *trayMenu() const { return m_trayMenu; }

public slots:
    void onConnectionChanged(bool connected);
    void onUsersInitialized();
    void onUserChanged(const QString &userKey);
    void onUsersOnlineChanged(const QList<FirebaseUser> &users);
    void onLogout();
    void openSettings();

signals:
    void authenticate(QString login, QString password, bool remember);
    void franchiseSelect(int franchiseId);
    void buttonBackClicked();
    void buttonMyClicked();
    void buttonNotMyClicked();
    void buttonMissedClicked();
    void categoryMy();
    void categoryNotMy();
    void categoryMissed();
    void logout();
    void userOnline(bool online);
    void activeStateChanged(bool active);
    // The main page's widgets exist: the time to put the views into it.
    void mainPageCreated();

protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void setUpSignIn();
    void setUpActions();
    void setUpMenu();
    void setUpTray();
    void setUpShortcuts();
    void applySizeState(int state);
    void updateChatColumns();
    void updateCardButton();
    void submitSignIn();
    void setCount(QLabel *label, int count);
    void setFieldState(QWidget *field, bool wrong);

    std::unique_ptr<Ui::MainWindow> m_ui;
    std::unique_ptr<Ui::MainPage> m_page;
    ConversationListWidget *m_conversationList = nullptr;
    OpenChatsStrip *m_openChatsHorizontal = nullptr;
    OpenChatsStrip *m_openChatsVertical = nullptr;
    BlackoutOverlay *m_blackoutOverlay;
    QButtonGroup *m_categories = nullptr;
    QLabel *m_chatCount = nullptr;
    QLabel *m_visitorCount = nullptr;
    QSystemTrayIcon *m_tray;
    QMenu *m_trayMenu;
    QMenu *m_cardMenu = nullptr;
    QActionGroup *m_statusGroup;
    QAction *m_online;
    QAction *m_away;
    QAction *m_logout;
    QAction *m_quit;
    QAction *m_settings;

    bool m_closing = false;
    bool m_mainPageQueued = false;
    bool m_menuExpanded = true;
    bool m_blackout = false;
    std::function<QWidget *()> m_pageFactories[4];
    // The modal windows open over this one; the window darkens while there is any.
    QSet<QObject *> m_modals;
    // The chat page rather than the list, where only one of them fits.
    bool m_chatPageShown = false;
    int m_sizeState = 0;
    int m_category = Util::CategoryMy;
    QString m_userId;
    QString m_title;
    bool m_titleKnown = false;
    bool m_disconnected = false;
    // Menu item texts, hidden while the menu is collapsed.
    QHash<QWidget *, QString> m_menuTexts;
};
