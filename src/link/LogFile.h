// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <optional>
#include <string_view>

namespace vantrel {

/// The session log on disk: bytes as given, gathered in memory and written in large pieces.
class LogFile
{
public:
    LogFile() = default;
    LogFile(const LogFile &) = delete;
    LogFile &operator=(const LogFile &) = delete;
    ~LogFile() { close(); }

    /// Creates the file, or empties it. Returns why that failed, in the system's words.
    std::optional<QString> open(const QString &path);

    /// Takes the bytes. Returns false when they or earlier ones could not be written; error() says
    /// why.
    bool write(std::string_view bytes);

    /// Hands everything gathered so far to the system. Returns false as write() does, and when the
    /// file has been deleted meanwhile, alone or with its directory: what goes there is lost.
    bool flush();

    /// Flushes and closes. Returns false when the last bytes could not be written.
    bool close();

    /// Why writing failed; still known after close().
    QString error() const { return m_error; }
    /// Whether it failed because the file has been deleted; still known after close().
    bool isDeleted() const { return m_deleted; }

private:
    QFile m_file;
    QByteArray m_gathered;
    QString m_error;
    bool m_deleted = false;
    bool m_hadName = false; // when it was opened; some network drives never know
};

} // namespace vantrel
