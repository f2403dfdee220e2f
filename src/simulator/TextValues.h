// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <limits>
#include <optional>

namespace vantrel::simulator {

/// A whole number, decimal or with "0x" hexadecimal, up to `most`; nothing for any other text.
std::optional<quint32> parseNumber(const QString &text,
                                   quint32 most = std::numeric_limits<quint32>::max());

/// Pairs of hexadecimal digits; blanks between them do not count.
std::optional<QByteArray> parseHex(const QString &text);

} // namespace vantrel::simulator
