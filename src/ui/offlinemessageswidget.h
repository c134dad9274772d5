#pragma once

#include "controller/offlinemessagesview.h"

#include <QWidget>

#include <memory>

namespace Ui {
class OfflineMessagesWidget;
}

// The "Заявки" page: the requests visitors left while nobody was online, filtered by period and
// widget, a page at a time, and their export to a file the operator chooses.
class OfflineMessagesWidget : public QWidget, public OfflineMessagesView
{
    Q_OBJECT

public:
    explicit OfflineMessagesWidget(QWidget *parent = nullptr);
    ~OfflineMessagesWidget() override;

    void setLoading(bool loading) override;
    void setMessages(const QList<ApiOfflineMessage> &messages,
                     int page,
                     int pageCount,
                     int total) override;
    void showError(const QString &message) override;
    void setExportProgress(qint64 received, qint64 total) override;
    void setExportResult(bool saved, const QString &message) override;
    void clear() override;

signals:
    void filterChanged(HistoryFilter filter);
    void pageRequested(int page);
    void exportRequested(QString filePath);
    void retry();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void emitFilter();
    void chooseExportFile();
    void startExport(const QString &filePath);
    void showState(const QString &text, bool retry);
    void setResultStyle(const char *objectName);

    std::unique_ptr<Ui::OfflineMessagesWidget> m_ui;
    QString m_exportPath;
    int m_page = 1;
    int m_pageCount = 1;
    bool m_requested = false;
};
