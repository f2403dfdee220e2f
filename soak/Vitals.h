// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Journal.h"

#include <vector>

namespace vantrel::soak {

/// What the process holds at a moment.
struct Vitals
{
    double time;     ///< seconds from the start
    long memory;     ///< KiB resident
    long allocated;  ///< KiB allocated and not freed
    int descriptors; ///< files, sockets and the like that are open
};

Vitals vitalsNow(const Journal &journal);

/// Vitals over time.
class VitalsTable
{
public:
    /// What the process may grow by once it has warmed up.
    static constexpr long MostMemory = 16 * 1024; // KiB, resident
    static constexpr long MostAllocated = 1024;   // KiB, at rest
    static constexpr int MostDescriptors = 0;     // at rest

    /// While the program is in use.
    void sample(const Vitals &vitals) { m_inUse.push_back(vitals); }
    /// When every window but the main window is closed, and the log and the link.
    void sampleAtRest(const Vitals &vitals) { m_atRest.push_back(vitals); }

    /// Throws SoakFailure when the process has grown beyond the bounds since it was warm: for a
    /// fifth of the time, 20 seconds at least.
    void check(double duration) const;

    void print() const;

private:
    std::vector<Vitals> m_inUse;
    std::vector<Vitals> m_atRest;
};

} // namespace vantrel::soak
