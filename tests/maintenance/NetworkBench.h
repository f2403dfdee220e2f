// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "maintenance/NetworkConfig.h"
#include "support/ConsoleBench.h"
#include "support/Hex.h"

#include <QSignalSpy>

namespace vantrel::test {

/// A running console and the network settings beside it.
struct NetworkBench : ConsoleBench
{
    NetworkBench() { run(); }
    ~NetworkBench() { console.shutDown(); }

    /// Opens the window over a record.
    void open(const QByteArray &record = Record)
    {
        config.opened();
        answer("b6"_hex + record);
        serial->takeWritten();
    }

    /// The user types over a box.
    void enter(Control &box, const QString &text)
    {
        box.adoptText(text);
        config.edited();
    }

    QStringList texts()
    {
        QStringList all;
        for (int i = 0; i < NetworkRecord::Size; ++i)
            all.append(controls.box(i).text());
        return all;
    }
    QString joined() { return texts().join(QLatin1Char(' ')); }
    bool macEnabled()
    {
        for (const Control &box : controls.tbMAC) {
            if (box.isEnabled() != controls.tbMAC[0].isEnabled())
                qFatal("half a MAC address is enabled");
        }
        return controls.tbMAC[0].isEnabled();
    }
    QString hint() const { return controls.lblHint.text(); }

    static inline const QByteArray Record = "c0a8010a c0a80101 ffffff00 00a2c3d4e5f6"_hex;

    NetworkConfig config{session, console.commands(), dialogs, console.errors()};
    NetworkControls &controls = config.controls();
    QSignalSpy closes{&config, &NetworkConfig::closeWanted};
};

} // namespace vantrel::test
