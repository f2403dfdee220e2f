// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/LineInput.h"

#include <array>
#include <cerrno>
#include <utility>

#include <unistd.h>

namespace vantrel::simulator {

LineInput::LineInput(int descriptor) : m_notifier(descriptor, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &LineInput::readWaiting);
}

void LineInput::readWaiting()
{
    // One read a notification: the descriptor may be a blocking one.
    std::array<char, 4096> buffer{};
    const ssize_t count =
        ::read(static_cast<int>(m_notifier.socket()), buffer.data(), buffer.size());
    if (count > 0) {
        m_pending.append(buffer.data(), count);
        emitLines();
    } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
        m_notifier.setEnabled(false);
        if (!m_pending.isEmpty() && !m_dropping)
            emit lineRead(QString::fromUtf8(std::exchange(m_pending, {})));
        emit ended();
    }
}

void LineInput::emitLines()
{
    qsizetype end = 0;
    while ((end = m_pending.indexOf('\n')) >= 0) {
        QByteArray line = m_pending.left(end);
        m_pending.remove(0, end + 1);
        if (std::exchange(m_dropping, false))
            continue;
        if (line.endsWith('\r'))
            line.chop(1);
        emit lineRead(QString::fromUtf8(line));
    }
    if (m_dropping || m_pending.size() > LineLimit) {
        m_pending = QByteArray();
        if (!std::exchange(m_dropping, true))
            emit lineDropped();
    }
}

} // namespace vantrel::simulator
