// SPDX-License-Identifier: GPL-3.0-or-later

// The look at a script before it is sent: what it finds odd lies within the script, and a script in
// which it finds nothing is a row of packets that a tester reads to the last byte.
#include "Input.h"
#include "link/Deframer.h"
#include "protocol/ScriptFile.h"

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArrayView script(data, static_cast<qsizetype>(size));
    if (const auto oddity = oddityOfScript(script)) {
        const qsizetype offset = oddity->section(QLatin1Char(' '), -1).toLongLong();
        fuzz::require(offset >= 0 && offset <= script.size(), "the oddity lies in the script");
        return 0;
    }
    qint16 state = RxStates::Hunting;
    QByteArray body;
    bool ended = false;
    deframe(state, body, script,
            [&] { ended = body == QByteArray(1, wire::Command::ScriptDownloadEnd); });
    fuzz::require(state == RxStates::Hunting, "the last packet is whole");
    fuzz::require(ended, "the last packet is the end of the script");
    return 0;
}
