// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/ErrorBoundary.h"

#include "link/Dialogs.h"
#include "link/RuntimeError.h"

#include <optional>

namespace vantrel {

namespace {

QCoro::Task<> showError(Dialogs &dialogs, QString shortName)
{
    const Message error{shortName, QStringLiteral("Vantrel - Error")};
    co_await dialogs.messageBox(error);
}

QCoro::Task<> guarded(Dialogs &dialogs, std::function<QCoro::Task<>()> action)
{
    std::optional<RuntimeError> escaped;
    try {
        co_await action();
    } catch (const RuntimeError &error) {
        escaped = error;
    }
    if (escaped) {
        co_await showError(dialogs, escaped->shortName());
    }
}

} // namespace

void ErrorBoundary::run(std::function<QCoro::Task<>()> action)
{
    guarded(m_dialogs, std::move(action));
}

bool ErrorBoundary::runNow(const std::function<void()> &action)
{
    try {
        action();
        return true;
    } catch (const RuntimeError &error) {
        report(error);
        return false;
    }
}

void ErrorBoundary::report(const RuntimeError &error)
{
    showError(m_dialogs, error.shortName());
}

} // namespace vantrel
