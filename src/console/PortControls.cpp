// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/PortControls.h"

#include "link/Utils.h"
#include "link/publicvars.h"
#include "protocol/VornCommands.h"

namespace vantrel {

void PortControls::voltWinChanged()
{
    m_session.Main.VoltSet.setEnabled(true);
}

void PortControls::voltWinLostFocus()
{
    const QString &text = m_session.Main.VoltWin.text();
    if (text == m_session.VbusText)
        return;
    m_session.VbusVolts = static_cast<float>(numericValue(text));
    m_commands.SendVbusVoltage();
}

void PortControls::voltEnableClicked()
{
    m_commands.SendVbusEnable(true);
    setBusControlsEnabled(true);
}

void PortControls::voltDisableClicked()
{
    m_commands.SendVbusEnable(false);
    setBusControlsEnabled(false);
}

void PortControls::setBusControlsEnabled(bool enabled)
{
    MainControls &main = m_session.Main;
    for (Control *control : {&main.Suspend, &main.USBResume, &main.USBReset})
        control->setEnabled(enabled);
}

void PortControls::vccAutoRecoveryClicked()
{
    m_commands.SendVbusAutoRecovery(m_session.Main.Vcc_AR.isChecked());
}

void PortControls::highSpeedInhibitClicked()
{
    m_commands.SendHighSpeedInhibit(m_session.Main.cbHSInhibit.isChecked());
}

void PortControls::usbResetClicked()
{
    m_commands.SendUsbReset();
}

void PortControls::suspendClicked()
{
    m_commands.SendSuspend();
}

void PortControls::usbResumeClicked()
{
    m_commands.SendResume();
}

} // namespace vantrel
