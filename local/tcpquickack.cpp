#include "local/tcpquickack.h"

#include <QAbstractSocket>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

void acknowledgeReceivedNow(QAbstractSocket *socket)
{
#ifdef TCP_QUICKACK
    const int one = 1;
    const qintptr descriptor = socket->socketDescriptor();
    if (descriptor >= 0)
        ::setsockopt(int(descriptor), IPPROTO_TCP, TCP_QUICKACK, &one, sizeof(one));
#else
    Q_UNUSED(socket)
#endif
}
