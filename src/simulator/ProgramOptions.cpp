// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/ProgramOptions.h"

#include "simulator/BuiltInDevices.h"
#include "simulator/FaultTable.h"
#include "simulator/TextValues.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace vantrel::simulator {

namespace {

struct Firmware
{
    quint8 major;
    quint8 minor;
};

/// What only makes sense together with other options.
struct Given
{
    int model = 2;
    std::optional<Firmware> firmware;
    std::optional<quint16> ramK;
    bool special = false;
    bool bootstrap = false;
    std::string ptyLink;
};

std::optional<Firmware> parseFirmware(const QString &value)
{
    const QStringList parts = value.split(QLatin1Char('.'));
    const auto major = parseNumber(parts.value(0), 255);
    const auto minor = parseNumber(parts.value(1), 255);
    if (parts.size() != 2 || !major || !minor)
        return std::nullopt;
    return Firmware{static_cast<quint8>(*major), static_cast<quint8>(*minor)};
}

/// An option whose value `take` accepts, or refuses by returning false.
CLI::Option *addText(CLI::App &app, const std::string &name, const std::string &values,
                     const std::string &help, const std::function<bool(const QString &)> &take)
{
    const auto callback = [name, take](const std::string &value) {
        if (!take(QString::fromStdString(value)))
            throw CLI::ValidationError(name, "cannot be \"" + value + "\"");
    };
    return app.add_option_function<std::string>(name, callback, help)->type_name(values);
}

/// A taker that stores what `parse` makes of the value.
template <typename Value, typename Parsed>
std::function<bool(const QString &)> into(Value &target,
                                          std::optional<Parsed> (*parse)(const QString &))
{
    return [&target, parse](const QString &value) {
        const std::optional<Parsed> parsed = parse(value);
        if (parsed)
            target = *parsed;
        return parsed.has_value();
    };
}

void declareTester(CLI::App &app, Given &given, ProgramOptions &options)
{
    app.add_option("--model", given.model, "1 or 2")
        ->check(CLI::IsMember({1, 2}))
        ->capture_default_str();
    addText(app, "--firmware", "MAJOR.MINOR", "revision (default 2.17 or 3.12, by model)",
            into(given.firmware, &parseFirmware));
    app.add_flag("--special", given.special, "a special release instead of a revision");
    app.add_option("--ram", given.ramK, "RAM in KiB (default 32 or 64, by model)")
        ->check(CLI::Range(0, 32767));
    app.add_flag("--bootstrap", given.bootstrap, "wait for a firmware image (model 2)");
    const std::string usual = options.devices.join(QLatin1Char(',')).toStdString();
    addText(app, "--devices", "NAME,...|all|none",
            "devices of the list below attached at the start (default " + usual + ")",
            into(options.devices, &readDeviceList));
}

CLI::Option *declareEnds(CLI::App &app, Given &given, ProgramOptions &options)
{
    app.add_option("--port", options.port, "TCP port on the loopback address; 0 is any")
        ->capture_default_str();
    CLI::Option *pty = app.add_option("--pty", given.ptyLink,
                                      "offer a serial device too, with a symbolic link to it")
                           ->type_name("[LINK]")
                           ->expected(0, 1);
    app.add_option("--baud", options.baud, "the only rate at which the serial device answers")
        ->capture_default_str();
    addText(app, "--noise", "HEX", "what a console at another rate reads instead of nothing",
            into(options.noise, &parseHex));
    app.add_flag("--verbose", options.verbose, "print every packet");
    return pty;
}

void declareFaults(CLI::App &app, ProgramOptions &options)
{
    for (const FaultEntry &fault : faultTable()) {
        addText(
            app, "--" + fault.name.toStdString(), fault.values.toStdString(),
            fault.help.toStdString(),
            [&fault, &options](const QString &value) { return fault.set(options.faults, value); })
            ->group("Faults");
    }
}

/// CLI11 2.5 and later reflow the text after the options, which here is a table.
template <typename Formatter>
void keepFooter(Formatter &formatter)
{
    if constexpr (requires { formatter.enable_footer_formatting(false); })
        formatter.enable_footer_formatting(false);
}

Settings settingsOf(const Given &given)
{
    Settings settings = given.model == 1 ? Settings::vorn1() : Settings::vorn2();
    if (given.firmware) {
        settings.major = given.firmware->major;
        settings.minor = given.firmware->minor;
    }
    settings.ramK = given.ramK.value_or(settings.ramK);
    settings.special = given.special;
    settings.bootstrap = given.bootstrap;
    return settings;
}

} // namespace

std::optional<int> parseProgramOptions(int argc, char **argv, ProgramOptions &options)
{
    options.devices = devicesAtStart();

    Given given;
    CLI::App app("A simulated Vorn tester. Type help while it runs.", "vantrel-simulator");
    app.set_version_flag("--version", "vantrel-simulator " VANTREL_VERSION);
    declareTester(app, given, options);
    const CLI::Option *pty = declareEnds(app, given, options);
    declareFaults(app, options);
    keepFooter(*app.get_formatter());
    app.footer("Devices:\n  " +
               describeBuiltInDevices().join(QStringLiteral("\n  ")).toStdString());
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error);
    }
    options.settings = settingsOf(given);
    options.pty = pty->count() > 0;
    options.ptyLink = QString::fromStdString(given.ptyLink);
    return std::nullopt;
}

} // namespace vantrel::simulator
