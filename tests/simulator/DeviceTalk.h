// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/BuiltInDevices.h"
#include "simulator/VirtualDevice.h"
#include "support/Hex.h"

#include <memory>

namespace vantrel::test {

inline std::unique_ptr<simulator::VirtualDevice> builtIn(const QByteArray &name)
{
    return simulator::findBuiltInDevice(QString::fromLatin1(name))->make();
}

inline simulator::SetupPacket setup(const QByteArray &bytes)
{
    return simulator::SetupPacket::read(ByteReader(bytes), 1);
}

/// Status byte, then the data, as they would stand in a reply.
inline QByteArray ask(simulator::VirtualDevice &device, const QByteArray &request,
                      const QByteArray &data = {})
{
    const simulator::DeviceAnswer answer = device.request(setup(request), data);
    return ByteWriter{answer.status}.bytes(answer.data).take();
}

} // namespace vantrel::test
