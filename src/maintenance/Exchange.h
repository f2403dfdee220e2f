// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/publicvars.h"

namespace vantrel {

/// What an exchange with the tester began with: the connection, and the opening of the window that
/// it works for. Tells, after each wait, whether both are still the same.
class Exchange
{
public:
    /// `openings` changes whenever the window opens or closes. Both outlive the exchange.
    Exchange(const Session &session, const quint32 &openings)
        : m_session(session), m_openings(openings), m_losses(session.LinkLosses),
          m_opening(openings)
    {
    }

    /// The connection has not been ended, neither by the user nor by a failure that was told. It
    /// need not carry bytes: see VornComm::isConnected().
    bool linkIsKept() const { return m_session.LinkLosses == m_losses; }
    bool windowIsThere() const { return m_openings == m_opening; }
    bool goesOn() const { return linkIsKept() && windowIsThere(); }

private:
    const Session &m_session;
    const quint32 &m_openings;
    qint32 m_losses;
    quint32 m_opening;
};

} // namespace vantrel
