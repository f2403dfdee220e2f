// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Clock.h"

#include <algorithm>
#include <utility>

namespace vantrel::simulator {

Clock::Clock()
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] { advance(m_sinceSync.restart()); });
}

qint64 Clock::now() const
{
    return m_now + (m_sinceSync.isValid() ? m_sinceSync.elapsed() : 0);
}

Clock::Entry Clock::after(qint64 milliseconds, std::function<void()> action)
{
    const auto entry = m_due.emplace(now() + milliseconds, std::move(action));
    arm();
    return entry;
}

void Clock::cancel(Entry entry)
{
    m_due.erase(entry);
    arm();
}

void Clock::advance(qint64 milliseconds)
{
    const qint64 target = m_now + milliseconds;
    while (!m_due.empty() && m_due.begin()->first <= target) {
        const auto next = m_due.extract(m_due.begin());
        m_now = std::max(m_now, next.key());
        next.mapped()();
    }
    m_now = target;
    arm();
}

void Clock::followRealTime()
{
    if (m_sinceSync.isValid())
        return;
    m_sinceSync.start();
    arm();
}

void Clock::arm()
{
    if (!m_sinceSync.isValid())
        return;
    if (m_due.empty())
        m_timer.stop();
    else
        m_timer.start(static_cast<int>(std::max<qint64>(0, m_due.begin()->first - now())));
}

} // namespace vantrel::simulator
