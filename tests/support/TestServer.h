// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>

namespace vantrel::test {

/// The far end of a TCP connection, on a free port of loopback. Takes one client at a time; the
/// latest is the client.
class TestServer
{
public:
    TestServer()
    {
        m_server.listen(QHostAddress::LocalHost);
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            m_client = m_server.nextPendingConnection();
            ++m_clients;
            QObject::connect(m_client, &QTcpSocket::readyRead, m_client,
                             [this] { m_received += m_client->readAll(); });
        });
    }

    quint16 port() const { return m_server.serverPort(); }
    int clients() const { return m_clients; }
    QTcpSocket *client() const { return m_client; }
    const QByteArray &received() const { return m_received; }
    void stopListening() { m_server.close(); }

private:
    QTcpServer m_server; // owns the clients
    QTcpSocket *m_client = nullptr;
    int m_clients = 0;
    QByteArray m_received;
};

} // namespace vantrel::test
