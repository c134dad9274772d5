#pragma once

#include "controller/historyfilter.h"

#include <QNetworkReply>

#include <QObject>
#include <QPointer>
#include <QString>

class ApiListLoader;
class OfflineMessagesView;

class QSaveFile;

// Drives the offline requests page ("Заявки"): the requests of a period and widget, a page at
// a time, and their export, the service's file saved where the operator chose.
class OfflineMessagesController : public QObject
{
    Q_OBJECT

public:
    static constexpr int PageSize = 50;

    explicit OfflineMessagesController(QObject *parent = nullptr);
    ~OfflineMessagesController() override;

    void installView(OfflineMessagesView *view);
    HistoryFilter filter() const { return m_filter; }
    int page() const { return m_page; }
    bool isExporting() const { return m_export; }

public slots:
    void setFilter(const HistoryFilter &filter);
    void setPage(int page);
    void refresh();
    void clear();
    // Saves the requests of the current filter to the file (replaced only once all has come).
    void exportTo(const QString &filePath);

private:
    void finishExport(bool saved, const QString &message);

    OfflineMessagesView *m_view = nullptr;
    ApiListLoader *m_loader;
    HistoryFilter m_filter;
    int m_page = 1;
    QPointer<QNetworkReply> m_export;
    QSaveFile *m_exportFile = nullptr;
};
