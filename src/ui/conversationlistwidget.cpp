#include "ui/conversationlistwidget.h"

#include "ui/avatarcache.h"
#include "ui/conversationlistdelegate.h"
#include "ui/conversationlistmodel.h"

#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QSortFilterProxyModel>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

// Rows whose visitor name, e-mail or last message contain the search text, in any case.
class ConversationListFilter : public QSortFilterProxyModel
{
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    void setText(const QString &text)
    {
        m_text = text.simplified();
        invalidateFilter();
    }
    bool isFiltering() const { return !m_text.isEmpty(); }

protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override
    {
        // Without a search nothing is read: the rows' details wait until they are painted.
        if (m_text.isEmpty())
            return true;
        return sourceModel()
            ->index(row, 0, parent)
            .data(ConversationListModel::SearchRole)
            .toString()
            .contains(m_text, Qt::CaseInsensitive);
    }

private:
    QString m_text;
};

ConversationListWidget::ConversationListWidget(QWidget *parent)
    : QWidget(parent)
    , m_model(new ConversationListModel(this))
    , m_filter(new ConversationListFilter(this))
    , m_delegate(new ConversationListDelegate(this))
    , m_search(new QLineEdit(this))
    , m_list(new QListView(this))
    , m_states(new QStackedWidget(this))
    , m_empty(new QLabel(this))
{
    setObjectName(QStringLiteral("widget_conversationList"));
    m_search->setObjectName(QStringLiteral("lineEdit_conversationList_search"));
    m_search->setPlaceholderText(tr("Поиск по диалогам"));
    m_search->setClearButtonEnabled(true);
    m_search->addAction(QIcon(QStringLiteral(":/resources/images/icons/search-muted.svg")),
                        QLineEdit::LeadingPosition);
    m_filter->setSourceModel(m_model);
    m_list->setObjectName(QStringLiteral("listView_conversationList"));
    m_list->setModel(m_filter);
    m_list->setItemDelegate(m_delegate);
    m_list->setUniformItemSizes(true);
    m_list->setMouseTracking(true);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setSelectionMode(QAbstractItemView::NoSelection);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    auto *loading = new QLabel(tr("Загружаем диалоги…"), this);
    loading->setObjectName(QStringLiteral("label_conversationList_loading"));
    loading->setAlignment(Qt::AlignCenter);
    m_empty->setObjectName(QStringLiteral("label_conversationList_empty"));
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setWordWrap(true);
    m_states->addWidget(loading);
    m_states->addWidget(m_list);
    m_states->addWidget(m_empty);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    auto *searchRow = new QVBoxLayout();
    searchRow->setContentsMargins(12, 0, 12, 0);
    searchRow->addWidget(m_search);
    layout->addLayout(searchRow);
    layout->addWidget(m_states, 1);

    connect(m_search, &QLineEdit::textChanged, this, [this](const QString &text) {
        m_filter->setText(text);
        updateState();
    });
    connect(m_list, &QListView::clicked, this, [this](const QModelIndex &index) {
        emit itemClicked(index.data(ConversationListModel::ChatIdRole).toString());
    });
    connect(AvatarCache::instance(), &AvatarCache::avatarReady, m_list->viewport(), [this] {
        m_list->viewport()->update();
    });
    // Relative times and waiting times move on by themselves.
    auto *tick = new QTimer(this);
    tick->setInterval(20000);
    connect(tick, &QTimer::timeout, m_list->viewport(), [this] { m_list->viewport()->update(); });
    tick->start();
    updateState();
}

void ConversationListWidget::updateState()
{
    if (!m_loaded) {
        m_states->setCurrentIndex(0);
        return;
    }
    if (m_filter->rowCount() > 0) {
        m_states->setCurrentWidget(m_list);
        return;
    }
    m_empty->setText(m_filter->isFiltering() ? tr("Ничего не найдено") : tr("Нет диалогов"));
    m_states->setCurrentWidget(m_empty);
}

void ConversationListWidget::initDialogs(const QList<FirebaseChat> &chats)
{
    QStringList ids;
    ids.reserve(chats.size());
    for (const FirebaseChat &chat : chats)
        ids.append(chat.getId());
    m_model->setChats(ids);
    m_loaded = true;
    updateState();
}

void ConversationListWidget::addChat(const QString &chatId, int index)
{
    m_model->insertChat(chatId, index);
    updateState();
}

void ConversationListWidget::updateChat(const QString &chatId, bool, int index)
{
    m_model->updateChat(chatId, index);
    // A change can make a row match the search or stop matching it.
    if (m_filter->isFiltering())
        m_filter->invalidate();
    updateState();
}

void ConversationListWidget::removeChat(const QString &chatId)
{
    m_model->removeChat(chatId);
    updateState();
}

bool ConversationListWidget::containsChat(const QString &chatId) const
{
    return m_model->containsChat(chatId);
}

void ConversationListWidget::clear()
{
    m_model->setChats({});
    m_loaded = false;
    m_search->clear();
    updateState();
}

void ConversationListWidget::setCurrentChat(const QString &chatId)
{
    m_current = chatId;
    m_delegate->setCurrentChat(chatId);
    m_list->viewport()->update();
}

QStringList ConversationListWidget::visibleChats() const
{
    QStringList ids;
    for (int row = 0; row < m_filter->rowCount(); ++row)
        ids.append(m_filter->index(row, 0).data(ConversationListModel::ChatIdRole).toString());
    return ids;
}

void ConversationListWidget::openAdjacent(int step)
{
    const QStringList ids = visibleChats();
    if (ids.isEmpty())
        return;
    const int at = ids.indexOf(m_current);
    const int next = at < 0 ? (step > 0 ? 0 : ids.size() - 1)
                            : qBound(0, at + step, ids.size() - 1);
    if (ids.at(next) != m_current)
        emit itemClicked(ids.at(next));
}

void ConversationListWidget::focusSearch()
{
    m_search->setFocus();
    m_search->selectAll();
}
