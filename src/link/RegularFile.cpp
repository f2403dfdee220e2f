// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/RegularFile.h"

#include "link/FilePath.h"

#include <cerrno>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#else
#include <QFileInfo>
#endif

namespace vantrel {

namespace {

QString notRegular()
{
    return QStringLiteral("Not a regular file");
}

} // namespace

#ifdef Q_OS_UNIX

namespace {

int openFlags(QIODevice::OpenMode mode)
{
    // O_NONBLOCK: a FIFO would block until its other end is opened.
    int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const bool writes = (mode & (QIODevice::WriteOnly | QIODevice::Append)) != 0;
    if (!writes)
        return flags | O_RDONLY;
    flags |= mode.testFlag(QIODevice::ReadOnly) ? O_RDWR : O_WRONLY;
    if (mode.testFlag(QIODevice::Append))
        flags |= O_APPEND;
    if (mode.testFlag(QIODevice::NewOnly))
        return flags | O_CREAT | O_EXCL;
    return mode.testFlag(QIODevice::ExistingOnly) ? flags : flags | O_CREAT;
}

/// What open(2) reports for a FIFO that nobody reads, a socket, a directory to be written.
bool meansNotRegular(int error)
{
    return error == ENXIO || error == EISDIR;
}

} // namespace

std::optional<QString> openRegularFile(QFile &file, const QString &path, QIODevice::OpenMode mode,
                                       int newFileMode)
{
    const int descriptor = ::open(pathBytes(path).constData(), openFlags(mode), newFileMode);
    if (descriptor < 0)
        return meansNotRegular(errno) ? notRegular() : qt_error_string(errno);

    struct stat status = {};
    std::optional<QString> failure;
    const bool isKnown = ::fstat(descriptor, &status) == 0;
    if (isKnown && !S_ISREG(status.st_mode))
        failure = notRegular();
    else if (!isKnown || (mode.testFlag(QIODevice::Truncate) && ::ftruncate(descriptor, 0) != 0))
        failure = qt_error_string(errno);
    if (!failure && !file.open(descriptor, mode, QFileDevice::AutoCloseHandle))
        failure = file.errorString();
    if (failure)
        ::close(descriptor);
    return failure;
}

#else

std::optional<QString> openRegularFile(QFile &file, const QString &path, QIODevice::OpenMode mode,
                                       int /*newFileMode*/)
{
    file.setFileName(path);
    const QFileInfo info(path);
    if (info.exists() && !info.isFile())
        return notRegular();
    return file.open(mode) ? std::nullopt : std::optional(file.errorString());
}

#endif

std::optional<QString> writeAll(QFileDevice &file, QByteArrayView bytes)
{
    // The write that fills the disk returns a smaller count; the next one fails with the reason.
    while (!bytes.isEmpty()) {
        const qint64 count = file.write(bytes.data(), bytes.size());
        if (count <= 0)
            return file.errorString();
        bytes = bytes.sliced(count);
    }
    return std::nullopt;
}

} // namespace vantrel
