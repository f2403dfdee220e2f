// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QString>

namespace vantrel {

struct Session;
class VornCommands;
class VornComm;

/// Downloads a script file into the tester's working memory.
class VornScript
{
public:
    VornScript(Session &session, VornComm &link, VornCommands &commands)
        : m_session(session), m_link(link), m_commands(commands)
    {
    }

    /// Streams the file as it stands between the start of a download and the tester's
    /// end-of-script report, for which it waits up to 50 ticks. The caller clears ScriptError
    /// before and reads it afterwards: set when the tester refused the script, did not report its
    /// end, or the link was lost. The main window is disabled meanwhile.
    ///
    /// Throws RuntimeError when the file cannot be read; nothing has been sent then.
    QCoro::Task<> LoadVornScript(QString path);

private:
    QCoro::Task<> sendScript(QByteArray script, qint32 losses);
    QCoro::Task<> awaitEnd(qint32 losses);

    Session &m_session;
    VornComm &m_link;
    VornCommands &m_commands;
};

/// A run under way is over and nobody will report its end: the script controls are idle again, and
/// the link is free. Nothing when no script runs.
void endUnreportedRun(Session &session);

/// Brings the progress bar of a download up to date; nothing while none runs.
void showDownloadProgress(Session &session);

} // namespace vantrel
