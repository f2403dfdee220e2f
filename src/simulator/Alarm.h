// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/Clock.h"

#include <functional>
#include <optional>
#include <utility>

namespace vantrel::simulator {

/// An action of the tester that is due at one time at most: setting the alarm again moves it.
class Alarm
{
public:
    /// `clock` must outlive the alarm.
    Alarm(Clock &clock, std::function<void()> action) : m_clock(clock), m_action(std::move(action))
    {
    }
    Alarm(const Alarm &) = delete;
    Alarm &operator=(const Alarm &) = delete;
    ~Alarm() { stop(); }

    /// The action runs once, after so many milliseconds: never from inside this call.
    void set(qint64 milliseconds)
    {
        stop();
        m_entry = m_clock.after(milliseconds, [this] {
            m_entry.reset();
            m_action();
        });
    }
    void stop()
    {
        if (const auto entry = std::exchange(m_entry, std::nullopt))
            m_clock.cancel(*entry);
    }
    bool isSet() const { return m_entry.has_value(); }

private:
    Clock &m_clock;
    std::function<void()> m_action;
    std::optional<Clock::Entry> m_entry;
};

} // namespace vantrel::simulator
