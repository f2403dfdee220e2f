// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/Alarm.h"

#include <QByteArray>
#include <QtGlobal>

#include <functional>
#include <optional>

namespace vantrel::simulator {

class ScriptMemory;

/// Runs the working script: one step after the other, a step's time apart. Each step is carried out
/// like a command from the console and its reply, if it has one, reported inside a script report.
class ScriptRun
{
public:
    /// Milliseconds that a step takes.
    static constexpr int StepTime = 5;
    /// A step of this code reports the tester's timer and the bytes behind the code.
    static constexpr quint8 MessageStep = 0x28;

    /// Carries out one step and returns its reply, as execute() does.
    using CarryOut = std::function<std::optional<QByteArray>(const QByteArray &command)>;
    /// Takes the body of each script report.
    using Report = std::function<void(const QByteArray &body)>;

    /// `clock` and `script` must outlive the run.
    ScriptRun(Clock &clock, const ScriptMemory &script, CarryOut carryOut, Report report);

    bool isRunning() const { return m_running; }

    /// Begins with the first step; a run under way begins anew.
    void start();
    /// Ends the run and reports where. Nothing when none is under way.
    void stop();
    /// Ends the run without a word.
    void abandon();

private:
    void step();
    QByteArray innerResponse(const QByteArray &command) const;

    Clock &m_clock;
    const ScriptMemory &m_script;
    CarryOut m_carryOut;
    Report m_report;
    Alarm m_stepDue;
    bool m_running = false;
    qsizetype m_next = 0; // index of the step to come
};

} // namespace vantrel::simulator
