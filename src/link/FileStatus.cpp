// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/FileStatus.h"

#include "link/FilePath.h"

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#include <unistd.h>
#else
#include <QDateTime>
#include <QFileInfo>
#endif

namespace vantrel {

#ifdef Q_OS_UNIX

namespace {

FileStatus::Type typeOf(const struct stat &status)
{
    if (S_ISREG(status.st_mode))
        return FileStatus::Type::Regular;
    return S_ISDIR(status.st_mode) ? FileStatus::Type::Directory : FileStatus::Type::Other;
}

#ifdef Q_OS_DARWIN
timespec modificationTime(const struct stat &status)
{
    return status.st_mtimespec;
}
#else
timespec modificationTime(const struct stat &status)
{
    return status.st_mtim;
}
#endif

FileStatus fromSystem(const struct stat &status)
{
    constexpr qint64 NanosecondsPerSecond = 1'000'000'000;
    FileStatus result;
    result.type = typeOf(status);
    result.size = result.isRegular() ? qint64{status.st_size} : 0;
    const timespec modified = modificationTime(status);
    result.modified = qint64{modified.tv_sec} * NanosecondsPerSecond + qint64{modified.tv_nsec};
    return result;
}

} // namespace

FileStatus fileStatus(const QString &path)
{
    const QByteArray name = pathBytes(path);
    struct stat status = {};
    if (::stat(name.constData(), &status) != 0)
        return {};
    FileStatus result = fromSystem(status);
    // A superuser may write anything; a file without a write bit is marked read-only all the same.
    const bool marked = (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
    result.writable = !marked && ::access(name.constData(), W_OK) == 0;
    return result;
}

FileStatus fileStatus(const QFile &file)
{
    struct stat status = {};
    return ::fstat(file.handle(), &status) == 0 ? fromSystem(status) : FileStatus();
}

#else

namespace {

qint64 nanoseconds(const QDateTime &time)
{
    constexpr qint64 NanosecondsPerMillisecond = 1'000'000;
    return time.toMSecsSinceEpoch() * NanosecondsPerMillisecond;
}

} // namespace

FileStatus fileStatus(const QString &path)
{
    const QFileInfo info(path);
    FileStatus result;
    if (!info.exists())
        return result;
    result.type = info.isFile()  ? FileStatus::Type::Regular
                  : info.isDir() ? FileStatus::Type::Directory
                                 : FileStatus::Type::Other;
    result.size = info.isFile() ? info.size() : 0;
    result.writable = info.isWritable();
    result.modified = nanoseconds(info.lastModified());
    return result;
}

FileStatus fileStatus(const QFile &file)
{
    return {FileStatus::Type::Regular, file.size(), false,
            nanoseconds(file.fileTime(QFileDevice::FileModificationTime))};
}

#endif

} // namespace vantrel
