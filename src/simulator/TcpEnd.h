// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/SendLimit.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTcpServer>
#include <QTimer>

#include <functional>
#include <optional>
#include <utility>

class QTcpSocket;

namespace vantrel::simulator {

class Tester;

/// The tester's network interface: TCP on the loopback address, one console at a time. While one is
/// connected every other one is refused: its connection is closed at once. A console that has
/// closed its end is not connected any more, even if the event loop has not reported that yet. What
/// a console does not read is bounded by SendLimit. The tester's clock follows real time from here
/// on.
class TcpEnd : public QObject
{
    Q_OBJECT

public:
    /// `tester` must outlive the end.
    explicit TcpEnd(Tester &tester);
    ~TcpEnd() override;

    /// Port 0 takes any that is free. False when the port cannot be had; errorString() says why.
    bool listen(quint16 port = 0);
    quint16 port() const { return m_server.serverPort(); }
    QString errorString() const { return m_server.errorString(); }

    /// Accepts only the client whose own port is the one that `port` returns: 0 for none, nothing
    /// while it is not known yet, in which case clients wait.
    void acceptOnly(std::function<std::optional<quint16>()> port) { m_onlyPort = std::move(port); }

    bool isConsoleConnected() const { return m_console != nullptr; }
    /// What was written before still arrives, unless a later connection is dropped as well.
    void dropConnection();

signals:
    /// A console has connected, and what the tester sends goes to it from now on.
    void consoleConnected();
    /// The connection of a client was closed at once; `port` is the client's.
    void clientRefused(quint16 port);
    /// A packet was dropped for the first time since the console connected.
    void packetsDropped();

private:
    void acceptClients();
    bool isAccepted(const QTcpSocket &client, std::optional<quint16> onlyPort);
    bool isConsolePresent();
    void receiveRest();
    void converse(QTcpSocket *console);
    void write(const QByteArray &bytes);

    Tester &m_tester;
    QTcpServer m_server{this};
    std::function<std::optional<quint16>()> m_onlyPort; // empty: any
    QTimer m_retry;                                     // runs while m_onlyPort is not known
    QTcpSocket *m_console = nullptr; // the server's child; cleared when it disconnects
    QPointer<QTcpSocket> m_dropped;  // the last one, until its bytes have left
    SendLimit m_limit;
};

} // namespace vantrel::simulator
