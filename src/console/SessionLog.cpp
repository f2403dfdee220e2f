// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/SessionLog.h"

#include "link/Dialogs.h"
#include "link/ErrorBoundary.h"
#include "link/FilePath.h"
#include "link/RuntimeError.h"
#include "link/Utils.h"
#include "link/publicvars.h"

#include <algorithm>

namespace vantrel {

namespace {

constexpr const char *Rule = "%%%%%";
constexpr const char *LineEnd = "\r\n";

std::string_view view(const QByteArray &bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

/// Time and date in the locale's short formats. The special blanks that some locales separate them
/// with become plain ones.
QString shortStamp(const QDateTime &now, const QLocale &locale)
{
    QString stamp = locale.toString(now.time(), QLocale::ShortFormat) + QLatin1Char(' ') +
                    locale.toString(now.date(), QLocale::ShortFormat);
    stamp.replace(QChar(QChar::Nbsp), QLatin1Char(' '));
    stamp.replace(QChar(0x202F), QLatin1Char(' '));
    return stamp;
}

/// In the locale's form, or in that of the C locale if a character of the former does not fit into
/// one byte.
QByteArray localStamp(const QDateTime &now, const QLocale &locale)
{
    const QString stamp = shortStamp(now, locale);
    const bool fits =
        std::ranges::all_of(stamp, [](QChar character) { return character.unicode() <= 0xFF; });
    return (fits ? stamp : shortStamp(now, QLocale::c())).toLatin1();
}

} // namespace

SessionLog::SessionLog(Session &session, Dialogs &dialogs, ErrorBoundary &errors,
                       std::function<QDateTime()> now, const QLocale &locale)
    : m_session(session), m_dialogs(dialogs), m_errors(errors), m_now(std::move(now)),
      m_locale(locale)
{
    m_session.logFailed = [this](const QString &reason) { writeFailed(reason); };
}

QCoro::Task<> SessionLog::fileNew()
{
    Control &FileNew = m_session.Main.FileNew;
    FileNew.setEnabled(false);
    FileChoice choice{FileChoice::Kind::SaveAs, QStringLiteral("Open New Log File"),
                      QStringLiteral("Log Files|*.log"), QStringLiteral("log"),
                      QStringLiteral("*.log")};
    choice.inDataDirectory = true;
    const QString path = co_await m_dialogs.fileDialog(choice);
    if (path.isEmpty())
        FileNew.setEnabled(true);
    else
        start(path);
}

void SessionLog::start(const QString &path)
{
    if (const auto reason = m_session.log.open(path)) {
        showClosed();
        throw RuntimeError::file(*reason, path);
    }
    m_path = path;
    const QByteArray header = stamp("%% Log File Started: ") + LineEnd;
    m_session.log.write(view(header + LineEnd));
    m_session.LogBytes = static_cast<qint32>(header.size()) + 2;
    m_session.Logging = true;

    MainControls &main = m_session.Main;
    main.FileNew.setEnabled(false);
    main.LogInfo.setText(QStringLiteral("Logging: ") + shownName(path));
    main.LogSizeInfo.setText(logSizeText(m_session.LogBytes));
    main.FileClose.setEnabled(true);
    main.LogFrame.setVisible(true);
}

void SessionLog::fileClose()
{
    m_session.Main.FileClose.setEnabled(false);
    const bool complete = endFile();
    showClosed();
    if (m_session.log.isDeleted())
        showDeleted();
    else if (!complete)
        throw RuntimeError::file(m_session.log.error(), m_path);
}

std::optional<QString> SessionLog::finish()
{
    if (!m_session.Logging || endFile())
        return std::nullopt;
    return RuntimeError::file(m_session.log.error(), m_path).shortName();
}

/// Writes the footer and closes the file. False when not everything could be written.
bool SessionLog::endFile()
{
    m_session.Logging = false;
    m_session.log.write(view(LineEnd + stamp("%% Log File Ended: ") + LineEnd));
    return m_session.log.close();
}

void SessionLog::flush()
{
    if (m_session.Logging && !m_session.log.flush())
        writeFailed(m_session.log.error());
}

void SessionLog::writeFailed(const QString &reason)
{
    m_session.Logging = false;
    m_session.log.close();
    showClosed();
    if (m_session.log.isDeleted())
        showDeleted();
    else
        m_errors.report(RuntimeError::file(reason, m_path));
}

void SessionLog::showDeleted()
{
    ShowStatusLine(m_session, QStringLiteral("The log file was deleted, the log is closed: ") +
                                  shownPath(m_path));
}

void SessionLog::showClosed()
{
    MainControls &main = m_session.Main;
    main.FileClose.setEnabled(false);
    main.FileNew.setEnabled(true);
    main.LogFrame.setVisible(false);
}

/// Three lines, the last without its line end.
QByteArray SessionLog::stamp(const char *title) const
{
    return QByteArray(Rule) + LineEnd + title + localStamp(m_now(), m_locale) + LineEnd + Rule;
}

} // namespace vantrel
