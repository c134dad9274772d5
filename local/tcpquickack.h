#pragma once

class QAbstractSocket;

// Acknowledges what the socket has received at once instead of after the kernel's ACK delay.
// Clients that write a message in two segments without TCP_NODELAY (Qt's network access
// manager and QWebSocket both do) hold the second segment back until the first is
// acknowledged, which would add 40 ms to every request that the service cannot answer early.
void acknowledgeReceivedNow(QAbstractSocket *socket);
