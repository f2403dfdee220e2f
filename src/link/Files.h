// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/WholeFile.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace vantrel {

/// Whether the program in this directory was installed: the directory "../share/vantrel" exists.
/// An installed program never writes beside itself.
bool isInstalled(const QString &programDirectory);

/// The whole file, in one turn of the event loop. A file that cannot be read, is no regular file or
/// has more than `limit` bytes throws RuntimeError, which names it and the reason.
QByteArray readWholeFile(const QString &path, qint64 limit = FileLimits::Default);

/// The first bytes of a file of any size: `count`, or all if it has fewer. Throws RuntimeError as
/// readWholeFile() does.
QByteArray readStartOfFile(const QString &path, qsizetype count);

/// Writes the bytes at the start of the file, in place: a longer file keeps what follows them. A
/// file that does not exist is created. A failure, a full disk among them, throws RuntimeError; a
/// file that was created is removed then. For files that are replaced as a whole see
/// link/DurableFile.h.
void writeAtStart(const QString &path, QByteArrayView bytes);

} // namespace vantrel
