// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/PairOperations.h"

#include <QByteArray>
#include <QList>
#include <QMetaType>

namespace vantrel::test {

/// What happens to the second of two operations that is started while the first is under way.
enum class Second : char {
    Unavailable = '-', ///< it cannot be started: the control is disabled
    Refused = 'x',     ///< a box names the first one; nothing is sent; it can be done afterwards
    Waits = 'w',       ///< it is sent in one piece, after an exchange of the first one
    Both = '+',        ///< both go on
    Replaces = 'r',    ///< it ends the first one
};

/// A cell of the matrix. Both operations succeed as far as `second` lets them, unless stated.
struct Pair
{
    int first = 0; ///< index of pairOperations()
    int second = 0;
    Second effect = Second::Both;
    QString firstOutcome;
    QString secondOutcome;
};

/// Runs a cell with QVERIFY and QCOMPARE.
void checkPair(const Pair &pair);

} // namespace vantrel::test

Q_DECLARE_METATYPE(vantrel::test::Pair)
