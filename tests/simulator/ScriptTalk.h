// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/Talk.h"

namespace vantrel::test {

// The reports of automatic mode on a tester with its built-in devices.
inline const QByteArray Connects =
    packet("90 00 02 00 f305 0700"_hex) + packet("90 00 03 00 ce0f 6601"_hex);
inline const QByteArray Disconnects = packet("90 01 02"_hex) + packet("90 01 03"_hex);

/// A tester that takes scripts in and runs them step by step.
struct ScriptTalk : Talk
{
    using Talk::Talk;

    /// Takes in the steps, and the end of the script behind them.
    void download(const QList<QByteArray> &stuffedSteps)
    {
        ask("0c"_hex);
        for (const QByteArray &step : stuffedSteps)
            ask(step);
        ask("21"_hex);
    }
    /// What comes out while the time passes, in milliseconds.
    QByteArray after(qint64 time)
    {
        tester().clock().advance(time);
        return take();
    }
    const QList<QByteArray> &steps() { return tester().state().script.steps(); }
    simulator::Faults &faults() { return tester().faults(); }
};

} // namespace vantrel::test
