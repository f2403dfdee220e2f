// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Utils.h"
#include "link/Wire.h"
#include "link/publicvars.h"
#include "protocol/RecvDecode.h"
#include "protocol/ReportText.h"
#include "protocol/VornCommands.h"
#include "protocol/VornScript.h"

namespace vantrel {

using namespace wire;

namespace {
constexpr qsizetype EnvelopeLength = 3; // report code and step index, before the inner packet
}

void RecvDecode::DecodeScriptMessage(const ByteReader &packet)
{
    const auto index = packet.word(2);
    const auto inner = packet.at(4);
    if (!index || !inner)
        return;

    switch (*inner) {
    case Report::ScriptStopped:
        scriptStopped(packet);
        break;
    case Command::ScriptDownloadEnd:
        m_session.Main.ScriptIdx.setText(QStringLiteral("VN_End @") + numberText(*index));
        m_session.Steps = StepReports::Stored;
        m_session.ScriptDone = true;
        break;
    case Report::Message:
        scriptMessage(*index, packet);
        break;
    default:
        scriptStep(*index, packet);
    }
}

void RecvDecode::scriptStopped(const ByteReader &packet)
{
    if (const auto index = packet.word(5)) {
        m_session.Main.ScriptIdx.setText(QStringLiteral("Stopped @") + numberText(*index));
        m_session.Steps = StepReports::Stored;
    }
    m_session.ScriptDone = true;
    scriptComplete();
}

void RecvDecode::scriptComplete()
{
    ShowStatusLine(m_session, QStringLiteral("Script Complete"));
    m_session.leases.endRun();
    m_commands.SendAutoMode(true);
    setScriptState(m_session, ScriptState::Idle);
    m_session.Main.ScriptLoad.setEnabled(true);
}

void RecvDecode::scriptMessage(quint16 index, const ByteReader &packet)
{
    // A timer of 0x80000000 or more cannot come from a tester that has not run for weeks; it shows
    // as the negative number that the four bytes are.
    const auto timer = packet.doubleWord(5);
    if (!timer)
        return;
    showDump(ReportText()
                 .text("*** Message -- Index: ")
                 .number(index)
                 .text("  Timer: ")
                 .number(static_cast<qint32>(*timer)),
             packet.from(9));
}

void RecvDecode::scriptStep(quint16 index, const ByteReader &packet)
{
    if (m_session.Steps == StepReports::Stored) {
        m_session.Main.ScriptIdx.setText(numberText(index));
        ++m_session.ScriptSteps;
        showDownloadProgress(m_session);
        return;
    }
    showText(ReportText().text("*** Script Response -- Index: ").number(index));
    m_stripped = packet.payload().data() - m_session.RxPacket.constData() + EnvelopeLength;
    m_again = true;
}

} // namespace vantrel
