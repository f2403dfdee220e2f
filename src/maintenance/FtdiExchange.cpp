// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiExchange.h"

#include "link/Bytes.h"
#include "link/Utils.h"
#include "link/publicvars.h"

namespace vantrel {

namespace {

constexpr qint32 ReplyTicks = 10;
constexpr auto Ftdi = DeviceRequests::Client::Ftdi;

} // namespace

FtdiExchange::FtdiExchange(Session &session, DeviceRequests &requests)
    : m_session(session), m_requests(requests)
{
    m_requests.setHandler(Ftdi, this);
}

FtdiExchange::~FtdiExchange()
{
    m_requests.abandon(Ftdi);
    m_requests.setHandler(Ftdi, nullptr);
}

void FtdiExchange::abandon()
{
    m_abandonment.cancel();
    m_session.waits.check();
}

QCoro::Task<FtdiExchange::End> FtdiExchange::request(quint8 address, SetupPacket setup)
{
    const CancelToken token(m_session, m_abandonment);
    m_reply.reset();
    m_sent = false;
    m_requests.send(Ftdi, deviceRequest(address, setup));

    const auto sent = [this, &token] { return m_sent || !token.isActive(); };
    WaitEnd end = co_await m_session.waits.until(sent);
    if (end == WaitEnd::Answered && token.isActive()) {
        const auto replied = [this, &token] { return m_reply || !token.isActive(); };
        end = co_await m_session.waits.until(replied, deadlineIn(m_session, ReplyTicks));
    }
    m_requests.abandon(Ftdi);
    co_return endOf(token, end);
}

FtdiExchange::End FtdiExchange::endOf(const CancelToken &token, WaitEnd end) const
{
    if (end == WaitEnd::Closed || !token.isWindowOpen())
        return End::Abandoned;
    if (!token.isLinkKept())
        return End::LinkLost;
    if (!m_reply)
        return End::TimedOut;
    return m_reply->status == 0 ? End::Answered : End::Refused;
}

void FtdiExchange::onReply(QByteArrayView payload)
{
    const ByteReader packet(payload);
    m_reply = Reply{packet.at(2).value_or(0), packet.from(3).toByteArray()};
}

} // namespace vantrel
