#pragma once

#include "controller/pagedlistcontroller.h"

#include <QNetworkReply>

#include <QObject>
#include <QPointer>
#include <QString>

class OfflineMessagesView;

class QSaveFile;

// Drives the offline requests page ("Заявки"): the requests of a period and widget, a page at
// a time, and their export, the service's file saved where the operator chose.
class OfflineMessagesController : public PagedListController
{
    Q_OBJECT

public:
    static constexpr int PageSize = 50;

    explicit OfflineMessagesController(QObject *parent = nullptr);
    ~OfflineMessagesController() override;

    void installView(OfflineMessagesView *view);
    bool isExporting() const { return m_export; }

public slots:
    // Saves the requests of the current filter to the file (replaced only once all has come).
    void exportTo(const QString &filePath);

protected:
    void showAnswer(const QJsonObject &answer) override;

private:
    void finishExport(bool saved, const QString &message);

    OfflineMessagesView *m_view = nullptr;
    QPointer<QNetworkReply> m_export;
    QSaveFile *m_exportFile = nullptr;
};
