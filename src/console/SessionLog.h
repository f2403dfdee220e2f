// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QDateTime>
#include <QLocale>
#include <QString>

#include <functional>
#include <optional>

namespace vantrel {

struct Session;
class Dialogs;
class ErrorBoundary;

/// The session log file: everything that reaches the response pane, while a file is open.
class SessionLog
{
public:
    /// `now` is the clock of header and footer, `locale` has the formats of their time and date.
    SessionLog(
        Session &session, Dialogs &dialogs, ErrorBoundary &errors,
        std::function<QDateTime()> now = [] { return QDateTime::currentDateTime(); },
        const QLocale &locale = QLocale::system());

    /// Menu item `FileNew`: asks for a file and starts it.
    QCoro::Task<> fileNew();
    /// Menu item `FileClose`: ends the file with its footer.
    void fileClose();

    /// Opens the log on `path`, replacing what was there. Throws RuntimeError when it cannot.
    void start(const QString &path);

    /// Hands what was gathered to the system; called at every tick.
    void flush();

    /// For the end of the process: an open file is closed with its footer, and no control is
    /// changed. Returns why that failed, with the path.
    std::optional<QString> finish();

private:
    bool endFile();
    void writeFailed(const QString &reason);
    void showDeleted();
    void showClosed();
    QByteArray stamp(const char *title) const;

    Session &m_session;
    Dialogs &m_dialogs;
    ErrorBoundary &m_errors;
    std::function<QDateTime()> m_now;
    QLocale m_locale;
    QString m_path;
};

} // namespace vantrel
