// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <cstddef>

namespace vantrel::test {

/// Bytes typed as hexadecimal digits; blanks between them do not count: "1b53 0f 1b45"_hex.
inline QByteArray operator""_hex(const char *digits, std::size_t length)
{
    return QByteArray::fromHex(QByteArray(digits, static_cast<qsizetype>(length)));
}

} // namespace vantrel::test
