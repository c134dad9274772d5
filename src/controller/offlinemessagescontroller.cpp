#include "controller/offlinemessagescontroller.h"

#include "controller/apilistloader.h"
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
    : QObject(parent)
    , m_loader(new ApiListLoader(this))
{
    connect(m_loader, &ApiListLoader::loaded, this, [this](const QJsonObject &answer) {
        if (!m_view)
            return;
        m_view->setLoading(false);
        m_view->setMessages(JsonParser::getApiOfflineMessagesFromJson(answer),
                            m_page,
                            HistoryFilter::pageCount(answer),
                            answer.value(QLatin1String("total")).toInt());
    });
    connect(m_loader, &ApiListLoader::failed, this, [this](int, const QString &message) {
        if (!m_view)
            return;
        m_view->setLoading(false);
        m_view->showError(message.isEmpty() ? tr("Не удалось загрузить заявки") : message);
    });
}

OfflineMessagesController::~OfflineMessagesController()
{
    if (m_export)
        m_export->abort();
    delete m_exportFile;
}

void OfflineMessagesController::installView(OfflineMessagesView *view)
{
    m_view = view;
    QObject *object = viewObject(view);
    connectView(object, SIGNAL(filterChanged(HistoryFilter)), this, SLOT(setFilter(HistoryFilter)));
    connectView(object, SIGNAL(pageRequested(int)), this, SLOT(setPage(int)));
    connectView(object, SIGNAL(exportRequested(QString)), this, SLOT(exportTo(QString)));
    connectView(object, SIGNAL(retry()), this, SLOT(refresh()));
}

void OfflineMessagesController::setFilter(const HistoryFilter &filter)
{
    m_filter = filter;
    m_page = 1;
    refresh();
}

void OfflineMessagesController::setPage(int page)
{
    m_page = qMax(1, page);
    refresh();
}

void OfflineMessagesController::refresh()
{
    if (!m_filter.isValid()) {
        m_loader->cancel();
        if (m_view)
            m_view->showError(tr("Укажите начало и конец периода"));
        return;
    }
    if (m_view)
        m_view->setLoading(true);
    m_loader->load(QStringLiteral("/api/chat/client/offline_messages?")
                   + m_filter.query(m_page, PageSize).toString(QUrl::FullyEncoded));
}

void OfflineMessagesController::clear()
{
    m_loader->cancel();
    m_filter = HistoryFilter();
    m_page = 1;
    if (m_view)
        m_view->clear();
}

void OfflineMessagesController::exportTo(const QString &filePath)
{
    if (m_export) {
        if (m_view)
            m_view->setExportResult(false, tr("Экспорт уже идёт"));
        return;
    }
    if (!m_filter.isValid()) {
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
                                           + m_filter.query().toString(QUrl::FullyEncoded));
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
