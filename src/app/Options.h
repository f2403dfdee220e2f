// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <array>
#include <optional>
#include <variant>

namespace vantrel {

/// What the command line of `vantrel` asks for.
struct Options
{
    std::optional<int> simulatedModel; ///< start a simulated Vorn 1 or Vorn 2 inside the program
    bool connect = false;              ///< press Connect at start
    QString host;                      ///< network name to select; empty leaves COM1 selected
    quint16 port = 7;
    std::array<QString, 4> serialDevices; ///< behind COM1 to COM4
    bool listPorts = false;
    bool unsignedWords = false;         ///< words of devices and files reach to 65535
    std::optional<QStringList> devices; ///< to attach to the simulated tester, not its usual ones
    QString tourDirectory;              ///< drive the windows through a session, pictures go here
};

/// The exit code of a program that has already said what it had to: help, version, an error.
using ExitCode = int;

/// Needs no display and no application object.
std::variant<Options, ExitCode> parseOptions(int argc, char **argv);

} // namespace vantrel
