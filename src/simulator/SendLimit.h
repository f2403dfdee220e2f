// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <utility>

namespace vantrel::simulator {

/// Bounds what waits to be sent to a console that does not read. A packet that would exceed the
/// limit is dropped whole; one that has begun is completed.
class SendLimit
{
public:
    static constexpr qint64 Most = 1 << 24; ///< bytes

    /// A connection begins.
    void reset() { *this = SendLimit(); }

    /// Whether a write of `size` bytes is sent while `waiting` bytes have not left. `startsPacket`
    /// is false for the later fragments of a packet.
    bool accepts(bool startsPacket, qint64 waiting, qint64 size)
    {
        if (startsPacket)
            m_dropping = waiting > 0 && waiting + size > Most;
        return !m_dropping;
    }

    /// True once a connection, after the first packet that was dropped.
    bool isFirstDrop() { return m_dropping && !std::exchange(m_reported, true); }

private:
    bool m_dropping = false;
    bool m_reported = false;
};

} // namespace vantrel::simulator
