// SPDX-License-Identifier: GPL-3.0-or-later

// Entry fields and number texts: any text gives a number or the run-time error "Overflow", and what
// the console renders it reads back.
#include "Input.h"
#include "link/RuntimeError.h"
#include "link/Utils.h"

#include <cmath>
#include <cstring>
#include <optional>

using namespace vantrel;

namespace {

std::optional<qint32> parsed(QString &text)
{
    try {
        return ParseNumber(text);
    } catch (const RuntimeError &error) {
        fuzz::require(error.shortName() == QLatin1String("Overflow"), "the error is Overflow");
        return std::nullopt;
    }
}

void requireReadsBack(qint32 value)
{
    QString decimal = numberText(value);
    fuzz::require(parsed(decimal) == value, "decimal text reads back");
    if (value < 0)
        return;
    QString hexadecimal = QStringLiteral("0x") + Hex8(value);
    fuzz::require(parsed(hexadecimal) == value, "hexadecimal text reads back");
    fuzz::require(HexToLong(Hex4(value)) == value, "short hexadecimal text reads back");
}

void tryText(QString text)
{
    fuzz::require(!std::isnan(numericValue(text)), "a text is always some number");
    const std::optional<qint32> value = parsed(text);
    fuzz::require(!text.startsWith(QLatin1Char(' ')) && !text.endsWith(QLatin1Char(' ')),
                  "the field is trimmed");
    QString trimmed = text;
    fuzz::require(parsed(trimmed) == value && trimmed == text, "reading again changes nothing");
    if (value)
        requireReadsBack(*value);
}

void tryDouble(QByteArrayView bytes)
{
    double value = 0;
    std::memcpy(&value, bytes.data(),
                std::min(sizeof value, static_cast<std::size_t>(bytes.size())));
    try {
        requireReadsBack(roundToLong(value));
    } catch (const RuntimeError &) {
        fuzz::require(!(std::abs(value) < 2147483647.0), "only numbers beyond 32 bits overflow");
    }
    fuzz::require(!numberText(value).isEmpty(), "every number has a text");
    fuzz::require(!fixedText(value, 2).isEmpty(), "every number has a text of two decimals");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArrayView bytes = fuzz::Input(data, size).rest();
    tryText(QString::fromLatin1(bytes));
    tryText(QString::fromUtf8(bytes));
    tryDouble(bytes);
    return 0;
}
