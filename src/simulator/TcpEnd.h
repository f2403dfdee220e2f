// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

namespace vantrel::simulator {

class Tester;

/// The tester's network interface: TCP on the loopback address, one console at a time. A newer
/// connection replaces the older one. The tester's clock follows real time from here on.
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

    bool isConsoleConnected() const { return m_console != nullptr; }
    /// What was written before still arrives.
    void dropConnection();

signals:
    /// A console has connected, and what the tester sends goes to it from now on.
    void consoleConnected();

private:
    void acceptConsole();
    void write(const QByteArray &bytes);

    Tester &m_tester;
    QTcpServer m_server{this};
    QTcpSocket *m_console = nullptr; // the server's child; cleared when it disconnects
};

} // namespace vantrel::simulator
