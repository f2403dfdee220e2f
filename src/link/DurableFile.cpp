// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/DurableFile.h"

#include "link/FilePath.h"
#include "link/RegularFile.h"
#include "link/RuntimeError.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>

#ifdef Q_OS_UNIX
#include <QRandomGenerator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#else
#include <QSaveFile>
#endif

namespace vantrel {

QString withoutLinks(const QString &path)
{
    constexpr int MostLinks = 40; // as the kernel
    QString target = path;
    for (int links = 0; links < MostLinks && QFileInfo(target).isSymLink(); ++links)
        target = QFileInfo(target).symLinkTarget();
    return target;
}

#ifdef Q_OS_UNIX

namespace {

/// A file system may not support fsync(2), of directories in particular.
int syncDescriptor(int descriptor)
{
    if (::fsync(descriptor) == 0 || errno == EINVAL || errno == ENOTSUP || errno == EROFS)
        return 0;
    return errno;
}

/// Returns an error number, or 0. A directory that may be written but not read cannot be synced.
int syncDirectory(const QString &path)
{
    const int directory =
        ::open(pathBytes(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK);
    if (directory < 0)
        return 0;
    const int error = syncDescriptor(directory);
    ::close(directory);
    return error;
}

int modeOf(FileAccess access)
{
    return access == FileAccess::OwnerOnly ? 0600 : 0666;
}

/// A temporary file beside its destination. It is removed unless it gets its name.
class StagedFile
{
public:
    explicit StagedFile(const QString &path)
        : m_path(path), m_directory(QFileInfo(path).path()), m_temporary(temporaryPath(m_directory))
    {
    }
    StagedFile(const StagedFile &) = delete;
    StagedFile &operator=(const StagedFile &) = delete;
    ~StagedFile()
    {
        if (m_file.isOpen())
            ::unlink(m_temporary.constData());
    }

    void write(QByteArrayView bytes, int mode)
    {
        const auto flags = QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered;
        check(openRegularFile(m_file, pathFromBytes(m_temporary), flags, mode));
        check(writeAll(m_file, bytes));
        check(syncDescriptor(m_file.handle()));
    }

    void setPermissions(mode_t mode) const
    {
        if (::fchmod(m_file.handle(), mode) != 0)
            check(errno);
    }

    /// Returns false if the destination exists.
    bool create()
    {
        const int error = renameToFreeName();
        if (error == EEXIST)
            return false;
        check(error);
        m_file.close();
        if (const int failure = syncDirectory(m_directory)) {
            ::unlink(destination().constData());
            check(failure);
        }
        return true;
    }

    void replace()
    {
        if (::rename(m_temporary.constData(), destination().constData()) != 0)
            check(errno);
        m_file.close();
        check(syncDirectory(m_directory));
    }

private:
    static QByteArray temporaryPath(const QString &directory)
    {
        const quint64 number = QRandomGenerator::system()->generate64();
        return pathBytes(directory) + "/.vantrel-" + QByteArray::number(number, 16);
    }

    QByteArray destination() const { return pathBytes(m_path); }

    /// Returns an error number, or 0.
    int renameToFreeName() const
    {
#ifdef RENAME_NOREPLACE
        if (::renameat2(AT_FDCWD, m_temporary.constData(), AT_FDCWD, destination().constData(),
                        RENAME_NOREPLACE) == 0)
            return 0;
        if (errno != EINVAL && errno != ENOSYS)
            return errno;
            // Some network file systems do not support the flag, but all support link().
#endif
        if (::link(m_temporary.constData(), destination().constData()) != 0)
            return errno;
        ::unlink(m_temporary.constData());
        return 0;
    }

    void check(const std::optional<QString> &failure) const
    {
        if (failure)
            throw RuntimeError::file(*failure, m_path);
    }
    void check(int error) const
    {
        if (error != 0)
            throw RuntimeError::file(qt_error_string(error), m_path);
    }

    QString m_path;
    QString m_directory;
    QByteArray m_temporary;
    QFile m_file; // open while the temporary file exists
};

std::optional<mode_t> permissionsOf(const QString &path)
{
    struct stat status = {};
    if (::stat(pathBytes(path).constData(), &status) != 0)
        return std::nullopt;
    return status.st_mode & 0777U;
}

} // namespace

bool createFile(const QString &path, QByteArrayView bytes, FileAccess access)
{
    StagedFile file(path);
    file.write(bytes, modeOf(access));
    return file.create();
}

void replaceFile(const QString &path, QByteArrayView bytes)
{
    const QString target = withoutLinks(path);
    StagedFile file(target);
    const std::optional<mode_t> permissions = permissionsOf(target);
    file.write(bytes, modeOf(permissions ? FileAccess::OwnerOnly : FileAccess::Everybody));
    if (permissions)
        file.setPermissions(*permissions);
    file.replace();
}

std::optional<QString> makePrivateDirectory(const QString &path)
{
    const QByteArray bytes = pathBytes(path);
    struct stat status = {};
    if (::stat(bytes.constData(), &status) == 0)
        return S_ISDIR(status.st_mode) ? std::nullopt : std::optional(qt_error_string(ENOTDIR));

    const QString parent = QFileInfo(QDir::cleanPath(path)).path();
    if (parent != path) {
        if (auto failure = makePrivateDirectory(parent))
            return failure;
    }
    int error = ::mkdir(bytes.constData(), 0700) == 0 ? 0 : errno;
    if (error == EEXIST && QFileInfo(path).isDir())
        error = 0; // another instance of the program has made it
    if (error == 0)
        error = syncDirectory(parent);
    return error == 0 ? std::nullopt : std::optional(qt_error_string(error));
}

#else

bool createFile(const QString &path, QByteArrayView bytes, FileAccess access)
{
    QFile file;
    const auto flags = QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered;
    if (const auto failure = openRegularFile(file, path, flags)) {
        if (QFileInfo::exists(path))
            return false;
        throw RuntimeError::file(*failure, path);
    }
    if (access == FileAccess::OwnerOnly)
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    if (const auto failure = writeAll(file, bytes)) {
        file.remove();
        throw RuntimeError::file(*failure, path);
    }
    return true;
}

void replaceFile(const QString &path, QByteArrayView bytes)
{
    QSaveFile file(path);
    const bool opened = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    if (!opened || writeAll(file, bytes) || !file.commit())
        throw RuntimeError::file(file.errorString(), path);
}

std::optional<QString> makePrivateDirectory(const QString &path)
{
    return QDir().mkpath(path) ? std::nullopt : std::optional(qt_error_string(ENOENT));
}

#endif

} // namespace vantrel
