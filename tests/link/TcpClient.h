// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/TcpTransport.h"
#include "support/TestServer.h"

#include <sys/socket.h>

namespace vantrel::test {

inline const QString Loopback = QStringLiteral("127.0.0.1");

/// A transport and everything that comes out of it.
struct Client
{
    TcpTransport transport;
    QByteArray received;
    QStringList failures;
    qsizetype receivedAtFailure = -1;
    bool connectedAtFailure = false;

    Client()
    {
        QObject::connect(&transport, &Transport::bytesArrived, &transport, [this] { readAll(); });
        QObject::connect(&transport, &Transport::failed, &transport,
                         [this](const QString &description) {
                             failures.append(description);
                             receivedAtFailure = received.size();
                             connectedAtFailure = transport.isConnected();
                         });
    }

    void readAll()
    {
        char buffer[1000];
        while (const qint64 count = transport.read(buffer, sizeof buffer))
            received.append(buffer, count);
    }

    std::optional<QString> open(quint16 port, const QString &host = Loopback)
    {
        return transport.open({host, port, {}});
    }
};

inline QByteArray pattern(qsizetype size)
{
    QByteArray bytes(size, '\0');
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 7 + i / 256);
    return bytes;
}

inline quint16 unusedPort()
{
    return TestServer().port(); // free again by the time it is used
}

/// Ends a connection with a reset instead of a last packet; false when that cannot be asked for.
inline bool reset(QTcpSocket &socket)
{
    const linger resets{1, 0};
    const auto descriptor = static_cast<int>(socket.socketDescriptor());
    const int asked = ::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &resets, sizeof resets);
    socket.abort();
    return asked == 0;
}

} // namespace vantrel::test
