// SPDX-License-Identifier: GPL-3.0-or-later

// Any answer to the read of the network settings is shown and written back: the same bytes, zeros
// for those that did not come.
#include "Input.h"
#include "link/ErrorBoundary.h"
#include "maintenance/NetworkConfig.h"
#include "support/FakeDialogs.h"
#include "support/ProtocolBench.h"

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray record = fuzz::Input(data, size).rest().toByteArray();
    test::ProtocolBench bench;
    test::FakeDialogs dialogs;
    ErrorBoundary errors(dialogs);
    NetworkConfig config(bench.session, bench.commands, dialogs, errors);

    config.opened();
    QByteArray stuffed = "\xB6" + record;
    bench.serial->receive(bench.session.PacketStart + StuffEscapes(stuffed) +
                          bench.session.PacketEnd);
    bench.serial->takeWritten();
    for (int i = 0; i < NetworkRecord::Size; ++i) {
        const QString text = config.controls().box(i).text();
        fuzz::require(text.isEmpty() == (i >= record.size()), "bytes that came are shown");
        fuzz::require(text.size() <= 3, "a byte's text is short");
    }
    for (int i = 0; i < 4; ++i) {
        config.ipLeft(i);
        config.gatewayLeft(i);
    }
    for (int i = 0; i < 6; ++i)
        config.macLeft(i);
    config.updateClicked();

    QByteArray body = "\x35" + QByteArray(1, '\0') + "\x10" +
                      record.first(std::min<qsizetype>(18, record.size()));
    body.resize(21, '\0');
    fuzz::require(bench.serial->takeWritten() ==
                      bench.session.PacketStart + StuffEscapes(body) + bench.session.PacketEnd,
                  "the record is written back as it came");
    fuzz::require(dialogs.messages.isEmpty(), "nothing is wrong with any record");
    bench.session.waits.closeAll();
    return 0;
}
