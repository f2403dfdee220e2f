// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <memory>

namespace vantrel {

struct Session;

/// One end of a CancelToken: the connection, or a window that opens and closes.
class CancelSource
{
public:
    /// Cancels every token that was made before.
    void cancel() { ++*m_count; }

    /// Changes with each cancel().
    quint32 count() const { return *m_count; }

private:
    friend class CancelToken;

    std::shared_ptr<quint32> m_count = std::make_shared<quint32>(0); // may outlive its window
};

/// States whether an exchange that waits is still to go on: the connection that it began with has
/// not ended, and neither has the opening of the window that it works for. Checked after each wait.
///
/// The connection ends when the user disconnects, when a failure is reported, and when the link is
/// opened anew. It need not carry bytes: see VornComm::isConnected().
class CancelToken
{
public:
    /// For an exchange without a window.
    explicit CancelToken(const Session &session);
    CancelToken(const Session &session, const CancelSource &window);

    bool isLinkKept() const { return *m_connection == m_connectionCount; }
    bool isWindowOpen() const { return !m_window || *m_window == m_windowCount; }
    bool isActive() const { return isLinkKept() && isWindowOpen(); }

private:
    std::shared_ptr<const quint32> m_connection;
    std::shared_ptr<const quint32> m_window; // null without a window
    quint32 m_connectionCount = 0;
    quint32 m_windowCount = 0;
};

} // namespace vantrel
