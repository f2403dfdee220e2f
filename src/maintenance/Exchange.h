// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/VornComm.h"
#include "link/publicvars.h"

namespace vantrel {

/// What a long exchange began with: the connection and the opening of its window. Tells, after each
/// wait, whether both are still the same.
class Exchange
{
public:
    /// `openings` changes whenever the window opens or closes. All three outlive the exchange.
    Exchange(const Session &session, const VornComm &link, const quint32 &openings)
        : m_session(session), m_link(link), m_openings(openings), m_losses(session.LinkLosses),
          m_opening(openings)
    {
    }

    /// The connection has not been ended, neither by the user nor by a failure that was told.
    bool linkIsKept() const { return m_session.LinkLosses == m_losses; }
    /// That connection carries bytes.
    bool linkIsThere() const { return linkIsKept() && m_link.isConnected(); }
    bool windowIsThere() const { return m_openings == m_opening; }
    bool goesOn() const { return linkIsThere() && windowIsThere(); }

private:
    const Session &m_session;
    const VornComm &m_link;
    const quint32 &m_openings;
    qint32 m_losses;
    quint32 m_opening;
};

} // namespace vantrel
