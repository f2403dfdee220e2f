// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>

namespace vantrel::test {

/// Lets events happen until the condition holds; false when it still does not after `milliseconds`.
/// Looks after every event, where QTest::qWaitFor() naps: for what is done thousands of times.
template <typename Condition>
bool turnsUntil(Condition holds, int milliseconds = 10'000)
{
    QTimer watchdog;
    watchdog.setSingleShot(true);
    watchdog.start(milliseconds);
    while (!holds()) {
        if (!watchdog.isActive())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

} // namespace vantrel::test
