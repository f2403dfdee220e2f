// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Reception.h"

#include <QCoroTask>
#include <QTimer>

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace vantrel {

/// How a wait ended.
enum class WaitEnd {
    Answered, ///< its flag was set
    TimedOut, ///< the tick counter equalled its deadline
    Closed,   ///< the program is closing
};

/// The wait primitive: `co_await waits.until(flag, deadline)`.
///
/// A deadline is a value of the tick counter (100 ms a tick, see TickWrap()) and is met by
/// equality. check() runs after every tick and after every read of received bytes, so no tick is
/// missed and a wait whose answer has come goes on at once, whatever other waits are pending. A
/// wait whose deadline is met goes on until what had arrived by then was processed: see Expiry.
class Waits
{
    struct Pending
    {
        std::function<bool()> flag;
        qint32 deadline = 0;
        WaitEnd end = WaitEnd::Closed;
        std::optional<Expiry> expiry; // of the deadline, once it is met
        std::coroutine_handle<> waiter;
    };

public:
    /// The awaitable that until() returns.
    class Wait
    {
    public:
        Wait(Waits &waits, std::function<bool()> flag, qint32 deadline);
        bool await_ready();
        void await_suspend(std::coroutine_handle<> waiter);
        WaitEnd await_resume() const noexcept { return m_pending.end; }

    private:
        Waits &m_waits;
        Pending m_pending;
    };

    /// `tickCount` is the session's counter; it must outlive this object.
    explicit Waits(const qint32 &tickCount);
    Waits(const Waits &) = delete;
    Waits &operator=(const Waits &) = delete;
    ~Waits() { closeAll(); }

    Wait until(std::function<bool()> flag, qint32 deadline);

    /// The same without a deadline. For what is certain to end by itself.
    Wait until(std::function<bool()> flag);

    /// Lets the event loop take one turn: whatever has arrived is handled before the awaiting
    /// coroutine goes on. Answered, or Closed when the program is closing.
    Wait oneTurn();

    /// Where the state of the reception comes from; unless set, everything counts as processed.
    void setReception(std::function<Reception()> reception) { m_reception = std::move(reception); }

    /// Resumes every wait that has come to its end.
    void check();

    /// Ends every wait with Closed; later ones end so at once.
    void closeAll();

    int pendingCount() const { return static_cast<int>(m_pending.size()); }

private:
    bool hasEnded(Pending &pending) const;
    bool hasExpired(Pending &pending) const;

    std::function<Reception()> m_reception;
    QTimer m_turnTimer;
    quint64 m_turns = 0; // of the event loop, of those that were asked for
    const qint32 &m_tickCount;
    std::vector<Pending *> m_pending; // each lives in its waiting coroutine's frame
    bool m_closed = false;
};

} // namespace vantrel
