// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/StopSignals.h"
#include "simulator/LineInput.h"
#include "simulator/OperatorCommands.h"
#include "simulator/ProgramOptions.h"
#include "simulator/PtyEnd.h"
#include "simulator/TcpEnd.h"
#include "simulator/Tester.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

#include <unistd.h>

using namespace vantrel::simulator;

namespace {

bool outputFailed = false;

/// The program ends when its output cannot be written, as a filter does.
void endWithoutOutput(int error)
{
    if (outputFailed)
        return;
    outputFailed = true;
    std::fprintf(stderr, "vantrel-simulator: standard output: %s\n", std::strerror(error));
    QCoreApplication::exit(1);
}

void say(const QString &line, FILE *to = stdout)
{
    const bool written =
        std::fprintf(to, "%s\n", line.toLocal8Bit().constData()) >= 0 && std::fflush(to) == 0;
    if (!written && to == stdout)
        endWithoutOutput(errno);
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

/// Returns the exit status. `signal` is set when the process is to end by it.
int run(int argc, char **argv, std::optional<int> &signal)
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
    const vantrel::StopSignals stop;
    QObject::connect(&stop, &vantrel::StopSignals::stopRequested, &application,
                     [&signal](int number) {
                         signal = number;
                         QCoreApplication::quit();
                     });
    return outputFailed ? 1 : QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    vantrel::ignoreWriteSignals();
    std::optional<int> signal;
    const int status = run(argc, argv, signal);
    if (signal)
        vantrel::endBySignal(*signal);
    return status;
}
