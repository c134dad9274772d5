#include "ui/emojipicker.h"

#include "util/emojiparser.h"

#include <QDir>
#include <QGuiApplication>
#include <QListWidget>
#include <QScreen>
#include <QTabBar>
#include <QVBoxLayout>

QStringList EmojiPicker::s_recent;

namespace {

const char *const kEmojiDir = ":/emoji/resources/emoji";

// The group of a picture by its first code point: faces, nature and food, objects, the rest.
int groupOf(const QString &name)
{
    const uint first = name.section(QLatin1Char('_'), 0, 0).toUInt(nullptr, 16);
    if ((first >= 0x1f600 && first <= 0x1f64f) || (first >= 0x1f910 && first <= 0x1f9ff))
        return 1;
    if (first >= 0x1f300 && first <= 0x1f3ff)
        return 2;
    if (first >= 0x1f400 && first <= 0x1f5ff)
        return 3;
    return 4;
}

} // namespace

EmojiPicker::EmojiPicker(QWidget *parent)
    : QFrame(parent, Qt::Popup)
    , m_tabs(new QTabBar(this))
    , m_list(new QListWidget(this))
{
    setObjectName(QStringLiteral("frame_emojiPicker"));
    m_tabs->setObjectName(QStringLiteral("tabBar_emojiPicker_groups"));
    m_list->setObjectName(QStringLiteral("listWidget_emojiPicker"));
    for (const QString &title :
         {tr("Недавние"), tr("Смайлы"), tr("Природа"), tr("Предметы"), tr("Символы")})
        m_tabs->addTab(title);
    m_groups = QList<QStringList>{{}, {}, {}, {}, {}};
    const QStringList files = QDir(QLatin1String(kEmojiDir))
                                  .entryList(QStringList{QStringLiteral("emoji_*")},
                                             QDir::Files,
                                             QDir::Name);
    for (const QString &file : files) {
        const QString name = file.mid(6);
        m_groups[groupOf(name)].append(name);
    }
    m_list->setViewMode(QListView::IconMode);
    m_list->setIconSize(QSize(24, 24));
    m_list->setGridSize(QSize(34, 34));
    m_list->setMovement(QListView::Static);
    m_list->setResizeMode(QListView::Adjust);
    m_list->setUniformItemSizes(true);
    m_list->setMouseTracking(true);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->addWidget(m_tabs);
    layout->addWidget(m_list);
    resize(360, 300);
    connect(m_tabs, &QTabBar::currentChanged, this, &EmojiPicker::showGroup);
    connect(m_list, &QListWidget::itemClicked, this, [this](QListWidgetItem *item) {
        const QString name = item->data(Qt::UserRole).toString();
        s_recent.removeAll(name);
        s_recent.prepend(name);
        while (s_recent.size() > 24)
            s_recent.removeLast();
        emit emojiChosen(EmojiParser::getStringFromUnicodeString(name));
        hide();
    });
}

void EmojiPicker::showGroup(int group)
{
    m_list->clear();
    const QStringList names = group == 0 ? s_recent : m_groups.value(group);
    for (const QString &name : names) {
        auto *item = new QListWidgetItem(QIcon(QStringLiteral("%1/emoji_%2")
                                                   .arg(QLatin1String(kEmojiDir), name)),
                                         QString(),
                                         m_list);
        item->setData(Qt::UserRole, name);
    }
}

void EmojiPicker::popup(QWidget *anchor)
{
    const int group = s_recent.isEmpty() ? 1 : 0;
    if (m_tabs->currentIndex() == group)
        showGroup(group);
    else
        m_tabs->setCurrentIndex(group);
    QPoint at = anchor->mapToGlobal(QPoint(0, -height() - 4));
    const QScreen *screen = QGuiApplication::screenAt(at);
    if (screen && at.y() < screen->availableGeometry().top())
        at = anchor->mapToGlobal(QPoint(0, anchor->height() + 4));
    move(at);
    show();
}
