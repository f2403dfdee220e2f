// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/publicvars.h"

namespace vantrel {

/// Disables the main window for as long as it lives. The window is enabled again when the last of
/// several has gone.
class MainWindowLock
{
public:
    explicit MainWindowLock(Session &session) : m_session(session)
    {
        ++m_session.mainWindowLocks;
        m_session.Main.Window.setEnabled(false);
    }
    ~MainWindowLock()
    {
        if (--m_session.mainWindowLocks == 0)
            m_session.Main.Window.setEnabled(true);
    }
    MainWindowLock(const MainWindowLock &) = delete;
    MainWindowLock &operator=(const MainWindowLock &) = delete;

private:
    Session &m_session;
};

} // namespace vantrel
