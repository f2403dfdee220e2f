// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/LineInput.h"
#include "simulator/OperatorCommands.h"
#include "simulator/ProgramOptions.h"
#include "simulator/PtyEnd.h"
#include "simulator/StopSignals.h"
#include "simulator/TcpEnd.h"
#include "simulator/Tester.h"

#include <QCoreApplication>

#include <cstdio>
#include <memory>

#include <unistd.h>

using namespace vantrel::simulator;

namespace {

void say(const QString &line, FILE *to = stdout)
{
    std::fprintf(to, "%s\n", line.toLocal8Bit().constData());
    std::fflush(to);
}

void warn(const QString &line)
{
    say(QStringLiteral("vantrel-simulator: ") + line, stderr);
}

std::unique_ptr<Tester> makeTester(const ProgramOptions &options)
{
    auto tester = std::make_unique<Tester>(options.settings);
    tester->setRecording(false);
    tester->faults() = options.faults;
    attachBuiltInDevices(*tester, options.devices);
    return tester;
}

void printPackets(const Tester &tester)
{
    const auto printer = [](const char *arrow) {
        return [arrow](const QByteArray &body) {
            say(QLatin1String(arrow) + QString::fromLatin1(body.toHex(' ').toUpper()));
        };
    };
    QObject::connect(&tester, &Tester::commandReceived, &tester, printer("-> "));
    QObject::connect(&tester, &Tester::packetSent, &tester, printer("<- "));
}

bool listenOnTcp(TcpEnd &tcp, quint16 port)
{
    if (!tcp.listen(port)) {
        warn(QStringLiteral("port %1: %2").arg(port).arg(tcp.errorString()));
        return false;
    }
    say(QStringLiteral("Listening on 127.0.0.1 port %1").arg(tcp.port()));
    return true;
}

QString serialText(const PtyEnd &pty, int baud)
{
    return QStringLiteral("Serial device %1 at %2 baud").arg(pty.path()).arg(baud);
}

bool openSerial(PtyEnd &pty, const ProgramOptions &options)
{
    pty.setNoise(options.noise);
    if (!pty.open(options.ptyLink)) {
        warn(QStringLiteral("serial device: ") + pty.errorString());
        return false;
    }
    say(serialText(pty, options.baud));
    return true;
}

void addSerialCommands(OperatorCommands &commands, PtyEnd &pty, int baud)
{
    commands.add(QStringLiteral("unplug"), {}, QStringLiteral("take the serial device away"),
                 [&pty](const QStringList &) {
                     pty.unplug();
                     return QString();
                 });
    commands.add(QStringLiteral("plug"), {}, QStringLiteral("bring the serial device back"),
                 [&pty, baud](const QStringList &) {
                     return pty.plug() ? serialText(pty, baud) : pty.errorString();
                 });
}

/// What is refused or dropped, so that neither peers nor operators can make the program grow.
void reportLimits(const Tester &tester, const TcpEnd &tcp, const PtyEnd &pty,
                  const LineInput &input)
{
    QObject::connect(&tcp, &TcpEnd::clientRefused, &tcp, [](quint16 port) {
        warn(QStringLiteral("127.0.0.1 port %1 refused: a console is connected").arg(port));
    });
    QObject::connect(&tcp, &TcpEnd::packetsDropped, &tcp, [] {
        warn(QStringLiteral("the console on TCP does not read, packets are dropped"));
    });
    QObject::connect(&pty, &PtyEnd::packetsDropped, &pty, [] {
        warn(QStringLiteral("the console on the serial device does not read, packets are dropped"));
    });
    QObject::connect(&tester, &Tester::packetsDropped, &tester, [] {
        warn(QStringLiteral("more packets are delayed than are kept, packets are dropped"));
    });
    QObject::connect(&input, &LineInput::lineDropped, &input,
                     [] { warn(QStringLiteral("a command is too long and was ignored")); });
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    ProgramOptions options;
    if (const auto exitCode = parseProgramOptions(argc, argv, options))
        return *exitCode;

    const std::unique_ptr<Tester> tester = makeTester(options);
    if (options.verbose)
        printPackets(*tester);

    OperatorCommands commands(*tester);
    commands.add(QStringLiteral("quit"), {}, QStringLiteral("end the program"),
                 [](const QStringList &) {
                     QCoreApplication::quit();
                     return QString();
                 });

    TcpEnd tcp(*tester);
    if (!listenOnTcp(tcp, options.port))
        return 1;
    PtyEnd pty(*tester, options.baud);
    if (options.pty) {
        if (!openSerial(pty, options))
            return 1;
        addSerialCommands(commands, pty, options.baud);
    }

    const LineInput input(STDIN_FILENO);
    QObject::connect(&input, &LineInput::lineRead, &application, [&commands](const QString &line) {
        const QString answer = commands.run(line);
        if (!answer.isEmpty())
            say(answer);
    });
    reportLimits(*tester, tcp, pty, input);
    const StopSignals stop;
    QObject::connect(&stop, &StopSignals::stopRequested, &application, &QCoreApplication::quit);
    return QCoreApplication::exec();
}
