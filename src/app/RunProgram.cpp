// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/RunProgram.h"

#include "app/Options.h"
#include "app/Program.h"
#include "app/StartApplication.h"
#include "link/StopSignals.h"
#include "link/Version.h"
#include "windows/ProgramIcon.h"

#include <QSerialPortInfo>
#include <QTextStream>

namespace vantrel {

namespace {

int listPorts()
{
    QTextStream out(stdout);
    for (const QSerialPortInfo &port : QSerialPortInfo::availablePorts())
        out << port.systemLocation() << '\t' << port.description() << Qt::endl;
    return 0;
}

/// The tour needs windows, not a display.
void drawOffscreenWithoutDisplay()
{
    const bool hasDisplay = !qEnvironmentVariableIsEmpty("DISPLAY") ||
                            !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
                            !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
    if (!hasDisplay)
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

ProgramEnd runWindows(int argc, char **argv, const Options &options,
                      const std::function<void()> &beforeLoop)
{
    const auto application = startApplication(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vantrel"));
    QApplication::setApplicationVersion(QString::fromLatin1(version::Text));
    QApplication::setDesktopFileName(QLatin1String("local.vantrel.console"));
    QApplication::setWindowIcon(programIcon());

    Program program(options);
    if (const auto failure = program.start()) {
        QTextStream(stderr) << "vantrel: " << *failure << Qt::endl;
        return {1, std::nullopt};
    }
    if (beforeLoop)
        beforeLoop();
    return program.endAfter(QApplication::exec());
}

} // namespace

int runProgram(int argc, char **argv, const std::function<void()> &beforeLoop)
{
    ignoreWriteSignals();
    const auto parsed = parseOptions(argc, argv);
    if (const auto *code = std::get_if<ExitCode>(&parsed))
        return *code;
    const Options options = std::get<Options>(parsed);
    if (options.listPorts)
        return listPorts();
#ifdef Q_OS_LINUX
    if (!options.tourDirectory.isEmpty())
        drawOffscreenWithoutDisplay();
#endif
    const ProgramEnd end = runWindows(argc, argv, options, beforeLoop);
    if (end.signal)
        endBySignal(*end.signal);
    return end.status;
}

} // namespace vantrel
