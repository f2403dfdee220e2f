// SPDX-License-Identifier: GPL-3.0-or-later

// The flash window: a user reads, loads, programs, enables and closes while packets and failures of
// any kind come. Every command for the flash memory names slot 0, and a name of 8 characters.
#include "Scenario.h"
#include "link/Deframer.h"

using namespace vantrel;
using fuzz::Window;

namespace {

void requireFlashCommands(const QByteArray &sent)
{
    qint16 state = RxStates::Hunting;
    QByteArray body;
    deframe(state, body, sent, [&body] {
        if (!body.startsWith(char{wire::Command::FlashScript}))
            return;
        fuzz::require(body.size() >= 3 && body[1] == '\0', "the command names the slot");
        const auto operation = static_cast<quint8>(body[2]);
        fuzz::require(operation <= wire::FlashOperation::InfoQuery, "the operation is known");
        const bool names = operation == wire::FlashOperation::Program;
        fuzz::require(names || body.size() == 3, "only a script that is stored has a name");
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    fuzz::WholeConsole subject;
    subject.begin(input.choice());
    subject.open(Window::Flash);
    fuzz::Scenario scenario(subject, {Window::Flash});
    scenario.anyScripts = false; // what is sent is then packets only
    scenario.run(input);
    requireFlashCommands(subject.serial->writtenBytes());
    requireFlashCommands(subject.tcp->writtenBytes());
    subject.requireLog();
    subject.requireRests();
    return 0;
}
