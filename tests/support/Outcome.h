// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/RuntimeError.h"

#include <QCoroTask>
#include <QString>

#include <optional>
#include <type_traits>

namespace vantrel::test {

/// How a task ended, as far as it has.
template <typename T>
struct Outcome
{
    std::optional<T> value;
    QString error; ///< short name of the run-time error that escaped
};

/// Keeps the end of the task in `outcome`, which must outlive it.
template <typename T>
QCoro::Task<> settle(QCoro::Task<T> task, Outcome<T> &outcome)
{
    try {
        outcome.value = co_await task;
    } catch (const RuntimeError &error) {
        outcome.error = error.shortName();
    }
}

/// The end of a task that nothing holds up.
template <typename T>
Outcome<T> outcomeOf(QCoro::Task<T> task)
{
    Outcome<T> outcome;
    settle(std::move(task), outcome);
    return outcome;
}

} // namespace vantrel::test
