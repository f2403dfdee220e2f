// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace vantrel {

// Files that are written as a whole or not at all. The bytes go to a temporary file in the same
// directory, ".vantrel-" and random digits, which is renamed when it is on the disk. When a
// function returns, the file and its name survive a failure of the system. A failure, a full disk
// among them, leaves neither a part of the file nor the temporary file.

/// Who may access a file that is created. The umask applies.
enum class FileAccess {
    Everybody, ///< mode 0666
    OwnerOnly, ///< mode 0600
};

/// Creates the file. Returns false, and changes nothing, if the path is taken, be it by a directory
/// or by a symbolic link without a target. Throws RuntimeError.
[[nodiscard]] bool createFile(const QString &path, QByteArrayView bytes, FileAccess access);

/// Creates the file, or replaces its contents. A symbolic link is followed; the permissions of a
/// file that exists are kept. Throws RuntimeError.
void replaceFile(const QString &path, QByteArrayView bytes);

/// The path that symbolic links lead to, which need not exist; the path itself if it is none.
QString withoutLinks(const QString &path);

/// Makes the directory and those above it, as far as they are missing, with mode 0700. Returns
/// nothing if it exists then, otherwise the reason in the system's words.
[[nodiscard]] std::optional<QString> makePrivateDirectory(const QString &path);

} // namespace vantrel
