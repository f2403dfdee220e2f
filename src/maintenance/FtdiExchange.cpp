// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiExchange.h"

#include "link/Utils.h"
#include "link/publicvars.h"
#include "maintenance/Exchange.h"
#include "protocol/VornCommands.h"

namespace vantrel {

namespace {
constexpr qint32 AnswerTicks = 10;
}

FtdiExchange::FtdiExchange(Session &session, VornCommands &commands)
    : m_session(session), m_commands(commands)
{
    m_session.FTDIResp = [this](QByteArrayView payload) { FTDIResp(payload); };
}

FtdiExchange::~FtdiExchange()
{
    m_session.FTDIResp = nullptr;
}

void FtdiExchange::abandon()
{
    ++m_abandonments;
    m_session.waits.check();
}

QCoro::Task<FtdiExchange::End> FtdiExchange::request(quint8 address, SetupPacket setup)
{
    forgetOldDebts();
    const Exchange exchange(m_session, m_abandonments);

    // An answer may come before the send returns.
    m_reply.reset();
    m_waiting = true;
    m_session.FtdiActive = true;
    QByteArray block = deviceRequest(address, setup);
    const bool sent = m_commands.SendDeviceRequest(block);

    const auto over = [this, &exchange] { return !m_session.FtdiActive || !exchange.goesOn(); };
    const WaitEnd end = co_await m_session.waits.until(over, deadlineIn(m_session, AnswerTicks));
    m_waiting = false;
    if (!sent)
        m_session.FtdiActive = false; // nobody was asked, and no answer is owed
    co_return ended(exchange, end);
}

void FtdiExchange::forgetOldDebts()
{
    const qint32 age = m_session.TickCount - m_owedSince;
    const bool recent = age >= 0 && age < LateTicks;
    if (!recent || m_losses != m_session.LinkLosses)
        m_owed = 0;
    m_losses = m_session.LinkLosses;
}

FtdiExchange::End FtdiExchange::ended(const Exchange &exchange, WaitEnd end)
{
    if (!exchange.linkIsKept()) {
        m_session.FtdiActive = false;
        return End::Abandoned;
    }
    if (m_session.FtdiActive) {
        ++m_owed;
        m_owedSince = m_session.TickCount;
    }
    if (end == WaitEnd::Closed || !exchange.windowIsThere())
        return End::Abandoned;
    if (!m_reply)
        return End::TimedOut;
    return m_reply->status == 0 ? End::Answered : End::Refused;
}

void FtdiExchange::FTDIResp(QByteArrayView payload)
{
    const ByteReader packet(payload);
    const std::optional<quint8> status = packet.at(2);
    if (!status)
        return;
    const bool late = m_owed > 0;
    if (late)
        --m_owed;
    else if (m_waiting)
        m_reply = Reply{*status, packet.from(3).toByteArray()};
    if (!late || !m_waiting)
        m_session.FtdiActive = false;
}

} // namespace vantrel
