// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/VornComm.h"

#include "link/Deframer.h"
#include "link/Utils.h"
#include "link/publicvars.h"

#include <algorithm>

namespace vantrel {

namespace {
constexpr qint16 LastSearchedRate = 3;
constexpr qsizetype ReadSize = 65'536;
constexpr qint64 BitsPerByte = 10; // 8N1: start bit, 8 data bits, stop bit
constexpr qint64 TicksPerSecond = 10;
constexpr qint32 SerialMarginTicks = 20;
constexpr qint32 TcpProgressTicks = 50;
} // namespace

QByteArray StuffEscapes(QByteArray &body)
{
    return std::exchange(body, {}).replace(wire::Esc, QByteArray(2, wire::Esc));
}

VornComm::VornComm(Session &session, std::unique_ptr<Transport> serial,
                   std::unique_ptr<Transport> tcp)
    : m_session(session), MSComm1(std::move(serial)), tcpClient(std::move(tcp)),
      m_clock([] { return std::chrono::steady_clock::now().time_since_epoch(); }),
      m_readBuffer(ReadSize, Qt::Uninitialized)
{
    connect(MSComm1.get(), &Transport::bytesArrived, this, &VornComm::ReceiveBytes);
    connect(tcpClient.get(), &Transport::bytesArrived, this, &VornComm::ReceiveBytes);
    for (const Transport *transport : {MSComm1.get(), tcpClient.get()})
        connect(transport, &Transport::bytesLeft, this, [this] { m_session.waits.check(); });
    connect(MSComm1.get(), &Transport::vanished, this, &VornComm::serialVanished);
    connect(tcpClient.get(), &Transport::failed, this, &VornComm::onSocketFailure);
    m_nextTurn.setSingleShot(true); // without delay: fires after what is waiting already
    m_nextTurn.callOnTimeout(this, &VornComm::continueReceiving);
    m_session.waits.setReception([this] { return reception(); });
}

VornComm::~VornComm()
{
    m_session.waits.setReception({});
}

void VornComm::setSerialDevice(int number, const QString &device)
{
    m_serialDevices.at(static_cast<size_t>(number - 1)) = device;
}

Transport &VornComm::current() const
{
    return m_session.NetworkMode ? *tcpClient : *MSComm1;
}

std::optional<QString> VornComm::OpenLink()
{
    discardReceived();
    m_held.clear();
    m_holds = 0;
    ++m_openings;
    m_session.connection.cancel();
    m_onLine = 0;
    m_stallTick.reset();
    if (m_session.NetworkMode)
        return tcpClient->open({m_remoteHost, m_remotePort, {}});
    const QString &device = m_serialDevices.at(static_cast<size_t>(m_serialPortNumber - 1));
    return MSComm1->open({device, 0, lineSettings()});
}

void VornComm::CloseLink()
{
    discardReceived();
    current().close();
}

bool VornComm::isConnected() const
{
    return current().isConnected();
}

QByteArray VornComm::lineSettings() const
{
    const qint32 rate = m_session.BaudTable.at(static_cast<size_t>(m_session.BaudIndex));
    return numberText(rate).toLatin1() + ",n,8,1";
}

void VornComm::NextBaudRate()
{
    ++m_session.BaudIndex;
    if (m_session.BaudIndex > LastSearchedRate)
        m_session.BaudIndex = 0;
    MSComm1->setLineSettings(lineSettings());
}

bool VornComm::takesPackets() const
{
    return isConnected() && current().unsent() + m_held.size() < UnsentLimit;
}

bool VornComm::SendPacket(const QByteArray &packet)
{
    if (!takesPackets()) {
        ShowStatusLine(m_session,
                       isConnected() ? QStringLiteral("The tester takes no bytes: nothing was sent")
                                     : QStringLiteral("Not connected: nothing was sent"));
        return false;
    }
    if (m_holds > 0)
        m_held.append(packet);
    else
        write(packet);
    return true;
}

void VornComm::releaseHeld()
{
    const QByteArray held = std::exchange(m_held, {});
    if (!held.isEmpty() && isConnected())
        write(held);
    emit holdEnded();
}

void VornComm::write(const QByteArray &bytes)
{
    m_onLine = bytesOnLine() + bytes.size();
    m_onLineTick = m_session.TickCount;
    current().write(bytes);
}

qint64 VornComm::bytesPerTick() const
{
    const qint64 rate = m_session.BaudTable.at(static_cast<size_t>(m_session.BaudIndex));
    return std::max<qint64>(1, rate / BitsPerByte / TicksPerSecond);
}

qint64 VornComm::bytesOnLine() const
{
    if (m_session.NetworkMode)
        return 0;
    const qint64 ticks = ticksBetween(m_onLineTick, m_session.TickCount);
    return std::max<qint64>(0, m_onLine - ticks * bytesPerTick());
}

/// Less than what the line transmits in one tick counts as transmitted.
qint64 VornComm::bytesLeaving() const
{
    const qint64 queued = current().unsent() + current().queuedInSystem();
    const qint64 onLine = bytesOnLine();
    return onLine < bytesPerTick() ? queued : std::max(queued, onLine);
}

qint32 VornComm::ticksToLeave(qint64 bytes) const
{
    if (m_session.NetworkMode)
        return TcpProgressTicks;
    const qint64 perTick = bytesPerTick();
    return static_cast<qint32>((bytes + perTick - 1) / perTick) + SerialMarginTicks;
}

QCoro::Task<bool> VornComm::bytesAccepted()
{
    if (m_session.NetworkMode)
        return decreasesToZero([] { return qint64{0}; }, [] { return false; });
    return decreasesToZero([this] { return current().unsent(); }, [] { return false; });
}

QCoro::Task<bool> VornComm::bytesSent(std::function<bool()> answered)
{
    const bool sent = co_await decreasesToZero([this] { return bytesLeaving(); }, answered);
    if (isConnected() && answered())
        m_onLine = 0;
    co_return sent;
}

QCoro::Task<bool> VornComm::decreasesToZero(std::function<qint64()> count,
                                            std::function<bool()> ended)
{
    if (m_stallTick == m_session.TickCount)
        co_return false; // the exchange that has just failed is being ended
    while (isConnected() && !ended()) {
        const qint64 before = count();
        if (before == 0)
            break;
        const auto changed = [&] { return !isConnected() || ended() || count() < before; };
        const WaitEnd end =
            co_await m_session.waits.until(changed, deadlineIn(m_session, ticksToLeave(before)));
        if (end == WaitEnd::TimedOut) {
            m_stallTick = m_session.TickCount;
            ShowStatusLine(m_session,
                           QStringLiteral("The tester takes no bytes: the download has ended"));
        }
        if (end != WaitEnd::Answered)
            co_return false;
    }
    co_return isConnected();
}

void VornComm::serialVanished()
{
    if (m_session.ScriptBusy)
        ShowStatusLine(m_session, QStringLiteral("The serial port has been lost"));
    m_session.waits.check();
}

PacketHold::~PacketHold()
{
    if (m_opening == m_link.m_openings && --m_link.m_holds == 0)
        m_link.releaseHeld();
}

/// A noisy line, or another program at the other end, could fill the memory with one.
void VornComm::giveUpEndlessBody()
{
    const bool unfinished =
        m_session.RxState == RxStates::InBody || m_session.RxState == RxStates::EscInBody;
    if (unfinished && m_session.RxPacket.size() > BodyLimit) {
        m_session.RxPacket = QByteArray();
        m_session.RxState = RxStates::Hunting;
    }
}

Reception VornComm::reception() const
{
    const qint64 left = m_unprocessed.size() + current().waiting();
    return {m_processed, m_processed + static_cast<quint64>(left)};
}

void VornComm::ReceiveBytes()
{
    if (!m_nextTurn.isActive())
        receiveInTurn();
}

void VornComm::receiveArrived()
{
    if (!m_nextTurn.isActive())
        current().reportArrived();
}

bool VornComm::readMore()
{
    const qint64 count = current().read(m_readBuffer.data(), m_readBuffer.size());
    m_unprocessed = QByteArrayView(m_readBuffer.constData(), count);
    return count > 0;
}

void VornComm::receiveInTurn()
{
    // What the tester answers within a dispatch is read by the call that is under way.
    if (std::exchange(m_receiving, true))
        return;
    const auto end = m_clock() + TurnLimit;
    bool inTime = true;
    while (inTime && (!m_unprocessed.isEmpty() || readMore())) {
        const quint32 discards = m_discards;
        const qsizetype count = deframe(m_session.RxState, m_session.RxPacket, m_unprocessed, [&] {
            m_dispatch();
            return m_clock() < end && discards == m_discards;
        });
        if (discards == m_discards) {
            m_processed += static_cast<quint64>(count);
            m_unprocessed = m_unprocessed.sliced(count);
        }
        giveUpEndlessBody();
        inTime = m_clock() < end;
    }
    m_receiving = false;
    if (!inTime)
        m_nextTurn.start();
    m_session.waits.check();
}

void VornComm::continueReceiving()
{
    receiveInTurn();
    if (!m_nextTurn.isActive() && m_failure)
        emit socketError(*std::exchange(m_failure, std::nullopt));
}

void VornComm::onSocketFailure(const QString &description)
{
    if (m_nextTurn.isActive())
        m_failure = description;
    else
        emit socketError(description);
}

/// What arrived over one link is not for the next.
void VornComm::discardReceived()
{
    ++m_discards;
    m_unprocessed = {};
    m_nextTurn.stop();
    m_failure.reset();
}

} // namespace vantrel
