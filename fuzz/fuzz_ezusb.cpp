// SPDX-License-Identifier: GPL-3.0-or-later

// The EZ-USB loader: any HEX file is converted while the link takes its bytes in pieces, fails, or
// the tester answers anything. A download that is begun on a link that stays is ended in the
// tester.
#include "Scenario.h"
#include "link/Deframer.h"

using namespace vantrel;
using fuzz::Window;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    fuzz::WholeConsole subject;
    subject.begin(input.choice());
    subject.open(Window::Converter);
    const EzUsbControls &controls = subject.tools.converter.controls();
    fuzz::Scenario scenario(subject, {Window::Converter});
    scenario.check([&subject, &controls] {
        const bool loads = subject.session().leases.current() == LongExchange::EzUsbLoad;
        fuzz::require(!loads || subject.session().ScriptBusy ||
                          !controls.ConvertProgress.isVisible(),
                      "a conversion keeps the link busy");
        fuzz::require(controls.Loaded.text().size() <= 5, "the count of lines fits its field");
    });
    scenario.run(input);
    subject.requireLog();
    subject.requireRests();
    return 0;
}
