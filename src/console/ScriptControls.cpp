// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/ScriptControls.h"

#include "link/Dialogs.h"
#include "link/RuntimeError.h"
#include "link/publicvars.h"
#include "protocol/VornCommands.h"
#include "protocol/VornScript.h"

#include <QFileInfo>

#include <optional>

namespace vantrel {

QCoro::Task<> ScriptControls::scriptLoadClicked()
{
    MainControls &main = m_session.Main;
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
        co_await load(path);
    } catch (const RuntimeError &error) {
        failure = error;
    }

    const bool connected = m_session.LinkState != LinkStates::Closed;
    main.ScriptRun.setEnabled(!m_session.ScriptError && !failure && connected);
    main.ScriptLoad.setEnabled(connected);
    if (failure)
        throw RuntimeError(*failure);
}

QCoro::Task<> ScriptControls::load(QString path)
{
    m_session.Main.ScriptName.setText(QFileInfo(path).fileName());
    if (path.isEmpty()) {
        m_session.ScriptError = true;
    } else {
        co_await m_script.LoadVornScript(path);
    }
}

void ScriptControls::scriptRunClicked()
{
    MainControls &main = m_session.Main;
    main.ScriptRun.setEnabled(false);
    if (main.ScriptRun.text() == QLatin1String("Run")) {
        main.ScriptRun.setText(QStringLiteral("Stop"));
        main.ScriptIdx.setText(QStringLiteral("Running"));
        main.ScriptLoad.setEnabled(false);
        m_commands.SendRunScript();
    } else {
        m_commands.RestoreAutoMode();
    }
    main.ScriptRun.setEnabled(true);
}

} // namespace vantrel
