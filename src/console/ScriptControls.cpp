// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/ScriptControls.h"

#include "link/Dialogs.h"
#include "link/FilePath.h"
#include "link/RuntimeError.h"
#include "link/Utils.h"
#include "link/publicvars.h"
#include "protocol/VornCommands.h"
#include "protocol/VornScript.h"

#include <optional>
#include <utility>

namespace vantrel {

QCoro::Task<> ScriptControls::scriptLoadClicked()
{
    if (const auto underWay = m_session.leases.conflict(LongExchange::ScriptDownload)) {
        const Message refusal = refusalBox(*underWay);
        co_await m_dialogs.messageBox(refusal);
        co_return;
    }
    MainControls &main = m_session.Main;
    const CancelToken token(m_session);
    m_session.ScriptError = false;
    main.ScriptLoad.setEnabled(false);
    main.ScriptRun.setEnabled(false);

    const FileChoice choice{FileChoice::Kind::OpenExisting,
                            QStringLiteral("Open Vornscript File"),
                            QStringLiteral("VornScript Files | *.vn"),
                            {},
                            {}};
    const QString path = co_await m_dialogs.fileDialog(choice);
    std::optional<RuntimeError> failure;
    try {
        co_await load(path, token);
    } catch (const RuntimeError &error) {
        failure = error;
    }

    const bool connected = m_session.LinkState != LinkStates::Closed;
    main.ScriptRun.setEnabled(!m_session.ScriptError && !failure && connected);
    main.ScriptLoad.setEnabled(connected);
    if (failure)
        throw RuntimeError(*failure);
}

QCoro::Task<> ScriptControls::load(QString path, CancelToken token)
{
    m_session.Main.ScriptName.setText(shownName(path));
    if (path.isEmpty()) {
        m_session.ScriptError = true;
        co_return;
    }
    if (!token.isLinkKept()) { // what was chosen for one tester is not sent to another
        m_session.ScriptError = true;
        ShowStatusLine(m_session, QStringLiteral("The connection has ended: no script was sent"));
        co_return;
    }
    std::optional<LinkLease> lease = m_session.leases.acquire(LongExchange::ScriptDownload);
    if (lease) {
        co_await m_script.LoadVornScript(path, std::move(*lease), token);
    } else {
        m_session.ScriptError = true;
        const Message refusal = refusalBox(*m_session.leases.current());
        co_await m_dialogs.messageBox(refusal);
    }
}

QCoro::Task<> ScriptControls::scriptRunClicked()
{
    const bool starts = m_session.Script == ScriptState::Idle;
    if (const auto underWay = m_session.leases.conflict(LongExchange::ScriptRun);
        underWay && starts) {
        const Message refusal = refusalBox(*underWay);
        co_await m_dialogs.messageBox(refusal);
        co_return;
    }
    MainControls &main = m_session.Main;
    main.ScriptRun.setEnabled(false);
    if (starts) {
        setScriptState(m_session, ScriptState::Running);
        m_session.Steps = StepReports::Executed;
        main.ScriptIdx.setText(QStringLiteral("Running"));
        main.ScriptLoad.setEnabled(false);
        m_commands.SendRunScript();
    } else {
        m_commands.RestoreAutoMode();
    }
    main.ScriptRun.setEnabled(true);
}

} // namespace vantrel
