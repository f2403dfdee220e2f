// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>

#include <chrono>

namespace vantrel {

enum class FileLock { Shared, Exclusive };

/// Locks an open file against other instances of the program, until it is closed. The lock is
/// advisory: other programs are not prevented from reading or writing.
///
/// Returns false if another holder of a lock has not released it within `patience`. Returns true
/// without a lock where the file system or the platform does not support locks.
[[nodiscard]] bool lockFile(const QFile &file, FileLock kind,
                            std::chrono::milliseconds patience = std::chrono::milliseconds(0));

} // namespace vantrel
