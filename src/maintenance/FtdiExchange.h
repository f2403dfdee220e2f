// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/CancelToken.h"
#include "protocol/DeviceRequests.h"
#include "protocol/SetupPacket.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QCoroTask>

#include <optional>

namespace vantrel {

struct Session;
enum class WaitEnd;

/// The device requests of the FTDI utility: one at a time. A reply is awaited for 10 ticks from the
/// moment when the request is sent; before that, a request waits for as long as DeviceRequests
/// keeps it.
class FtdiExchange final : private DeviceRequestClient
{
public:
    enum class End {
        Answered,  ///< status 0; data() is what the device returned
        Refused,   ///< any other status
        TimedOut,  ///< no reply in time
        LinkLost,  ///< the connection has ended
        Abandoned, ///< abandon() called, or the program is closing
    };

    FtdiExchange(Session &session, DeviceRequests &requests);
    virtual ~FtdiExchange();
    FtdiExchange(const FtdiExchange &) = delete;
    FtdiExchange &operator=(const FtdiExchange &) = delete;

    QCoro::Task<End> request(quint8 address, SetupPacket setup);

    /// Of the last reply; may be shorter than was asked for.
    QByteArray data() const { return m_reply ? m_reply->data : QByteArray(); }

    /// Ends a request that is under way, at once.
    void abandon();

private:
    struct Reply
    {
        quint8 status = 0;
        QByteArray data;
    };

    void onReply(QByteArrayView payload) override;
    void onSending() override { m_sent = true; }

    End endOf(const CancelToken &token, WaitEnd end) const;

    Session &m_session;
    DeviceRequests &m_requests;
    std::optional<Reply> m_reply; // to the request made last
    bool m_sent = false;          // that request
    CancelSource m_abandonment;
};

} // namespace vantrel
