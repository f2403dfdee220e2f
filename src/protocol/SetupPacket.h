// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Bytes.h"
#include "link/Words.h"

namespace vantrel {

/// Most bytes of the data stage of a control transfer: wLength has 16 bits.
constexpr qsizetype LargestTransfer = 0xFFFF;

/// The setup packet of a USB control transfer (USB 2.0, 9.3).
struct SetupPacket
{
    quint8 bmRequestType = 0;
    quint8 bRequest = 0;
    quint16 wValue = 0;
    quint16 wIndex = 0;
    quint16 wLength = 0; ///< bytes of the data stage
};

/// What VornCommands::SendDeviceRequest() takes: the address, the setup packet (words low byte
/// first), the data stage of a host-to-device request. An address that is no byte throws
/// RuntimeError "Overflow".
inline QByteArray deviceRequest(qint32 address, const SetupPacket &setup, QByteArrayView data = {})
{
    ByteWriter block{checked<quint8>(address), setup.bmRequestType, setup.bRequest};
    block.wordLowFirst(setup.wValue).wordLowFirst(setup.wIndex).wordLowFirst(setup.wLength);
    return block.bytes(data).take();
}

} // namespace vantrel
