// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QObject>

#include <deque>

namespace vantrel::simulator {

class Clock;
struct Faults;

/// The way out of the tester: frames packets and spoils them as the faults say.
class Outlet : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive the outlet.
    Outlet(Clock &clock, Faults &faults) : m_clock(clock), m_faults(faults) {}

    /// `body` without framing and with single ESC bytes.
    void sendPacket(const QByteArray &body);

    /// The bytes as they stand, without framing and garbage.
    void sendRaw(const QByteArray &bytes);

    /// Forgets what has not been written yet.
    void discard() { m_waiting.clear(); }

signals:
    /// One emission is one write.
    void bytesReady(const QByteArray &bytes);
    void connectionDropped();

private:
    struct Write
    {
        qint64 due; // time of the clock
        QByteArray bytes;
    };

    void writeWhatIsDue();
    void write(const QByteArray &bytes);

    Clock &m_clock;
    Faults &m_faults;
    std::deque<Write> m_waiting;
};

} // namespace vantrel::simulator
