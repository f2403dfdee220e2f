// SPDX-License-Identifier: GPL-3.0-or-later

// Any bytes as a HEX file, through the line reader and the record fields to the device requests
// that a conversion sends.
#include "Input.h"
#include "maintenance/EzUsbConverter.h"
#include "maintenance/IntelHex.h"

using namespace vantrel;

namespace {

constexpr qsizetype SetupLength = 9; // device address and setup packet

void requireRequest(const HexRecord &record, quint8 device)
{
    const QByteArray data = record.data();
    fuzz::require(data.size() == record.length(), "a record has as many bytes as it says");
    const QByteArray request = ezUsbWriteRequest(device, record.address(), data);
    fuzz::require(request.size() == SetupLength + data.size(), "the request holds all of them");
    fuzz::require(static_cast<quint8>(request[0]) == device, "it goes to the device");
    const auto low = static_cast<quint8>(request[3]);
    const auto high = static_cast<quint8>(request[4]);
    fuzz::require((high << 8U | low) == record.address(), "it carries the record's address");
    fuzz::require(static_cast<quint8>(request[7]) == record.length(), "and its length");
    fuzz::require(request.endsWith(data), "and its data");
}

/// The lines in order, each where the reader says.
void requireLine(const QByteArray &text, const QString &line, qsizetype from, qsizetype to)
{
    fuzz::require(to > from && to <= text.size(), "every line takes the reader on");
    const qsizetype lineEnd = to - from - line.size();
    fuzz::require(lineEnd >= 0 && lineEnd <= 2, "a line end has two bytes at most");
    fuzz::require(lineEnd > 0 || to == text.size(), "only the last line may lack its end");
    fuzz::require(text.mid(from, line.size()) == line.toLatin1(), "every byte is a character");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    const quint8 device = input.choice();
    const QByteArray text = input.rest().toByteArray();

    TextLines lines(text);
    while (!lines.atEnd()) {
        const qsizetype from = lines.position();
        const QString line = lines.next();
        requireLine(text, line, from, lines.position());
        fuzz::require(!line.contains(QLatin1Char('\r')) && !line.contains(QLatin1Char('\n')),
                      "no line holds a line end");
        const HexRecord record(line);
        fuzz::require(record.hasMark() == line.startsWith(QLatin1Char(':')), "the mark is a colon");
        requireRequest(record, device);
    }
    return 0;
}
