#pragma once

#include <QtGlobal>

#include <functional>

class QObject;
class QTcpSocket;

// How much a socket reads ahead of its connection. Without a bound Qt keeps reading whatever a
// client sends while the connection has stopped taking input; with it, TCP makes the client wait.
constexpr qint64 kSocketReadAhead = 256 * 1024;

// What a connection has written that its peer has not taken yet. QSslSocket::bytesToWrite()
// counts only what is not encrypted yet; the encrypted rest waits in the socket beneath.
qint64 unsentBytes(const QTcpSocket *socket);

// Calls onProgress whenever the socket passes output on, encrypted or not.
void watchOutputProgress(QTcpSocket *socket,
                         QObject *context,
                         const std::function<void()> &onProgress);
