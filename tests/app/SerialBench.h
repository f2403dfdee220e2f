// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/Bench.h"
#include "simulator/PtyEnd.h"
#include "simulator/Tester.h"

#include <QTest>

namespace vantrel::test {

/// A bench with a tester at the far end of a pseudo-terminal that stands for COM1's cable.
struct SerialBench : Bench
{
    explicit SerialBench(int baud,
                         const simulator::Settings &settings = simulator::Settings::vorn1())
        : tester(simulator::makeDefaultTester(settings)), end(*tester, baud)
    {
        const QString device = directory.filePath(QStringLiteral("tty"));
        if (!end.open(device))
            qFatal("no pseudo-terminal");
        console.link().setSerialDevice(1, device);
    }

    /// One-second steps until the tester has answered, at most `steps`; how many it took.
    int stepsToAnswer(int steps)
    {
        for (int step = 1; step <= steps; ++step) {
            second();
            if (QTest::qWaitFor([this] { return session().LinkState >= LinkStates::Running; }, 300))
                return step;
        }
        return -1;
    }

    bool connectConsole()
    {
        console.connectClicked();
        return stepsToAnswer(4) > 0;
    }

    std::unique_ptr<simulator::Tester> tester;
    simulator::PtyEnd end;
};

} // namespace vantrel::test
