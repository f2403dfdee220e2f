// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace vantrel::fuzz {

/// What the fuzzer hands to a target: some choices at its start, then the bytes proper. An input
/// that is too short chooses zeros.
class Input
{
public:
    Input(const std::uint8_t *data, std::size_t size)
        : m_bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size))
    {
    }

    quint8 choice()
    {
        if (m_bytes.isEmpty())
            return 0;
        const auto value = static_cast<quint8>(m_bytes.front());
        m_bytes = m_bytes.sliced(1);
        return value;
    }

    QByteArrayView rest() const { return m_bytes; }
    bool atEnd() const { return m_bytes.isEmpty(); }

    /// The next bytes, fewer at the end.
    QByteArrayView take(qsizetype count)
    {
        const QByteArrayView taken = m_bytes.first(std::min(count, m_bytes.size()));
        m_bytes = m_bytes.sliced(taken.size());
        return taken;
    }

private:
    QByteArrayView m_bytes;
};

/// Cuts bytes into reads of 1 to `longest` bytes, the same way for the same seed.
class Reads
{
public:
    Reads(QByteArrayView bytes, quint32 seed, qsizetype longest = 16)
        : m_bytes(bytes), m_random(seed * 2654435761U + 1U), m_longest(longest)
    {
    }

    bool atEnd() const { return m_bytes.isEmpty(); }

    QByteArrayView next()
    {
        m_random = m_random * 1664525U + 1013904223U;
        const qsizetype length =
            std::min(1 + static_cast<qsizetype>(m_random >> 16U) % m_longest, m_bytes.size());
        const QByteArrayView read = m_bytes.first(length);
        m_bytes = m_bytes.sliced(length);
        return read;
    }

private:
    QByteArrayView m_bytes;
    quint32 m_random;
    qsizetype m_longest;
};

/// Ends the run as a finding when something that must hold does not.
inline void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

} // namespace vantrel::fuzz
