// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCoroTask>
#include <QString>

namespace vantrel {

class Stage;

namespace simulator {
class Tester;
}

/// The part of the tour that changes memories: of an EZ-USB device, of an FTDI device, of the
/// tester itself. The console is connected to the tester, which runs a new firmware afterwards.
class MaintenanceTour
{
public:
    MaintenanceTour(Stage &stage, simulator::Tester &tester) : m_stage(stage), m_tester(tester) {}

    QCoro::Task<> walk();

private:
    QCoro::Task<> loadEzUsbFirmware();
    QCoro::Task<> runEzUsbScript();
    QCoro::Task<> readEeprom();
    QCoro::Task<> programEeprom();
    QCoro::Task<> changeNetworkAddress();
    QCoro::Task<> replaceFirmware();

    void attach(const char *device);
    QString path(const char *fileName) const;

    Stage &m_stage;
    simulator::Tester &m_tester;
};

} // namespace vantrel
