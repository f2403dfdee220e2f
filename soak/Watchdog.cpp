// SPDX-License-Identifier: GPL-3.0-or-later
#include "Watchdog.h"

#include <chrono>
#include <cstdlib>

namespace vantrel::soak {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds Pause{10};

} // namespace

Watchdog::Watchdog(std::function<void()> lastWords)
    : m_lastWords(std::move(lastWords)), m_thread([this] { watch(); })
{
}

Watchdog::~Watchdog()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void Watchdog::watch()
{
    do {
        const Clock::time_point posted = Clock::now();
        QMetaObject::invokeMethod(
            &m_watched,
            [this] {
                const std::lock_guard lock(m_mutex);
                m_answered = true;
                m_changed.notify_all();
            },
            Qt::QueuedConnection);
        std::unique_lock lock(m_mutex);
        const bool ended = m_changed.wait_for(lock, std::chrono::milliseconds(HangTime),
                                              [this] { return m_answered || m_stopped; });
        if (!ended) {
            m_lastWords();
            std::abort();
        }
        m_answered = false;
        const std::chrono::duration<double, std::milli> waited = Clock::now() - posted;
        if (waited.count() > m_longest)
            m_longest = waited.count();
    } while (!sleepUntilStopped());
}

bool Watchdog::sleepUntilStopped()
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, Pause, [this] { return m_stopped; });
}

} // namespace vantrel::soak
