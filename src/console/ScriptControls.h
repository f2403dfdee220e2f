// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/CancelToken.h"

#include <QCoroTask>
#include <QString>

namespace vantrel {

struct Session;
class Dialogs;
class VornCommands;
class VornScript;

/// The frame VornScript: choose and download a script, run it, stop it.
class ScriptControls
{
public:
    ScriptControls(Session &session, VornCommands &commands, VornScript &script, Dialogs &dialogs)
        : m_session(session), m_commands(commands), m_script(script), m_dialogs(dialogs)
    {
    }

    /// Throws RuntimeError when the chosen file cannot be read; a script cannot be run then.
    QCoro::Task<> scriptLoadClicked();

    /// Runs or stops, whichever the caption says. The caption turns back to "Run" when the tester
    /// reports that the script has stopped. A run is refused while another exchange has the lease.
    QCoro::Task<> scriptRunClicked();

private:
    QCoro::Task<> load(QString path, CancelToken token);

    Session &m_session;
    VornCommands &m_commands;
    VornScript &m_script;
    Dialogs &m_dialogs;
};

} // namespace vantrel
