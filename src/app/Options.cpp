// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Options.h"

#include "link/Version.h"
#include "simulator/BuiltInDevices.h"

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

/// Values as the command line has them.
struct Given
{
    std::string model;
    CLI::Option *simulator = nullptr;
    std::string host;
    std::array<std::string, DefaultDevices.size()> serialDevices;
    std::string tour;
};

void takeDevices(Options &options, const std::string &value)
{
    options.devices = simulator::readDeviceList(QString::fromStdString(value));
    if (!options.devices)
        throw CLI::ValidationError("--devices", "knows no \"" + value + "\"");
}

void declareSimulator(CLI::App &app, Given &given, Options &options)
{
    given.simulator =
        app.add_option("--simulator", given.model,
                       "Start a simulated tester inside the program (vorn1 or vorn2, vorn2 unless "
                       "told) and select it")
            ->type_name("[MODEL]")
            ->expected(0, 1)
            ->default_str(Vorn2)
            ->check(CLI::IsMember({Vorn1, Vorn2}));
    app.add_option_function<std::string>(
           "--devices", [&options](const std::string &value) { takeDevices(options, value); },
           "What is attached to it: all, none, or names of built-in devices "
           "(vantrel-simulator --help lists them)")
        ->type_name("NAME,...")
        ->needs(given.simulator);
}

void declareLink(CLI::App &app, Given &given, Options &options)
{
    app.add_flag("--connect", options.connect, "Press Connect at start");
    app.add_option("--host", given.host, "Select the tester at this network name or IP address")
        ->type_name("NAME")
        ->excludes(given.simulator);
    app.add_option("--port", options.port, "TCP port of the tester")
        ->type_name("N")
        ->capture_default_str()
        ->check(CLI::Range(1, 65535))
        ->excludes(given.simulator);
    for (std::size_t i = 0; i < given.serialDevices.size(); ++i) {
        const std::string number = std::to_string(i + 1);
        std::string &device = given.serialDevices.at(i);
        device = DefaultDevices.at(i);
        app.add_option("--com" + number, device, "Serial device behind COM" + number)
            ->type_name("DEVICE")
            ->capture_default_str();
    }
    app.add_flag("--list-ports", options.listPorts,
                 "List the serial ports of this machine and end");
}

} // namespace

std::variant<Options, ExitCode> parseOptions(int argc, char **argv)
{
    Options options;
    Given given;
    CLI::App app{"Control console for the Vorn 1 and Vorn 2 USB test hosts", "vantrel"};
    app.set_version_flag("--version", std::string("vantrel ") + version::Text);
    declareSimulator(app, given, options);
    declareLink(app, given, options);
    app.add_flag("--unsigned-words", options.unsignedWords,
                 "Take the words of devices and request files as unsigned numbers, so that 0x8000 "
                 "and above is no overflow");
    app.add_option("--tour", given.tour,
                   "Drive the windows through a session with the simulated tester; pictures and "
                   "files go to DIR")
        ->type_name("DIR");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &end) {
        return app.exit(end);
    }

    options.host = QString::fromStdString(given.host);
    options.tourDirectory = QString::fromStdString(given.tour);
    for (std::size_t i = 0; i < given.serialDevices.size(); ++i)
        options.serialDevices.at(i) = QString::fromStdString(given.serialDevices.at(i));
    if (given.simulator->count() > 0)
        options.simulatedModel = given.model == Vorn1 ? 1 : 2;
    else if (!given.tour.empty())
        options.simulatedModel = 2;
    return options;
}

} // namespace vantrel
