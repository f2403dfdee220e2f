// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace vantrel::soak {

/// Posts an event to the thread of the windows again and again, and keeps how long the slowest
/// waited for its turn. When one waits for HangTime, the process is aborted: nothing in that thread
/// can end it any more.
class Watchdog
{
public:
    static constexpr int LongestWait = 1000; ///< ms that an event may wait for its turn
    static constexpr int HangTime = 20'000;  ///< ms

    /// `lastWords` is called, from another thread, before the process is aborted.
    explicit Watchdog(std::function<void()> lastWords);
    ~Watchdog();

    /// ms that the slowest event so far has waited
    double longestWait() const { return m_longest; }

private:
    void watch();
    bool sleepUntilStopped();

    std::function<void()> m_lastWords;
    QObject m_watched; // lives in the thread of the windows
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_answered = false;
    bool m_stopped = false;
    std::atomic<double> m_longest = 0;
    std::thread m_thread;
};

} // namespace vantrel::soak
