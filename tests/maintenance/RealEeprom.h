// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/Hex.h"

namespace vantrel::test {

/// The EEPROM of an FT232R as read from the chip. Its strings begin at byte 24; its checksum, in
/// the last two bytes, is 0x1309.
inline QByteArray realEeprom()
{
    return "0040030401600006a03208000002980a"
           "a22cce12321105000a03460054004400"
           "49002c0355004d003200330032005200"
           "200055005300420020003c002d003e00"
           "2000530065007200690061006c001203"
           "46005400470058005300590057004a00"
           "02030000000000000000000000000000"
           "00000000000000000000000000000913"_hex;
}

} // namespace vantrel::test
