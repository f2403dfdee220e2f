// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "protocol/DeviceRequests.h"
#include "protocol/RecvDecode.h"
#include "protocol/VornCommands.h"
#include "support/LinkBench.h"

namespace vantrel::test {

/// A session with its link, builders and decoders. COM1 is open.
struct ProtocolBench : LinkBench
{
    ProtocolBench()
    {
        link.setDispatcher([this] { decoder.DispatchResponse(); });
        open();
    }

    /// Hands over one complete packet body.
    void dispatch(const QByteArray &packet)
    {
        session.RxPacket = packet;
        decoder.DispatchResponse();
    }

    QString commandPane() const { return session.Main.CmdWin.text(); }
    QByteArray responses() const { return session.RespText.text(); }
    QByteArray takeResponses()
    {
        const QByteArray text = session.RespText.text();
        session.RespText.clear();
        return text;
    }

    VornCommands commands{session, link};
    DeviceRequests requests{session, link, commands};
    RecvDecode decoder{session, commands, requests};
};

} // namespace vantrel::test
