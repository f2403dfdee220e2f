// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Reception.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QObject>

#include <array>
#include <deque>

namespace vantrel {

struct Session;
class VornCommands;
class VornComm;

/// What a client of DeviceRequests implements. Nothing here may throw.
class DeviceRequestClient
{
public:
    DeviceRequestClient() = default;
    DeviceRequestClient(const DeviceRequestClient &) = delete;
    DeviceRequestClient &operator=(const DeviceRequestClient &) = delete;

    /// The reply to a request of this client: the whole payload, code byte first, with a status and
    /// at most as many bytes of data as were asked for. Valid during the call only.
    virtual void onReply(QByteArrayView payload) = 0;

    /// A request of this client is about to be written. Its time-out starts now.
    virtual void onSending() {}

    /// The requests of this client that waited are discarded: the connection has ended.
    virtual void onDiscarded() {}

    /// The descriptor retrieval has lasted too long.
    virtual void onTimeout() {}

protected:
    ~DeviceRequestClient() = default;
};

/// Owns all device requests of the console: when each is sent, and which client gets the reply.
///
/// A reply does not state which request it answers; the tester replies in the order of the
/// requests. Therefore
/// - a request waits while a reply to another client is outstanding, while a descriptor retrieval
///   of another client is under way, and during a PacketHold; the requests that wait are sent in
///   order. What a client sends during its own exchange is sent at once;
/// - each reply goes to the client of the oldest request without one;
/// - a reply to a request that its client has given up is discarded, and until it has come, or
///   ReplyTicks have passed since the request, no other request is sent: a reply is never assigned
///   to the wrong request;
/// - a new connection starts without outstanding replies;
/// - data beyond what was asked for (wLength) is not part of the reply that a client gets.
///
/// Owns DescActive and FtdiActive too. A reply without an outstanding request goes where they say.
class DeviceRequests : public QObject
{
    Q_OBJECT

public:
    /// From a request to the time, in ticks, when its reply can no longer come.
    static constexpr qint32 ReplyTicks = 60;

    enum class Client : quint8 {
        Viewer,  ///< DescActive during its retrieval
        Ftdi,    ///< FtdiActive from a request to its reply
        Builder, ///< replies go to the response pane
    };
    static constexpr std::size_t ClientCount = 3;

    /// Where a reply belongs that is not for a client.
    enum class Route { Consumed, ResponsePane };

    DeviceRequests(Session &session, VornComm &link, VornCommands &commands);

    /// `handler` must outlive this object or be unset with nullptr. Builder needs none.
    void setHandler(Client client, DeviceRequestClient *handler);

    /// Sends a request, now or later. `block` is as VornCommands::SendDeviceRequest() takes it. One
    /// that cannot be sent (link not open, backlog full) has no reply.
    void send(Client client, const QByteArray &block);

    /// Begins a descriptor retrieval with its first request; other clients wait until endWalk().
    /// When the request is sent, DescActive is set and DescTimeout starts. With an empty `block`
    /// nothing is sent.
    void beginWalk(const QByteArray &block);
    /// Ends it: DescActive is cleared, DescTimeout is 0.
    void endWalk();

    /// The client no longer waits for replies to what it has sent; what still waits is discarded.
    /// FtdiActive stays set until the reply comes, if one can come.
    void abandon(Client client);

    /// A reply has arrived: the whole payload.
    Route receive(QByteArrayView payload);

    /// The connection has ended: no reply comes any more, and what waits is not sent.
    void endConnection() { discardOldConnection(); }

    /// One tick of 100 ms. Counts DescTimeout down.
    void tick();

    /// True while a request of the client waits to be sent.
    bool isWaiting(Client client) const;

private:
    struct Waiting
    {
        Client client;
        QByteArray block;
        bool beginsWalk;
    };
    /// A request that was sent, without a reply yet.
    struct Outstanding
    {
        Client client;
        qint32 sentAt;    // tick
        qsizetype length; // bytes of data asked for
        bool abandoned;   // the reply is for nobody
        Expiry expiry = {};
    };

    DeviceRequestClient *handler(Client client) const;
    bool maySend(const Waiting &request) const;
    bool goesAhead(Client client) const;
    bool hasOutstanding(Client client) const;
    void enqueue(Waiting request);
    void transmit(const Waiting &request);
    void sendWaiting();
    void discardOldConnection();
    void expire();
    void countWalkDown();
    Route deliver(const Outstanding &request, QByteArrayView payload);
    Route deliverUnrequested(QByteArrayView payload);

    Session &m_session;
    VornComm &m_link;
    VornCommands &m_commands;
    std::array<DeviceRequestClient *, ClientCount> m_handlers{};
    std::deque<Waiting> m_waiting;
    std::deque<Outstanding> m_outstanding;
    qsizetype m_walkLength = 0; // bytes of data asked for last by the viewer
    Expiry m_walkExpiry;
    quint32 m_connection = 0; // count of the session's, when the requests above were made
    bool m_sending = false;
};

} // namespace vantrel
