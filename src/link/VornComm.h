// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Reception.h"
#include "link/Transport.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QCoroTask>
#include <QObject>
#include <QScopeGuard>
#include <QTimer>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace vantrel {

struct Session;

/// Doubles every ESC of a body. The argument is consumed: it is empty afterwards.
QByteArray StuffEscapes(QByteArray &body);

/// The byte link to the one tester: serial port or TCP, baud search, framing both ways.
class VornComm : public QObject
{
    Q_OBJECT

public:
    static constexpr int SerialPortCount = 4;
    static constexpr quint16 TesterPort = 7;

    VornComm(Session &session, std::unique_ptr<Transport> serial, std::unique_ptr<Transport> tcp);
    ~VornComm() override;

    /// Device behind COM1 to COM4 (`number` 1 to 4): "/dev/ttyS0", "COM1".
    void setSerialDevice(int number, const QString &device);

    // Where the next OpenLink() goes to.
    void setSerialPortNumber(int number) { m_serialPortNumber = number; }
    void setRemoteHost(const QString &host) { m_remoteHost = host; }
    void setRemotePort(quint16 port) { m_remotePort = port; }
    int serialPortNumber() const { return m_serialPortNumber; }
    QString remoteHost() const { return m_remoteHost; }

    /// What runs for each complete packet; its body is in the session's RxPacket.
    void setDispatcher(std::function<void()> dispatcher) { m_dispatch = std::move(dispatcher); }

    /// Opens the transport that NetworkMode selects. Returns why it failed, or nothing. A TCP
    /// connect goes on in the background.
    std::optional<QString> OpenLink();
    void CloseLink();

    /// True when the link is open; false while a TCP connect is under way.
    bool isConnected() const;

    /// How many bytes may wait to leave for a tester that reads slowly or not at all: many times
    /// the largest script, and little enough to be kept in memory.
    static constexpr qint64 UnsentLimit = 1 << 26;

    /// True when SendPacket() would take a packet: the link is open, and fewer than UnsentLimit
    /// bytes wait to leave.
    bool takesPackets() const;

    /// True while a PacketHold keeps back what does not belong to its download.
    bool isHeld() const { return m_holds > 0; }

    /// Moves the serial line to the next of the four searched rates.
    void NextBaudRate();

    /// Writes a framed packet in one call, whole or not at all; during a PacketHold it leaves
    /// behind what is being downloaded. Without an open link, or when the tester has left
    /// UnsentLimit bytes unread, nothing is sent: it says so in the command pane and returns false.
    bool SendPacket(const QByteArray &packet);

    /// Waits until a serial port has accepted all bytes written so far, so that a download is at
    /// most the port's own buffer ahead of the line. True at once on TCP, where nothing is gained
    /// by that. False when nothing was accepted within the time that the line needs plus a margin
    /// of 20 ticks (the command pane reports it), the link was lost or the program closes.
    QCoro::Task<bool> bytesAccepted();

    /// Waits until all bytes written so far have left, before the deadline of their answer starts:
    /// the queues of program and system are empty and, on a serial line, the time has passed that
    /// the line needs at its rate, because not every system reports its queue. Ends early, and
    /// returns true, when `answered` holds, which means that the tester has received everything.
    /// False when nothing left within the time that the line needs plus 20 ticks, or 50 ticks on
    /// TCP (the command pane reports it), the link was lost or the program closes.
    QCoro::Task<bool> bytesSent(std::function<bool()> answered);

    /// The longest body that is waited for, in bytes: a hundred times what any tester sends.
    static constexpr qsizetype BodyLimit = 1 << 24;

    /// The work on received bytes ends after this time in a turn of the event loop, after the
    /// packet that is being processed.
    static constexpr std::chrono::milliseconds TurnLimit{20};

    /// What measures TurnLimit: the time since any fixed point. The steady clock unless set.
    void setReceiveClock(std::function<std::chrono::nanoseconds()> clock)
    {
        m_clock = std::move(clock);
    }

    /// Takes all waiting bytes, dispatches each packet they complete, then lets the waits look.
    /// What TurnLimit leaves is kept in order and continued in the next turns of the event loop; it
    /// is discarded when the link is closed or opened. A packet that has grown beyond BodyLimit
    /// without an end is given up like noise between packets.
    void ReceiveBytes();

    /// Receives what has arrived and was not reported by the event loop yet.
    void receiveArrived();

    /// How far the received bytes have come.
    Reception reception() const;

    /// The local port of the socket; 0 unless it is connected.
    quint16 localPort() const { return tcpClient->localPort(); }

    /// "( blank )rate,n,8,1" of the current BaudIndex.
    QByteArray lineSettings() const;

signals:
    /// The last PacketHold has ended, and what it kept back has been written.
    void holdEnded();

    /// The socket failed, or the other side closed it. Everything that had arrived was processed.
    void socketError(const QString &description);

private:
    friend class PacketHold;

    Transport &current() const;
    bool readMore();
    void receiveInTurn();
    void continueReceiving();
    void discardReceived();
    void onSocketFailure(const QString &description);
    void giveUpEndlessBody();
    void releaseHeld();
    void write(const QByteArray &bytes);
    void serialVanished();
    qint64 bytesPerTick() const;
    qint64 bytesOnLine() const;
    qint64 bytesLeaving() const;
    qint32 ticksToLeave(qint64 bytes) const;
    QCoro::Task<bool> decreasesToZero(std::function<qint64()> count, std::function<bool()> ended);

    Session &m_session;
    std::unique_ptr<Transport> MSComm1;   // serial port
    std::unique_ptr<Transport> tcpClient; // socket
    std::array<QString, SerialPortCount> m_serialDevices;
    int m_serialPortNumber = 1;
    QString m_remoteHost;
    quint16 m_remotePort = TesterPort;
    std::function<void()> m_dispatch;
    std::function<std::chrono::nanoseconds()> m_clock;
    QByteArray m_readBuffer;
    QByteArrayView m_unprocessed;     // what is left of m_readBuffer
    QTimer m_nextTurn;                // runs while something may be left to process
    std::optional<QString> m_failure; // of the socket, reported when nothing is left
    bool m_receiving = false;
    quint32 m_discards = 0;
    quint64 m_processed = 0; // bytes
    QByteArray m_held;       // packets that leave once nothing holds them
    int m_holds = 0;
    quint32 m_openings = 0; // of the link
    // Bytes that the serial line has not transmitted at this tick, calculated from its rate
    qint64 m_onLine = 0;
    qint32 m_onLineTick = 0;
    std::optional<qint32> m_stallTick; // when a wait for bytes to leave last ended in vain
};

/// Keeps back what others send while a script is downloaded in pieces: it would become a step of
/// the script, or would cut one in two. Lives until the download has ended in the tester too. What
/// was kept back is written then. When the link is opened anew, the hold ends and what was kept
/// back is discarded.
class PacketHold
{
public:
    explicit PacketHold(VornComm &link) : m_link(link), m_opening(link.m_openings)
    {
        ++m_link.m_holds;
    }
    ~PacketHold();
    PacketHold(const PacketHold &) = delete;
    PacketHold &operator=(const PacketHold &) = delete;

    /// Runs what sends the download's own packets: they leave at once.
    template <typename Sending>
    auto own(Sending &&sending)
    {
        const int holds = std::exchange(m_link.m_holds, 0);
        const auto restore = qScopeGuard([this, holds] { m_link.m_holds = holds; });
        return sending();
    }

private:
    VornComm &m_link;
    quint32 m_opening; // of the link, for which this holds
};

} // namespace vantrel
