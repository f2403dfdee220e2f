// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vitals.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cstdio>
#include <span>

#include <malloc.h>

namespace vantrel::soak {

namespace {

constexpr std::size_t LongestTable = 24; // lines

long residentMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        throw SoakFailure(QStringLiteral("cannot read /proc/self/status"));
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.simplified().split(' ').at(1).toLong();
    }
    throw SoakFailure(QStringLiteral("/proc/self/status tells no memory"));
}

/// But the one by which they are counted.
int openDescriptors()
{
    const QDir descriptors(QStringLiteral("/proc/self/fd"));
    return static_cast<int>(
               descriptors
                   .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System | QDir::Hidden)
                   .size()) -
           1;
}

std::span<const Vitals> since(const std::vector<Vitals> &all, double time)
{
    const auto first =
        std::ranges::find_if(all, [time](const Vitals &vitals) { return vitals.time >= time; });
    return {first, all.end()};
}

void printRow(const Vitals &vitals, const char *when)
{
    std::printf("  %8.1f s %8ld KiB resident %8ld KiB allocated %4d descriptors  %s\n", vitals.time,
                vitals.memory, vitals.allocated, vitals.descriptors, when);
}

} // namespace

Vitals vitalsNow(const Journal &journal)
{
    // Both what lies in the heap and what the system has mapped for one block each: the allocator
    // changes with time which blocks it maps.
    const struct mallinfo2 heap = mallinfo2();
    const auto allocated = static_cast<long>((heap.uordblks + heap.hblkhd) / 1024);
    return {journal.seconds(), residentMemory(), allocated, openDescriptors()};
}

void VitalsTable::check(double duration) const
{
    const double warm = std::max(20.0, duration / 5);
    for (const std::vector<Vitals> *table : {&m_inUse, &m_atRest}) {
        const std::span<const Vitals> rows = since(*table, warm);
        if (!rows.empty() && rows.back().memory - rows.front().memory > MostMemory)
            throw SoakFailure(QStringLiteral("memory has grown from %1 to %2 KiB")
                                  .arg(rows.front().memory)
                                  .arg(rows.back().memory));
    }
    const std::span<const Vitals> rest = since(m_atRest, warm);
    if (!rest.empty() && rest.back().allocated - rest.front().allocated > MostAllocated)
        throw SoakFailure(QStringLiteral("allocated at rest: %1, then %2 KiB")
                              .arg(rest.front().allocated)
                              .arg(rest.back().allocated));
    if (!rest.empty() && rest.back().descriptors - rest.front().descriptors > MostDescriptors)
        throw SoakFailure(QStringLiteral("open descriptors at rest: %1, then %2")
                              .arg(rest.front().descriptors)
                              .arg(rest.back().descriptors));
}

void VitalsTable::print() const
{
    std::printf("Memory and descriptors\n");
    const auto printSome = [](const std::vector<Vitals> &rows, const char *when) {
        const std::size_t step = rows.size() / LongestTable + 1;
        for (std::size_t i = 0; i < rows.size(); i += step)
            printRow(rows[i], when);
        if (!rows.empty() && (rows.size() - 1) % step != 0)
            printRow(rows.back(), when);
    };
    printSome(m_inUse, "in use");
    printSome(m_atRest, "at rest");
    if (!m_inUse.empty()) {
        const Vitals &most = *std::ranges::max_element(m_inUse, {}, &Vitals::memory);
        printRow(most, "most memory");
        printRow(*std::ranges::max_element(m_inUse, {}, &Vitals::descriptors), "most descriptors");
    }
}

} // namespace vantrel::soak
