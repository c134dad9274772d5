#include "local/socketflow.h"

#include <QSslSocket>

qint64 unsentBytes(const QTcpSocket *socket)
{
    const auto *ssl = qobject_cast<const QSslSocket *>(socket);
    return socket->bytesToWrite() + (ssl ? ssl->encryptedBytesToWrite() : 0);
}

void watchOutputProgress(QTcpSocket *socket,
                         QObject *context,
                         const std::function<void()> &onProgress)
{
    QObject::connect(socket, &QIODevice::bytesWritten, context, onProgress);
    if (auto *ssl = qobject_cast<QSslSocket *>(socket))
        QObject::connect(ssl, &QSslSocket::encryptedBytesWritten, context, onProgress);
}
