// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/Bench.h"
#include "app/ToolWindows.h"
#include "support/PseudoTerminal.h"
#include "support/Turns.h"

#include <QFile>
#include <QTest>

#include <memory>

#include <termios.h>
#include <unistd.h>

namespace vantrel::test {

/// A console with its tools and a tester behind a serial line of 19200 baud that carries no byte
/// faster than its rate: with each tick, the test takes 192 bytes from the far end of the
/// pseudo-terminal. Bytes at any other rate are lost.
struct LineBench : Bench
{
    static constexpr qsizetype BytesPerTick = 192;

    LineBench()
        : tester(simulator::makeDefaultTester(simulator::Settings::vorn1())),
          m_cable(::open(QFile::encodeName(line->device()).constData(), O_RDWR | O_NOCTTY))
    {
        if (m_cable < 0)
            qFatal("no pseudo-terminal");
        console.link().setSerialDevice(1, line->device());
        QObject::connect(tester.get(), &simulator::Tester::bytesReady, &m_receiver,
                         [this](const QByteArray &bytes) {
                             if (line->send(bytes) != bytes.size())
                                 qFatal("the line takes no reply");
                         });
        QObject::connect(&tools.converter, &EzUsbConverter::closeWanted, &tools.converter,
                         [this] { tools.converter.closed(); });
        QObject::connect(&tools.loader, &FirmwareLoader::closeWanted, &tools.loader,
                         [this] { tools.loader.closed(); });
    }
    ~LineBench()
    {
        console.shutDown(); // before the tools go
        ::close(m_cable);
    }
    LineBench(const LineBench &) = delete;
    LineBench &operator=(const LineBench &) = delete;

    /// A tick of console, line and tester, and the events that follow from it.
    void tick(int count = 1)
    {
        for (int i = 0; i < count; ++i) {
            const QByteArray arrived = line->received().mid(m_carried, BytesPerTick);
            m_carried += arrived.size();
            const termios settings = line->settings();
            if (::cfgetospeed(&settings) == B19200)
                tester->receive(arrived);
            tester->clock().advance(100);
            console.Timer1();
            for (int turn = 0; turn < 200; ++turn)
                QCoreApplication::processEvents();
        }
    }
    /// False when it still does not hold after so many ticks.
    template <typename Condition>
    bool ticksUntil(Condition holds, int ticks)
    {
        while (!holds() && ticks-- > 0)
            tick();
        return holds();
    }

    /// Connected and set up, with a Vbus voltage that a second set-up would change.
    bool ready()
    {
        console.connectClicked();
        if (!ticksUntil([this] { return responses().contains("Product ID: 0x0166"); }, 30))
            return false;
        main().VoltWin.adoptText(QStringLiteral("4.5"));
        console.ports().voltWinLostFocus();
        tick(3);
        tester->clearCommandsSeen();
        return tester->state().port.voltageCode() == 50;
    }

    /// The console did nothing else meanwhile: no probe, no set-up, no other rate.
    bool wasLeftAlone()
    {
        const QList<QByteArray> seen = tester->commandsSeen();
        const bool asked = seen.contains(QByteArray("\x0B")) || seen.contains(QByteArray("\x0F"));
        return !asked && tester->state().port.voltageCode() == 50 && session().BaudIndex == 0 &&
               commandLineCount("Connecting...") == 1;
    }

    /// The line takes no byte more, or does again.
    void stop(bool stopped)
    {
        if (::tcflow(m_cable, stopped ? TCOOFF : TCOON) != 0)
            qFatal("the line cannot be stopped");
    }

    QString file(const char *name, const QByteArray &content) const
    {
        QFile out(directory.filePath(QLatin1String(name)));
        if (!out.open(QIODevice::WriteOnly) || out.write(content) != content.size())
            qFatal("cannot write a file");
        return out.fileName();
    }
    void pressLoad(const QByteArray &script)
    {
        dialogs.paths = {file("script.vn", script)};
        console.scriptLoadClicked();
    }
    void pressLoadFirmware(const QByteArray &hex)
    {
        tools.converter.opened();
        dialogs.paths = {file("firmware.hex", hex)};
        tools.converter.loadClicked();
    }
    bool isFree()
    {
        return !session().ScriptBusy && main().Window.isEnabled() &&
               session().waits.pendingCount() == 0;
    }

    std::unique_ptr<simulator::Tester> tester;
    std::unique_ptr<PseudoTerminal> line = std::make_unique<PseudoTerminal>();
    Tools tools{console, directory.path()};

private:
    QObject m_receiver;
    qsizetype m_carried = 0; // bytes that have reached the tester
    int m_cable;             // the near end, opened before the console locks it
};

} // namespace vantrel::test
