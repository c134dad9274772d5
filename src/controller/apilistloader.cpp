#include "controller/apilistloader.h"

#include "network/networkmanager.h"
#include "util/jsonparser.h"

#include <QNetworkReply>
#include <QTimer>

ApiListLoader::ApiListLoader(QObject *parent)
    : QObject(parent)
{}

void ApiListLoader::cancel()
{
    if (QNetworkReply *reply = m_reply) {
        m_reply = nullptr;
        reply->abort();
    }
}

void ApiListLoader::load(const QString &pathAndQuery)
{
    cancel();
    NetworkManager *network = NetworkManager::instance();
    QNetworkReply *reply = network->sendApiRequestAsync(NetworkManager::Get, pathAndQuery);
    m_reply = reply;
    QTimer::singleShot(m_timeout, reply, &QNetworkReply::abort);
    connect(reply, &QNetworkReply::finished, this, [this, network, reply] {
        const bool latest = reply == m_reply;
        if (latest)
            m_reply = nullptr;
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        const bool ok = network->requestFinished(reply);
        // Read here: a refusal's body names the reason, and parseReply drops failed bodies.
        const QJsonObject answer = JsonParser::fromString(QString::fromUtf8(reply->readAll()));
        network->parseReply(reply);
        if (!latest)
            return;
        const QString refusal = NetworkManager::errorMessage(answer);
        if (ok && !answer.isEmpty() && refusal.isEmpty())
            emit loaded(answer);
        else
            emit failed(status, refusal);
    });
}
