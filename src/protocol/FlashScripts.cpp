// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/FlashScripts.h"

#include "link/Dialogs.h"
#include "link/ErrorBoundary.h"
#include "link/FilePath.h"
#include "protocol/VornCommands.h"
#include "protocol/VornScript.h"

#include <utility>

namespace vantrel {

namespace {

constexpr int Slot = 0; // the only one the console uses

namespace SlotState {
constexpr qint16 Disabled = 0;
constexpr qint16 Enabled = 1;
constexpr qint16 Undefined = 255;
} // namespace SlotState

/// Disables a control for as long as it lives; the control is as before afterwards.
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
      m_errors(errors),
      m_closeGuard(session, dialogs,
                   {WriteKind::FlashDownload, WriteKind::FlashProgram, WriteKind::FlashState})
{
}

void FlashScripts::opened()
{
    m_lock.emplace(m_session);
    m_opening.cancel();
    for (Control *field : {&m_controls.ScriptName, &m_controls.Status, &m_controls.filename})
        field->setText({});
    setEnables(true);
    m_controls.ScriptEnable.setEnabled(false);
    m_errors.run([this] { return RefreshScriptInfo(); });
}

void FlashScripts::closed()
{
    m_lock.reset();
    m_opening.cancel();
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
    const bool replied = co_await awaitReply();
    if (replied) {
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
        setEnables(!enabled);
        m_controls.ScriptEnable.setEnabled(true);
    }
}

void FlashScripts::setEnables(bool enables)
{
    m_enables = enables;
    m_controls.ScriptEnable.setText(enables ? QStringLiteral("Enable") : QStringLiteral("Disable"));
}

QCoro::Task<> FlashScripts::changeState()
{
    const bool changed = co_await sendState();
    if (changed) {
        co_await RefreshScriptInfo();
    } else {
        co_await showFailure(QStringLiteral("Failed to Change Script Status"));
    }
}

QCoro::Task<bool> FlashScripts::sendState()
{
    const PendingWrite write(m_session, WriteKind::FlashState);
    m_commands.SendFlashScriptEnable(Slot, m_enables);
    const bool changed = co_await awaitReply();
    co_return changed;
}

QCoro::Task<> FlashScripts::burn()
{
    if (const auto underWay = m_session.leases.conflict(LongExchange::FlashDownload)) {
        const Message refusal = refusalBox(*underWay);
        co_await m_dialogs.messageBox(refusal);
        co_return;
    }
    const CancelToken token(m_session, m_opening);
    m_controls.ScriptEnable.setEnabled(false);
    m_session.ScriptError = false;
    const FileChoice choice{FileChoice::Kind::OpenExisting,
                            QStringLiteral("Open Vornscript File for Default Script"),
                            QStringLiteral("VornScript Files|*.vn"),
                            QStringLiteral("vn"),
                            {}};
    const QString path = co_await m_dialogs.fileDialog(choice);
    if (path.isEmpty() || !token.isWindowOpen())
        co_return; // cancelled: all stays as it is until the next refresh

    m_controls.filename.setText(shownName(path));
    std::optional<LinkLease> lease = m_session.leases.acquire(LongExchange::FlashDownload);
    if (!lease) {
        const Message refusal = refusalBox(*m_session.leases.current());
        co_await m_dialogs.messageBox(refusal);
        co_return;
    }
    if (token.isLinkKept())
        co_await download(path, std::move(*lease), token);
    else
        m_session.ScriptError = true; // what was chosen for one tester is not sent to another
    if (!token.isWindowOpen())
        co_return;
    if (m_session.ScriptError) {
        co_await showFailure(QStringLiteral("Load Failed"));
    } else {
        m_loadedInto = currentTester(m_session);
        offerNaming();
    }
}

/// Nothing may come between the packets of a script: neither another script nor an order to
/// program.
QCoro::Task<> FlashScripts::download(QString path, LinkLease lease, CancelToken token)
{
    const Disabled burn(m_controls.Burn);
    const Disabled program(m_controls.BtnProgram);
    co_await m_script.LoadVornScript(path, std::move(lease), token);
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
    if (m_loadedInto != currentTester(m_session)) {
        co_await refuse(QStringLiteral("The script was loaded into the tester of an earlier "
                                       "connection. Nothing was programmed: load it again."));
        co_return;
    }
    m_session.FlashScriptName = m_controls.ScriptName.text();
    const bool programmed = co_await sendProgram();
    if (programmed) {
        co_await RefreshScriptInfo();
    } else {
        co_await showFailure(QStringLiteral("Failed to Program"));
    }
}

QCoro::Task<bool> FlashScripts::sendProgram()
{
    const PendingWrite write(m_session, WriteKind::FlashProgram);
    m_commands.SendFlashScriptProgram(Slot);
    const bool programmed = co_await awaitReply();
    co_return programmed;
}

QCoro::Task<bool> FlashScripts::awaitReply()
{
    const Disabled enable(m_controls.ScriptEnable);
    const Disabled program(m_controls.BtnProgram);
    const Disabled burn(m_controls.Burn);
    const CancelToken token(m_session, m_opening);
    const bool success = co_await m_commands.WaitFlashResponse(token);
    co_return success;
}

QCoro::Task<> FlashScripts::refuse(QString text)
{
    const Message refusal{text, QStringLiteral("Vantrel - Illegal Operation")};
    co_await m_dialogs.messageBox(refusal);
}

/// Shows nothing once the window has closed.
QCoro::Task<> FlashScripts::showFailure(QString text)
{
    if (!m_lock)
        co_return;
    const Message failure{text, QStringLiteral("Vantrel - Error")};
    co_await m_dialogs.messageBox(failure);
}

} // namespace vantrel
