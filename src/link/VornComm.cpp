// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/VornComm.h"

#include "link/Deframer.h"
#include "link/Utils.h"
#include "link/publicvars.h"

namespace vantrel {

namespace {
constexpr qint16 LastSearchedRate = 3;
constexpr qsizetype ReadSize = 65'536;
} // namespace

QByteArray StuffEscapes(QByteArray &body)
{
    return std::exchange(body, {}).replace(wire::Esc, QByteArray(2, wire::Esc));
}

VornComm::VornComm(Session &session, std::unique_ptr<Transport> serial,
                   std::unique_ptr<Transport> tcp)
    : m_session(session), MSComm1(std::move(serial)), tcpClient(std::move(tcp)),
      m_readBuffer(ReadSize, Qt::Uninitialized)
{
    connect(MSComm1.get(), &Transport::bytesArrived, this, &VornComm::ReceiveBytes);
    connect(tcpClient.get(), &Transport::bytesArrived, this, &VornComm::ReceiveBytes);
    connect(tcpClient.get(), &Transport::failed, this, &VornComm::socketError);
}

VornComm::~VornComm() = default;

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
    m_held.clear();
    m_holds = 0;
    ++m_openings;
    m_session.connection.cancel();
    if (m_session.NetworkMode)
        return tcpClient->open({m_remoteHost, m_remotePort, {}});
    const QString &device = m_serialDevices.at(static_cast<size_t>(m_serialPortNumber - 1));
    return MSComm1->open({device, 0, lineSettings()});
}

void VornComm::CloseLink()
{
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
        current().write(packet);
    return true;
}

void VornComm::releaseHeld()
{
    const QByteArray held = std::exchange(m_held, {});
    if (!held.isEmpty() && isConnected())
        current().write(held);
    emit holdEnded();
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

void VornComm::ReceiveBytes()
{
    while (const qint64 count = current().read(m_readBuffer.data(), m_readBuffer.size())) {
        deframe(m_session.RxState, m_session.RxPacket,
                QByteArrayView(m_readBuffer.constData(), count), [this] { m_dispatch(); });
        giveUpEndlessBody();
    }
    m_session.waits.check();
}

} // namespace vantrel
