// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/Connection.h"

#include "link/Dialogs.h"
#include "link/Utils.h"
#include "link/VornComm.h"
#include "link/publicvars.h"
#include "protocol/DeviceRequests.h"
#include "protocol/VornCommands.h"
#include "protocol/VornScript.h"

#include <array>

namespace vantrel {

namespace {
constexpr qint32 TicksPerStep = 10;
}

Connection::Connection(Session &session, VornComm &link, VornCommands &commands,
                       DeviceRequests &requests, Dialogs &dialogs)
    : m_session(session), m_link(link), m_commands(commands), m_requests(requests),
      m_dialogs(dialogs)
{
}

QCoro::Task<> Connection::connectClicked()
{
    Control &Connect = m_session.Main.Connect;
    Connect.setEnabled(false);
    if (m_session.LinkState == LinkStates::Closed)
        co_await ConnectStuff();
    else
        DoDisconnect();
    Connect.setEnabled(true);
}

void Connection::setSelectionEnabled(bool enabled)
{
    MainControls &main = m_session.Main;
    for (Control *control : {&main.Comm1, &main.Comm2, &main.Comm3, &main.Comm4, &main.CommE})
        control->setEnabled(enabled);
    main.cbNWName.setEnabled(enabled && !m_session.NamesLoading);
}

/// 1 to 4, or 0 when the network is selected.
int Connection::selectedSerialPort() const
{
    const MainControls &main = m_session.Main;
    const std::array options{&main.Comm1, &main.Comm2, &main.Comm3, &main.Comm4};
    for (std::size_t i = 0; i < options.size(); ++i) {
        if (options[i]->isChecked())
            return static_cast<int>(i) + 1;
    }
    return 0;
}

QCoro::Task<> Connection::ConnectStuff()
{
    m_session.NetworkMode = false;
    setSelectionEnabled(false);
    if (const int port = selectedSerialPort())
        m_link.setSerialPortNumber(port);
    else
        m_session.NetworkMode = true;

    if (m_link.OpenLink()) {
        const Message error{QStringLiteral("Error Opening Communications Port"),
                            QStringLiteral("Vantrel - Error")};
        co_await m_dialogs.messageBox(error);
        setSelectionEnabled(true);
        co_return;
    }

    MainControls &main = m_session.Main;
    m_session.LinkState = LinkStates::Opened;
    ShowStatusLine(m_session, QStringLiteral("Initializing Communications..."));
    main.Connect.setText(QStringLiteral("Disconnect"));
    main.Connect.setToolTip(QStringLiteral("Disconnect from Vorn Tester"));
    for (Control *control : {&main.mnuUtilFW, &main.mnuUtilFTDI, &main.cbHSInhibit})
        control->setEnabled(false);
    m_session.FirmwareMajor = -1;
    m_session.FirmwareMinor = -2;
    m_session.TesterRamK = -1;
}

void Connection::DoDisconnect()
{
    m_session.writes.interrupt(AllWrites);
    m_session.LinkState = LinkStates::Closed;
    m_session.connection.cancel();
    m_link.CloseLink();
    setSelectionEnabled(true);

    MainControls &main = m_session.Main;
    main.Connect.setText(QStringLiteral("Connect"));
    main.Connect.setToolTip(QStringLiteral("Connect to Vorn Tester"));
    for (Control *control :
         {&main.VoltSet, &main.VoltEnable, &main.VoltDisable, &main.Suspend, &main.USBResume,
          &main.USBReset, &main.VoltWin, &main.ScriptLoad, &main.ScriptRun, &main.Automode,
          &main.Vcc_AR, &main.UtilFM, &main.UtilDR, &main.UtilDV, &main.EZUSB,
          &main.mnuConfigureNetwork, &main.mnuUtilFTDI})
        control->setEnabled(false);
    markScriptStopped(m_session);
    m_session.leases.endConnection();
    m_requests.endConnection();
    m_session.waits.check();
}

QCoro::Task<> Connection::automodeClicked()
{
    const bool on = m_session.Main.Automode.isChecked();
    m_commands.SendAutoMode(on);
    if (!on) {
        const Message warning{QStringLiteral("You Have DISABLED Automatic Mode"),
                              QStringLiteral("Vantrel - Warning")};
        co_await m_dialogs.messageBox(warning);
    }
}

QCoro::Task<> Connection::socketError(QString description)
{
    if (m_session.RestartExpected) {
        m_link.CloseLink();
        co_return;
    }
    m_session.LossBoxOpen = true;
    m_session.connection.cancel(); // exchanges end now, not when the box is closed
    m_requests.endConnection();
    m_session.waits.check();
    const Message error{QStringLiteral("Network Error Detected: ") + description,
                        QStringLiteral("Vantrel Communications Manager")};
    co_await m_dialogs.messageBox(error);
    m_session.LossBoxOpen = false;
    DoDisconnect();
}

void Connection::pollTick()
{
    if (m_session.ScriptBusy)
        return;
    if (PollCount + 1 == TicksPerStep && isSilent() && !m_silence.isInEffect(m_link.reception()))
        return; // decided at a later tick
    if (++PollCount == TicksPerStep) {
        oneSecondStep();
        PollCount = 0;
        m_silence = {};
    }
}

/// The step would take the tester for one that does not answer.
bool Connection::isSilent() const
{
    switch (m_session.LinkState) {
    case LinkStates::Probing:
        return true;
    case LinkStates::Running:
    case LinkStates::Bootstrap:
        return !m_session.StatusSeen;
    default:
        return false;
    }
}

void Connection::oneSecondStep()
{
    switch (m_session.LinkState) {
    case LinkStates::Opened:
        if (probe()) {
            m_session.LinkState = LinkStates::Probing;
            ShowStatusLine(m_session, QStringLiteral("Connecting..."));
        }
        break;
    case LinkStates::Probing:
        if (!m_session.NetworkMode)
            m_link.NextBaudRate();
        probe();
        break;
    case LinkStates::Running:
        poll(true);
        break;
    case LinkStates::Bootstrap:
        poll(false);
        break;
    default:
        break;
    }
}

/// Asks the tester who it is. False while a TCP connect is still under way.
bool Connection::probe()
{
    if (m_session.NetworkMode && !m_link.isConnected())
        return false;
    // The device of a serial link may have been pulled and be back by now.
    if (!m_link.isConnected())
        m_link.OpenLink();
    if (m_link.takesPackets())
        m_commands.SendVersionQuery();
    return true;
}

/// One silent second sends a tester that had answered back to probing.
void Connection::poll(bool withCurrent)
{
    if (!m_session.StatusSeen) {
        m_session.LinkState = LinkStates::Probing;
        ShowStatusLine(m_session, QStringLiteral("Connecting..."));
        return;
    }
    if (m_link.takesPackets()) { // the user asked for nothing, and need not hear that it failed
        if (withCurrent)
            m_commands.SendCurrentQuery();
        m_commands.SendPortStatusQuery();
    }
    m_session.StatusSeen = false;
}

} // namespace vantrel
