// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <algorithm>

namespace vantrel::bench {

constexpr qsizetype StreamSize = 1 << 20; ///< bytes, about
constexpr qsizetype ReadSize = 65'536;    ///< bytes the console takes in at once

/// Enough bodies of random bytes to fill a stream; the same ones every time.
QList<QByteArray> randomBodies(qsizetype bodySize);

/// Data reports of 64 random bytes.
QList<QByteArray> dataReports();

/// Connect, status and device error reports in turn.
QList<QByteArray> shortReports();

/// The bodies as the tester sends them.
QByteArray framed(const QList<QByteArray> &bodies);

/// Calls take() with one read after the other.
template <typename Take>
void inReads(QByteArrayView stream, Take &&take)
{
    while (!stream.isEmpty()) {
        const QByteArrayView read = stream.first(std::min(ReadSize, stream.size()));
        take(read);
        stream = stream.sliced(read.size());
    }
}

} // namespace vantrel::bench
