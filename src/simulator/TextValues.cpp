// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/TextValues.h"

#include <algorithm>

namespace vantrel::simulator {

std::optional<quint32> parseNumber(const QString &text, quint32 most)
{
    const bool hexadecimal = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    bool ok = false;
    const quint32 value =
        hexadecimal ? QStringView(text).mid(2).toUInt(&ok, 16) : text.toUInt(&ok, 10);
    if (!ok || value > most)
        return std::nullopt;
    return value;
}

std::optional<QByteArray> parseHex(const QString &text)
{
    QByteArray digits = text.toLatin1();
    digits.replace(' ', QByteArray());
    const auto isHexDigit = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
    };
    if (digits.size() % 2 != 0 || !std::all_of(digits.begin(), digits.end(), isHexDigit))
        return std::nullopt;
    return QByteArray::fromHex(digits);
}

} // namespace vantrel::simulator
