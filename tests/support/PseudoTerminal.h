// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace vantrel::test {

/// A serial line whose far end is the test.
class PseudoTerminal
{
public:
    PseudoTerminal() : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK))
    {
        if (m_master >= 0 && ::grantpt(m_master) == 0 && ::unlockpt(m_master) == 0)
            m_device = QString::fromLocal8Bit(::ptsname(m_master));
    }
    PseudoTerminal(const PseudoTerminal &) = delete;
    PseudoTerminal &operator=(const PseudoTerminal &) = delete;
    ~PseudoTerminal() { pull(); }

    /// Path of the near end; empty if the system gave none.
    QString device() const { return m_device; }

    /// The adapter is pulled: the device is gone.
    void pull()
    {
        if (m_master >= 0)
            ::close(m_master);
        m_master = -1;
    }

    /// A program has the near end open. Before its first use it counts as open.
    bool isNearEndOpen() const
    {
        pollfd state{m_master, 0, 0};
        return ::poll(&state, 1, 0) == 0 || (state.revents & POLLHUP) == 0;
    }

    /// Everything that has arrived by now.
    QByteArray received()
    {
        char buffer[4096];
        for (ssize_t count = 0; (count = ::read(m_master, buffer, sizeof buffer)) > 0;)
            m_received.append(buffer, count);
        return m_received;
    }

    /// Sends as much as the line takes; returns how much that was.
    qsizetype send(const QByteArray &bytes)
    {
        return ::write(m_master, bytes.constData(), static_cast<size_t>(bytes.size()));
    }

    /// The settings that the near end has chosen.
    termios settings() const
    {
        termios line{};
        ::tcgetattr(m_master, &line);
        return line;
    }

private:
    int m_master = -1;
    QString m_device;
    QByteArray m_received;
};

} // namespace vantrel::test
