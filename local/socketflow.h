#pragma once

#include <QtGlobal>

#include <functional>

class QObject;
class QTcpSocket;

// How much a socket reads ahead of its connection. Without a bound Qt keeps reading whatever a
// client sends while the connection has stopped taking input; with it, TCP makes the client wait.
constexpr qint64 kSocketReadAhead = 256 * 1024;

// How long one connection's input is worked on before the event loop serves the others: a burst
// of a thousand requests then costs the other clients a few milliseconds at a time.
constexpr int kInputTurnMs = 5;

// What a connection has written that its peer has not taken yet. QSslSocket::bytesToWrite()
// counts only what is not encrypted yet; the encrypted rest waits in the socket beneath.
qint64 unsentBytes(const QTcpSocket *socket);

// Calls onProgress whenever the socket passes output on, encrypted or not.
void watchOutputProgress(QTcpSocket *socket,
                         QObject *context,
                         const std::function<void()> &onProgress);
