// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Target.h"

#include "app/ToolWindows.h"
#include "console/Console.h"
#include "console/Main.h"
#include "windows/DialogBoxes.h"

#include <QString>

#include <memory>

namespace vantrel::soak {

/// The console with all its windows, as the program joins them, and the simulated tester that it
/// connects to, over loopback or a pseudo-terminal.
struct Subject
{
    /// `directory`: for every file that the console keeps.
    explicit Subject(const QString &directory);

    /// Replaces the tester and selects its connection in the main window, which must be enabled and
    /// disconnected. Throws SoakFailure when that fails.
    void select(const Target::Kind &kind);

    /// True when both ends of a connection are open.
    bool isConnected() { return console.link().isConnected() && target->isConsoleListening(); }

    DialogBoxes dialogs;
    Console console;
    Tools tools;
    Main window;
    std::unique_ptr<Target> target;
};

} // namespace vantrel::soak
