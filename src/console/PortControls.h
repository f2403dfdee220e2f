// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vantrel {

struct Session;
class VornCommands;

/// The controls that drive the tester's USB port. Each sends its command at once; the effect shows
/// when the tester answers. Control values hold the new state already when a handler runs.
class PortControls
{
public:
    PortControls(Session &session, VornCommands &commands)
        : m_session(session), m_commands(commands)
    {
    }

    void voltWinChanged();
    /// Leaving `VoltWin` (or Enter in it) sends the voltage if the text is not the one last sent.
    void voltWinLostFocus();
    void voltEnableClicked();
    void voltDisableClicked();
    void vccAutoRecoveryClicked();
    void highSpeedInhibitClicked();
    void usbResetClicked();
    void suspendClicked();
    void usbResumeClicked();

private:
    void setBusControlsEnabled(bool enabled);

    Session &m_session;
    VornCommands &m_commands;
};

} // namespace vantrel
