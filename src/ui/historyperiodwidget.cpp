#include "ui/historyperiodwidget.h"
#include "ui_historyperiodwidget.h"

#include <QButtonGroup>

HistoryPeriodWidget::HistoryPeriodWidget(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::HistoryPeriodWidget>())
    , m_presets(new QButtonGroup(this))
{
    m_ui->setupUi(this);
    m_presets->addButton(m_ui->pushButton_historyPeriod_today, HistoryFilter::Today);
    m_presets->addButton(m_ui->pushButton_historyPeriod_yesterday, HistoryFilter::Yesterday);
    m_presets->addButton(m_ui->pushButton_historyPeriod_week, HistoryFilter::Week);
    m_presets->addButton(m_ui->pushButton_historyPeriod_month, HistoryFilter::Month);
    const QDate today = QDate::currentDate();
    m_ui->dateEdit_historyPeriod_start->setDate(today);
    m_ui->dateEdit_historyPeriod_end->setDate(today);
    for (QDateEdit *edit : {m_ui->dateEdit_historyPeriod_start, m_ui->dateEdit_historyPeriod_end})
        edit->setMaximumDate(today);

    connect(m_presets, &QButtonGroup::idClicked, this, [this](int period) {
        m_period = HistoryFilter::Period(period);
        // The fields show the days the preset covers, as the service counts them.
        const QDate today = QDate::currentDate();
        const int days[] = {0, 1, 6, 29};
        const QSignalBlocker startBlocker(m_ui->dateEdit_historyPeriod_start);
        const QSignalBlocker endBlocker(m_ui->dateEdit_historyPeriod_end);
        m_ui->dateEdit_historyPeriod_start->setDate(today.addDays(-days[period]));
        m_ui->dateEdit_historyPeriod_end->setDate(
            today.addDays(period == HistoryFilter::Yesterday ? -1 : 0));
        emit periodChanged();
    });
    const auto rangeChanged = [this] {
        // A date typed or picked means that range, not a preset.
        m_presets->setExclusive(false);
        for (QAbstractButton *button : m_presets->buttons())
            button->setChecked(false);
        m_presets->setExclusive(true);
        m_period = HistoryFilter::Range;
        emit periodChanged();
    };
    connect(m_ui->dateEdit_historyPeriod_start, &QDateEdit::dateChanged, this, rangeChanged);
    connect(m_ui->dateEdit_historyPeriod_end, &QDateEdit::dateChanged, this, rangeChanged);
}

HistoryPeriodWidget::~HistoryPeriodWidget() = default;

void HistoryPeriodWidget::applyTo(HistoryFilter *filter) const
{
    filter->period = m_period;
    filter->start = m_period == HistoryFilter::Range ? m_ui->dateEdit_historyPeriod_start->date()
                                                     : QDate();
    filter->end = m_period == HistoryFilter::Range ? m_ui->dateEdit_historyPeriod_end->date()
                                                   : QDate();
}
