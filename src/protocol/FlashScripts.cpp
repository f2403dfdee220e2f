// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/FlashScripts.h"

#include "link/Dialogs.h"
#include "link/ErrorBoundary.h"
#include "protocol/VornCommands.h"
#include "protocol/VornScript.h"

#include <QFileInfo>

namespace vantrel {

namespace {

constexpr int Slot = 0; // the only one the console uses

namespace SlotState {
constexpr qint16 Disabled = 0;
constexpr qint16 Enabled = 1;
constexpr qint16 Undefined = 255;
} // namespace SlotState

/// Out of the user's reach for as long as this lives.
class Disabled
{
public:
    explicit Disabled(Control &control) : m_control(control), m_before(control.isEnabled())
    {
        control.setEnabled(false);
    }
    ~Disabled() { m_control.setEnabled(m_before); }
    Disabled(const Disabled &) = delete;
    Disabled &operator=(const Disabled &) = delete;

private:
    Control &m_control;
    const bool m_before;
};

} // namespace

FlashScripts::FlashScripts(Session &session, VornCommands &commands, VornScript &script,
                           Dialogs &dialogs, ErrorBoundary &errors)
    : m_session(session), m_commands(commands), m_script(script), m_dialogs(dialogs),
      m_errors(errors)
{
}

void FlashScripts::opened()
{
    m_lock.emplace(m_session);
    ++m_visit;
    for (Control *field : {&m_controls.ScriptName, &m_controls.Status, &m_controls.filename})
        field->setText({});
    m_controls.ScriptEnable.setText(QStringLiteral("Enable"));
    m_controls.ScriptEnable.setEnabled(false);
    m_errors.run([this] { return RefreshScriptInfo(); });
}

void FlashScripts::closed()
{
    m_lock.reset();
    ++m_visit;
    m_session.waits.check();
}

void FlashScripts::scriptEnableClicked()
{
    m_errors.run([this] { return changeState(); });
}

void FlashScripts::burnClicked()
{
    m_errors.run([this] { return burn(); });
}

void FlashScripts::programClicked()
{
    m_errors.run([this] { return program(); });
}

QCoro::Task<> FlashScripts::RefreshScriptInfo()
{
    m_controls.BtnProgram.setEnabled(false);
    m_controls.BtnProgram.setVisible(false);
    m_controls.Label1.setText(QStringLiteral("Current Script Name"));
    m_controls.ScriptName.setLocked(true);
    m_controls.Burn.setEnabled(false);

    m_commands.SendFlashScriptInfoQuery(Slot);
    const bool answered = co_await awaitAnswer();
    if (answered) {
        showSlot();
        m_controls.Burn.setEnabled(true);
    } else {
        co_await showFailure(QStringLiteral("Failed to read Script Info from Vorn 1"));
    }
}

void FlashScripts::showSlot()
{
    const qint16 state = m_session.FlashSlotState;
    if (state == SlotState::Undefined) {
        m_controls.Status.setText(QStringLiteral("Undefined"));
        m_controls.ScriptName.setText({});
    } else if (state == SlotState::Enabled || state == SlotState::Disabled) {
        const bool enabled = state == SlotState::Enabled;
        m_controls.Status.setText(enabled ? QStringLiteral("Enabled") : QStringLiteral("Disabled"));
        m_controls.ScriptName.setText(m_session.FlashScriptName);
        m_controls.ScriptEnable.setText(enabled ? QStringLiteral("Disable")
                                                : QStringLiteral("Enable"));
        m_controls.ScriptEnable.setEnabled(true);
    }
}

QCoro::Task<> FlashScripts::changeState()
{
    const bool enable = m_controls.ScriptEnable.text() == QLatin1String("Enable");
    m_commands.SendFlashScriptEnable(Slot, enable);
    const bool changed = co_await awaitAnswer();
    if (changed) {
        co_await RefreshScriptInfo();
    } else {
        co_await showFailure(QStringLiteral("Failed to Change Script Status"));
    }
}

QCoro::Task<> FlashScripts::burn()
{
    m_controls.ScriptEnable.setEnabled(false);
    m_session.ScriptError = false;
    const FileChoice choice{FileChoice::Kind::OpenExisting,
                            QStringLiteral("Open Vornscript File for Default Script"),
                            QStringLiteral("VornScript Files|*.vn"),
                            QStringLiteral("vn"),
                            {}};
    const int visit = m_visit;
    const QString path = co_await m_dialogs.fileDialog(choice);
    if (path.isEmpty() || m_visit != visit)
        co_return; // cancelled: all stays as it is until the next refresh

    m_controls.filename.setText(QFileInfo(path).fileName());
    co_await download(path);
    if (m_visit != visit)
        co_return;
    if (m_session.ScriptError) {
        co_await showFailure(QStringLiteral("Load Failed"));
    } else {
        offerNaming();
    }
}

/// Nothing may come between the packets of a script: neither another script nor an order to
/// program.
QCoro::Task<> FlashScripts::download(QString path)
{
    const Disabled burn(m_controls.Burn);
    const Disabled program(m_controls.BtnProgram);
    co_await m_script.LoadVornScript(path);
}

void FlashScripts::offerNaming()
{
    m_controls.Label1.setText(QStringLiteral("New Script Name"));
    m_controls.ScriptName.setText(QStringLiteral("Script0"));
    m_controls.ScriptName.setLocked(false);
    m_controls.BtnProgram.setEnabled(true);
    m_controls.BtnProgram.setVisible(true);
}

QCoro::Task<> FlashScripts::program()
{
    m_session.FlashScriptName = m_controls.ScriptName.text();
    m_commands.SendFlashScriptProgram(Slot);
    const bool programmed = co_await awaitAnswer();
    if (programmed) {
        co_await RefreshScriptInfo();
    } else {
        co_await showFailure(QStringLiteral("Failed to Program"));
    }
}

QCoro::Task<bool> FlashScripts::awaitAnswer()
{
    const std::function<bool()> abandoned = [this, visit = m_visit] { return m_visit != visit; };
    const bool success = co_await m_commands.WaitFlashResponse(abandoned);
    co_return success;
}

/// Nobody is left to read it once the window has closed.
QCoro::Task<> FlashScripts::showFailure(QString text)
{
    if (!m_lock)
        co_return;
    const Message failure{text, QStringLiteral("Vantrel - Error")};
    co_await m_dialogs.messageBox(failure);
}

} // namespace vantrel
