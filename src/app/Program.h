// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/Options.h"
#include "app/ToolWindows.h"
#include "console/Console.h"
#include "console/Main.h"
#include "simulator/StopSignals.h"
#include "simulator/TcpEnd.h"
#include "simulator/Tester.h"
#include "windows/DialogBoxes.h"

#include <QCoroTask>

#include <memory>
#include <optional>

namespace vantrel {

/// The parts of the running program, joined. SIGINT and SIGTERM end it without a question. What it
/// was writing when it ended, and had to leave undone, is reported on standard error.
class Program
{
public:
    explicit Program(Options options);

    /// Shows the window and does what the options ask for. Nothing, or why the program cannot run.
    std::optional<QString> start();

private:
    void stop();
    std::optional<QString> startSimulator();
    std::optional<quint16> consolePort();
    QString dataFolder() const;
    StartDirectories startDirectories() const;
    void loadConsole();
    void applyOptions();
    void selectNetwork(const QString &host, quint16 port);
    QCoro::Task<> takeTour();

    Options m_options;
    DialogBoxes m_dialogs;
    Console m_console;
    Tools m_tools;
    Main m_main;
    simulator::StopSignals m_stopSignals;
    std::unique_ptr<simulator::Tester> m_tester;
    std::unique_ptr<simulator::TcpEnd> m_testerEnd;
};

} // namespace vantrel
