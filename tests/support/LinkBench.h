// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Utils.h"
#include "link/VornComm.h"
#include "link/publicvars.h"
#include "support/MemoryTransport.h"

#include <memory>

namespace vantrel::test {

/// A session and its link. Both transports end in the test; nothing is open yet.
struct LinkBench
{
    LinkBench()
    {
        InitLink(session);
        link.setReceiveClock([this] { return receiveTime; });
    }

    /// Opens COM1, or the socket.
    void open(bool network = false)
    {
        session.NetworkMode = network;
        link.OpenLink();
    }

    /// One tick as the session sees it: the counter, then the waits.
    void tick(int count = 1)
    {
        for (int i = 0; i < count; ++i) {
            session.TickCount = TickWrap(qint64{session.TickCount} + 1);
            session.waits.check();
        }
    }

    /// What the limit of a turn is measured by; stands still unless the test moves it.
    std::chrono::nanoseconds receiveTime{0};
    Session session;
    MemoryTransport *const serial = new MemoryTransport;
    MemoryTransport *const tcp = new MemoryTransport;
    VornComm link{session, std::unique_ptr<Transport>(serial), std::unique_ptr<Transport>(tcp)};
};

} // namespace vantrel::test
