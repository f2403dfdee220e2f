// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/PortControls.h"

#include "link/NumberEntry.h"
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
    Control &field = m_session.Main.VoltWin;
    const QString typed = field.text();
    if (typed == m_session.VbusText)
        return;
    const auto requested = static_cast<float>(numericValue(typed));
    m_session.VbusVolts = requested;
    m_commands.SendVbusVoltage();

    QString limit;
    if (m_session.VbusVolts > requested)
        limit = limitText(Limit::Lowest, m_session.VbusText);
    else if (m_session.VbusVolts < requested)
        limit = limitText(Limit::Highest, m_session.VbusText);
    noteEntry(field, typed, Notation::Decimal, limit);
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
