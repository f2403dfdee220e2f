// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/ToolWindows.h"
#include "console/Console.h"
#include "console/Main.h"
#include "simulator/TcpEnd.h"
#include "simulator/Tester.h"
#include "windows/DialogBoxes.h"

#include <QString>

namespace vantrel::soak {

/// The console with all its windows, as the program joins them, and the simulated tester that it
/// reaches over loopback.
struct Subject
{
    /// `directory`: for every file that the console keeps. Throws SoakFailure when the tester finds
    /// no port.
    explicit Subject(const QString &directory);

    /// True when both ends of a connection stand.
    bool isConnected() { return console.link().isConnected() && end.isConsoleConnected(); }

    DialogBoxes dialogs;
    Console console;
    Tools tools;
    Main window;
    simulator::Tester tester;
    simulator::TcpEnd end;
};

} // namespace vantrel::soak
