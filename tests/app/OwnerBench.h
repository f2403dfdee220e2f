// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/ToolWindows.h"
#include "windows/DialogBench.h"

#include <QMessageBox>

#include <chrono>

namespace vantrel::test {

/// The console with all its windows and real dialogs, joined as in the program, connected to a
/// Vorn 2 that answers nothing more.
struct OwnerBench
{
    OwnerBench()
    {
        QFile(namesFile).open(QIODevice::WriteOnly);
        stopTicks(window);
        // What is received is processed in one turn of the event loop.
        console.link().setReceiveClock([] { return std::chrono::nanoseconds(0); });
        addToolWindows(tools, console, window);
        window.show();
        waitUntilActive(window);
        console.load(namesFile);
        console.link().setSerialDevice(1, QStringLiteral("/dev/serial1"));
        console.connectClicked();
        tick(10);
        serial->receive(session.PacketStart + QByteArray::fromHex("8f02030c0040") +
                        session.PacketEnd);
        // Windows that were opened and closed come first among the program's windows.
        for (const char *item : {"HelpTopics", "UtilFM", "UtilDV", "mnuConfigureNetwork"})
            close(open(item));
    }

    void tick(int count = 1)
    {
        for (int i = 0; i < count; ++i)
            console.Timer1();
    }

    /// Opens the window of a menu item.
    QWidget &open(const char *item)
    {
        child<QAction>(window, item).trigger();
        if (!QTest::qWaitFor([this] { return QApplication::activeWindow() != &window; }))
            qFatal("no window of %s", item);
        return *QApplication::activeWindow();
    }
    void close(QWidget &tool)
    {
        tool.close();
        activate(window);
    }
    static void activate(QWidget &widget)
    {
        widget.activateWindow();
        waitUntilActive(widget);
    }

    /// The box that comes up within ten seconds of ticks.
    QMessageBox *boxInTime()
    {
        for (int i = 0; i < 100 && !openWindow<QMessageBox>("MessageBox"); ++i) {
            tick();
            QCoreApplication::processEvents();
        }
        return openWindow<QMessageBox>("MessageBox");
    }

    QTemporaryDir directory;
    QString namesFile = directory.filePath(QStringLiteral("VLnetNames.dat"));
    DialogBoxes dialogs;
    MemoryTransport *const serial = new MemoryTransport;
    Console console{dialogs, std::unique_ptr<Transport>(serial),
                    std::make_unique<MemoryTransport>()};
    Session &session = console.session();
    Tools tools{console, directory.path()};
    Main window{console};
};

} // namespace vantrel::test
