// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/Bench.h"
#include "simulator/TcpEnd.h"
#include "simulator/Tester.h"

#include <QTest>

namespace vantrel::test {

/// A bench with a tester on a real socket of this machine.
struct NetworkBench : Bench
{
    static constexpr auto Loopback = "127.0.0.1";

    explicit NetworkBench(const simulator::Settings &settings = simulator::Settings::vorn2())
        : tester(simulator::makeDefaultTester(settings)), end(*tester)
    {
        if (!end.listen())
            qFatal("no free port on loopback");
        selectNetwork(QString::fromLatin1(Loopback), end.port());
    }

    bool connectConsole()
    {
        console.connectClicked();
        if (!QTest::qWaitFor([this] { return console.link().isConnected(); }))
            return false;
        second();
        return QTest::qWaitFor([this] { return session().LinkState >= LinkStates::Running; });
    }

    std::unique_ptr<simulator::Tester> tester;
    simulator::TcpEnd end;
};

} // namespace vantrel::test
