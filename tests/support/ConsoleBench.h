// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "console/Console.h"
#include "support/FakeDialogs.h"
#include "support/MemoryTransport.h"

#include <QFile>
#include <QTemporaryDir>

#include <memory>

namespace vantrel::test {

/// A whole console without windows: both transports, the dialogs and the timer are the test's.
class ConsoleBench
{
public:
    enum class Start {
        Loaded, ///< with an empty names file
        Bare,   ///< load() is the test's
    };

    explicit ConsoleBench(Start start = Start::Loaded)
    {
        console.link().setReceiveClock([this] { return receiveTime; });
        for (int port = 1; port <= VornComm::SerialPortCount; ++port)
            console.link().setSerialDevice(port, QStringLiteral("/dev/serial%1").arg(port));
        if (start == Start::Bare)
            return;
        QFile(namesFile).open(QIODevice::WriteOnly);
        console.load(namesFile);
    }

    void tick(int count = 1)
    {
        for (int i = 0; i < count; ++i)
            console.Timer1();
    }
    void second() { tick(10); }

    /// Selects one of the five options, as the user would.
    void select(Control &option)
    {
        for (Control *each : {&main.Comm1, &main.Comm2, &main.Comm3, &main.Comm4, &main.CommE})
            each->adoptChecked(each == &option);
    }

    /// Selects COM1 or the network and presses Connect.
    void connect(bool network = false)
    {
        select(network ? main.CommE : main.Comm1);
        console.connectClicked();
    }

    /// Connects, probes and answers as a Vorn 2 of 3.12; forgets what was written so far.
    void run(bool network = false)
    {
        connect(network);
        second();
        answer(QByteArray::fromHex("8f02030c0040"));
        transport().takeWritten();
    }

    /// The tester sends a packet that needs no escapes.
    void answer(const QByteArray &packet)
    {
        transport().receive(session.PacketStart + packet + session.PacketEnd);
    }

    MemoryTransport &transport() { return session.NetworkMode ? *tcp : *serial; }

    /// What the limit of a turn is measured by; stands still unless the test moves it.
    std::chrono::nanoseconds receiveTime{0};
    QTemporaryDir directory;
    QString namesFile = directory.filePath(QStringLiteral("VLnetNames.dat"));
    FakeDialogs dialogs;
    MemoryTransport *const serial = new MemoryTransport;
    MemoryTransport *const tcp = new MemoryTransport;
    Console console{dialogs, std::unique_ptr<Transport>(serial), std::unique_ptr<Transport>(tcp)};
    Session &session = console.session();
    MainControls &main = session.Main;
};

} // namespace vantrel::test
