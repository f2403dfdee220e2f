// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Options.h"
#include "app/Program.h"
#include "link/Version.h"
#include "windows/ProgramIcon.h"

#include <QApplication>
#include <QSerialPortInfo>
#include <QTextStream>

namespace {

int listPorts()
{
    QTextStream out(stdout);
    for (const QSerialPortInfo &port : QSerialPortInfo::availablePorts())
        out << port.systemLocation() << '\t' << port.description() << Qt::endl;
    return 0;
}

/// The tour needs windows, not a screen.
void doWithoutScreen()
{
    const bool hasScreen = qEnvironmentVariableIsSet("DISPLAY") ||
                           qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
                           qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
    if (!hasScreen)
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

} // namespace

int main(int argc, char **argv)
{
    using namespace vantrel;

    const auto parsed = parseOptions(argc, argv);
    if (const auto *code = std::get_if<ExitCode>(&parsed))
        return *code;
    const Options options = std::get<Options>(parsed);
    if (options.listPorts)
        return listPorts();
#ifdef Q_OS_LINUX
    if (!options.tourDirectory.isEmpty())
        doWithoutScreen();
#endif

    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vantrel"));
    QApplication::setApplicationVersion(QString::fromLatin1(version::Text));
    QApplication::setDesktopFileName(QLatin1String("local.vantrel.console"));

    QApplication::setWindowIcon(programIcon());

    Program program(options);
    if (const auto failure = program.start()) {
        QTextStream(stderr) << "vantrel: " << *failure << Qt::endl;
        return 1;
    }
    return QApplication::exec();
}
