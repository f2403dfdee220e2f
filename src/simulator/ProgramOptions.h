// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/Faults.h"
#include "simulator/Settings.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace vantrel::simulator {

/// What the command line of vantrel-simulator asks for.
struct ProgramOptions
{
    Settings settings;
    Faults faults;
    QStringList devices;  ///< names of built-in devices
    quint16 port = 0;     ///< TCP; 0 is any that is free
    bool pty = false;     ///< offer a serial device as well
    QString ptyLink;      ///< symbolic link to it; may be empty
    int baud = 19200;     ///< of the serial device
    QByteArray noise;     ///< what a console at another rate reads
    bool verbose = false; ///< print every packet
};

/// Reads the command line. Returns the exit code when the program is to end at once: after --help
/// and --version (already printed), or after a complaint about an option.
std::optional<int> parseProgramOptions(int argc, char **argv, ProgramOptions &options);

} // namespace vantrel::simulator
