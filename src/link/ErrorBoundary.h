// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCoroTask>

#include <functional>

namespace vantrel {

class Dialogs;
class RuntimeError;

/// The one place where run-time errors end: every user action and event runs inside run().
class ErrorBoundary
{
public:
    explicit ErrorBoundary(Dialogs &dialogs) : m_dialogs(dialogs) {}

    /// Runs the action to its end, over any waits in it. An escaping RuntimeError shows its box.
    void run(std::function<QCoro::Task<>()> action);

    /// The same for an action without waits. False when an error has ended it.
    bool runNow(const std::function<void()> &action);

    /// Shows the error's box (title "Vantrel - Error") without waiting for its answer. For places
    /// that must not throw, such as the receive path.
    void report(const RuntimeError &error);

private:
    Dialogs &m_dialogs;
};

} // namespace vantrel
