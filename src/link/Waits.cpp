// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Waits.h"

#include <algorithm>

namespace vantrel {

namespace {
constexpr qint32 Never = -1; // no value of the tick counter
}

Waits::Wait::Wait(Waits &waits, std::function<bool()> flag, qint32 deadline) : m_waits(waits)
{
    m_pending.flag = std::move(flag);
    m_pending.deadline = deadline;
}

bool Waits::Wait::await_ready()
{
    return m_waits.hasEnded(m_pending);
}

void Waits::Wait::await_suspend(std::coroutine_handle<> waiter)
{
    m_pending.waiter = waiter;
    m_waits.m_pending.push_back(&m_pending);
}

Waits::Waits(const qint32 &tickCount) : m_tickCount(tickCount)
{
    m_turnTimer.setSingleShot(true);
    m_turnTimer.callOnTimeout([this] {
        ++m_turns;
        check();
    });
}

Waits::Wait Waits::until(std::function<bool()> flag, qint32 deadline)
{
    return {*this, std::move(flag), deadline};
}

Waits::Wait Waits::until(std::function<bool()> flag)
{
    return {*this, std::move(flag), Never};
}

Waits::Wait Waits::oneTurn()
{
    m_turnTimer.start(); // without delay: fires behind what is waiting already
    return {*this, [this, asked = m_turns] { return m_turns != asked; }, Never};
}

bool Waits::hasEnded(Pending &pending) const
{
    if (m_closed)
        pending.end = WaitEnd::Closed;
    else if (pending.flag())
        pending.end = WaitEnd::Answered;
    else if (hasExpired(pending))
        pending.end = WaitEnd::TimedOut;
    else
        return false;
    return true;
}

bool Waits::hasExpired(Pending &pending) const
{
    if (!pending.expiry && pending.deadline == m_tickCount)
        pending.expiry.emplace();
    return pending.expiry && pending.expiry->isInEffect(m_reception ? m_reception() : Reception());
}

void Waits::check()
{
    const auto firstEnded =
        std::stable_partition(m_pending.begin(), m_pending.end(),
                              [this](Pending *pending) { return !hasEnded(*pending); });
    const std::vector<Pending *> ended(firstEnded, m_pending.end());
    m_pending.erase(firstEnded, m_pending.end());

    // A resumed coroutine may begin another wait, or close the program; the list is settled by now.
    for (Pending *pending : ended)
        pending->waiter.resume();
}

void Waits::closeAll()
{
    m_closed = true;
    check();
}

} // namespace vantrel
