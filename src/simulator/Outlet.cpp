// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Outlet.h"

#include "link/Bytes.h"
#include "link/Wire.h"
#include "simulator/Clock.h"
#include "simulator/Faults.h"

#include <algorithm>

namespace vantrel::simulator {

void Outlet::sendPacket(const QByteArray &body)
{
    QByteArray stuffed = body;
    stuffed.replace(QByteArrayLiteral("\x1B"), QByteArrayLiteral("\x1B\x1B"));

    ByteWriter packet;
    packet.bytes(m_faults.garbage).byte(wire::Esc).byte(wire::Start);
    packet.bytes(stuffed).byte(wire::Esc).byte(wire::End);
    sendRaw(packet.take());
}

void Outlet::sendRaw(const QByteArray &bytes)
{
    qint64 due = m_clock.now() + m_faults.delay;
    if (!m_waiting.empty())
        due = std::max(due, m_waiting.back().due);

    const qsizetype size = m_faults.fragment > 0 ? m_faults.fragment : bytes.size();
    for (qsizetype at = 0; at < bytes.size(); at += size, due += m_faults.fragmentPause) {
        m_waiting.push_back({due, bytes.mid(at, size)});
        if (due > m_clock.now())
            m_clock.after(due - m_clock.now(), [this] { writeWhatIsDue(); });
    }
    writeWhatIsDue();
}

void Outlet::writeWhatIsDue()
{
    while (!m_waiting.empty() && m_waiting.front().due <= m_clock.now()) {
        // taken out first: whoever reads the bytes may make the tester send more at once
        const QByteArray bytes = m_waiting.front().bytes;
        m_waiting.pop_front();
        write(bytes);
    }
}

void Outlet::write(const QByteArray &bytes)
{
    if (!m_faults.dropAfter) {
        emit bytesReady(bytes);
        return;
    }
    const qint64 allowed = std::min<qint64>(*m_faults.dropAfter, bytes.size());
    const bool drops = allowed == *m_faults.dropAfter;
    *m_faults.dropAfter -= allowed;
    if (drops)
        m_faults.dropAfter.reset();
    if (allowed > 0)
        emit bytesReady(bytes.left(allowed));
    if (drops) {
        discard();
        emit connectionDropped();
    }
}

} // namespace vantrel::simulator
