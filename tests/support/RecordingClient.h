// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "protocol/DeviceRequests.h"

#include <QList>

#include <functional>

namespace vantrel::test {

/// A client of DeviceRequests that records what it receives.
struct RecordingClient final : DeviceRequestClient
{
    void onReply(QByteArrayView payload) override
    {
        replies.append(payload.toByteArray());
        if (replied)
            replied();
    }
    void onSending() override { ++sent; }
    void onDiscarded() override { ++discarded; }
    void onTimeout() override
    {
        ++timeouts;
        if (timedOut)
            timedOut();
    }

    QList<QByteArray> replies;
    int sent = 0;
    int discarded = 0;
    int timeouts = 0;
    std::function<void()> replied;  ///< called with each reply
    std::function<void()> timedOut; ///< called with each time-out
};

} // namespace vantrel::test
