// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks.h"
#include "Comparisons.h"
#include "Streams.h"
#include "link/Deframer.h"

#include <cstring>

namespace vantrel::bench {

namespace {

void cutIntoPackets(benchmark::State &state, const QByteArray &stream, int times = 1)
{
    qint16 rxState = RxStates::Hunting;
    QByteArray body;
    qsizetype taken = 0;
    const auto onPacket = [&] {
        benchmark::DoNotOptimize(body.constData());
        taken += body.size();
    };
    for ([[maybe_unused]] const auto iteration : state) {
        for (int i = 0; i < times; ++i)
            inReads(stream, [&](QByteArrayView read) { deframe(rxState, body, read, onPacket); });
    }
    benchmark::DoNotOptimize(taken);
    state.SetBytesProcessed(state.iterations() * times * stream.size());
}

qsizetype countEscapes(QByteArrayView bytes)
{
    qsizetype count = 0;
    const char *at = bytes.begin();
    while (const void *found =
               std::memchr(at, wire::Esc, static_cast<std::size_t>(bytes.end() - at))) {
        ++count;
        at = static_cast<const char *>(found) + 1;
    }
    return count;
}

void scanForEscapes(benchmark::State &state, const QByteArray &stream)
{
    qsizetype count = 0;
    for ([[maybe_unused]] const auto iteration : state)
        inReads(stream, [&](QByteArrayView read) { count += countEscapes(read); });
    benchmark::DoNotOptimize(count);
    state.SetBytesProcessed(state.iterations() * stream.size());
}

} // namespace

void addDeframer(Comparisons &comparisons)
{
    struct Row
    {
        int bodySize;
        double atLeast;
    };
    for (const Row row : {Row{8, 0.7}, Row{64, 0.7}, Row{1024, 0.6}}) {
        const QByteArray stream = framed(randomBodies(row.bodySize));
        comparisons.add({
            "de-frame, bodies of " + std::to_string(row.bodySize),
            row.atLeast,
            [stream](benchmark::State &state) { cutIntoPackets(state, stream); },
            "memchr scan for ESC",
            [stream](benchmark::State &state) { scanForEscapes(state, stream); },
        });
    }
    for (const int times : {10, 100}) {
        constexpr double LeastGrowth = 0.8; // of the rate of the work once
        const QByteArray stream = framed(randomBodies(64));
        comparisons.add({
            "... bodies of 64, " + std::to_string(times) + " times the work",
            LeastGrowth,
            [stream, times](benchmark::State &state) { cutIntoPackets(state, stream, times); },
            "once",
            [stream](benchmark::State &state) { cutIntoPackets(state, stream); },
        });
    }
}

} // namespace vantrel::bench
