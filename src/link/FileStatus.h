// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>
#include <QString>

namespace vantrel {

/// What a path names, without opening it. QFileInfo can do the same only for paths that are valid
/// UTF-8 (see FilePath.h).
struct FileStatus
{
    enum class Type {
        None, ///< also for a symbolic link whose target has gone
        Regular,
        Directory,
        Other ///< a FIFO, a device, a socket
    };

    Type type = Type::None;
    qint64 size = 0;       ///< in bytes, of a regular file
    bool writable = false; ///< by this user; never for a file without any write permission
    qint64 modified = 0;   ///< time of the last change of the contents, in ns since 1970

    bool exists() const { return type != Type::None; }
    bool isRegular() const { return type == Type::Regular; }
    bool isDirectory() const { return type == Type::Directory; }
};

/// Symbolic links are followed.
FileStatus fileStatus(const QString &path);

/// Of an open file; `writable` is not set.
FileStatus fileStatus(const QFile &file);

} // namespace vantrel
