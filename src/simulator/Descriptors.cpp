// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Descriptors.h"

#include <algorithm>

namespace vantrel::simulator {

namespace {

constexpr quint8 InterruptTransfer = 3;
constexpr quint8 BulkTransfer = 2;
constexpr quint16 LargestLowSpeedPacket = 8;
constexpr quint16 LargestFullSpeedPacket = 64;
constexpr quint16 HighSpeedBulkPacket = 512;
constexpr qsizetype LongestString = 126;

struct Endpoint
{
    qsizetype offset;
    quint8 transfer;
    quint16 packet;
};

QList<Endpoint> endpointsOf(QByteArrayView configuration)
{
    QList<Endpoint> endpoints;
    forEachDescriptor(configuration, [&](qsizetype offset, const ByteReader &descriptor) {
        const auto attributes = descriptor.at(DescriptorField::EndpointAttributes);
        const auto packet = descriptor.wordLowFirst(DescriptorField::MaxPacketSize);
        if (descriptor.at(DescriptorField::Type) == DescriptorType::Endpoint && attributes &&
            packet)
            endpoints.append({offset, static_cast<quint8>(*attributes & 0x03U), *packet});
    });
    return endpoints;
}

} // namespace

Speed fastestSpeed(const DeviceDescriptors &descriptors)
{
    const ByteReader device(descriptors.device);
    const bool usb2 = device.wordLowFirst(DescriptorField::UsbVersion).value_or(0) >= 0x0200;
    bool low = device.at(DescriptorField::MaxPacketSize0).value_or(0) <= LargestLowSpeedPacket;
    bool high = false;
    for (const QByteArray &configuration : descriptors.configurations) {
        for (const Endpoint &endpoint : endpointsOf(configuration)) {
            if (endpoint.transfer != InterruptTransfer || endpoint.packet > LargestLowSpeedPacket)
                low = false;
            if (usb2 && endpoint.transfer == BulkTransfer && endpoint.packet == HighSpeedBulkPacket)
                high = true;
        }
    }
    if (high)
        return Speed::High;
    return low ? Speed::Low : Speed::Full;
}

QByteArray atFullSpeed(QByteArray configuration)
{
    for (const Endpoint &endpoint : endpointsOf(configuration)) {
        const quint16 packet = std::min(endpoint.packet, LargestFullSpeedPacket);
        configuration.replace(endpoint.offset + DescriptorField::MaxPacketSize - 1, 2,
                              ByteWriter().wordLowFirst(packet).take());
    }
    return configuration;
}

QByteArray deviceQualifier(const DeviceDescriptors &descriptors)
{
    return ByteWriter{10, DescriptorType::DeviceQualifier}
        .bytes(descriptors.device.mid(2, 6)) // bcdUSB to bMaxPacketSize0
        .byte(descriptorField(descriptors.device, DescriptorField::ConfigurationCount))
        .byte(0)
        .take();
}

QByteArray stringDescriptor(const QString &text)
{
    const QString shown = text.left(LongestString);
    ByteWriter descriptor{static_cast<quint8>(2 + 2 * shown.size()), DescriptorType::String};
    for (const QChar character : shown)
        descriptor.wordLowFirst(character.unicode());
    return descriptor.take();
}

QByteArray languageTable()
{
    return ByteWriter{4, DescriptorType::String}.wordLowFirst(LanguageId).take();
}

} // namespace vantrel::simulator
