// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "maintenance/EzUsbConverter.h"
#include "support/ConsoleBench.h"
#include "support/Hex.h"

#include <QTest>

namespace vantrel::test {

/// What a conversion sends around its records, for EZ-USB device 2.
inline const QByteArray Begin = "1b53 070000 1b45 1b53 0c 1b45 1b53 2201 1b45"_hex;
inline const QByteArray Hold = "1b53 01 02 40a0 927f 0000 0100 01 1b45"_hex;
inline const QByteArray Release = "1b53 01 02 40a0 927f 0000 0100 00 1b45"_hex;
inline const QByteArray End = "1b53 21 1b45"_hex;
inline const QByteArray AutoModeOn = "1b53 070001 1b45"_hex;
inline const QByteArray EndStored = "a0 0005 21"_hex; ///< what the tester answers to End

constexpr const char *LastRecord = ":00000001FF\r\n";

/// A running console whose EZ-USB window has just been opened.
struct EzUsbBench : ConsoleBench
{
    explicit EzUsbBench(bool network = false)
    {
        QObject::connect(&converter, &EzUsbConverter::closeWanted, &converter, [this] {
            ++closings;
            converter.closed();
        });
        run(network);
        converter.opened();
    }
    ~EzUsbBench()
    {
        transport().onWrite = nullptr;
        console.shutDown(); // before the converter goes
    }
    EzUsbBench(const EzUsbBench &) = delete;
    EzUsbBench &operator=(const EzUsbBench &) = delete;

    QString file(const QByteArray &content, const char *name = "blink.hex")
    {
        QFile hex(directory.filePath(QString::fromLatin1(name)));
        if (!hex.open(QIODevice::WriteOnly) || hex.write(content) != content.size())
            qFatal("no HEX file");
        return hex.fileName();
    }

    /// Presses LoadFW and chooses a file of this content.
    void convert(const QByteArray &content, const char *name = "blink.hex")
    {
        dialogs.paths = {file(content, name)};
        converter.loadClicked();
    }

    /// The same, to the end of a conversion that goes well.
    void convertWell(const QByteArray &content, const char *name = "blink.hex")
    {
        convert(content, name);
        QTRY_VERIFY(transport().writtenBytes().endsWith(End));
        answer(EndStored);
    }

    /// Runs the action as the console has sent so many packets from now on.
    void onPacket(int number, std::function<void()> action)
    {
        transport().onWrite = [this, number, action = std::move(action),
                               before = transport().written.size()](const QByteArray &) {
            if (transport().written.size() == before + number)
                action();
        };
    }

    int closings = 0; ///< how often the window was asked to close
    EzUsbConverter converter{session, console.link(), console.commands(), dialogs,
                             console.errors()};
    EzUsbControls &controls = converter.controls();
};

} // namespace vantrel::test
