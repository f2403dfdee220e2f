// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/Shades.h"

#include <algorithm>
#include <cmath>

namespace vantrel::shades {

namespace {

// Definitions of the Web Content Accessibility Guidelines, 2.1.
constexpr double LeastContrast = 4.5;

double linear(float part)
{
    const auto value = static_cast<double>(part);
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double luminance(const QColor &colour)
{
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

/// `share` of one colour, from 0 to 1, and the rest of the other.
QColor mixed(const QColor &one, const QColor &other, float share)
{
    const auto part = [share](float first, float second) {
        return std::clamp(first * share + second * (1 - share), 0.0F, 1.0F);
    };
    return QColor::fromRgbF(part(one.redF(), other.redF()), part(one.greenF(), other.greenF()),
                            part(one.blueF(), other.blueF()));
}

} // namespace

double contrast(const QColor &one, const QColor &other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor blackOrWhite(const QColor &background)
{
    return contrast(Qt::white, background) > contrast(Qt::black, background) ? Qt::white
                                                                             : Qt::black;
}

QColor pale(const QColor &colour, const QColor &background)
{
    constexpr float Tint = 0.25F;
    return mixed(colour, background, Tint);
}

QColor grey(const QColor &text, const QColor &background)
{
    for (int percent = 40; percent < 100; percent += 5) {
        const QColor candidate = mixed(text, background, static_cast<float>(percent) / 100);
        if (contrast(candidate, background) >= LeastContrast)
            return candidate;
    }
    return text;
}

} // namespace vantrel::shades
