// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Reception.h"

#include <QCoroTask>
#include <QString>

namespace vantrel {

struct Session;
class DeviceRequests;
class Dialogs;
class VornCommands;
class VornComm;

/// Connects the console to one tester and keeps the connection alive.
class Connection
{
public:
    Connection(Session &session, VornComm &link, VornCommands &commands, DeviceRequests &requests,
               Dialogs &dialogs);

    /// The button `Connect`: connects or disconnects, whichever its caption says.
    QCoro::Task<> connectClicked();

    /// Opens the link to the selected port or network name; a box tells when that fails at once.
    QCoro::Task<> ConnectStuff();
    void DoDisconnect();

    /// The box `Automode`: tells the tester; switching it off shows a warning.
    QCoro::Task<> automodeClicked();

    /// The socket failed or was closed by the tester: a box, then DoDisconnect().
    QCoro::Task<> socketError(QString description);

    /// One tick of 100 ms; every tenth acts on LinkState. Does nothing while ScriptBusy is set.
    void pollTick();

private:
    void oneSecondStep();
    bool isSilent() const;
    bool probe();
    void poll(bool withCurrent);
    void setSelectionEnabled(bool enabled);
    int selectedSerialPort() const;

    Session &m_session;
    VornComm &m_link;
    VornCommands &m_commands;
    DeviceRequests &m_requests;
    Dialogs &m_dialogs;
    qint32 PollCount = 0; // ticks towards the one-second step
    Expiry m_silence;     // of a second without an answer
};

} // namespace vantrel
