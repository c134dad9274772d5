#include "local/httpserver.h"

#include <QSslSocket>

HttpServer::HttpServer(QObject *parent)
    : QTcpServer(parent)
{}

void HttpServer::setTlsConfiguration(const QSslConfiguration &configuration)
{
    m_tls = configuration;
    m_secure = true;
}

void HttpServer::incomingConnection(qintptr socketDescriptor)
{
    QTcpSocket *socket;
    if (m_secure) {
        auto *sslSocket = new QSslSocket(this);
        socket = sslSocket;
        if (!socket->setSocketDescriptor(socketDescriptor)) {
            delete socket;
            return;
        }
        sslSocket->setSslConfiguration(m_tls);
        sslSocket->startServerEncryption();
    } else {
        socket = new QTcpSocket(this);
        if (!socket->setSocketDescriptor(socketDescriptor)) {
            delete socket;
            return;
        }
    }
    if (m_connections >= m_settings.maxConnections) {
        socket->abort();
        socket->deleteLater();
        return;
    }
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    ++m_connections;
    auto *connection = new HttpConnection(socket, m_secure, &m_router, m_faults, m_settings, this);
    // A websocket still counts until it closes.
    connect(connection, &HttpConnection::handedOver, this, [this](QObject *webSocket) {
        ++m_connections;
        connect(webSocket, &QObject::destroyed, this, [this] { --m_connections; });
    });
    connect(connection, &HttpConnection::finished, this, [this, connection] {
        --m_connections;
        connection->deleteLater();
    });
}
