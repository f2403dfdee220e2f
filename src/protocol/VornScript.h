// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/CancelToken.h"
#include "link/LinkLease.h"

#include <QByteArray>
#include <QCoroTask>
#include <QString>

namespace vantrel {

struct Session;
enum class ScriptState : quint8;
class PacketHold;
class PendingWrite;
class VornCommands;
class VornComm;
class WholeFile;

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
    /// end, or the link was lost. The main window is disabled meanwhile, and `lease` is held.
    ///
    /// The file is read and examined whole before anything is sent, with turns of the event loop in
    /// between. Nothing is sent, and ScriptError is set, when `caller` is cancelled meanwhile.
    /// Throws RuntimeError when the file cannot be read, is changed while it is read, or is larger
    /// than FileLimits::Script; nothing has been sent then.
    QCoro::Task<> LoadVornScript(QString path, LinkLease lease, CancelToken caller);

private:
    QCoro::Task<bool> examine(WholeFile &file, const CancelToken &caller);
    QCoro::Task<> download(QByteArray script);
    QCoro::Task<bool> sendScript(QByteArray script, PacketHold &others, PendingWrite &write,
                                 CancelToken token);
    QCoro::Task<> awaitEnd(CancelToken token);

    Session &m_session;
    VornComm &m_link;
    VornCommands &m_commands;
};

/// Sets the state and the caption of `ScriptRun` that shows it.
void setScriptState(Session &session, ScriptState state);

/// A run under way is over without a report of its end: the script controls are idle again, and the
/// link is free. No effect when no script runs.
void markScriptStopped(Session &session);

/// A download begins: it replaces the script that runs, and step reports are those of its steps.
void beginStoredSteps(Session &session);

/// Brings the progress bar of a download up to date; nothing while none runs.
void showDownloadProgress(Session &session);

} // namespace vantrel
