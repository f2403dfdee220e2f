// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/NamesFile.h"

#include "link/FileLock.h"
#include "link/Files.h"
#include "link/RegularFile.h"
#include "link/RuntimeError.h"

#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

namespace vantrel {

namespace {

using namespace std::chrono_literals;

constexpr auto LockPatience = 100ms; // another instance needs less than one

/// False when the path no longer leads to the open file: another program has removed or replaced
/// it.
bool isFileAt([[maybe_unused]] const QString &path, [[maybe_unused]] const QFile &file)
{
#ifdef Q_OS_UNIX
    struct stat opened = {};
    struct stat named = {};
    return ::fstat(file.handle(), &opened) == 0 && ::stat(qUtf8Printable(path), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
#else
    return true;
#endif
}

/// True when the last entry is not terminated: what is appended would continue it.
bool endsWithinEntry(QFile &file, qint64 size)
{
    char last = 0;
    return size > 0 && file.seek(size - 1) && file.getChar(&last) &&
           !QByteArrayView(",\r\n").contains(last);
}

} // namespace

bool NamesFile::exists() const
{
    return QFileInfo::exists(m_path);
}

QByteArray NamesFile::read() const
{
    QFile locked;
    check(openRegularFile(locked, m_path, QIODevice::ReadOnly));
    // Without the lock, at worst a part of a line that is being added is read.
    static_cast<void>(lockFile(locked, FileLock::Shared, LockPatience));
    return readWholeFile(m_path);
}

void NamesFile::createEmpty() const
{
    makeDirectory();
    if (!exists())
        static_cast<void>(createFile(withoutLinks(m_path), {}, m_access));
}

void NamesFile::add(const QByteArray &line, const QByteArray &before) const
{
    constexpr int Attempts = 100;

    makeDirectory();
    // The file may appear, and vanish, between any two steps.
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        const bool added =
            exists() ? append(line) : createFile(withoutLinks(m_path), before + line, m_access);
        if (added)
            return;
    }
    throw RuntimeError::file(qt_error_string(ENOENT), m_path);
}

void NamesFile::makeDirectory() const
{
    check(makePrivateDirectory(QFileInfo(m_path).path()));
}

/// Returns false when the file was removed or replaced meanwhile.
bool NamesFile::append(const QByteArray &line) const
{
    QFile file;
    const auto mode =
        QIODevice::ReadWrite | QIODevice::Append | QIODevice::ExistingOnly | QIODevice::Unbuffered;
    const auto failure = openRegularFile(file, m_path, mode);
    if (failure && !exists())
        return false;
    check(failure);
    if (!lockFile(file, FileLock::Exclusive, LockPatience))
        check(QStringLiteral("Locked by another program"));
    if (!isFileAt(m_path, file))
        return false;

    const qint64 size = file.size();
    const QByteArray bytes = (endsWithinEntry(file, size) ? "\r\n" : "") + line;
    if (const auto incomplete = writeAll(file, bytes)) {
        file.resize(size);
        check(incomplete);
    }
    return true;
}

void NamesFile::check(const std::optional<QString> &failure) const
{
    if (failure)
        throw RuntimeError::file(*failure, m_path);
}

} // namespace vantrel
