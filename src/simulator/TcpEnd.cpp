// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/TcpEnd.h"

#include "simulator/Tester.h"

#include <QHostAddress>
#include <QTcpSocket>

#include <utility>

namespace vantrel::simulator {

TcpEnd::TcpEnd(Tester &tester) : m_tester(tester)
{
    tester.clock().followRealTime();
    connect(&m_server, &QTcpServer::newConnection, this, &TcpEnd::acceptConsole);
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

void TcpEnd::acceptConsole()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        dropConnection();
        m_console = socket;
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        m_tester.startConversation();
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            if (m_console == socket)
                m_console = nullptr;
        });
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
            const QByteArray bytes = socket->readAll();
            if (m_console == socket)
                m_tester.receive(bytes);
        });
        emit consoleConnected();
    }
}

void TcpEnd::write(const QByteArray &bytes)
{
    if (!m_console)
        return;
    m_console->write(bytes);
    // Otherwise the socket would gather the fragments into one write again.
    if (m_tester.faults().fragment > 0)
        m_console->flush();
}

void TcpEnd::dropConnection()
{
    if (QTcpSocket *console = std::exchange(m_console, nullptr))
        console->disconnectFromHost();
}

} // namespace vantrel::simulator
