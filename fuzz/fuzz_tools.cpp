// SPDX-License-Identifier: GPL-3.0-or-later

// All windows of the program at once: a user does anything while anything is received.
#include "Scenario.h"

using namespace vantrel;
using fuzz::Window;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    fuzz::WholeConsole subject;
    subject.begin(input.choice());
    fuzz::Scenario scenario(subject,
                            {Window::Flash, Window::Viewer, Window::Builder, Window::Converter,
                             Window::Loader, Window::Network, Window::Ftdi});
    scenario.run(input);
    subject.requireLog();
    subject.requireRests();
    return 0;
}
