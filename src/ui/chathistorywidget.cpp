#include "ui/chathistorywidget.h"
#include "ui_chathistorywidget.h"

#include "repo/authsession.h"
#include "repo/usersrepository.h"
#include "ui/chathistorymessageswidget.h"
#include "util/util.h"

#include <QHeaderView>
#include <QUrl>

namespace {

enum StackPage { ListPage = 0, StatePage = 1 };
enum Column {
    VisitorColumn,
    SiteColumn,
    OperatorsColumn,
    StartColumn,
    DurationColumn,
    CountColumn
};

QTableWidgetItem *item(const QString &text)
{
    auto *cell = new QTableWidgetItem(text);
    cell->setToolTip(text);
    return cell;
}

} // namespace

ChatHistoryWidget::ChatHistoryWidget(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ChatHistoryWidget>())
{
    m_ui->setupUi(this);
    m_ui->label_chatHistory_loading->hide();
    m_ui->pushButton_chatHistory_previous->setIcon(
        QIcon(QStringLiteral(":/resources/images/icons/chevron-left-text.svg")));
    m_ui->pushButton_chatHistory_next->setIcon(
        QIcon(QStringLiteral(":/resources/images/icons/chevron-right-text.svg")));
    m_ui->splitter_chatHistory->setStretchFactor(0, 2);
    m_ui->splitter_chatHistory->setStretchFactor(1, 1);

    m_ui->comboBox_chatHistory_widget->addItem(tr("Все виджеты"), qint64(0));
    m_ui->comboBox_chatHistory_operator->addItem(tr("Все операторы"), qint64(0));
    QComboBox *status = m_ui->comboBox_chatHistory_status;
    status->addItem(tr("Все статусы"), QString());
    status->addItem(tr("Завершённые"), QStringLiteral("completed"));
    status->addItem(tr("Потерянные"), QStringLiteral("lost"));
    status->addItem(tr("В работе"), QStringLiteral("work"));

    connect(m_ui->widget_chatHistory_period,
            &HistoryPeriodWidget::periodChanged,
            this,
            &ChatHistoryWidget::emitFilter);
    for (QComboBox *combo : {m_ui->comboBox_chatHistory_widget,
                             m_ui->comboBox_chatHistory_operator,
                             m_ui->comboBox_chatHistory_status})
        connect(combo,
                QOverload<int>::of(&QComboBox::currentIndexChanged),
                this,
                &ChatHistoryWidget::emitFilter);

    QTableWidget *table = m_ui->tableWidget_chatHistory_list;
    table->setColumnCount(6);
    table->setHorizontalHeaderLabels({tr("Посетитель"),
                                      tr("Сайт"),
                                      tr("Операторы"),
                                      tr("Начало"),
                                      tr("Длительность"),
                                      tr("Сообщений")});
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(44);
    QHeaderView *header = table->horizontalHeader();
    header->setHighlightSections(false);
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header->setSectionResizeMode(QHeaderView::Interactive);
    header->setSectionResizeMode(OperatorsColumn, QHeaderView::Stretch);
    const int widths[] = {150, 140, 0, 130, 120, 100};
    for (int column = 0; column < 6; ++column) {
        if (widths[column] > 0)
            header->resizeSection(column, widths[column]);
    }
    connect(table, &QTableWidget::itemSelectionChanged, this, [this] {
        const QList<QTableWidgetItem *> selected = m_ui->tableWidget_chatHistory_list
                                                       ->selectedItems();
        if (!selected.isEmpty()) {
            const QTableWidgetItem *first = m_ui->tableWidget_chatHistory_list
                                                ->item(selected.first()->row(), 0);
            emit chatSelected(first->data(Qt::UserRole).toLongLong());
        }
    });
    connect(m_ui->pushButton_chatHistory_previous, &QPushButton::clicked, this, [this] {
        emit pageRequested(m_page - 1);
    });
    connect(m_ui->pushButton_chatHistory_next, &QPushButton::clicked, this, [this] {
        emit pageRequested(m_page + 1);
    });
    connect(m_ui->pushButton_chatHistory_retry,
            &QPushButton::clicked,
            this,
            &ChatHistoryWidget::retry);
    clear();
}

ChatHistoryWidget::~ChatHistoryWidget() = default;

ChatHistoryMessagesWidget *ChatHistoryWidget::messagesWidget() const
{
    return m_ui->widget_chatHistory_dialog;
}

void ChatHistoryWidget::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // The account's widgets and operators are known once signed in; the answers add the rest.
    if (m_ui->comboBox_chatHistory_widget->count() == 1) {
        QMap<QString, qint64> widgets;
        const auto chatWidgets = AuthSession::getInstance()->getApiChatWidgets();
        for (const ApiChatWidget &widget : chatWidgets)
            widgets.insert(widget.getSiteName().isEmpty()
                               ? widget.getName()
                               : widget.getSiteName() + QStringLiteral(" - ") + widget.getName(),
                           qint64(widget.getId()));
        refill(m_ui->comboBox_chatHistory_widget, widgets);
    }
    fillOperators({});
    if (!m_requested) {
        m_requested = true;
        const int width = m_ui->splitter_chatHistory->width();
        m_ui->splitter_chatHistory->setSizes({width * 2 / 3, width / 3});
        emitFilter();
    }
}

void ChatHistoryWidget::fillOperators(const QList<ApiChatHistoryUser> &users)
{
    const QList<FirebaseUser> known = UsersRepository::getInstance()->getUsers();
    for (const FirebaseUser &user : known) {
        if (user.getRole() == QLatin1String("operator") && user.getApiId() > 0)
            m_operators.insert(user.getName(), user.getApiId());
    }
    for (const ApiChatHistoryUser &user : users) {
        if (user.getRole() == QLatin1String("operator") && user.getApiId() > 0)
            m_operators.insert(user.getName(), user.getApiId());
    }
    refill(m_ui->comboBox_chatHistory_operator, m_operators);
}

void ChatHistoryWidget::refill(QComboBox *combo, const QMap<QString, qint64> &items)
{
    const qint64 current = combo->currentData().toLongLong();
    const QSignalBlocker blocker(combo);
    while (combo->count() > 1)
        combo->removeItem(1);
    for (auto it = items.constBegin(); it != items.constEnd(); ++it)
        combo->addItem(it.key(), it.value());
    combo->setCurrentIndex(qMax(0, combo->findData(current)));
}

void ChatHistoryWidget::emitFilter()
{
    HistoryFilter filter;
    m_ui->widget_chatHistory_period->applyTo(&filter);
    filter.widgetId = m_ui->comboBox_chatHistory_widget->currentData().toLongLong();
    filter.operatorId = m_ui->comboBox_chatHistory_operator->currentData().toLongLong();
    filter.status = m_ui->comboBox_chatHistory_status->currentData().toString();
    emit filterChanged(filter);
}

void ChatHistoryWidget::setLoading(bool loading)
{
    // A first load shows in place of the list; later ones leave the rows until the answer.
    if (loading && m_ui->tableWidget_chatHistory_list->rowCount() == 0)
        showState(tr("Загружаем историю диалогов…"), false);
    m_ui->label_chatHistory_loading->setVisible(loading);
}

void ChatHistoryWidget::setHistory(const ApiChatHistory &history, int page, int pageCount)
{
    m_page = page;
    m_pageCount = qMax(1, pageCount);
    QMap<QString, qint64> widgets;
    QHash<qint64, QString> sites;
    for (const ApiChatHistoryWidget &widget : history.getWidgets()) {
        widgets.insert(widget.getName(), widget.getId());
        sites.insert(widget.getId(),
                     widget.getSite().isEmpty() ? widget.getName() : widget.getSite());
    }
    if (!widgets.isEmpty())
        refill(m_ui->comboBox_chatHistory_widget, widgets);
    fillOperators(history.getUsers());
    QHash<QString, ApiChatHistoryUser> people;
    for (const ApiChatHistoryUser &user : history.getUsers())
        people.insert(user.getId(), user);

    QTableWidget *table = m_ui->tableWidget_chatHistory_list;
    const QSignalBlocker blocker(table);
    table->clearContents();
    const QList<FirebaseChat> chats = history.getChats();
    table->setRowCount(chats.size());
    for (int row = 0; row < chats.size(); ++row) {
        const FirebaseChat &chat = chats.at(row);
        const QString visitor = people.value(chat.getVisitor()).getName();
        QTableWidgetItem *first = item(visitor.isEmpty() ? tr("Посетитель") : visitor);
        first->setData(Qt::UserRole, qint64(chat.getApiId()));
        table->setItem(row, VisitorColumn, first);
        QString site = sites.value(chat.getWidgetId());
        if (site.isEmpty())
            site = QUrl(chat.getLink()).host();
        table->setItem(row, SiteColumn, item(site));
        QStringList operators;
        for (const QString &key : chat.getOperators()) {
            const ApiChatHistoryUser user = people.value(key);
            const QString alias = user.getAliases().value(chat.getWidgetId()).getName();
            const QString name = alias.isEmpty() ? user.getName() : alias;
            if (!name.isEmpty() && !operators.contains(name))
                operators << name;
        }
        table->setItem(row,
                       OperatorsColumn,
                       item(operators.isEmpty() ? QStringLiteral("—") : operators.join(", ")));
        const QDateTime start = chat.getCreatedAt().toLocalTime();
        table->setItem(row,
                       StartColumn,
                       item(start.isValid() ? start.toString(QStringLiteral("dd.MM.yyyy HH:mm"))
                                            : QStringLiteral("—")));
        const QDateTime end = chat.getLastMessage().getSentAt();
        table->setItem(row,
                       DurationColumn,
                       item(start.isValid() && end.isValid() && end >= start
                                ? Util::getStrPreciseDateSpan(start, end)
                                : QStringLiteral("—")));
        table->setItem(row, CountColumn, item(QString::number(chat.getMessageCount())));
    }
    const ApiChatHistoryStat stat = history.getStat();
    setStats(stat.getAll(), stat.getCompleted(), stat.getLost(), stat.getWork());
    m_ui->label_chatHistory_page->setText(tr("Страница %1 из %2").arg(m_page).arg(m_pageCount));
    m_ui->pushButton_chatHistory_previous->setEnabled(m_page > 1);
    m_ui->pushButton_chatHistory_next->setEnabled(m_page < m_pageCount);
    m_ui->frame_chatHistory_pager->setVisible(m_pageCount > 1);
    if (chats.isEmpty())
        showState(tr("За этот период диалогов нет"), false);
    else
        m_ui->stackedWidget_chatHistory->setCurrentIndex(ListPage);
}

QList<QLabel *> ChatHistoryWidget::statLabels() const
{
    return {m_ui->label_chatHistory_statAll,
            m_ui->label_chatHistory_statCompleted,
            m_ui->label_chatHistory_statLost,
            m_ui->label_chatHistory_statWork};
}

void ChatHistoryWidget::setStats(qint64 all, qint64 completed, qint64 lost, qint64 work)
{
    for (QLabel *label : statLabels())
        label->show();
    m_ui->label_chatHistory_statAll->setText(tr("Всего: %1").arg(all));
    m_ui->label_chatHistory_statCompleted->setText(tr("Завершённых: %1").arg(completed));
    m_ui->label_chatHistory_statLost->setText(tr("Потерянных: %1").arg(lost));
    m_ui->label_chatHistory_statWork->setText(tr("В работе: %1").arg(work));
}

void ChatHistoryWidget::showState(const QString &text, bool retry)
{
    m_ui->label_chatHistory_state->setText(text);
    m_ui->pushButton_chatHistory_retry->setVisible(retry);
    m_ui->stackedWidget_chatHistory->setCurrentIndex(StatePage);
}

void ChatHistoryWidget::showError(const QString &message)
{
    m_ui->label_chatHistory_loading->hide();
    m_ui->tableWidget_chatHistory_list->setRowCount(0);
    m_ui->frame_chatHistory_pager->hide();
    // The counts were of the search that failed to come.
    for (QLabel *label : statLabels())
        label->hide();
    showState(message, true);
}

void ChatHistoryWidget::clear()
{
    m_ui->tableWidget_chatHistory_list->setRowCount(0);
    setStats(0, 0, 0, 0);
    m_page = m_pageCount = 1;
    m_ui->frame_chatHistory_pager->hide();
    m_ui->label_chatHistory_loading->hide();
    showState(tr("Выберите период, чтобы увидеть диалоги"), false);
    messagesWidget()->clear();
}
