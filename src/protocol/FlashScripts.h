// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/CancelToken.h"
#include "link/CloseGuard.h"
#include "link/Control.h"
#include "link/LinkLease.h"
#include "link/MainWindowLock.h"
#include "link/TesterIdentity.h"

#include <QCoroTask>
#include <QList>
#include <QString>

#include <optional>

namespace vantrel {

class Dialogs;
class ErrorBoundary;
class VornCommands;
class VornScript;

/// The controls of the window `FlashForm`, as values.
struct FlashControls
{
    QList<Control *> all; // first: every control below adds itself

    Control Label1{all, "Label1"};
    Control ScriptName{all, "ScriptName"};
    Control Status{all, "Status"};
    Control filename{all, "filename"};
    Control ScriptEnable{all, "ScriptEnable"};
    Control BtnProgram{all, "BtnProgram"};
    Control Burn{all, "Burn"};
};

/// What the window `FlashForm` does: shows the script in the tester's flash, enables and disables
/// it, replaces it. Each handler runs inside the error boundary and returns at once. The main
/// window is disabled while the window is open.
///
/// Closing the window ends a wait for an answer at once. A download under way goes on to its own
/// end, with the main window disabled for so long: a tester that has half a script would take
/// whatever comes next for the other half.
class FlashScripts
{
public:
    FlashScripts(Session &session, VornCommands &commands, VornScript &script, Dialogs &dialogs,
                 ErrorBoundary &errors);

    FlashControls &controls() { return m_controls; }
    CloseGuard &closeGuard() { return m_closeGuard; }

    void opened();
    void closed();

    void scriptEnableClicked();
    void burnClicked();
    void programClicked();

private:
    QCoro::Task<> RefreshScriptInfo();
    QCoro::Task<> changeState();
    QCoro::Task<> burn();
    QCoro::Task<> program();
    QCoro::Task<bool> sendState();
    QCoro::Task<bool> sendProgram();
    QCoro::Task<> download(QString path, LinkLease lease, CancelToken token);
    /// Waits for the reply to a flash command; true when it reported success. Every control that
    /// sends another command is disabled meanwhile.
    QCoro::Task<bool> awaitReply();
    QCoro::Task<> showFailure(QString text);
    QCoro::Task<> refuse(QString text);
    void showSlot();
    void setEnables(bool enables);
    void offerNaming();

    Session &m_session;
    VornCommands &m_commands;
    VornScript &m_script;
    Dialogs &m_dialogs;
    ErrorBoundary &m_errors;
    FlashControls m_controls;
    CloseGuard m_closeGuard;
    std::optional<MainWindowLock> m_lock; // while the window is open
    CancelSource m_opening;               // cancelled when the window opens or closes
    bool m_enables = true;                // what ScriptEnable does, and its caption says
    TesterIdentity m_loadedInto;          // the tester with the script that BtnProgram stores
};

} // namespace vantrel
