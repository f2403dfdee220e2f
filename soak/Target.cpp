// SPDX-License-Identifier: GPL-3.0-or-later
#include "Target.h"

#include "Journal.h"

#include "simulator/BuiltInDevices.h"
#include "simulator/VirtualDevice.h"

namespace vantrel::soak {

Target::Target(const Kind &kind) : m_kind(kind), m_tester(settingsOf(kind.model))
{
    attachDevices();
    m_tester.setRecording(false);
    bool opened = false;
    if (isSerial()) {
        m_serial.emplace(m_tester, kind.baud);
        opened = m_serial->open();
        connect(&*m_serial, &simulator::PtyEnd::consoleConnected, this, &Target::consoleConnected);
    } else {
        m_tcp.emplace(m_tester);
        opened = m_tcp->listen();
        connect(&*m_tcp, &simulator::TcpEnd::consoleConnected, this, &Target::consoleConnected);
    }
    if (!opened)
        throw SoakFailure(QStringLiteral("the simulated tester cannot be opened: ") +
                          (isSerial() ? m_serial->errorString() : m_tcp->errorString()));
}

simulator::Settings Target::settingsOf(int model)
{
    return model == 1 ? simulator::Settings::vorn1() : simulator::Settings::vorn2();
}

QString Target::description() const
{
    const QString link = isSerial() ? QStringLiteral("serial line at %1 baud").arg(m_kind.baud)
                                    : QStringLiteral("TCP");
    return QStringLiteral("Vorn %1, %2").arg(m_kind.model).arg(link);
}

QString Target::versionLine() const
{
    const simulator::Settings settings = settingsOf(m_kind.model);
    return QStringLiteral("** Vorn %1 Firmware Revision  %2 . %3")
        .arg(settings.model)
        .arg(settings.major)
        .arg(settings.minor);
}

bool Target::isConsoleConnected() const
{
    return isSerial() ? m_serial->isConsoleConnected() : m_tcp->isConsoleConnected();
}

bool Target::isConsoleListening() const
{
    return isSerial() ? m_serial->isConsoleConnected() && m_serial->consoleRateMatches()
                      : m_tcp->isConsoleConnected();
}

void Target::restore()
{
    simulator::TesterState &state = m_tester.state();
    state.settings = settingsOf(m_kind.model);
    state.port.powerUp();
    attachDevices();
}

void Target::attachDevices()
{
    for (const simulator::BuiltInDevice &device : simulator::builtInDevices()) {
        if (!m_tester.state().port.deviceAt(device.address))
            m_tester.attach(device.make(), device.address);
    }
}

} // namespace vantrel::soak
