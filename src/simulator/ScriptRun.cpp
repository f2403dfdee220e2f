// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/ScriptRun.h"

#include "link/Bytes.h"
#include "link/Wire.h"
#include "simulator/Memories.h"

namespace vantrel::simulator {

ScriptRun::ScriptRun(Clock &clock, const ScriptMemory &script, CarryOut carryOut, Report report)
    : m_clock(clock), m_script(script), m_carryOut(std::move(carryOut)),
      m_report(std::move(report)), m_stepDue(clock, [this] { step(); })
{
}

void ScriptRun::start()
{
    m_running = true;
    m_next = 0;
    m_stepDue.set(StepTime);
}

void ScriptRun::stop()
{
    if (!m_running)
        return;
    abandon();
    const auto index = static_cast<quint16>(m_next);
    ByteWriter report{wire::Report::Script};
    m_report(report.word(index).byte(wire::Report::ScriptStopped).word(index).take());
}

void ScriptRun::abandon()
{
    m_running = false;
    m_stepDue.stop();
}

void ScriptRun::step()
{
    if (m_next >= m_script.steps().size() ||
        ByteReader(m_script.steps()[m_next]).at(1) == wire::Command::ScriptDownloadEnd) {
        stop();
        return;
    }
    const QByteArray command = m_script.steps()[m_next];
    const QByteArray inner = innerResponse(command);
    if (inner.isEmpty() && ByteReader(command).at(1) == wire::Command::DeviceRequest)
        return; // the device never ends the request: only a stop ends the run
    // The console may answer from inside the report, and so end this run or begin another.
    const auto index = static_cast<quint16>(m_next++);
    m_stepDue.set(StepTime);
    if (inner.isEmpty())
        return; // a command without a reply
    ByteWriter report{wire::Report::Script};
    m_report(report.word(index).bytes(inner).take());
}

QByteArray ScriptRun::innerResponse(const QByteArray &command) const
{
    const ByteReader reader(command);
    if (reader.at(1) == MessageStep) {
        const auto timer = static_cast<quint32>(m_clock.now());
        return ByteWriter{wire::Report::Message}.doubleWord(timer).bytes(reader.from(2)).take();
    }
    const auto reply = m_carryOut(command);
    return reply ? *reply : ByteWriter{wire::Report::CommandError}.take();
}

} // namespace vantrel::simulator
