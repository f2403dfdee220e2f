// SPDX-License-Identifier: GPL-3.0-or-later
//
// What StartDriver measures: the program itself, or an empty main window that links the same
// libraries. Prints "ready", and the memory it holds, once its window is shown and answers. With
// "idle", then what processor time it takes for so many seconds.
//
//     vantrel_start console|empty
//     vantrel_start console idle SECONDS PORT      connected to the tester at that port
//     vantrel_start empty idle SECONDS             with a timer of 100 ms
#include "app/Program.h"
#include "windows/ProgramIcon.h"

#include <QApplication>
#include <QFile>
#include <QMainWindow>
#include <QTimer>

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

using namespace vantrel;

namespace {

constexpr int SettleMilliseconds = 3000;

/// KiB in memory now.
long residentMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        std::abort();
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.simplified().split(' ').at(1).toLong();
    }
    std::abort();
}

double processorSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void tellReady()
{
    std::printf("ready %ld\n", residentMemory());
    std::fflush(stdout);
}

void tellIdle(int seconds)
{
    QTimer::singleShot(SettleMilliseconds, [seconds] {
        const double before = processorSeconds();
        QTimer::singleShot(seconds * 1000, [before] {
            std::printf("idle %.6f\n", processorSeconds() - before);
            std::fflush(stdout);
            QApplication::exit();
        });
    });
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vantrel"));
    const QStringList arguments = QApplication::arguments();
    const bool idle = arguments.value(2) == QLatin1String("idle");

    std::unique_ptr<Program> program;
    QMainWindow empty;
    QTimer ticks;
    if (arguments.value(1) == QLatin1String("console")) {
        Options options;
        if (idle) {
            options.host = QStringLiteral("127.0.0.1");
            options.port = arguments.value(4).toUShort();
            options.connect = true;
        }
        QApplication::setWindowIcon(programIcon());
        program = std::make_unique<Program>(options);
        program->start();
    } else {
        empty.resize(1040, 720);
        empty.show();
        if (idle)
            ticks.start(100);
    }
    // Behind everything that showing the window has posted.
    QTimer::singleShot(0, [idle, seconds = arguments.value(3).toInt()] {
        tellReady();
        if (idle)
            tellIdle(seconds);
        else
            QApplication::exit();
    });
    return QApplication::exec();
}
