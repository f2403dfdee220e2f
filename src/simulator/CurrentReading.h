// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

namespace vantrel::simulator {

/// How a tester's measuring circuit reports a current: the data of the current reply.
///
/// - Vorn 1: two bytes, 64 mA and 0.25 mA units, 2.0 mA too high; at most 16383.75 mA.
/// - Any other: a signed count of 2.9593 microamperes, four bytes, most significant first.
QByteArray currentReading(int model, double amperes);

} // namespace vantrel::simulator
