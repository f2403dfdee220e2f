// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/WholeFile.h"

#include "link/RegularFile.h"
#include "link/RuntimeError.h"
#include "link/Waits.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vantrel {

WholeFile::WholeFile(QString path, qint64 limit) : m_path(std::move(path)), m_limit(limit)
{
    const auto mode = QIODevice::ReadOnly | QIODevice::Unbuffered;
    if (const auto failure = openRegularFile(m_file, m_path, mode))
        throw RuntimeError::file(*failure, m_path);
    m_status = fileStatus(m_file);
    checkSize(m_status.size);
    reserve();
}

/// The system may have less memory than the file has bytes.
void WholeFile::reserve()
{
    try {
        m_bytes.reserve(static_cast<qsizetype>(m_status.size) + SliceSize);
    } catch (const std::bad_alloc &) {
        throw RuntimeError::file(QStringLiteral("Out of memory"), m_path);
    }
}

QByteArrayView WholeFile::readSlice()
{
    const qsizetype before = m_bytes.size();
    const bool isFirst = before == 0;
    m_bytes.resize(before + SliceSize);
    const qint64 count = m_file.read(m_bytes.data() + before, SliceSize);
    m_bytes.resize(before + std::max<qsizetype>(0, static_cast<qsizetype>(count)));
    if (count < 0)
        throw RuntimeError::file(m_file.errorString(), m_path);
    checkSize(m_bytes.size());
    m_atEnd = count < SliceSize;
    if (!isFirst)
        checkUnchanged();
    return QByteArrayView(m_bytes).sliced(before);
}

void WholeFile::checkSize(qint64 size) const
{
    if (size > m_limit) {
        throw RuntimeError::file(
            QStringLiteral("The file has %1 bytes, at most %2 are read").arg(size).arg(m_limit),
            m_path);
    }
}

void WholeFile::checkUnchanged() const
{
    const FileStatus now = fileStatus(m_file);
    if (now.size != m_status.size || now.modified != m_status.modified)
        throw RuntimeError::file(QStringLiteral("The file was changed while it was read"), m_path);
}

QCoro::Task<bool> readInTurns(Waits &waits, WholeFile &file,
                              std::function<void(QByteArrayView slice)> examine)
{
    for (;;) {
        examine(file.readSlice());
        if (file.atEnd())
            co_return true;
        const WaitEnd end = co_await waits.oneTurn();
        if (end == WaitEnd::Closed)
            co_return false;
    }
}

} // namespace vantrel
