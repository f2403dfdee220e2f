// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/DurableFile.h"

#include <QByteArray>
#include <QString>

namespace vantrel {

/// The user's own file of network names. Several instances of the program may use it at the same
/// time, and other programs may replace it at any time: it is created with its first contents in
/// one step that fails when it exists, and is only appended to afterwards, under a lock. Everything
/// throws RuntimeError when it fails.
class NamesFile
{
public:
    NamesFile() = default;
    NamesFile(QString path, FileAccess access) : m_path(std::move(path)), m_access(access) {}

    bool exists() const;

    QByteArray read() const;

    /// Creates the file, and its directory, if there is none. A file that exists is not changed.
    void createEmpty() const;

    /// Appends a line, which has its line end, or creates the file with `before` and the line. An
    /// unfinished last line of the file is ended first. A line that cannot be written as a whole
    /// leaves the file as it was.
    void add(const QByteArray &line, const QByteArray &before) const;

private:
    void makeDirectory() const;
    bool append(const QByteArray &line) const;
    void check(const std::optional<QString> &failure) const;

    QString m_path; // empty: everything fails
    FileAccess m_access = FileAccess::OwnerOnly;
};

} // namespace vantrel
