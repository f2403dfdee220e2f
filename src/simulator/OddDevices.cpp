// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/OddDevices.h"

#include "simulator/VirtualDevice.h"

namespace vantrel::simulator {

namespace {

/// Spoils the descriptors of one type on their way out; the table of languages stays whole.
class SpoiledDevice : public VirtualDevice
{
public:
    using Spoil = void (*)(QByteArray &descriptor);

    SpoiledDevice(DeviceDescriptors descriptors, quint8 type, Spoil spoil)
        : VirtualDevice(std::move(descriptors)), m_type(type), m_spoil(spoil)
    {
    }

protected:
    std::optional<QByteArray> descriptor(const SetupPacket &setup) const override
    {
        std::optional<QByteArray> found = VirtualDevice::descriptor(setup);
        const bool isLanguages = m_type == DescriptorType::String && setup.valueLow() == 0;
        if (found && setup.valueHigh() == m_type && !isLanguages)
            m_spoil(*found);
        return found;
    }

private:
    quint8 m_type;
    Spoil m_spoil;
};

class SilentDevice : public VirtualDevice
{
public:
    using VirtualDevice::VirtualDevice;

protected:
    DeviceAnswer standardRequest(const SetupPacket & /*setup*/, QByteArrayView /*data*/) override
    {
        return DeviceAnswer::never();
    }
    DeviceAnswer classRequest(const SetupPacket & /*setup*/, QByteArrayView /*data*/) override
    {
        return DeviceAnswer::never();
    }
    DeviceAnswer vendorRequest(const SetupPacket & /*setup*/, QByteArrayView /*data*/) override
    {
        return DeviceAnswer::never();
    }
};

/// Of one interface with one endpoint: 25 bytes, nothing wrong.
QByteArray plainConfiguration()
{
    return hexBytes("09 02 1900 01 01 00 80 32"
                    "09 04 00 00 01 FF 00 00 00"
                    "07 05 81 03 0800 0A");
}

std::unique_ptr<VirtualDevice> withConfiguration(const char *device, const char *configuration)
{
    return std::make_unique<VirtualDevice>(
        DeviceDescriptors{hexBytes(device), {hexBytes(configuration)}, {}});
}

} // namespace

std::unique_ptr<VirtualDevice> makeStringStall()
{
    return std::make_unique<VirtualDevice>(DeviceDescriptors{
        hexBytes("12 01 1001 00 00 00 40 0D1D 2000 0001 01 02 03 01"), {plainConfiguration()}, {}});
}

std::unique_ptr<VirtualDevice> makeStringShort()
{
    return std::make_unique<SpoiledDevice>(
        DeviceDescriptors{hexBytes("12 01 1001 00 00 00 40 0D1D 2100 0001 01 02 00 01"),
                          {plainConfiguration()},
                          {{1, QStringLiteral("Cut off early")}, {2, QStringLiteral("Too long")}}},
        DescriptorType::String, [](QByteArray &string) { string.truncate(11); });
}

std::unique_ptr<VirtualDevice> makeStringEmpty()
{
    return std::make_unique<SpoiledDevice>(
        DeviceDescriptors{hexBytes("12 01 1001 00 00 00 40 0D1D 2200 0001 00 01 00 01"),
                          {plainConfiguration()},
                          {{1, QStringLiteral("Nothing")}}},
        DescriptorType::String, [](QByteArray &string) { string[0] = 0; });
}

std::unique_ptr<VirtualDevice> makeLengthZero()
{
    return withConfiguration("12 01 1001 00 00 00 40 0D1D 2300 0001 00 00 00 01",
                             "09 02 2200 01 01 00 80 32"
                             "09 04 00 00 01 03 00 00 00"
                             "00 21 1101 00 01 22 3400"
                             "07 05 81 03 0800 0A");
}

std::unique_ptr<VirtualDevice> makeLengthBeyond()
{
    return withConfiguration("12 01 1001 00 00 00 40 0D1D 2400 0001 00 00 00 01",
                             "09 02 1900 01 01 00 80 32"
                             "09 04 00 00 01 FF 00 00 00"
                             "20 05 81 03 0800 0A");
}

std::unique_ptr<VirtualDevice> makeTotalBeyond()
{
    return withConfiguration("12 01 1001 00 00 00 40 0D1D 2500 0001 00 00 00 01",
                             "09 02 4000 01 01 00 80 32"
                             "09 04 00 00 01 FF 00 00 00"
                             "07 05 81 03 0800 0A");
}

std::unique_ptr<VirtualDevice> makeTotalHuge()
{
    return withConfiguration("12 01 1001 00 00 00 40 0D1D 2600 0001 00 00 00 01",
                             "09 02 1980 01 01 00 80 32"
                             "09 04 00 00 01 FF 00 00 00"
                             "07 05 81 03 0800 0A");
}

std::unique_ptr<VirtualDevice> makePacketHuge()
{
    return withConfiguration("12 01 1001 00 00 00 40 0D1D 2700 0001 00 00 00 01",
                             "09 02 1900 01 01 00 80 32"
                             "09 04 00 00 01 FF 00 00 00"
                             "07 05 81 03 0880 0A");
}

std::unique_ptr<VirtualDevice> makeNoConfiguration()
{
    return std::make_unique<VirtualDevice>(
        DeviceDescriptors{hexBytes("12 01 1001 00 00 00 40 0D1D 2800 0001 00 00 00 00"), {}, {}});
}

std::unique_ptr<VirtualDevice> makeStringsOnly()
{
    return std::make_unique<VirtualDevice>(
        DeviceDescriptors{hexBytes("12 01 1001 00 00 00 40 0D1D 2900 0001 01 02 03 00"),
                          {},
                          {{1, QStringLiteral("Words")},
                           {2, QStringLiteral("\u03A9 \u2013 \u0416")},
                           {3, QStringLiteral("29")}}});
}

std::unique_ptr<VirtualDevice> makeManyStrings()
{
    constexpr quint8 InterfaceCount = 12;
    constexpr quint8 FirstString = 2;

    ByteWriter configuration;
    QMap<quint8, QString> strings = {{1, QStringLiteral("Choir")}};
    configuration.bytes(hexBytes("09 02 1D01 0C 01 00 80 32"));
    for (quint8 i = 0; i < InterfaceCount; ++i) {
        const auto string = static_cast<quint8>(FirstString + i);
        const auto endpoint = static_cast<quint8>(i + 1);
        configuration.bytes(hexBytes("09 04")).byte(i).bytes(hexBytes("00 02 FF 00 00"));
        configuration.byte(string);
        configuration.bytes(hexBytes("07 05")).byte(endpoint | 0x80U).bytes(hexBytes("02 4000 00"));
        configuration.bytes(hexBytes("07 05")).byte(endpoint).bytes(hexBytes("02 4000 00"));
        strings.insert(string, QStringLiteral("Voice %1").arg(i));
    }
    return std::make_unique<VirtualDevice>(
        DeviceDescriptors{hexBytes("12 01 1001 00 00 00 40 0D1D 2A00 0001 00 01 00 01"),
                          {configuration.take()},
                          strings});
}

std::unique_ptr<VirtualDevice> makeDeviceShort()
{
    return std::make_unique<SpoiledDevice>(
        DeviceDescriptors{hexBytes("12 01 1001 00 00 00 40 0D1D 2B00 0001 00 00 00 01"),
                          {plainConfiguration()},
                          {}},
        DescriptorType::Device, [](QByteArray &device) { device.truncate(8); });
}

std::unique_ptr<VirtualDevice> makeSilent()
{
    return std::make_unique<SilentDevice>(DeviceDescriptors{
        hexBytes("12 01 1001 00 00 00 40 0D1D 2C00 0001 00 00 00 01"), {plainConfiguration()}, {}});
}

std::unique_ptr<VirtualDevice> makeOddLengths()
{
    return withConfiguration("12 01 1001 00 00 00 40 0D1D 2D00 0001 00 00 00 01",
                             "09 02 3500 01 01 00 80 32"
                             "02 0B"
                             "09 04 00 00 04 FF 00 00 00"
                             "03 24 5A"
                             "07 05 88 03 0800 0A"
                             "07 05 09 01 FF03 01"
                             "07 05 8F 02 4000 00"
                             "07 05 07 00 4000 00"
                             "02 FF");
}

std::unique_ptr<VirtualDevice> makeEndpointShort()
{
    return withConfiguration("12 01 1001 00 00 00 40 0D1D 2E00 0001 00 00 00 01",
                             "09 02 1600 01 01 00 80 32"
                             "09 04 00 00 01 FF 00 00 00"
                             "04 05 81 03");
}

} // namespace vantrel::simulator
