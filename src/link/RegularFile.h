// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QFile>
#include <QString>

#include <optional>

namespace vantrel {

/// Opens a regular file; returns nothing when it is open, otherwise the reason in the system's
/// words. Everything else that a path can name (a directory, a FIFO, a device, a socket) is
/// rejected with "Not a regular file", without waiting for another program to open it.
///
/// `mode` is as for QFile::open(), with one difference: a file is never truncated before its type
/// is known. `newFileMode` are the permissions of a file that is created (less the umask). The path
/// may be one of pathFromBytes(); QFile::fileName() of the file stays empty.
[[nodiscard]] std::optional<QString>
openRegularFile(QFile &file, const QString &path, QIODevice::OpenMode mode, int newFileMode = 0666);

/// Writes all bytes to a file that was opened with QIODevice::Unbuffered; returns nothing when that
/// was possible, otherwise the reason in the system's words.
[[nodiscard]] std::optional<QString> writeAll(QFileDevice &file, QByteArrayView bytes);

} // namespace vantrel
