// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <iterator>
#include <random>

namespace vantrel::soak {

/// Chance, the same for the same seed.
class Dice
{
public:
    explicit Dice(quint32 seed) : m_engine(seed) {}

    /// 0 to `limit` - 1
    int below(int limit) { return between(0, limit - 1); }
    int between(int least, int most)
    {
        return std::uniform_int_distribution<int>(least, most)(m_engine);
    }
    bool oneIn(int times) { return below(times) == 0; }

    template <typename List>
    const auto &oneOf(const List &list)
    {
        return *std::next(std::begin(list), below(static_cast<int>(std::size(list))));
    }
    /// One entry of a list, each as often as its member `weight` says.
    template <typename List>
    const auto &weighted(const List &list)
    {
        int sum = 0;
        for (const auto &entry : list)
            sum += entry.weight;
        int left = below(sum);
        auto entry = std::begin(list);
        while (left >= entry->weight) {
            left -= entry->weight;
            ++entry;
        }
        return *entry;
    }

    QByteArray bytes(int count)
    {
        QByteArray made(count, '\0');
        for (char &byte : made)
            byte = static_cast<char>(below(256));
        return made;
    }
    /// Without the byte that marks packets.
    QByteArray plainBytes(int count) { return bytes(count).replace('\x1B', '\x1C'); }

private:
    std::mt19937 m_engine;
};

} // namespace vantrel::soak
