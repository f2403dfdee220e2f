// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/Stage.h"

#include <QCoroTask>

namespace vantrel {

namespace simulator {
class Tester;
}

/// A whole session with the simulated tester, driven through the program's own windows. It shows
/// a newcomer what the program does, and fails when it does not.
class Tour
{
public:
    Tour(Console &console, QWidget &mainWindow, simulator::Tester &tester,
         const QString &directory);

    /// 0 when every step showed what it should, 1 otherwise.
    QCoro::Task<int> run();

private:
    QCoro::Task<> walk();
    QCoro::Task<> addNetworkName();
    QCoro::Task<> connectToTester();
    QCoro::Task<> startLog();
    QCoro::Task<> setVoltage();
    QCoro::Task<> driveBus();
    QCoro::Task<> switchPower();
    QCoro::Task<> readReports();
    QCoro::Task<> runScript();
    QCoro::Task<> keepScriptInFlash();
    QCoro::Task<> leaveAutoMode();
    QCoro::Task<> endLog();
    QCoro::Task<> disconnectFromTester();

    QString path(const char *fileName) const;

    Console &m_console;
    Stage m_stage;
    simulator::Tester &m_tester;
};

} // namespace vantrel
