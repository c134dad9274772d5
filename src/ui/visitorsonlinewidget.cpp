#include "ui/visitorsonlinewidget.h"
#include "ui_visitorsonlinewidget.h"

#include "ui/visitorstabledelegate.h"
#include "ui/visitorstablemodel.h"

#include <QAction>
#include <QButtonGroup>
#include <QHeaderView>
#include <QMenu>
#include <QScrollBar>

namespace {

enum StackPage { ListPage = 0, EmptyPage = 1 };

// Time on site moves on while the page is open; a minute is the unit it is shown in.
const int kClockMs = 30 * 1000;

} // namespace

VisitorsOnlineWidget::VisitorsOnlineWidget(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::VisitorsOnlineWidget>())
    , m_model(new VisitorsTableModel(this))
    , m_delegate(new VisitorsTableDelegate(this))
    , m_categories(new QButtonGroup(this))
{
    m_ui->setupUi(this);
    m_ui->frame_visitorsOnline_error->hide();
    m_categories->addButton(m_ui->pushButton_visitorsOnline_all, 0);
    m_categories->addButton(m_ui->pushButton_visitorsOnline_said, 1);
    m_categories->addButton(m_ui->pushButton_visitorsOnline_notSaid, 2);
    setVisitorsCount(0, 0, 0);
    connect(m_categories, &QButtonGroup::idClicked, this, [this](int category) {
        m_switching = true;
        emit categoryChanged(category);
        m_switching = false;
    });

    m_ui->comboBox_visitorsOnline_widget->addItem(tr("Все виджеты"), qint64(0));
    connect(m_ui->comboBox_visitorsOnline_widget,
            QOverload<int>::of(&QComboBox::currentIndexChanged),
            this,
            [this](int index) {
                m_switching = true;
                emit widgetChanged(
                    int(m_ui->comboBox_visitorsOnline_widget->itemData(index).toLongLong()));
                m_switching = false;
            });

    QTableView *table = m_ui->tableView_visitorsOnline_list;
    table->setModel(m_model);
    table->setItemDelegate(m_delegate);
    table->setMouseTracking(true);
    // Fixed row heights: the view never measures 20,000 rows.
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(56);
    QHeaderView *header = table->horizontalHeader();
    header->setHighlightSections(false);
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header->setMinimumSectionSize(60);
    header->setSectionResizeMode(QHeaderView::Interactive);
    header->setSectionResizeMode(VisitorsTableModel::PageColumn, QHeaderView::Stretch);
    const int widths[] = {250, 0, 100, 70, 130, 260, 120};
    for (int column = 0; column < VisitorsTableModel::ColumnCount; ++column) {
        if (widths[column] > 0)
            header->resizeSection(column, widths[column]);
    }
    connect(m_delegate,
            &VisitorsTableDelegate::writeClicked,
            this,
            [this](const QModelIndex &index) { write(index.row()); });
    connect(table,
            &QWidget::customContextMenuRequested,
            this,
            &VisitorsOnlineWidget::showContextMenu);
    auto *writeAction = new QAction(tr("Написать"), table);
    writeAction->setShortcuts({QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter)});
    writeAction->setShortcutContext(Qt::WidgetShortcut);
    connect(writeAction, &QAction::triggered, this, [this] {
        write(m_ui->tableView_visitorsOnline_list->currentIndex().row());
    });
    table->addAction(writeAction);

    connect(m_ui->pushButton_visitorsOnline_retry, &QPushButton::clicked, this, [this] {
        m_ui->frame_visitorsOnline_error->hide();
        if (m_lastRequest)
            m_lastRequest();
    });
    connect(&m_clock, &QTimer::timeout, this, [this] {
        m_model->setNow(QDateTime::currentDateTime());
    });
    m_clock.start(kClockMs);
    m_ui->label_visitorsOnline_empty->setText(tr("Загружаем посетителей…"));
    m_ui->stackedWidget_visitorsOnline->setCurrentIndex(EmptyPage);
}

VisitorsOnlineWidget::~VisitorsOnlineWidget() = default;

void VisitorsOnlineWidget::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!m_widgetsLoaded) {
        m_widgetsLoaded = true;
        m_lastRequest = [this] { emit loadWidgets(); };
        emit loadWidgets();
    }
}

QString VisitorsOnlineWidget::selectedVisitor() const
{
    const QModelIndexList rows = m_ui->tableView_visitorsOnline_list->selectionModel()
                                     ->selectedRows();
    return rows.isEmpty() ? QString()
                          : rows.first().data(VisitorsTableModel::VisitorIdRole).toString();
}

void VisitorsOnlineWidget::setVisitors(const QList<FirebaseVisitor> &visitors)
{
    // A refill that the operator did not ask for (the stream came back) keeps the place.
    QTableView *table = m_ui->tableView_visitorsOnline_list;
    const QString selected = selectedVisitor();
    const int scroll = table->verticalScrollBar()->value();
    m_model->setNow(QDateTime::currentDateTime());
    m_model->setVisitors(visitors);
    m_filled = true;
    const int row = m_model->rowOf(selected);
    if (row >= 0)
        table->selectRow(row);
    table->verticalScrollBar()->setValue(m_switching ? 0 : scroll);
    updateState();
}

void VisitorsOnlineWidget::updateVisitor(const FirebaseVisitor &visitor)
{
    const bool added = m_model->rowOf(visitor.getId()) < 0;
    m_model->updateVisitor(visitor);
    if (added)
        updateState();
}

void VisitorsOnlineWidget::removeVisitor(const QString &visitorId)
{
    m_model->removeVisitor(visitorId);
    if (m_model->rowCount() == 0)
        updateState();
}

void VisitorsOnlineWidget::setDialog(const QString &visitorId, const VisitorDialog &dialog)
{
    m_model->setDialog(visitorId, dialog);
}

void VisitorsOnlineWidget::setVisitorsCount(int all, int said, int notSaid)
{
    m_all = all;
    m_ui->pushButton_visitorsOnline_all->setText(tr("Все посетители  %1").arg(all));
    m_ui->pushButton_visitorsOnline_said->setText(tr("С кем общались  %1").arg(said));
    m_ui->pushButton_visitorsOnline_notSaid->setText(tr("Еще не общались  %1").arg(notSaid));
    if (m_filled && m_model->rowCount() == 0)
        updateState();
}

void VisitorsOnlineWidget::setWidgets(const QList<ApiChatHistoryWidget> &widgets)
{
    QComboBox *combo = m_ui->comboBox_visitorsOnline_widget;
    const qint64 current = combo->currentData().toLongLong();
    const QSignalBlocker blocker(combo);
    while (combo->count() > 1)
        combo->removeItem(1);
    for (const ApiChatHistoryWidget &widget : widgets)
        combo->addItem(widget.getName(), widget.getId());
    const int index = combo->findData(current);
    combo->setCurrentIndex(qMax(0, index));
    // The chosen widget is gone: the page shows them all again.
    if (index < 0 && current != 0)
        emit widgetChanged(0);
}

void VisitorsOnlineWidget::showError(const QString &message)
{
    m_ui->label_visitorsOnline_error->setText(message);
    m_ui->pushButton_visitorsOnline_retry->setVisible(bool(m_lastRequest));
    m_ui->frame_visitorsOnline_error->show();
}

void VisitorsOnlineWidget::write(int row)
{
    if (row < 0 || row >= m_model->rowCount())
        return;
    const QModelIndex index = m_model->index(row, 0);
    const QString visitorId = index.data(VisitorsTableModel::VisitorIdRole).toString();
    const QString chatId = index.data(VisitorsTableModel::ChatIdRole).toString();
    const qint64 widgetId = index.data(VisitorsTableModel::WidgetIdRole).toLongLong();
    m_ui->frame_visitorsOnline_error->hide();
    m_lastRequest = [this, visitorId, chatId, widgetId] {
        emit sendMessage(visitorId, chatId, widgetId);
    };
    emit sendMessage(visitorId, chatId, widgetId);
}

void VisitorsOnlineWidget::showContextMenu(const QPoint &pos)
{
    QTableView *table = m_ui->tableView_visitorsOnline_list;
    const QModelIndex index = table->indexAt(pos);
    if (!index.isValid())
        return;
    const int row = index.row();
    QMenu menu(this);
    menu.addAction(tr("Написать"), this, [this, row] { write(row); });
    if (index.data(VisitorsTableModel::BlockedRole).toBool()) {
        const QString visitorId = index.data(VisitorsTableModel::VisitorIdRole).toString();
        menu.addAction(tr("Разблокировать"), this, [this, visitorId] {
            emit unblockUser(visitorId);
        });
    }
    menu.exec(table->viewport()->mapToGlobal(pos));
}

void VisitorsOnlineWidget::updateState()
{
    if (m_model->rowCount() > 0) {
        m_ui->stackedWidget_visitorsOnline->setCurrentIndex(ListPage);
        return;
    }
    m_ui->label_visitorsOnline_empty->setText(
        m_all == 0 ? tr("Сейчас на сайтах никого нет") : tr("В этой категории сейчас никого нет"));
    m_ui->stackedWidget_visitorsOnline->setCurrentIndex(EmptyPage);
}
