// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/UsualDevices.h"

#include "simulator/VirtualDevice.h"

namespace vantrel::simulator {

namespace {

/// A mass-storage device: its only interface has the number 0 in every configuration.
class Disk : public VirtualDevice
{
public:
    using VirtualDevice::VirtualDevice;

protected:
    DeviceAnswer classRequest(const SetupPacket &setup, QByteArrayView data) override
    {
        constexpr quint8 GetMaxLun = 0xFE;
        constexpr quint8 BulkOnlyReset = 0xFF;
        constexpr quint8 HighestUnit = 1;

        const bool toStorage = configuration() != 0 && setup.index == 0 && setup.value == 0 &&
                               setup.recipient() == SetupPacket::Recipient::Interface;
        if (toStorage && setup.toHost() && setup.request == GetMaxLun)
            return {RequestStatus::Ok, ByteWriter{HighestUnit}.take()};
        if (toStorage && !setup.toHost() && setup.request == BulkOnlyReset)
            return {};
        return VirtualDevice::classRequest(setup, data);
    }
};

} // namespace

std::unique_ptr<VirtualDevice> makeKeyboard()
{
    return std::make_unique<VirtualDevice>(
        DeviceDescriptors{hexBytes("12 01 1001 00 00 00 08 F305 0700 2003 00 00 00 01"),
                          {hexBytes("09 02 3B00 02 01 00 A0 20"
                                    "09 04 00 00 01 03 01 01 00"
                                    "09 21 0001 21 01 22 3F00"
                                    "07 05 81 03 0800 08"
                                    "09 04 01 00 01 03 00 00 00"
                                    "09 21 0001 00 01 22 6400"
                                    "07 05 82 03 0400 08")},
                          {}});
}

std::unique_ptr<VirtualDevice> makePhone()
{
    return std::make_unique<VirtualDevice>(
        DeviceDescriptors{hexBytes("12 01 0002 00 00 00 40 CE0F 6601 2602 02 03 04 01"),
                          {hexBytes("09 02 2700 01 01 00 C0 FA"
                                    "09 04 00 00 03 FF FF 00 05"
                                    "07 05 81 02 0002 00"
                                    "07 05 02 02 0002 00"
                                    "07 05 82 03 1C00 06")},
                          {{2, QStringLiteral("Northwind Mobile")},
                           {3, QStringLiteral("Handset 600")},
                           {4, QStringLiteral("3510040127716208")},
                           {5, QStringLiteral("Handset Data")}}});
}

std::unique_ptr<VirtualDevice> makeMouse()
{
    return std::make_unique<VirtualDevice>(
        DeviceDescriptors{hexBytes("12 01 1001 00 00 00 08 410C 1B00 0001 00 00 00 01"),
                          {hexBytes("09 02 2200 01 01 00 A0 32"
                                    "09 04 00 00 01 03 01 02 00"
                                    "09 21 1101 00 01 22 3400"
                                    "07 05 81 03 0400 0A")},
                          {}});
}

std::unique_ptr<VirtualDevice> makeDisk()
{
    return std::make_unique<Disk>(
        DeviceDescriptors{hexBytes("12 01 0002 00 00 00 40 0D2E 4000 0101 01 02 03 02"),
                          {hexBytes("09 02 5500 01 01 04 80 FA"
                                    "09 04 00 00 02 08 06 50 05"
                                    "07 05 81 02 0002 00"
                                    "07 05 02 02 0002 00"
                                    "09 04 00 01 04 08 06 62 06"
                                    "07 05 81 02 0002 00"
                                    "04 24 03 00"
                                    "07 05 02 02 0002 00"
                                    "04 24 04 00"
                                    "07 05 83 02 0002 00"
                                    "04 24 02 00"
                                    "07 05 04 02 0002 00"
                                    "04 24 01 00"),
                           hexBytes("09 02 2000 01 02 07 C0 01"
                                    "09 04 00 00 02 08 06 50 08"
                                    "07 05 81 02 0002 00"
                                    "07 05 02 02 0002 00")},
                          {{1, QStringLiteral("N\u00F8rdisk")},
                           {2, QStringLiteral("Disk 40")},
                           {3, QStringLiteral("ND40-0731")},
                           {4, QStringLiteral("Bus power")},
                           {5, QStringLiteral("Bulk only")},
                           {6, QStringLiteral("Streams")},
                           {7, QStringLiteral("Own power")},
                           {8, QStringLiteral("Still bulk")}}});
}

std::unique_ptr<VirtualDevice> makeGateway()
{
    return std::make_unique<VirtualDevice>(
        DeviceDescriptors{hexBytes("12 01 1001 FF 00 00 40 8780 2400 0001 00 01 00 01"),
                          {hexBytes("09 02 2000 01 01 00 80 64"
                                    "09 04 00 00 02 FF 00 00 00"
                                    "07 05 81 02 4000 00"
                                    "07 05 02 02 4000 00")},
                          {{1, QStringLiteral("Gateway 24")}}});
}

} // namespace vantrel::simulator
