// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/TcpTransport.h"

#include <QNetworkProxy>

#include <algorithm>

namespace vantrel {

namespace {
// Bounds what one notification takes in, so that a flood never holds up the window.
constexpr qint64 ReceiveLimit = 262'144; // bytes
} // namespace

TcpTransport::TcpTransport()
{
    m_socket.setProxy(QNetworkProxy::NoProxy);
    m_socket.setReadBufferSize(ReceiveLimit);
    connect(&m_socket, &QTcpSocket::connected, this,
            [this] { m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1); });
    connect(&m_socket, &QTcpSocket::readyRead, this, &Transport::bytesArrived);
    connect(&m_socket, &QTcpSocket::errorOccurred, this, [this] {
        m_failed = true; // the socket tells before it changes its state
        emit failed(m_socket.errorString());
    });
}

std::optional<QString> TcpTransport::open(const Endpoint &endpoint)
{
    if (endpoint.address.isEmpty())
        return tr("No host name");
    close();
    m_failed = false;
    m_socket.connectToHost(endpoint.address, endpoint.port);
    return std::nullopt;
}

void TcpTransport::close()
{
    const QSignalBlocker quiet(m_socket);
    m_socket.flush();
    m_socket.abort();
}

bool TcpTransport::isConnected() const
{
    return !m_failed && m_socket.state() == QAbstractSocket::ConnectedState;
}

void TcpTransport::write(const QByteArray &bytes)
{
    m_socket.write(bytes);
}

qint64 TcpTransport::read(char *buffer, qint64 capacity)
{
    return std::max<qint64>(0, m_socket.read(buffer, capacity));
}

} // namespace vantrel
