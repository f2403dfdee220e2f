// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/CancelToken.h"

#include "link/publicvars.h"

namespace vantrel {

CancelToken::CancelToken(const Session &session)
    : m_connection(session.connection.m_count), m_connectionCount(session.connection.count())
{
}

CancelToken::CancelToken(const Session &session, const CancelSource &window) : CancelToken(session)
{
    m_window = window.m_count;
    m_windowCount = window.count();
}

} // namespace vantrel
