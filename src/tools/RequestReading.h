// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "protocol/SetupPacket.h"

#include <QString>

namespace vantrel {

/// The bit of bmRequestType that says which way the data stage goes.
constexpr quint8 DeviceToHost = 0x80;

/// The setup packet in one line of plain words: "GET_DESCRIPTOR (DEVICE), device to host, 18
/// bytes". Names are those of USB 2.0, 9.4; what has no name there is shown as its number, so any
/// packet has a reading. `dataBytes`, the bytes entered for the data stage, are mentioned when a
/// request to the device announces another number.
QString describeRequest(const SetupPacket &setup, int dataBytes);

} // namespace vantrel
