// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/TcpTransport.h"

#include <QNetworkProxy>
#include <QScopedValueRollback>

#include <algorithm>
#include <utility>

#ifdef Q_OS_UNIX
#include <poll.h>
#endif

namespace vantrel {

namespace {

// Bounds what one notification takes in, so that a flood never holds up the window.
constexpr qint64 ReceiveLimit = 262'144; // bytes

/// The peer has reset the connection: nothing can be written, what had arrived can be read.
bool isReset(qintptr descriptor)
{
#ifdef Q_OS_UNIX
    pollfd state{static_cast<int>(descriptor), 0, 0}; // POLLHUP and POLLERR need no request
    return ::poll(&state, 1, 0) > 0 && (state.revents & (POLLHUP | POLLERR)) != 0;
#else
    Q_UNUSED(descriptor)
    return false;
#endif
}

} // namespace

TcpTransport::TcpTransport()
{
    m_socket.setProxy(QNetworkProxy::NoProxy);
    connect(&m_socket, &QTcpSocket::connected, this,
            [this] { m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1); });
    connect(&m_socket, &QTcpSocket::readyRead, this, &TcpTransport::onReadyRead);
    connect(&m_socket, &QTcpSocket::bytesWritten, this, [this] {
        if (!m_writing)
            emit bytesLeft();
    });
    connect(&m_socket, &QTcpSocket::errorOccurred, this, &TcpTransport::fail);
    m_telling.setSingleShot(true);
    m_telling.callOnTimeout(this, [this] { emit failed(m_socket.errorString()); });
}

std::optional<QString> TcpTransport::open(const Endpoint &endpoint)
{
    if (endpoint.address.isEmpty())
        return tr("No host name");
    close();
    m_failed = false;
    m_reset = false;
    // Unbuffered: what is written leaves at once as far as the system takes it, not after a turn
    // of the event loop, and what has arrived is copied once.
    m_socket.connectToHost(endpoint.address, endpoint.port,
                           QIODevice::ReadWrite | QIODevice::Unbuffered);
    return std::nullopt;
}

void TcpTransport::close()
{
    m_telling.stop();
    const QSignalBlocker quiet(m_socket);
    m_socket.flush();
    m_socket.abort();
}

bool TcpTransport::isConnected() const
{
    return isReadable() && !m_reset;
}

bool TcpTransport::isReadable() const
{
    return !m_failed && m_socket.state() == QAbstractSocket::ConnectedState;
}

void TcpTransport::write(const QByteArray &bytes)
{
    if (!isConnected())
        return;
    // A write that fails would close the socket, with what has arrived and was not read yet. The
    // event loop reports a reset as readable, and the read that follows the last byte fails.
    m_reset = isReset(m_socket.socketDescriptor());
    if (m_reset)
        return;
    const QScopedValueRollback writing(m_writing, true); // an unbuffered write emits bytesWritten()
    // Copied as far as it has to wait: the queue would otherwise share the array and keep its spare
    // capacity.
    if (m_socket.write(bytes.constData(), bytes.size()) != bytes.size())
        fail();
}

void TcpTransport::onReadyRead()
{
    m_taken = 0;
    emit bytesArrived();
}

qint64 TcpTransport::waiting() const
{
    return isReadable() ? m_socket.bytesAvailable() : 0; // unbuffered: of the system
}

void TcpTransport::reportArrived()
{
    if (waiting() > 0)
        onReadyRead();
}

qint64 TcpTransport::read(char *buffer, qint64 capacity)
{
    const qint64 most = std::min(capacity, ReceiveLimit - m_taken);
    if (!isReadable() || most <= 0)
        return 0; // what is left is notified again
    const qint64 count = m_socket.read(buffer, most);
    if (count < 0) {
        fail(); // the result is the only report of the end of a stream
        return 0;
    }
    m_taken += count;
    return count;
}

/// The socket may find out in the middle of a write or a read: whoever called goes on first.
void TcpTransport::fail()
{
    if (!std::exchange(m_failed, true))
        m_telling.start();
}

} // namespace vantrel
