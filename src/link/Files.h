// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace vantrel {

/// Whether the program in this directory was installed: the directory "../share/vantrel" exists.
/// An installed program never writes beside itself.
bool isInstalled(const QString &programDirectory);

/// The whole file. A file that cannot be read throws RuntimeError, which names it and the reason.
QByteArray readWholeFile(const QString &path);

/// Writes the bytes at the start of the file, which is made if there is none. A longer file keeps
/// what follows them. A failure, a full disk among them, throws RuntimeError.
void writeAtStart(const QString &path, QByteArrayView bytes);

/// Makes the file, or replaces its contents, as a whole or not at all. A failure, a full disk among
/// them, throws RuntimeError.
void replaceFile(const QString &path, QByteArrayView bytes);

} // namespace vantrel
