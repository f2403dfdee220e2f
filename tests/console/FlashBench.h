// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/ConsoleBench.h"
#include "support/Hex.h"

#include <QTest>

namespace vantrel::test {

/// A running console and what its flash window does, without the window.
struct FlashBench : ConsoleBench
{
    FlashBench() { run(); }

    /// Opens the window over a slot of this state and name.
    void open(const QByteArray &reply)
    {
        flash.opened();
        answer(reply);
        serial->takeWritten();
    }
    /// The answer that is waited for does not come, or reports a failure.
    void fail(bool silent)
    {
        if (silent) {
            tick(20);
        } else {
            session.FlashStatus = 2;
            session.waits.check();
        }
    }
    /// Chooses a new script, which the tester gets whole.
    void download()
    {
        QFile script(directory.filePath(QStringLiteral("new.vn")));
        if (!script.open(QIODevice::WriteOnly) || script.write("\x1bS!\x1b"
                                                               "E") != 5)
            qFatal("no script file");
        script.close();
        dialogs.paths = {script.fileName()};
        flash.burnClicked();
    }

    FlashScripts &flash = console.flash();
    FlashControls &controls = flash.controls();
};

} // namespace vantrel::test
