#pragma once

#include "controller/historyfilter.h"

#include <QWidget>

#include <memory>

namespace Ui {
class HistoryPeriodWidget;
}

class QButtonGroup;

// The period of the history and offline-request pages: "Сегодня", "Вчера", "Неделя", "Месяц",
// or a range of days picked with the two date fields. Changing a date chooses the range.
class HistoryPeriodWidget : public QWidget
{
    Q_OBJECT

public:
    explicit HistoryPeriodWidget(QWidget *parent = nullptr);
    ~HistoryPeriodWidget() override;

    // Writes the chosen period into the filter, leaving its other fields.
    void applyTo(HistoryFilter *filter) const;

signals:
    void periodChanged();

private:
    std::unique_ptr<Ui::HistoryPeriodWidget> m_ui;
    QButtonGroup *m_presets;
    HistoryFilter::Period m_period = HistoryFilter::Today;
};
