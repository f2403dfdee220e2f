// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

namespace vantrel {

/// The files of a tour in its directory. The pictures are NAME.png.
namespace tourfile {
inline constexpr const char *Log = "tour.log";
inline constexpr const char *Script = "read-all-descriptors.vn";
inline constexpr const char *DescriptorReport = "phone.txt";
inline constexpr const char *Request = "device-descriptor.dr";
inline constexpr const char *HexFile = "blink.hex";
inline constexpr const char *Firmware = "vorn2-3.13.bin";
} // namespace tourfile

/// Creates the directory if it does not exist, and removes what an earlier tour has left there.
/// Returns nothing, or why that failed: then a tour cannot write its files either.
std::optional<QString> prepareTourDirectory(const QString &directory);

/// The path of a picture. `name` must be one that prepareTourDirectory() knows.
QString tourPicturePath(const QString &directory, const QString &name);

} // namespace vantrel
