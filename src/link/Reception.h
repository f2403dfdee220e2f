// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <optional>

namespace vantrel {

/// How far the bytes from the tester have come, counted from the start of the program.
struct Reception
{
    quint64 processed = 0; ///< de-framed
    quint64 arrived = 0;   ///< these, and those that still wait in the program or in the system

    bool isComplete() const { return arrived == processed; }
};

/// A time limit that is over. It takes effect when everything that had arrived by then was
/// processed, because the awaited answer may be among it: the program may have been suspended, or
/// more may have arrived than it processes in one turn of the event loop.
class Expiry
{
public:
    /// The first call notes how much has arrived; true when that was processed.
    bool isInEffect(const Reception &reception)
    {
        if (!m_arrived)
            m_arrived = reception.arrived;
        return reception.isComplete() || reception.processed >= *m_arrived;
    }

private:
    std::optional<quint64> m_arrived;
};

} // namespace vantrel
