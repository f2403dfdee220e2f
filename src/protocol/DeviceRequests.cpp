// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/DeviceRequests.h"

#include "link/Bytes.h"
#include "link/Utils.h"
#include "link/VornComm.h"
#include "link/publicvars.h"
#include "protocol/SetupPacket.h"
#include "protocol/VornCommands.h"

#include <QScopeGuard>

#include <algorithm>
#include <utility>

namespace vantrel {

namespace {

constexpr qint16 WalkTicks = 50;
// Of a payload, from 1
constexpr qsizetype StatusPosition = 2;
// Of a request, from 1: wLength follows the address and six bytes of the setup packet
constexpr qsizetype LengthPosition = 8;

/// How many bytes of data the reply to a request may have.
qsizetype lengthAskedFor(QByteArrayView block)
{
    return ByteReader(block).wordLowFirst(LengthPosition).value_or(LargestTransfer);
}

/// The code, the status and no more than `length` bytes of data.
QByteArrayView cutTo(qsizetype length, QByteArrayView payload)
{
    return payload.first(std::min(payload.size(), StatusPosition + length));
}

} // namespace

DeviceRequests::DeviceRequests(Session &session, VornComm &link, VornCommands &commands)
    : m_session(session), m_link(link), m_commands(commands)
{
    connect(&link, &VornComm::holdEnded, this, &DeviceRequests::sendWaiting);
}

void DeviceRequests::setHandler(Client client, DeviceRequestClient *handler)
{
    m_handlers.at(static_cast<std::size_t>(client)) = handler;
}

DeviceRequestClient *DeviceRequests::handler(Client client) const
{
    return m_handlers.at(static_cast<std::size_t>(client));
}

void DeviceRequests::send(Client client, const QByteArray &block)
{
    enqueue({client, block, false});
}

void DeviceRequests::beginWalk(const QByteArray &block)
{
    enqueue({Client::Viewer, block, true});
}

void DeviceRequests::endWalk()
{
    m_session.DescActive = false;
    m_session.DescTimeout = 0;
    abandon(Client::Viewer);
}

void DeviceRequests::abandon(Client client)
{
    std::erase_if(m_waiting, [client](const Waiting &request) { return request.client == client; });
    for (Outstanding &request : m_outstanding)
        request.abandoned = request.abandoned || request.client == client;
    if (client == Client::Ftdi && !hasOutstanding(client))
        m_session.FtdiActive = false;
    sendWaiting();
}

bool DeviceRequests::isWaiting(Client client) const
{
    return std::ranges::any_of(
        m_waiting, [client](const Waiting &request) { return request.client == client; });
}

bool DeviceRequests::hasOutstanding(Client client) const
{
    return std::ranges::any_of(
        m_outstanding, [client](const Outstanding &request) { return request.client == client; });
}

void DeviceRequests::enqueue(Waiting request)
{
    discardOldConnection();
    expire();
    const bool atOnce = maySend(request) && (m_waiting.empty() || goesAhead(request.client));
    if (atOnce) {
        transmit(request);
        return;
    }
    ShowStatusLine(m_session,
                   QStringLiteral("The device request waits until an earlier exchange has ended"));
    m_waiting.push_back(std::move(request));
}

/// The client is in the middle of an exchange.
bool DeviceRequests::goesAhead(Client client) const
{
    return hasOutstanding(client) || (client == Client::Viewer && m_session.DescActive);
}

bool DeviceRequests::maySend(const Waiting &request) const
{
    const auto isOwn = [&request](const Outstanding &sent) {
        return sent.client == request.client && !sent.abandoned;
    };
    const bool walkOfAnother = m_session.DescActive && request.client != Client::Viewer;
    return !m_link.isHeld() && !walkOfAnother && std::ranges::all_of(m_outstanding, isOwn);
}

void DeviceRequests::transmit(const Waiting &request)
{
    if (request.beginsWalk) {
        m_session.DescActive = true;
        m_session.DescTimeout = WalkTicks;
    } else if (request.client == Client::Ftdi) {
        m_session.FtdiActive = true;
    }
    if (DeviceRequestClient *client = handler(request.client))
        client->onSending();

    const qsizetype length = lengthAskedFor(request.block);
    if (request.client == Client::Viewer)
        m_walkLength = length;
    if (request.block.isEmpty())
        return;
    // Before it is written: a reply may arrive within the call.
    m_outstanding.push_back({request.client, m_session.TickCount, length, false});
    QByteArray block = request.block; // returned with its ESC bytes doubled
    if (!m_commands.SendDeviceRequest(block))
        m_outstanding.pop_back();
}

void DeviceRequests::sendWaiting()
{
    if (std::exchange(m_sending, true))
        return;
    const auto restore = qScopeGuard([this] { m_sending = false; });
    while (!m_waiting.empty() && maySend(m_waiting.front())) {
        const Waiting request = std::move(m_waiting.front());
        m_waiting.pop_front();
        transmit(request);
    }
}

DeviceRequests::Route DeviceRequests::receive(QByteArrayView payload)
{
    if (!ByteReader(payload).at(StatusPosition))
        return Route::Consumed;
    discardOldConnection();
    expire();
    Route route = Route::Consumed;
    if (m_outstanding.empty()) {
        route = deliverUnrequested(payload);
    } else {
        const Outstanding request = m_outstanding.front();
        m_outstanding.pop_front();
        route = deliver(request, payload);
    }
    sendWaiting();
    return route;
}

DeviceRequests::Route DeviceRequests::deliver(const Outstanding &request, QByteArrayView payload)
{
    if (request.client == Client::Ftdi) {
        m_session.FtdiActive = false;
        if (request.abandoned)
            return Route::Consumed;
    }
    DeviceRequestClient *client = handler(request.client);
    // The reply to a retrieval that has ended is shown, as that to any other request.
    if (!client || request.abandoned || (request.client == Client::Viewer && !m_session.DescActive))
        return Route::ResponsePane;
    client->onReply(cutTo(request.length, payload));
    return Route::Consumed;
}

DeviceRequests::Route DeviceRequests::deliverUnrequested(QByteArrayView payload)
{
    DeviceRequestClient *viewer = handler(Client::Viewer);
    if (m_session.DescActive) {
        if (viewer)
            viewer->onReply(cutTo(m_walkLength, payload));
        return Route::Consumed;
    }
    if (m_session.FtdiActive) {
        m_session.FtdiActive = false;
        return Route::Consumed;
    }
    return Route::ResponsePane;
}

void DeviceRequests::expire()
{
    const auto isExpired = [this](Outstanding &request) {
        return ticksBetween(request.sentAt, m_session.TickCount) >= ReplyTicks &&
               request.expiry.isInEffect(m_link.reception());
    };
    while (!m_outstanding.empty() && isExpired(m_outstanding.front()))
        m_outstanding.pop_front();
}

/// No reply comes over a new connection, and nothing was meant for another tester.
void DeviceRequests::discardOldConnection()
{
    const quint32 connection = m_session.connection.count();
    if (std::exchange(m_connection, connection) == connection)
        return;
    m_outstanding.clear();
    m_session.FtdiActive = false;
    const std::deque<Waiting> discarded = std::exchange(m_waiting, {});
    if (discarded.empty())
        return;
    ShowStatusLine(m_session,
                   QStringLiteral("The connection has ended: device requests were not sent"));
    for (const Waiting &request : discarded) {
        if (DeviceRequestClient *client = handler(request.client))
            client->onDiscarded();
    }
}

void DeviceRequests::tick()
{
    discardOldConnection();
    expire();
    countWalkDown();
    sendWaiting();
}

void DeviceRequests::countWalkDown()
{
    if (m_session.DescTimeout != 1) {
        m_walkExpiry = {};
        if (m_session.DescTimeout > 0)
            --m_session.DescTimeout;
    } else if (m_walkExpiry.isInEffect(m_link.reception())) {
        m_session.DescTimeout = 0;
        if (DeviceRequestClient *viewer = handler(Client::Viewer))
            viewer->onTimeout();
    }
}

} // namespace vantrel
