// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/TcpEnd.h"

#include "simulator/Tester.h"

#include <QHostAddress>
#include <QTcpSocket>

#include <array>
#include <utility>

#ifdef Q_OS_UNIX
#include <poll.h>
#include <sys/socket.h>
#endif

namespace vantrel::simulator {

namespace {

constexpr qint64 ReadBufferSize = 65'536; // bytes; bounds what one notification takes in
constexpr int RetryInterval = 10;         // ms

/// The other side has closed or reset the connection. Bytes may be left to read.
bool hasEnded(const QTcpSocket &socket)
{
#ifdef POLLRDHUP
    pollfd state{static_cast<int>(socket.socketDescriptor()), POLLRDHUP, 0};
    return ::poll(&state, 1, 0) > 0;
#else
    return socket.state() != QAbstractSocket::ConnectedState;
#endif
}

} // namespace

TcpEnd::TcpEnd(Tester &tester) : m_tester(tester)
{
    tester.clock().followRealTime();
    connect(&m_server, &QTcpServer::newConnection, this, &TcpEnd::acceptClients);
    m_retry.setSingleShot(true);
    m_retry.setInterval(RetryInterval);
    m_retry.callOnTimeout(this, &TcpEnd::acceptClients);
    connect(&tester, &Tester::bytesReady, this, &TcpEnd::write);
    connect(&tester, &Tester::connectionDropped, this, &TcpEnd::dropConnection);
    connect(&tester, &Tester::restarted, this, &TcpEnd::dropConnection);
}

TcpEnd::~TcpEnd()
{
    if (m_console)
        m_console->disconnect(this); // it goes with the server, after this object
}

bool TcpEnd::listen(quint16 port)
{
    return m_server.listen(QHostAddress::LocalHost, port);
}

void TcpEnd::acceptClients()
{
    while (m_server.hasPendingConnections()) {
        const auto onlyPort = m_onlyPort ? m_onlyPort() : std::nullopt;
        if (m_onlyPort && !onlyPort) {
            m_retry.start();
            return;
        }
        QTcpSocket *client = m_server.nextPendingConnection();
        const bool hasLeft = client->state() != QAbstractSocket::ConnectedState;
        if (!hasLeft && isAccepted(*client, onlyPort)) {
            converse(client);
            continue;
        }
        const quint16 port = client->peerPort();
        client->abort();
        client->deleteLater();
        emit clientRefused(port);
    }
}

bool TcpEnd::isAccepted(const QTcpSocket &client, std::optional<quint16> onlyPort)
{
    const bool isLocalHost = client.peerAddress() == QHostAddress(QHostAddress::LocalHost);
    if (onlyPort && (!isLocalHost || client.peerPort() != *onlyPort))
        return false;
    return !isConsolePresent();
}

/// A console that has left may have sent commands before, and its end and the next connection may
/// be reported in the same turn of the event loop, in any order.
bool TcpEnd::isConsolePresent()
{
    if (!m_console)
        return false;
    if (!hasEnded(*m_console))
        return true;
    receiveRest();
    dropConnection();
    return false;
}

/// What has arrived from a console that has left, and was not reported by the event loop yet.
void TcpEnd::receiveRest()
{
#ifdef Q_OS_UNIX
    std::array<char, 4096> buffer{};
    while (m_console) {
        const auto descriptor = static_cast<int>(m_console->socketDescriptor());
        const ssize_t count = ::recv(descriptor, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count <= 0)
            return;
        m_tester.receive(QByteArrayView(buffer.data(), count));
    }
#endif
}

void TcpEnd::converse(QTcpSocket *console)
{
    m_console = console;
    m_limit.reset();
    console->setReadBufferSize(ReadBufferSize);
    console->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_tester.startConversation();
    connect(console, &QTcpSocket::disconnected, console, &QObject::deleteLater);
    connect(console, &QTcpSocket::disconnected, this, [this, console] {
        if (m_console == console)
            m_console = nullptr;
    });
    const auto receive = [this, console] {
        const QByteArray bytes = console->readAll();
        if (m_console == console)
            m_tester.receive(bytes);
    };
    connect(console, &QTcpSocket::readyRead, this, receive);
    emit consoleConnected();
    receive(); // what arrived while the client waited was reported before
}

void TcpEnd::write(const QByteArray &bytes)
{
    if (!m_console)
        return;
    if (!m_limit.accepts(m_tester.isAtPacketStart(), m_console->bytesToWrite(), bytes.size())) {
        if (m_limit.isFirstDrop())
            emit packetsDropped();
        return;
    }
    m_console->write(bytes);
    // Otherwise the socket would gather the fragments into one write again.
    if (m_tester.faults().fragment > 0)
        m_console->flush();
}

void TcpEnd::dropConnection()
{
    QTcpSocket *console = std::exchange(m_console, nullptr);
    if (!console)
        return;
    if (m_dropped)
        m_dropped->abort(); // its client does not read; no more than one is kept
    m_dropped = console;
    console->disconnectFromHost();
}

} // namespace vantrel::simulator
