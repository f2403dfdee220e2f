// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "protocol/SetupPacket.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QCoroTask>

#include <optional>

namespace vantrel {

struct Session;
class Exchange;
class VornCommands;
enum class WaitEnd;

/// The device requests of the FTDI utility: one at a time, each awaited for 10 ticks. FtdiActive is
/// set while an answer is expected, and stays set after a request without one.
///
/// An answer does not say which request it answers, only that the tester answers in order. So
/// - one that comes while no request is under way is late: it clears FtdiActive and is dropped;
/// - while earlier requests are still owed their answers, the first ones to come are theirs and are
///   dropped, even if this request's own is among them because an earlier one got lost: words must
///   never be taken for those of another request;
/// - LateTicks after a wait has ended, its request is owed nothing any more;
/// - an answer without a status is none;
/// - a request that could not be sent is owed nothing, and clears FtdiActive at its deadline;
/// - a lost link owes nothing: no answer can come over the next one.
class FtdiExchange
{
public:
    static constexpr qint32 LateTicks = 50;

    enum class End {
        Answered,  ///< status 0; data() is what the device returned
        Refused,   ///< any other status
        TimedOut,  ///< no answer in time
        Abandoned, ///< link lost, abandon() called, or the program is closing
    };

    FtdiExchange(Session &session, VornCommands &commands);
    ~FtdiExchange();
    FtdiExchange(const FtdiExchange &) = delete;
    FtdiExchange &operator=(const FtdiExchange &) = delete;

    QCoro::Task<End> request(quint8 address, SetupPacket setup);

    /// Of the last answer; may be shorter than was asked for.
    QByteArray data() const { return m_reply ? m_reply->data : QByteArray(); }

    /// Ends a request that is under way, at once.
    void abandon();

    /// Where the answers come in: the whole payload, code byte first. Never throws.
    void FTDIResp(QByteArrayView payload);

private:
    struct Reply
    {
        quint8 status = 0;
        QByteArray data;
    };

    void forgetOldDebts();
    End ended(const Exchange &exchange, WaitEnd end);

    Session &m_session;
    VornCommands &m_commands;
    std::optional<Reply> m_reply; // to the request sent last
    int m_owed = 0;               // answers to earlier requests that may still come
    qint32 m_owedSince = 0;       // tick of the last one that did not come in time
    qint32 m_losses = 0;          // the session's LinkLosses at the last request
    quint32 m_abandonments = 0;
    bool m_waiting = false;
};

} // namespace vantrel
