#include "ui/offlinemessageswidget.h"
#include "ui_offlinemessageswidget.h"

#include "repo/authsession.h"

#include <QDir>
#include <QFileDialog>
#include <QHeaderView>
#include <QStandardPaths>
#include <QStyle>
#include <QUrl>

namespace {

enum StackPage { ListPage = 0, StatePage = 1 };

QTableWidgetItem *item(const QString &text)
{
    auto *cell = new QTableWidgetItem(text.isEmpty() ? QStringLiteral("—") : text);
    cell->setToolTip(text);
    return cell;
}

} // namespace

OfflineMessagesWidget::OfflineMessagesWidget(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::OfflineMessagesWidget>())
{
    m_ui->setupUi(this);
    m_ui->frame_offlineMessages_export->hide();
    m_ui->label_offlineMessages_loading->hide();
    m_ui->pushButton_offlineMessages_export->setIcon(
        QIcon(QStringLiteral(":/resources/images/icons/file-down-accent.svg")));
    m_ui->pushButton_offlineMessages_previous->setIcon(
        QIcon(QStringLiteral(":/resources/images/icons/chevron-left-text.svg")));
    m_ui->pushButton_offlineMessages_next->setIcon(
        QIcon(QStringLiteral(":/resources/images/icons/chevron-right-text.svg")));
    m_ui->comboBox_offlineMessages_widget->addItem(tr("Все виджеты"), qint64(0));

    connect(m_ui->widget_offlineMessages_period,
            &HistoryPeriodWidget::periodChanged,
            this,
            &OfflineMessagesWidget::emitFilter);
    connect(m_ui->comboBox_offlineMessages_widget,
            QOverload<int>::of(&QComboBox::currentIndexChanged),
            this,
            &OfflineMessagesWidget::emitFilter);
    connect(m_ui->pushButton_offlineMessages_export,
            &QPushButton::clicked,
            this,
            &OfflineMessagesWidget::chooseExportFile);
    connect(m_ui->pushButton_offlineMessages_exportRetry, &QPushButton::clicked, this, [this] {
        startExport(m_exportPath);
    });
    connect(m_ui->pushButton_offlineMessages_retry,
            &QPushButton::clicked,
            this,
            &OfflineMessagesWidget::retry);
    connect(m_ui->pushButton_offlineMessages_previous, &QPushButton::clicked, this, [this] {
        emit pageRequested(m_page - 1);
    });
    connect(m_ui->pushButton_offlineMessages_next, &QPushButton::clicked, this, [this] {
        emit pageRequested(m_page + 1);
    });

    QTableWidget *table = m_ui->tableWidget_offlineMessages_list;
    table->setColumnCount(6);
    table->setHorizontalHeaderLabels(
        {tr("Имя"), tr("E-mail"), tr("Телефон"), tr("Сообщение"), tr("Сайт"), tr("Время")});
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(44);
    QHeaderView *header = table->horizontalHeader();
    header->setHighlightSections(false);
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header->setSectionResizeMode(QHeaderView::Interactive);
    header->setSectionResizeMode(3, QHeaderView::Stretch);
    const int widths[] = {160, 200, 150, 0, 180, 130};
    for (int column = 0; column < 6; ++column) {
        if (widths[column] > 0)
            header->resizeSection(column, widths[column]);
    }
    clear();
}

OfflineMessagesWidget::~OfflineMessagesWidget() = default;

void OfflineMessagesWidget::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    QComboBox *combo = m_ui->comboBox_offlineMessages_widget;
    if (combo->count() == 1) {
        QMap<QString, qint64> widgets;
        const auto chatWidgets = AuthSession::getInstance()->getApiChatWidgets();
        for (const ApiChatWidget &widget : chatWidgets)
            widgets.insert(widget.getSiteName().isEmpty()
                               ? widget.getName()
                               : widget.getSiteName() + QStringLiteral(" - ") + widget.getName(),
                           qint64(widget.getId()));
        const QSignalBlocker blocker(combo);
        for (auto it = widgets.constBegin(); it != widgets.constEnd(); ++it)
            combo->addItem(it.key(), it.value());
    }
    if (!m_requested) {
        m_requested = true;
        emitFilter();
    }
}

void OfflineMessagesWidget::emitFilter()
{
    HistoryFilter filter;
    m_ui->widget_offlineMessages_period->applyTo(&filter);
    filter.widgetId = m_ui->comboBox_offlineMessages_widget->currentData().toLongLong();
    emit filterChanged(filter);
}

void OfflineMessagesWidget::showState(const QString &text, bool retry)
{
    m_ui->label_offlineMessages_state->setText(text);
    m_ui->pushButton_offlineMessages_retry->setVisible(retry);
    m_ui->stackedWidget_offlineMessages->setCurrentIndex(StatePage);
}

void OfflineMessagesWidget::setLoading(bool loading)
{
    if (loading && m_ui->tableWidget_offlineMessages_list->rowCount() == 0)
        showState(tr("Загружаем заявки…"), false);
    m_ui->label_offlineMessages_loading->setVisible(loading);
}

void OfflineMessagesWidget::setMessages(const QList<ApiOfflineMessage> &messages,
                                        int page,
                                        int pageCount,
                                        int total)
{
    m_page = page;
    m_pageCount = qMax(1, pageCount);
    QTableWidget *table = m_ui->tableWidget_offlineMessages_list;
    table->clearContents();
    table->setRowCount(messages.size());
    for (int row = 0; row < messages.size(); ++row) {
        const ApiOfflineMessage &message = messages.at(row);
        table->setItem(row, 0, item(message.getVisitorName()));
        table->setItem(row, 1, item(message.getEmail()));
        table->setItem(row, 2, item(message.getPhone()));
        table->setItem(row, 3, item(message.getMessage().simplified()));
        table->item(row, 3)->setToolTip(message.getMessage());
        const QUrl url(message.getSite());
        QTableWidgetItem *site = item(url.host().isEmpty() ? message.getSite() : url.host());
        site->setToolTip(message.getSite());
        table->setItem(row, 4, site);
        table->setItem(row,
                       5,
                       item(message.getDate().toLocalTime().toString(
                           QStringLiteral("dd.MM.yyyy HH:mm"))));
    }
    m_ui->label_offlineMessages_total->setText(tr("Всего заявок: %1").arg(total));
    m_ui->label_offlineMessages_page->setText(tr("Страница %1 из %2").arg(m_page).arg(m_pageCount));
    for (QWidget *pager : {static_cast<QWidget *>(m_ui->label_offlineMessages_page),
                           static_cast<QWidget *>(m_ui->pushButton_offlineMessages_previous),
                           static_cast<QWidget *>(m_ui->pushButton_offlineMessages_next)})
        pager->setVisible(m_pageCount > 1);
    m_ui->pushButton_offlineMessages_previous->setEnabled(m_page > 1);
    m_ui->pushButton_offlineMessages_next->setEnabled(m_page < m_pageCount);
    if (messages.isEmpty())
        showState(tr("За этот период заявок нет"), false);
    else
        m_ui->stackedWidget_offlineMessages->setCurrentIndex(ListPage);
}

void OfflineMessagesWidget::showError(const QString &message)
{
    m_ui->label_offlineMessages_loading->hide();
    m_ui->tableWidget_offlineMessages_list->setRowCount(0);
    m_ui->label_offlineMessages_total->clear();
    showState(message, true);
}

void OfflineMessagesWidget::clear()
{
    m_ui->tableWidget_offlineMessages_list->setRowCount(0);
    m_ui->label_offlineMessages_total->clear();
    m_ui->label_offlineMessages_page->hide();
    m_ui->pushButton_offlineMessages_previous->hide();
    m_ui->pushButton_offlineMessages_next->hide();
    showState(tr("Выберите период, чтобы увидеть заявки"), false);
}

void OfflineMessagesWidget::chooseExportFile()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const QString name = tr("Заявки %1.csv").arg(QDate::currentDate().toString(Qt::ISODate));
    // Window-modal and not blocking: the page keeps receiving while the operator chooses.
    auto *dialog = new QFileDialog(this,
                                   tr("Сохранить заявки"),
                                   QDir(folder).filePath(name),
                                   tr("Таблица CSV (*.csv)"));
    dialog->setObjectName(QStringLiteral("fileDialog_offlineMessages_export"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QStringLiteral("csv"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::fileSelected, this, &OfflineMessagesWidget::startExport);
    dialog->open();
}

void OfflineMessagesWidget::startExport(const QString &filePath)
{
    m_exportPath = filePath;
    m_ui->pushButton_offlineMessages_export->setEnabled(false);
    m_ui->pushButton_offlineMessages_exportRetry->hide();
    m_ui->progressBar_offlineMessages_export->setRange(0, 0);
    m_ui->progressBar_offlineMessages_export->show();
    m_ui->label_offlineMessages_exportResult->setText(tr("Сохраняем заявки…"));
    setResultStyle("label_offlineMessages_exportResult");
    m_ui->frame_offlineMessages_export->show();
    emit exportRequested(filePath);
}

void OfflineMessagesWidget::setExportProgress(qint64 received, qint64 total)
{
    QProgressBar *bar = m_ui->progressBar_offlineMessages_export;
    // Without a length the bar only says that it goes on.
    if (total > 0) {
        bar->setRange(0, 1000);
        bar->setValue(int(qBound<qint64>(0, received * 1000 / total, 1000)));
    } else {
        bar->setRange(0, 0);
    }
}

void OfflineMessagesWidget::setExportResult(bool saved, const QString &message)
{
    m_ui->pushButton_offlineMessages_export->setEnabled(true);
    m_ui->progressBar_offlineMessages_export->hide();
    m_ui->label_offlineMessages_exportResult->setText(message);
    setResultStyle(saved ? "label_offlineMessages_exportDone"
                         : "label_offlineMessages_exportFailed");
    m_ui->pushButton_offlineMessages_exportRetry->setVisible(!saved && !m_exportPath.isEmpty());
    m_ui->frame_offlineMessages_export->show();
}

void OfflineMessagesWidget::setResultStyle(const char *objectName)
{
    QLabel *label = m_ui->label_offlineMessages_exportResult;
    label->setObjectName(QLatin1String(objectName));
    label->style()->unpolish(label);
    label->style()->polish(label);
}
