// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/FileStatus.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QCoroTask>
#include <QFile>
#include <QString>

#include <functional>
#include <limits>

namespace vantrel {

class Waits;

/// Sizes of the largest files that are read, in bytes.
namespace FileLimits {
constexpr qint64 Script = std::numeric_limits<qint32>::max(); ///< progress is counted in qint32
constexpr qint64 IntelHex = 32 << 20; ///< its lines are counted in qint16: each may have 1 KiB
constexpr qint64 Default = 1 << 20;
} // namespace FileLimits

/// A regular file that is read whole, in slices, into memory. All functions throw RuntimeError with
/// the path.
class WholeFile
{
public:
    /// Small enough to be read and examined within some milliseconds.
    static constexpr qsizetype SliceSize = 1 << 20;

    /// Opens the file. A file of more than `limit` bytes is rejected before anything is read.
    WholeFile(QString path, qint64 limit);

    /// When the file was opened.
    qint64 size() const { return m_status.size; }

    /// Reads on; returns what was read, which is empty at most at the end. A file that has grown
    /// beyond the limit is rejected, and so is one that was changed between two slices.
    QByteArrayView readSlice();
    bool atEnd() const { return m_atEnd; }

    /// All that was read.
    QByteArray take() { return std::move(m_bytes); }

private:
    void reserve();
    void checkSize(qint64 size) const;
    void checkUnchanged() const;

    QString m_path;
    qint64 m_limit;
    QFile m_file;
    FileStatus m_status;
    QByteArray m_bytes;
    bool m_atEnd = false;
};

/// Reads the rest of the file with one turn of the event loop between two slices, so that a large
/// file does not block the program. Passes each slice to `examine`. False when the program is
/// closing: the file is not complete then.
QCoro::Task<bool> readInTurns(Waits &waits, WholeFile &file,
                              std::function<void(QByteArrayView slice)> examine);

} // namespace vantrel
