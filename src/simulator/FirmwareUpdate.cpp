// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/FirmwareUpdate.h"

#include "simulator/Clock.h"
#include "simulator/Faults.h"
#include "simulator/TesterState.h"

#include <utility>

namespace vantrel::simulator {

namespace {

void powerUp(TesterState &state)
{
    state.port.powerUp();
    state.automaticMode = {};
    state.configValue = 0;
    state.dataPort = 0;
    state.script = {};
}

} // namespace

FirmwareUpdate::FirmwareUpdate(Clock &clock, TesterState &state, const Faults &faults,
                               std::function<void()> restarted)
    : m_clock(clock), m_state(state), m_faults(faults), m_restarted(std::move(restarted))
{
}

bool FirmwareUpdate::begin()
{
    std::optional<QByteArray> image = m_state.firmware.takeAccepted();
    if (!image)
        return false;
    m_image = std::move(*image);
    m_away = true;
    ++m_turn;
    later(ProgrammingTime, &FirmwareUpdate::restart);
    return true;
}

void FirmwareUpdate::later(int milliseconds, void (FirmwareUpdate::*step)())
{
    m_clock.after(milliseconds, [this, step, turn = m_turn] {
        if (turn == m_turn)
            (this->*step)();
    });
}

void FirmwareUpdate::restart()
{
    powerUp(m_state);
    const bool hasBootLoader = m_state.settings.model != 1;
    later(StartTime,
          hasBootLoader ? &FirmwareUpdate::startBootLoader : &FirmwareUpdate::startFirmware);
    m_restarted();
}

void FirmwareUpdate::startBootLoader()
{
    m_away = false;
    m_state.settings.bootstrap = true;
    later(BootLoaderTime, &FirmwareUpdate::startFirmware);
}

void FirmwareUpdate::startFirmware()
{
    m_away = false;
    if (m_faults.firmwareCorrupts)
        return;
    m_state.settings.bootstrap = false;
    m_state.firmware.program(m_image);
    if (const auto revision = m_state.firmware.programmedRevision()) {
        m_state.settings.major = revision->major;
        m_state.settings.minor = revision->minor;
    }
}

} // namespace vantrel::simulator
