// SPDX-License-Identifier: GPL-3.0-or-later
//
// The program's start and its rest, beside an empty main window that links the same libraries: time
// to the window shown and answering, memory then, processor time while connected and idle.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

constexpr int Repetitions = 9;
constexpr int IdleSeconds = 60;
constexpr int Patience = 30'000; // ms

[[noreturn]] void fail(const char *what, const QProcess &process)
{
    std::fprintf(stderr, "%s: %s\n", qPrintable(process.program()), what);
    std::exit(EXIT_FAILURE);
}

void start(QProcess &process, const char *program, const QStringList &arguments)
{
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QString::fromLocal8Bit(program), arguments);
    if (!process.waitForStarted(Patience))
        fail("does not start", process);
}

/// The rest of the line that begins with the word.
QByteArray awaitLine(QProcess &process, const QByteArray &word, int patience = Patience)
{
    QElapsedTimer waited;
    waited.start();
    while (!waited.hasExpired(patience)) {
        while (process.canReadLine()) {
            const QByteArray line = process.readLine().trimmed();
            if (line.startsWith(word))
                return line.sliced(word.size()).trimmed();
        }
        process.waitForReadyRead(100);
    }
    fail("does not answer", process);
}

struct Start
{
    double milliseconds;
    double mebibytes;
};

Start startOnce(const QString &what)
{
    QProcess process;
    QElapsedTimer clock;
    clock.start();
    start(process, START, {what});
    const double memory = awaitLine(process, "ready").toDouble() / 1024;
    const double time = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    process.waitForFinished(Patience);
    return {time, memory};
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

bool tell(const char *what, const char *unit, double ours, double yardstick, double atMost)
{
    const double ratio = ours / yardstick;
    const bool reached = ratio <= atMost;
    std::printf("%-36s %8.1f %-2s  %-28s %8.1f %-2s %6.2f %9.2f  %s\n", what, ours, unit,
                "empty window", yardstick, unit, ratio, atMost, reached ? "ok" : "NOT");
    return reached;
}

bool measureStart()
{
    std::vector<double> times[2];
    std::vector<double> memories[2];
    const QStringList sides{QStringLiteral("console"), QStringLiteral("empty")};
    for (const QString &side : sides)
        startOnce(side); // into the caches
    for (int i = 0; i < Repetitions; ++i) {
        for (int side = 0; side < 2; ++side) {
            const Start once = startOnce(sides[side]);
            times[side].push_back(once.milliseconds);
            memories[side].push_back(once.mebibytes);
        }
    }
    const bool quick =
        tell("start to the window answering", "ms", median(times[0]), median(times[1]), 1.5);
    const bool small = tell("memory then", "MB", median(memories[0]), median(memories[1]), 1.3);
    return quick && small;
}

/// Both rest side by side, so that what else the machine does falls on both.
bool measureIdle()
{
    QProcess tester;
    start(tester, SIMULATOR, {});
    const QByteArray port = awaitLine(tester, "Listening on 127.0.0.1 port");

    const QString seconds = QString::number(IdleSeconds);
    QProcess console;
    QProcess empty;
    start(console, START,
          {QStringLiteral("console"), QStringLiteral("idle"), seconds, QString::fromLatin1(port)});
    start(empty, START, {QStringLiteral("empty"), QStringLiteral("idle"), seconds});
    const int patience = 2 * IdleSeconds * 1000;
    const double ours = awaitLine(console, "idle", patience).toDouble() / IdleSeconds * 100;
    const double yardstick = awaitLine(empty, "idle", patience).toDouble() / IdleSeconds * 100;
    for (QProcess *process : {&console, &empty})
        process->waitForFinished(Patience);
    tester.terminate();
    tester.waitForFinished(Patience);

    constexpr double AtMost = 0.5; // % of a core
    const bool reached = ours - yardstick <= AtMost;
    std::printf("%-36s %8.2f %%   %-28s %8.2f %%  %+6.2f %9.2f  %s\n",
                "connected and idle, of a core", ours, "empty window, 100 ms timer", yardstick,
                ours - yardstick, AtMost, reached ? "ok" : "NOT");
    return reached;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QCoreApplication application(argc, argv);
    const bool started = measureStart();
    const bool idled = measureIdle();
    return started && idled ? EXIT_SUCCESS : EXIT_FAILURE;
}
