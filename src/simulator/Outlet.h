// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/Alarm.h"
#include "simulator/SendLimit.h"

#include <QByteArray>
#include <QObject>

#include <deque>

namespace vantrel::simulator {

struct Faults;

/// The way out of the tester: frames packets and spoils them as the faults say. What a delay or a
/// pause holds back is bounded by SendLimit::Most; packets beyond it are dropped whole.
class Outlet : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive the outlet.
    Outlet(Clock &clock, Faults &faults)
        : m_clock(clock), m_faults(faults), m_nextDue(clock, [this] { writeWhatIsDue(); })
    {
    }

    /// `body` without framing and with single ESC bytes.
    void sendPacket(const QByteArray &body);

    /// The bytes as they stand, without framing and garbage.
    void sendRaw(const QByteArray &bytes);

    /// Forgets what has not been written yet.
    void discard();

    /// During bytesReady(): the bytes are the first of a packet, not a later fragment.
    bool isAtPacketStart() const { return m_atPacketStart; }

signals:
    /// One emission is one write.
    void bytesReady(const QByteArray &bytes);
    void connectionDropped();
    /// A packet was dropped for the first time since discard().
    void packetsDropped();

private:
    struct Packet
    {
        QByteArray bytes;
        qsizetype fragment; // bytes a write
        qint64 pause;       // between the writes
        qint64 due;         // of the next write, time of the clock
        qsizetype written = 0;

        qint64 lastDue() const;
    };

    void writeWhatIsDue();
    void write(const QByteArray &bytes, bool atPacketStart);

    Clock &m_clock;
    Faults &m_faults;
    Alarm m_nextDue;
    std::deque<Packet> m_waiting;
    qint64 m_waitingSize = 0; // bytes that m_waiting needs
    SendLimit m_limit;
    bool m_atPacketStart = true;
};

} // namespace vantrel::simulator
