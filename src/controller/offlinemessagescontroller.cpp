#include "controller/offlinemessagescontroller.h"

#include "controller/offlinemessagesview.h"
#include "controller/viewconnector.h"
#include "network/networkmanager.h"
#include "util/jsonparser.h"

#include <QDebug>
#include <QDir>
#include <QNetworkReply>
#include <QSaveFile>

#include <memory>

OfflineMessagesController::OfflineMessagesController(QObject *parent)
    : PagedListController(QStringLiteral("/api/chat/client/offline_messages"),
                          PageSize,
                          tr("Не удалось загрузить заявки"),
                          parent)
{}

OfflineMessagesController::~OfflineMessagesController()
{
    if (m_export)
        m_export->abort();
    delete m_exportFile;
}

void OfflineMessagesController::installView(OfflineMessagesView *view)
{
    m_view = view;
    setListView(view);
    connectView(viewObject(view), SIGNAL(exportRequested(QString)), this, SLOT(exportTo(QString)));
}

void OfflineMessagesController::showAnswer(const QJsonObject &answer)
{
    m_view->setMessages(JsonParser::getApiOfflineMessagesFromJson(answer),
                        page(),
                        HistoryFilter::pageCount(answer),
                        answer.value(QLatin1String("total")).toInt());
}

void OfflineMessagesController::exportTo(const QString &filePath)
{
    if (m_export) {
        if (m_view)
            m_view->setExportResult(false, tr("Экспорт уже идёт"));
        return;
    }
    if (!filter().isValid()) {
        if (m_view)
            m_view->setExportResult(false, tr("Укажите начало и конец периода"));
        return;
    }
    auto file = std::make_unique<QSaveFile>(filePath);
    if (filePath.isEmpty() || !file->open(QIODevice::WriteOnly)) {
        if (m_view)
            m_view->setExportResult(false,
                                    tr("Не удалось записать файл %1")
                                        .arg(QDir::toNativeSeparators(filePath)));
        return;
    }
    m_exportFile = file.release();
    NetworkManager *network = NetworkManager::instance();
    QNetworkReply *reply
        = network->sendApiRequestAsync(NetworkManager::Get,
                                       QStringLiteral("/api/chat/client/offline_messages/export?")
                                           + filter().query().toString(QUrl::FullyEncoded));
    m_export = reply;
    connect(reply, &QNetworkReply::downloadProgress, this, [this](qint64 received, qint64 total) {
        if (m_view)
            m_view->setExportProgress(received, total);
    });
    // Written as it comes, so that a large export is never held whole in memory.
    connect(reply, &QNetworkReply::readyRead, this, [this, reply] {
        // A refusal's body is not the file.
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (status >= 200 && status < 300 && m_exportFile->write(reply->readAll()) < 0)
            reply->abort();
    });
    connect(reply, &QNetworkReply::finished, this, [this, network, reply] {
        const bool ok = network->requestFinished(reply);
        if (ok)
            m_exportFile->write(reply->readAll());
        network->parseReply(reply);
        if (ok && m_exportFile->commit()) {
            finishExport(true,
                         tr("Заявки сохранены в %1")
                             .arg(QDir::toNativeSeparators(m_exportFile->fileName())));
            return;
        }
        qDebug() << "EXPORT FAILED" << reply->errorString();
        finishExport(false, tr("Не удалось сохранить заявки"));
    });
}

void OfflineMessagesController::finishExport(bool saved, const QString &message)
{
    m_export = nullptr;
    // An uncommitted save file leaves what was there before untouched.
    delete m_exportFile;
    m_exportFile = nullptr;
    if (m_view)
        m_view->setExportResult(saved, message);
}
