// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/CurrentReading.h"

#include "link/Bytes.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vantrel::simulator {

namespace {

constexpr double OffsetMilliamperes = 2.0;
constexpr double StepsPerMilliampere = 4.0;
constexpr double AmperesPerCount = 2.9593e-6;

template <typename Field>
Field rounded(double value)
{
    using Limits = std::numeric_limits<Field>;
    return static_cast<Field>(std::clamp(std::round(value), static_cast<double>(Limits::min()),
                                         static_cast<double>(Limits::max())));
}

} // namespace

QByteArray currentReading(int model, double amperes)
{
    if (model == 1) {
        const double steps = (amperes * 1000 + OffsetMilliamperes) * StepsPerMilliampere;
        return ByteWriter().word(rounded<quint16>(steps)).take();
    }
    const auto count = rounded<qint32>(amperes / AmperesPerCount);
    return ByteWriter().doubleWord(static_cast<quint32>(count)).take();
}

} // namespace vantrel::simulator
