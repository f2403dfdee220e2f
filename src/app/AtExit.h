// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <thread>

namespace vantrel {

/// Calls a function when the process ends by exit() while the object exists. Qt ends a program so
/// whose X server has ended. One object a program.
///
/// The event loop has not returned then, and no destructor of an object of main() is called: the
/// function must not use the windows.
class AtExit
{
public:
    explicit AtExit(std::function<void()> function);
    AtExit(const AtExit &) = delete;
    AtExit &operator=(const AtExit &) = delete;
    ~AtExit();

private:
    static void call();

    std::function<void()> m_function;
    std::thread::id m_thread; ///< that owns what the function uses
};

} // namespace vantrel
