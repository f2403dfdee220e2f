// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/OperatorCommands.h"
#include "simulator/PtyEnd.h"
#include "simulator/TcpEnd.h"
#include "simulator/Tester.h"

#include <QObject>
#include <QString>

#include <optional>

namespace vantrel::soak {

/// A simulated tester with every built-in device attached, and its connection to the console: a
/// TCP port of the loopback address, or a pseudo-terminal.
class Target : public QObject
{
    Q_OBJECT

public:
    struct Kind
    {
        int model = 2; ///< 1 or 2
        int baud = 0;  ///< of the serial line; 0: TCP
    };

    /// Throws SoakFailure when the port or the pseudo-terminal cannot be opened.
    explicit Target(const Kind &kind);

    bool isSerial() const { return m_kind.baud != 0; }
    int model() const { return m_kind.model; }
    /// "Vorn 1, serial line at 57600 baud"
    QString description() const;
    /// The line of the command pane that reports the version of an unchanged tester.
    QString versionLine() const;

    /// TCP port.
    quint16 port() const { return m_tcp->port(); }
    /// Path of the serial device.
    QString device() const { return m_serial->path(); }

    /// A console has opened the connection.
    bool isConsoleConnected() const;
    /// The same, and the console receives what is sent: on a serial line, at the same rate.
    bool isConsoleListening() const;
    /// Writes that did not reach the console, because it had another rate.
    quint64 lostWrites() const { return isSerial() ? m_serial->lostWrites() : 0; }

    simulator::Tester &tester() { return m_tester; }
    simulator::OperatorCommands &commands() { return m_commands; }

    /// The tester as it was at the start, with every device attached. Not while it restarts.
    void restore();

signals:
    void consoleConnected();

private:
    static simulator::Settings settingsOf(int model);
    void attachDevices();

    Kind m_kind;
    simulator::Tester m_tester;
    simulator::OperatorCommands m_commands{m_tester};
    std::optional<simulator::TcpEnd> m_tcp;
    std::optional<simulator::PtyEnd> m_serial;
};

} // namespace vantrel::soak
