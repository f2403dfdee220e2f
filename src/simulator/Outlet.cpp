// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Outlet.h"

#include "link/Bytes.h"
#include "link/Wire.h"
#include "simulator/Faults.h"

#include <QScopedValueRollback>

#include <algorithm>

namespace vantrel::simulator {

namespace {

/// Memory that a packet needs while it waits.
qint64 memoryOf(qsizetype size)
{
    constexpr qint64 Overhead = 128;
    return size + Overhead;
}

} // namespace

qint64 Outlet::Packet::lastDue() const
{
    const qsizetype writes = (bytes.size() - written + fragment - 1) / fragment;
    return due + (writes - 1) * pause;
}

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
    if (bytes.isEmpty())
        return;
    const qint64 memory = memoryOf(bytes.size());
    if (!m_limit.accepts(true, m_waitingSize, memory)) {
        if (m_limit.isFirstDrop())
            emit packetsDropped();
        return;
    }
    qint64 due = m_clock.now() + m_faults.delay;
    if (!m_waiting.empty())
        due = std::max(due, m_waiting.back().lastDue());
    const qsizetype fragment = m_faults.fragment > 0 ? m_faults.fragment : bytes.size();
    m_waiting.push_back({bytes, fragment, m_faults.fragmentPause, due});
    if (m_waiting.back().lastDue() > m_clock.now())
        m_waiting.back().bytes.squeeze(); // no spare capacity is kept
    m_waitingSize += memory;
    writeWhatIsDue();
}

void Outlet::discard()
{
    m_waiting.clear();
    m_waitingSize = 0;
    m_limit.reset();
    m_nextDue.stop();
}

void Outlet::writeWhatIsDue()
{
    while (!m_waiting.empty() && m_waiting.front().due <= m_clock.now()) {
        // Settled before it is written: whoever reads the bytes may make the tester send more at
        // once.
        Packet &packet = m_waiting.front();
        const bool atPacketStart = packet.written == 0;
        const QByteArray bytes = packet.bytes.mid(packet.written, packet.fragment);
        packet.written += bytes.size();
        packet.due += packet.pause;
        if (packet.written == packet.bytes.size()) {
            m_waitingSize -= memoryOf(packet.bytes.size());
            m_waiting.pop_front();
        }
        write(bytes, atPacketStart);
    }
    if (!m_waiting.empty())
        m_nextDue.set(std::max<qint64>(0, m_waiting.front().due - m_clock.now()));
}

void Outlet::write(const QByteArray &bytes, bool atPacketStart)
{
    const QScopedValueRollback start(m_atPacketStart, atPacketStart);
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
