// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCoroTask>

#include <memory>
#include <optional>
#include <utility>

namespace vantrel {

/// A value that arrives once. One coroutine may `co_await` it; the first resolve() wins and resumes
/// it at once. Copies share the value, so whoever ends the matter first (an answer, a closed
/// window) can resolve it.
template <typename T>
class OneShot
{
public:
    void resolve(T value) const
    {
        if (m_state->value)
            return;
        m_state->value = std::move(value);
        if (const auto waiter = std::exchange(m_state->waiter, nullptr))
            waiter.resume();
    }

    bool await_ready() const noexcept { return m_state->value.has_value(); }
    void await_suspend(std::coroutine_handle<> waiter) const noexcept { m_state->waiter = waiter; }
    T await_resume() const { return *m_state->value; }

private:
    struct State
    {
        std::optional<T> value;
        std::coroutine_handle<> waiter;
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

} // namespace vantrel
