// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/LogFile.h"

#include "link/Bytes.h"
#include "link/FileLock.h"
#include "link/RegularFile.h"

#include <cerrno>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

namespace vantrel {

namespace {

constexpr qsizetype PieceSize = 65'536; // bytes

/// False for an open file that no directory holds any more.
bool hasName([[maybe_unused]] const QFile &file)
{
#ifdef Q_OS_UNIX
    struct stat status = {};
    return ::fstat(file.handle(), &status) != 0 || status.st_nlink > 0;
#else
    return true; // an open file cannot be deleted
#endif
}

} // namespace

std::optional<QString> LogFile::open(const QString &path)
{
    m_gathered.clear();
    // Appending: after another program has truncated the file, a position kept here would lie
    // beyond its end, and the bytes between would read as NUL.
    const auto mode = QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered;
    if (auto failure = openRegularFile(m_file, path, mode))
        return failure;
    std::optional<QString> failure;
    if (!lockFile(m_file, FileLock::Exclusive))
        failure = QStringLiteral("Another instance of the program is writing this log");
    else if (!m_file.resize(0))
        failure = m_file.errorString();
    if (failure) {
        m_file.close();
        return failure;
    }
    m_hadName = hasName(m_file);
    m_deleted = false;
    return std::nullopt;
}

bool LogFile::write(std::string_view bytes)
{
    appendRun(m_gathered, bytes.data(), static_cast<qsizetype>(bytes.size()));
    return m_gathered.size() < PieceSize || flush();
}

bool LogFile::flush()
{
    qsizetype done = 0;
    while (done < m_gathered.size()) {
        const qint64 written =
            m_file.write(m_gathered.constData() + done, m_gathered.size() - done);
        if (written <= 0)
            break;
        done += written;
    }
    const bool complete = done == m_gathered.size();
    const bool lost = complete && done > 0 && m_hadName && !hasName(m_file);
    if (!complete)
        m_error = m_file.errorString();
    else if (lost)
        m_error = qt_error_string(ENOENT);
    m_deleted = m_deleted || lost;
    m_gathered.resize(0);
    return complete && !lost;
}

bool LogFile::close()
{
    const bool complete = flush();
    m_file.close();
    return complete;
}

} // namespace vantrel
