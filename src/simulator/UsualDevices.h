// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

namespace vantrel::simulator {

class VirtualDevice;

// Devices without faults.

/// Low speed, two interfaces for human input, no strings, remote wakeup.
std::unique_ptr<VirtualDevice> makeKeyboard();
/// High speed, powers itself, four strings.
std::unique_ptr<VirtualDevice> makePhone();
/// Low speed, one interface for human input, no strings, remote wakeup.
std::unique_ptr<VirtualDevice> makeMouse();
/// High speed, mass storage of two units. The first configuration draws from the bus and has an
/// alternate setting, the second powers itself; everything that can have a string has one.
/// Knows GET_MAX_LUN and the bulk-only reset, once configured.
std::unique_ptr<VirtualDevice> makeDisk();
/// Full speed, with a vendor ID (0x8087) that does not fit a signed word.
std::unique_ptr<VirtualDevice> makeGateway();

} // namespace vantrel::simulator
