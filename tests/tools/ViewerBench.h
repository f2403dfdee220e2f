// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/ConsoleBench.h"
#include "support/Hex.h"
#include "tools/DescriptorViewer.h"

namespace vantrel::test {

/// A running console with a descriptor viewer. The test answers for the device.
struct ViewerBench : ConsoleBench
{
    ViewerBench()
    {
        run();
        controls.DevAddr.adoptText(QStringLiteral("0x02"));
    }

    void start() { viewer.getDescClicked(); }

    /// The reply to a device request: its status, then what the device returned.
    void reply(const QByteArray &data, const QByteArray &status = "00"_hex)
    {
        QByteArray packet = "81"_hex + status + data;
        answer(packet.replace("\x1b", "\x1b\x1b"));
    }

    /// The packets sent since the last call.
    QByteArray sent() { return transport().takeWritten().toHex(); }

    QString report() const { return controls.DescInfo.text(); }
    bool endedWith(const char *message) const
    {
        return report().endsWith(
                   QStringLiteral("\r\n*** Get Descriptors Terminated\r\n      --- %1\r\n")
                       .arg(QLatin1String(message))) &&
               hasEnded();
    }
    bool hasEnded() const
    {
        return !session.DescActive && session.DescTimeout == 0 && controls.GetDesc.isEnabled();
    }
    /// A retrieval runs, and nobody has been told of an error.
    bool runsQuietly() const
    {
        return session.DescActive && !controls.GetDesc.isEnabled() && dialogs.messages.isEmpty();
    }

    DescriptorViewer viewer{session, console.requests(), dialogs, console.errors()};
    DescriptorViewerControls &controls = viewer.controls();
    DescriptorRetrieval &retrieval = viewer.retrieval();
};

/// A packet as it goes over the link.
inline QByteArray framed(QByteArray body)
{
    return ("\x1bS" + body.replace("\x1b", "\x1b\x1b") + "\x1b" + "E").toHex();
}

/// The packet that asks the device at address 2 for a descriptor.
inline QByteArray request(const QByteArray &setup)
{
    return framed("01 02"_hex + setup);
}

// Devices without strings, with so many configurations
inline const QByteArray OneConfiguration =
    "12 01 10 01 00 00 00 08 09 12 01 0A 00 01 00 00 00 01"_hex;
inline const QByteArray NoConfiguration =
    "12 01 10 01 00 00 00 08 09 12 01 0A 00 01 00 00 00 00"_hex;

/// The first eight bytes of a configuration whose wTotalLength has these bytes.
inline QByteArray probeAnswer(quint8 low, quint8 high = 0)
{
    QByteArray probe = "09 02 00 00 01 01 00 80"_hex;
    probe[2] = static_cast<char>(low);
    probe[3] = static_cast<char>(high);
    return probe;
}

} // namespace vantrel::test
