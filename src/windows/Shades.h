// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>

/// Colours computed from others, readable on light and on dark backgrounds.
namespace vantrel::shades {

/// Set to true on a widget while its value is stale.
constexpr const char *StaleProperty = "stale";

/// Black or white, whichever has the greater contrast to the background.
QColor blackOrWhite(const QColor &background);

/// The background with a tint of the colour.
QColor pale(const QColor &colour, const QColor &background);

/// The text colour moved toward the background, as far as a contrast of 4.5 to 1 permits.
QColor grey(const QColor &text, const QColor &background);

/// Ratio of the luminances, from 1 (equal) to 21 (black and white).
double contrast(const QColor &one, const QColor &other);

} // namespace vantrel::shades
