#include "ui/openchatsstrip.h"

#include "repo/chatsrepository.h"
#include "repo/usersrepository.h"
#include "ui/avatarcache.h"

#include <QBoxLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QStyle>
#include <QToolButton>

// One open dialog of the strip.
class OpenChatTab : public QFrame
{
public:
    OpenChatTab(const QString &chatId, OpenChatsStrip *strip)
        : QFrame(strip)
        , m_chatId(chatId)
        , m_strip(strip)
        , m_avatar(new QLabel(this))
        , m_name(new QLabel(this))
        , m_dot(new QLabel(this))
        , m_close(new QToolButton(this))
    {
        setObjectName(QStringLiteral("frame_openChatsTab"));
        setCursor(Qt::PointingHandCursor);
        m_name->setObjectName(QStringLiteral("label_openChatsTab_name"));
        m_dot->setObjectName(QStringLiteral("label_openChatsTab_unread"));
        m_dot->setFixedSize(8, 8);
        m_close->setObjectName(QStringLiteral("toolButton_openChatsTab_close"));
        m_close->setIcon(QIcon(QStringLiteral(":/resources/images/icons/x-muted.svg")));
        m_close->setIconSize(QSize(12, 12));
        m_close->setToolTip(OpenChatsStrip::tr("Закрыть диалог"));
        m_close->setAutoRaise(true);
        auto *layout = new QHBoxLayout(this);
        layout->setContentsMargins(4, 4, 6, 4);
        layout->setSpacing(6);
        layout->addWidget(m_avatar);
        layout->addWidget(m_name, 1);
        layout->addWidget(m_dot);
        layout->addWidget(m_close);
        m_close->setVisible(false);
        QObject::connect(m_close, &QToolButton::clicked, strip, [this] {
            emit m_strip->chatClosed(m_chatId);
        });
        refresh();
    }

    void refresh()
    {
        const FirebaseChat chat = ChatsRepository::getInstance()->getChatById(m_chatId);
        const FirebaseUser visitor = UsersRepository::getInstance()->getUserById(chat.getVisitor());
        const QString name = visitor.getName().isEmpty() ? OpenChatsStrip::tr("Посетитель")
                                                         : visitor.getName();
        m_avatar->setPixmap(
            AvatarCache::instance()->avatar(visitor.getPhoto(), name, 22, devicePixelRatioF()));
        m_name->setText(fontMetrics().elidedText(name, Qt::ElideRight, 130));
        m_name->setToolTip(name);
        m_dot->setVisible(chat.getUnreadCount() > 0);
    }

    void setCurrent(bool current)
    {
        setProperty("current", current);
        style()->unpolish(this);
        style()->polish(this);
    }

protected:
    void enterEvent(QEvent *) override { m_close->setVisible(true); }
    void leaveEvent(QEvent *) override { m_close->setVisible(false); }
    void mouseReleaseEvent(QMouseEvent *event) override
    {
        if (event->button() == Qt::MiddleButton)
            emit m_strip->chatClosed(m_chatId);
        else if (event->button() == Qt::LeftButton)
            emit m_strip->chatClicked(m_chatId);
    }

private:
    QString m_chatId;
    OpenChatsStrip *m_strip;
    QLabel *m_avatar;
    QLabel *m_name;
    QLabel *m_dot;
    QToolButton *m_close;
};

OpenChatsStrip::OpenChatsStrip(Qt::Orientation orientation, QWidget *parent)
    : QWidget(parent)
    , m_layout(orientation == Qt::Horizontal ? static_cast<QBoxLayout *>(new QHBoxLayout(this))
                                             : new QVBoxLayout(this))
{
    setObjectName(orientation == Qt::Horizontal ? QStringLiteral("widget_openChatsHorizontal")
                                                : QStringLiteral("widget_openChatsVertical"));
    setAttribute(Qt::WA_StyledBackground);
    m_layout->setContentsMargins(8, 6, 8, 6);
    m_layout->setSpacing(6);
    m_layout->addStretch(1);
    connect(ChatsRepository::getInstance(),
            &ChatsRepository::chatChanged,
            this,
            [this](const QString &chatId) { refresh(chatId); });
    connect(AvatarCache::instance(), &AvatarCache::avatarReady, this, [this] {
        for (OpenChatTab *tab : qAsConst(m_tabs))
            tab->refresh();
    });
}

void OpenChatsStrip::addChat(const QString &chatId)
{
    if (m_tabs.contains(chatId))
        return;
    auto *tab = new OpenChatTab(chatId, this);
    m_tabs.insert(chatId, tab);
    // Before the stretch that keeps the tabs together.
    m_layout->insertWidget(m_layout->count() - 1, tab);
}

void OpenChatsStrip::setOpenedChat(const QString &chatId)
{
    m_current = chatId;
    for (auto it = m_tabs.constBegin(); it != m_tabs.constEnd(); ++it)
        it.value()->setCurrent(it.key() == chatId);
}

void OpenChatsStrip::removeChat(const QString &chatId)
{
    if (OpenChatTab *tab = m_tabs.take(chatId)) {
        m_layout->removeWidget(tab);
        tab->hide();
        tab->deleteLater();
    }
    if (m_current == chatId)
        m_current.clear();
}

void OpenChatsStrip::refresh(const QString &chatId)
{
    if (OpenChatTab *tab = m_tabs.value(chatId))
        tab->refresh();
}

QStringList OpenChatsStrip::chats() const
{
    QStringList ids;
    for (int i = 0; i < m_layout->count(); ++i) {
        if (auto *tab = dynamic_cast<OpenChatTab *>(m_layout->itemAt(i)->widget()))
            ids.append(m_tabs.key(tab));
    }
    return ids;
}
