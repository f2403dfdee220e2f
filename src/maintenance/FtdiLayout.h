// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

#include <array>
#include <optional>

namespace vantrel {

class FtdiEeprom;

/// New strings for an image: manufacturer, product, serial number. One without a value keeps its
/// bytes.
using FtdiTexts = std::array<std::optional<QString>, 3>;

/// True when FtdiEeprom::setTexts() would move the strings of the image, or would write over a byte
/// that belongs to none of them. Erased strings and those without an offset do not count as long as
/// nothing is stored where setTexts() would write them.
bool hasOtherLayout(const FtdiEeprom &image);

/// The positions between the string table and the checksum at which `after` differs from `before`,
/// other than in the strings of `before`, in ascending order. Erased bytes (0xFF) do not count.
QList<int> lostBytes(const FtdiEeprom &before, const FtdiEeprom &after);

/// Positions in ascending order as text: "20 to 22, 30".
QString positionRanges(const QList<int> &positions);

/// The image with new strings where it has its strings now. No other byte changes. A string that
/// is the same as before keeps its bytes.
///
/// A string that has become longer takes the room that an adjacent string no longer needs; strings
/// that follow each other without a gap are then stored back to back, in the order that they have.
/// Nothing is returned when the strings do not fit, when a changed string has no descriptor inside
/// the area of the strings, or when strings overlap and one of them has changed.
std::optional<FtdiEeprom> withTextsInPlace(const FtdiEeprom &image, const FtdiTexts &texts);

} // namespace vantrel
