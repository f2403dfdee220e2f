// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Options.h"

#include "link/Version.h"

#include <CLI/CLI.hpp>

#include <string>

namespace vantrel {

namespace {

#ifdef Q_OS_WIN
constexpr std::array DefaultDevices{"COM1", "COM2", "COM3", "COM4"};
#else
constexpr std::array DefaultDevices{"/dev/ttyS0", "/dev/ttyS1", "/dev/ttyS2", "/dev/ttyS3"};
#endif

constexpr const char *Vorn1 = "vorn1";
constexpr const char *Vorn2 = "vorn2";

} // namespace

std::variant<Options, ExitCode> parseOptions(int argc, char **argv)
{
    Options options;
    CLI::App app{"Control console for the Vorn 1 and Vorn 2 USB test hosts", "vantrel"};
    app.set_version_flag("--version", std::string("vantrel ") + version::Text);

    std::string model;
    auto *const simulator =
        app.add_option("--simulator", model,
                       "Start a simulated tester inside the program (vorn1 or vorn2, vorn2 unless "
                       "told) and select it")
            ->type_name("[MODEL]")
            ->expected(0, 1)
            ->default_str(Vorn2)
            ->check(CLI::IsMember({Vorn1, Vorn2}));
    app.add_flag("--connect", options.connect, "Press Connect at start");

    std::string host;
    app.add_option("--host", host, "Select the tester at this network name or IP address")
        ->type_name("NAME")
        ->excludes(simulator);
    app.add_option("--port", options.port, "TCP port of the tester")
        ->type_name("N")
        ->capture_default_str()
        ->check(CLI::Range(1, 65535))
        ->excludes(simulator);

    std::array<std::string, DefaultDevices.size()> devices;
    for (std::size_t i = 0; i < devices.size(); ++i) {
        const std::string number = std::to_string(i + 1);
        devices.at(i) = DefaultDevices.at(i);
        app.add_option("--com" + number, devices.at(i), "Serial device behind COM" + number)
            ->type_name("DEVICE")
            ->capture_default_str();
    }
    app.add_flag("--list-ports", options.listPorts,
                 "List the serial ports of this machine and end");

    std::string tour;
    app.add_option("--tour", tour,
                   "Drive the windows through a session with the simulated tester; pictures and "
                   "files go to DIR")
        ->type_name("DIR");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &end) {
        return app.exit(end);
    }

    options.host = QString::fromStdString(host);
    options.tourDirectory = QString::fromStdString(tour);
    for (std::size_t i = 0; i < devices.size(); ++i)
        options.serialDevices.at(i) = QString::fromStdString(devices.at(i));
    if (simulator->count() > 0)
        options.simulatedModel = model == Vorn1 ? 1 : 2;
    else if (!tour.empty())
        options.simulatedModel = 2;
    return options;
}

} // namespace vantrel
