// SPDX-License-Identifier: GPL-3.0-or-later

// The connection: a user connects, disconnects and chooses ports and names while the link opens
// late, fails, vanishes and comes back, and the tester answers or is silent.
#include "Scenario.h"

#include <algorithm>

using namespace vantrel;
using fuzz::Window;

namespace {

constexpr qsizetype MostPerSecond = 64; // bytes of queries

/// What the main window shows fits the state of the connection.
void requireControls(fuzz::WholeConsole &subject)
{
    Session &session = subject.session();
    const MainControls &main = session.Main;
    const bool closed = session.LinkState == LinkStates::Closed;
    if (closed) {
        for (const Control *control :
             {&main.VoltSet, &main.VoltEnable, &main.USBReset, &main.ScriptLoad, &main.ScriptRun,
              &main.UtilFM, &main.UtilDR, &main.EZUSB, &main.mnuConfigureNetwork})
            fuzz::require(!control->isEnabled(), "nothing can be sent to a closed connection");
        fuzz::require(!subject.transport().isConnected(), "a closed connection has no link");
    }
    if (main.Connect.isEnabled() && !closed)
        fuzz::require(!main.Comm1.isEnabled(), "the port is fixed while connected");
}

/// A connection that nobody uses sends its queries and no more.
void requireQuiet(fuzz::WholeConsole &subject)
{
    subject.transport().takeWritten();
    subject.tick(10);
    fuzz::require(subject.transport().takeWritten().size() <= MostPerSecond,
                  "a second of polling is a few queries");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    fuzz::WholeConsole subject;
    subject.begin(input.choice());
    fuzz::Scenario scenario(subject, {});
    scenario.check([&subject] { requireControls(subject); });
    scenario.run(input);
    requireQuiet(subject);
    subject.requireLog();
    subject.requireRests();
    return 0;
}
