// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/AtExit.h"
#include "app/Options.h"
#include "app/ToolWindows.h"
#include "console/Console.h"
#include "console/Main.h"
#include "link/StopSignals.h"
#include "simulator/TcpEnd.h"
#include "simulator/Tester.h"
#include "windows/DialogBoxes.h"

#include <QCoroTask>
#include <QTimer>

#include <memory>
#include <optional>

namespace vantrel {

/// How a program ended.
struct ProgramEnd
{
    int status = 0;            ///< exit status, unless a signal has ended the program
    std::optional<int> signal; ///< the process is to end by it
};

/// The parts of the running program, joined. SIGINT, SIGTERM, SIGHUP and the end of the X server
/// end it without a question; an open log is closed with its footer. What it was writing when it
/// ended, and had to leave undone, is reported on standard error.
class Program
{
public:
    explicit Program(Options options);

    /// Shows the window and does what the options ask for. Nothing, or why the program cannot run.
    std::optional<QString> start();

    /// How the program has ended, after the event loop has returned the value.
    ProgramEnd endAfter(int loopResult) const;

private:
    void stop(int signal);
    void finishLog();
    void finishAtExit();
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
    StopSignals m_stopSignals;
    QTimer m_tourStart;
    std::unique_ptr<simulator::Tester> m_tester;
    std::unique_ptr<simulator::TcpEnd> m_testerEnd;
    std::optional<int> m_signal;
    int m_tourStatus = 1; // until the tour is complete
    AtExit m_atExit;      // destroyed first
};

} // namespace vantrel
