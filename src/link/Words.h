// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/RuntimeError.h"
#include "link/publicvars.h"

#include <limits>

namespace vantrel {

/// The number as a field of a packet. One that does not fit throws RuntimeError "Overflow".
template <typename Field>
Field checked(qint64 value)
{
    if (value < 0 || value > std::numeric_limits<Field>::max())
        throw RuntimeError::overflow();
    return static_cast<Field>(value);
}

/// A word of two bytes of a device or a file. The arithmetic is that of 16-bit signed numbers: a
/// high byte of 0x80 or more throws RuntimeError "Overflow", unless the session's UnsignedWords
/// lifts that.
inline quint16 deviceWord(const Session &session, quint8 low, quint8 high)
{
    if (high >= 0x80 && !session.UnsignedWords)
        throw RuntimeError::overflow();
    return static_cast<quint16>(high << 8U | low);
}

} // namespace vantrel
