// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

namespace vantrel::simulator {

/// Which tester is simulated. The defaults are those of vorn2().
struct Settings
{
    int model = 2;        ///< 1 or 2
    bool special = false; ///< a special release instead of a numbered revision
    quint8 major = 3;
    quint8 minor = 12;
    quint16 ramK = 64; ///< KiB, below 32768
    bool bootstrap =
        false; ///< waits for a firmware image; a Vorn 1 has no such mode and ignores it

    static Settings vorn1(); ///< revision 2.17, 32 KiB
    static Settings vorn2(); ///< revision 3.12, 64 KiB

    bool inBootstrap() const { return bootstrap && model == 2; }
    /// Kind byte of the version reply.
    quint8 versionKind() const;
    /// False for a Vorn 1 of revision 2.8 or older.
    bool knowsVersionQuery() const;
    /// Device requests that name packet size and speed themselves: by the same releases.
    bool knowsManualRequests() const { return knowsVersionQuery(); }
};

} // namespace vantrel::simulator
