#pragma once

#include "local/httpconnection.h"
#include "local/httprouter.h"

#include <QSslConfiguration>
#include <QTcpServer>

class FaultInjector;

// One listening port for HTTP/1.1 and websocket upgrades, over TLS once a certificate is set.
// QSslServer does not exist in Qt 5, so accepted sockets are wrapped here.
class HttpServer : public QTcpServer
{
    Q_OBJECT

public:
    explicit HttpServer(QObject *parent = nullptr);

    void setTlsConfiguration(const QSslConfiguration &configuration);
    bool isSecure() const { return m_secure; }

    HttpRouter &router() { return m_router; }
    void setFaultInjector(const FaultInjector *faults) { m_faults = faults; }
    void setConnectionSettings(const HttpConnection::Settings &settings) { m_settings = settings; }
    const HttpConnection::Settings &connectionSettings() const { return m_settings; }
    int connectionCount() const { return m_connections; }

protected:
    void incomingConnection(qintptr socketDescriptor) override;

private:
    HttpRouter m_router;
    const FaultInjector *m_faults = nullptr;
    HttpConnection::Settings m_settings;
    QSslConfiguration m_tls;
    bool m_secure = false;
    int m_connections = 0;
};
