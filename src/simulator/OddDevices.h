// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

namespace vantrel::simulator {

class VirtualDevice;

// Devices that each do one thing wrong, or as far from the usual as USB allows. Their vendor ID is
// 0x1D0D, their product ID the address at which they are usually attached.

/// Names three strings, and stalls on every request for one.
std::unique_ptr<VirtualDevice> makeStringStall();
/// At most 11 bytes of a string come, which is in the middle of a character; bLength is greater.
std::unique_ptr<VirtualDevice> makeStringShort();
/// The bLength of each string is 0.
std::unique_ptr<VirtualDevice> makeStringEmpty();
/// Between interface and endpoint, a class descriptor of 9 bytes whose bLength is 0.
std::unique_ptr<VirtualDevice> makeLengthZero();
/// The last descriptor, an endpoint of 7 bytes, has a bLength of 32.
std::unique_ptr<VirtualDevice> makeLengthBeyond();
/// wTotalLength is 64, and 25 bytes come.
std::unique_ptr<VirtualDevice> makeTotalBeyond();
/// wTotalLength is 0x8019, and 25 bytes come.
std::unique_ptr<VirtualDevice> makeTotalHuge();
/// wMaxPacketSize is 0x8008.
std::unique_ptr<VirtualDevice> makePacketHuge();
/// bNumConfigurations is 0, and there are no strings.
std::unique_ptr<VirtualDevice> makeNoConfiguration();
/// bNumConfigurations is 0; the product string has characters beyond Latin-1.
std::unique_ptr<VirtualDevice> makeStringsOnly();
/// 12 interfaces, each with a string and two endpoints: 285 bytes of configuration.
std::unique_ptr<VirtualDevice> makeManyStrings();
/// Only 8 bytes of the device descriptor come.
std::unique_ptr<VirtualDevice> makeDeviceShort();
/// Is there, and never ends a request: it says NAK for as long as it is asked.
std::unique_ptr<VirtualDevice> makeSilent();
/// Nothing wrong: class and vendor descriptors of 2 and 3 bytes, an endpoint of each transfer type,
/// the first 0x88.
std::unique_ptr<VirtualDevice> makeOddLengths();
/// An endpoint descriptor of 4 bytes, which ends before wMaxPacketSize.
std::unique_ptr<VirtualDevice> makeEndpointShort();

} // namespace vantrel::simulator
