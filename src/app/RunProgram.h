// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

namespace vantrel {

/// The whole program vantrel, from its command line to its exit status; main() returns the value.
/// Does not return when the program is ended by a signal: the process ends by the same signal.
/// `beforeLoop` is called when the windows are shown.
int runProgram(int argc, char **argv, const std::function<void()> &beforeLoop = {});

} // namespace vantrel
