// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/VornScript.h"

#include "link/MainWindowLock.h"
#include "link/PendingWrites.h"
#include "link/Utils.h"
#include "link/VornComm.h"
#include "link/WholeFile.h"
#include "link/Words.h"
#include "protocol/ScriptFile.h"
#include "protocol/VornCommands.h"

#include <utility>

namespace vantrel {

namespace {

constexpr qsizetype ChunkSize = 512; // bytes between two looks at what the tester reports
constexpr qint32 EndTicks = 50;

/// The progress bar, while a download runs.
class ProgressShown
{
public:
    ProgressShown(Session &session, qint64 size) : m_session(session)
    {
        session.DownloadSize = checked<qint32>(size);
        session.DownloadSent = 0;
        session.ScriptSteps = 0;
        session.Main.DownloadProgress.setVisible(true);
        showDownloadProgress(session);
    }
    ~ProgressShown()
    {
        m_session.DownloadSize = -1;
        m_session.Main.DownloadProgress.setVisible(false);
    }
    ProgressShown(const ProgressShown &) = delete;
    ProgressShown &operator=(const ProgressShown &) = delete;

private:
    Session &m_session;
};

} // namespace

void showDownloadProgress(Session &session)
{
    if (session.DownloadSize < 0)
        return;
    Control &bar = session.Main.DownloadProgress;
    bar.setProgress({session.DownloadSent, session.DownloadSize});
    bar.setText(QStringLiteral("%1 of %2 bytes sent, %3 steps stored")
                    .arg(session.DownloadSent)
                    .arg(session.DownloadSize)
                    .arg(session.ScriptSteps));
}

void setScriptState(Session &session, ScriptState state)
{
    session.Script = state;
    session.Main.ScriptRun.setText(state == ScriptState::Running ? QStringLiteral("Stop")
                                                                 : QStringLiteral("Run"));
}

void markScriptStopped(Session &session)
{
    session.leases.endRun();
    if (session.Script != ScriptState::Running)
        return;
    setScriptState(session, ScriptState::Idle);
    session.Main.ScriptLoad.setEnabled(session.LinkState != LinkStates::Closed);
}

void beginStoredSteps(Session &session)
{
    markScriptStopped(session);
    if (std::exchange(session.Steps, StepReports::Stored) == StepReports::Executed)
        session.Main.ScriptIdx.setText({});
}

QCoro::Task<> VornScript::LoadVornScript(QString path, LinkLease lease, CancelToken caller)
{
    const MainWindowLock lock(m_session);
    WholeFile file(path, FileLimits::Script);
    const ProgressShown progress(m_session, file.size());
    const bool wanted = co_await examine(file, caller);
    if (!wanted) {
        m_session.ScriptError = true;
        co_return;
    }
    const QByteArray script = file.take();

    beginStoredSteps(m_session);
    m_session.ScriptSteps = 0; // a script that ran may have reported steps while the file was read
    m_session.DownloadSize = checked<qint32>(script.size());
    lease.setBusy();
    m_session.ScriptDone = false;
    co_await download(script);

    lease.clearBusy();
    if (m_session.ScriptError)
        m_session.Main.ScriptIdx.setText(QStringLiteral("Load Error"));
    if (m_session.Main.Automode.isChecked())
        m_commands.SendAutoMode(true);
}

/// Reads the file. False when the caller has been cancelled.
QCoro::Task<bool> VornScript::examine(WholeFile &file, const CancelToken &caller)
{
    ScriptCheck check;
    const auto examineSlice = [&check](QByteArrayView slice) { check.examine(slice); };
    const bool complete = co_await readInTurns(m_session.waits, file, examineSlice);
    if (!complete)
        co_return false;
    if (!caller.isLinkKept())
        ShowStatusLine(m_session, QStringLiteral("The connection has ended: no script was sent"));
    else if (!caller.isWindowOpen())
        ShowStatusLine(m_session, QStringLiteral("The window was closed: no script was sent"));
    else if (const auto oddity = check.oddity())
        ShowStatusLine(m_session, QStringLiteral("Warning: ") + *oddity);
    co_return caller.isActive();
}

/// What others send waits until the tester has reported the end, or can no longer do so.
QCoro::Task<> VornScript::download(QByteArray script)
{
    const CancelToken token(m_session);
    PacketHold others(m_link);
    const bool forFlash = m_session.leases.current() == LongExchange::FlashDownload;
    PendingWrite write(m_session, forFlash ? WriteKind::FlashDownload : WriteKind::ScriptDownload,
                       script.size());
    const bool sent = co_await sendScript(script, others, write, token);
    if (sent) {
        co_await awaitEnd(token);
    }
    if (!m_session.ScriptDone) {
        m_session.ScriptDone = true;
        m_session.ScriptError = true;
    }
}

/// False when the link has ended.
QCoro::Task<bool> VornScript::sendScript(QByteArray script, PacketHold &others, PendingWrite &write,
                                         CancelToken token)
{
    others.own([this] {
        m_commands.SendAutoMode(false);
        m_commands.SendScriptDownloadStart();
    });
    if (!m_link.isConnected())
        co_return false;
    for (qsizetype at = 0; at < script.size(); at += ChunkSize) {
        const QByteArray chunk = script.mid(at, ChunkSize);
        const auto send = [this, &chunk] { return m_link.SendPacket(chunk); };
        if (!others.own(send))
            co_return m_link.isConnected();
        m_session.DownloadSent += checked<qint32>(chunk.size());
        write.setDone(m_session.DownloadSent);
        showDownloadProgress(m_session);
        if (chunk.size() < ChunkSize)
            co_return true;
        const WaitEnd end = co_await m_session.waits.oneTurn();
        const bool accepted = co_await m_link.bytesAccepted();
        if (!accepted || !token.isLinkKept() || !m_link.isConnected() || end == WaitEnd::Closed)
            co_return false;
        if (m_session.ScriptError)
            co_return true; // refused; the tester may still report the end
    }
    co_return true;
}

QCoro::Task<> VornScript::awaitEnd(CancelToken token)
{
    const auto ended = [this, &token] {
        return m_session.ScriptDone || !token.isLinkKept() || !m_link.isConnected();
    };
    const bool sent = co_await m_link.bytesSent(ended);
    if (sent) {
        co_await m_session.waits.until(ended, deadlineIn(m_session, EndTicks));
    }
}

} // namespace vantrel
