// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/VornScript.h"

#include "link/Files.h"
#include "link/MainWindowLock.h"
#include "link/Utils.h"
#include "link/VornComm.h"
#include "protocol/ScriptFile.h"
#include "protocol/VornCommands.h"

namespace vantrel {

namespace {

constexpr qsizetype ChunkSize = 512; // bytes between two looks at what the tester reports
constexpr qint32 EndTicks = 50;

/// The progress bar, while a download runs.
class ProgressShown
{
public:
    ProgressShown(Session &session, qsizetype size) : m_session(session)
    {
        session.DownloadSize = static_cast<qint32>(size);
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

void endUnreportedRun(Session &session)
{
    MainControls &main = session.Main;
    if (main.ScriptRun.text() != QLatin1String("Stop"))
        return;
    main.ScriptRun.setText(QStringLiteral("Run"));
    main.ScriptIdx.setText({}); // "Running" would make step reports of a download those of a run
    main.ScriptLoad.setEnabled(session.LinkState != LinkStates::Closed);
    session.ScriptBusy = false;
}

QCoro::Task<> VornScript::LoadVornScript(QString path)
{
    const MainWindowLock lock(m_session);
    const QByteArray script = readWholeFile(path);
    if (const auto oddity = oddityOfScript(script))
        ShowStatusLine(m_session, QStringLiteral("Warning: ") + *oddity);

    endUnreportedRun(m_session); // a download ends whatever runs
    const ProgressShown progress(m_session, script.size());
    const qint32 losses = m_session.LinkLosses;
    m_session.ScriptBusy = true;
    m_session.ScriptDone = false;
    co_await sendScript(script, losses);
    co_await awaitEnd(losses);

    m_session.ScriptBusy = false;
    if (m_session.ScriptError)
        m_session.Main.ScriptIdx.setText(QStringLiteral("Load Error"));
    if (m_session.Main.Automode.isChecked())
        m_commands.SendAutoMode(true);
}

QCoro::Task<> VornScript::sendScript(QByteArray script, qint32 losses)
{
    PacketHold others(m_link);
    others.own([this] {
        m_commands.SendAutoMode(false);
        m_commands.SendScriptDownloadStart();
    });
    for (qsizetype at = 0; at < script.size(); at += ChunkSize) {
        const QByteArray chunk = script.mid(at, ChunkSize);
        const auto send = [this, &chunk] { return m_link.SendPacket(chunk); };
        if (!others.own(send))
            co_return;
        m_session.DownloadSent += static_cast<qint32>(chunk.size());
        showDownloadProgress(m_session);
        if (chunk.size() < ChunkSize)
            co_return;
        const WaitEnd end = co_await m_session.waits.oneTurn();
        const bool accepted = co_await m_link.bytesAccepted();
        const bool linkLost = m_session.LinkLosses != losses || !m_link.isConnected();
        if (!accepted || m_session.ScriptError || linkLost || end == WaitEnd::Closed)
            co_return;
    }
}

QCoro::Task<> VornScript::awaitEnd(qint32 losses)
{
    const auto ended = [this, losses] {
        return m_session.ScriptDone || m_session.LinkLosses != losses || !m_link.isConnected();
    };
    if (co_await m_link.bytesSent(ended))
        co_await m_session.waits.until(ended, deadlineIn(m_session, EndTicks));
    if (!m_session.ScriptDone) {
        m_session.ScriptDone = true;
        m_session.ScriptError = true;
    }
}

} // namespace vantrel
