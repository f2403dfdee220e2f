// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <functional>

namespace vantrel::simulator {

class Clock;
struct Faults;
struct TesterState;

/// Programs a firmware image that has been accepted, and restarts the tester with it.
///
/// While it programs and starts up the tester is away: it hears nothing and says nothing. Then a
/// Vorn 2 answers for a moment as its boot loader, and from then on as the new firmware; a Vorn 1,
/// which has no boot loader, answers as the new firmware at once. All else is as after power-up,
/// but for the scripts in flash and the configuration memory.
class FirmwareUpdate
{
public:
    // Milliseconds. Together they are well below the five seconds that a console gives the tester.
    static constexpr int ProgrammingTime = 1000;
    static constexpr int StartTime = 500;
    static constexpr int BootLoaderTime = 1000;

    /// `restarted` is called when the tester starts up. All references must outlive the update.
    FirmwareUpdate(Clock &clock, TesterState &state, const Faults &faults,
                   std::function<void()> restarted);

    /// Begins to program when an image has been accepted since the last call; false when not.
    bool begin();
    bool isAway() const { return m_away; }

private:
    void later(int milliseconds, void (FirmwareUpdate::*step)());
    void restart();
    void startBootLoader();
    void startFirmware();

    Clock &m_clock;
    TesterState &m_state;
    const Faults &m_faults;
    std::function<void()> m_restarted;
    QByteArray m_image;
    bool m_away = false;
    int m_turn = 0; // tells the steps of this update from those an earlier one had still to take
};

} // namespace vantrel::simulator
