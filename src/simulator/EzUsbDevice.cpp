// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/EzUsbDevice.h"

#include <array>

namespace vantrel::simulator {

namespace {

using Generation = EzUsbDevice::Generation;

constexpr quint8 FirmwareLoad = 0xA0;
constexpr quint8 CpuHeld = 0x01;
constexpr qsizetype AddressSpace = 0x10000;

struct Range
{
    int first;
    int last;

    bool contains(int address) const { return address >= first && address <= last; }
};

struct AddressMap
{
    int cpuControl;
    std::array<Range, 2> ram;

    bool isRam(int address) const { return ram[0].contains(address) || ram[1].contains(address); }
};

const AddressMap &mapOf(Generation generation)
{
    static constexpr AddressMap EzUsb{0x7F92, {{{0x0000, 0x1B3F}, {0x7B40, 0x7FFF}}}};
    static constexpr AddressMap Fx2{0xE600, {{{0x0000, 0x3FFF}, {0xE000, 0xE1FF}}}};
    return generation == Generation::Fx2 ? Fx2 : EzUsb;
}

// Vendor and products are nobody's.
constexpr quint16 Vendor = 0x5A17;
constexpr quint16 Fx2Product = 0x0F20;
constexpr quint16 EzUsbProduct = 0x0E20;
constexpr quint16 FirmwareProduct = 1; // more than the product without firmware
constexpr quint8 ProductString = 1;

QByteArray deviceDescriptor(quint16 usbVersion, quint16 product, quint8 productString)
{
    return ByteWriter{18, DescriptorType::Device}
        .wordLowFirst(usbVersion)
        .bytes(QByteArrayLiteral("\xFF\xFF\xFF\x40")) // vendor's own class, packets of 64 bytes
        .wordLowFirst(Vendor)
        .wordLowFirst(product)
        .wordLowFirst(0x0001)
        .bytes(ByteWriter{0, productString, 0, 1}.take())
        .take();
}

QByteArray bulkEndpoint(quint8 address, quint16 packet)
{
    return ByteWriter{7, DescriptorType::Endpoint, address, 2}.wordLowFirst(packet).byte(0).take();
}

/// One interface of two bulk endpoints, 100 mA.
QByteArray configurationDescriptor(quint16 packet)
{
    return QByteArray::fromHex("09022000010100803209040000 02FFFFFF00")
        .append(bulkEndpoint(0x02, packet))
        .append(bulkEndpoint(0x82, packet));
}

DeviceDescriptors withoutFirmware(Generation generation)
{
    const bool fx2 = generation == Generation::Fx2;
    return {deviceDescriptor(fx2 ? 0x0200 : 0x0100, fx2 ? Fx2Product : EzUsbProduct, 0),
            {configurationDescriptor(fx2 ? 512 : 64)},
            {}};
}

DeviceDescriptors withFirmware(Generation generation)
{
    const bool fx2 = generation == Generation::Fx2;
    const QString name = fx2 ? QStringLiteral("EZ-USB/FX2") : QStringLiteral("EZ-USB");
    const quint16 product = (fx2 ? Fx2Product : EzUsbProduct) + FirmwareProduct;
    return {deviceDescriptor(fx2 ? 0x0200 : 0x0100, product, ProductString),
            {configurationDescriptor(fx2 ? 512 : 64)},
            {{ProductString, name + QStringLiteral(" with firmware")}}};
}

} // namespace

EzUsbDevice::EzUsbDevice(Generation generation)
    : VirtualDevice(withoutFirmware(generation)), m_generation(generation),
      m_ram(AddressSpace, '\0')
{
}

void EzUsbDevice::powerUp()
{
    m_held = false;
    m_loaded = false;
    m_hasFirmware = false;
    m_ram.fill('\0');
    setDescriptors(withoutFirmware(m_generation));
}

DeviceAnswer EzUsbDevice::vendorRequest(const SetupPacket &setup, QByteArrayView data)
{
    if (setup.request != FirmwareLoad || setup.recipient() != SetupPacket::Recipient::Device ||
        !isAddressable(setup.value, setup.length))
        return DeviceAnswer::stall();
    if (setup.toHost())
        return {RequestStatus::Ok, read(setup.value, setup.length)};
    write(setup.value, data);
    return {};
}

bool EzUsbDevice::isAddressable(int first, int count) const
{
    const AddressMap &map = mapOf(m_generation);
    for (int address = first; address < first + count; ++address) {
        if (address != map.cpuControl && !map.isRam(address))
            return false;
    }
    return true;
}

QByteArray EzUsbDevice::read(int address, int count) const
{
    QByteArray bytes = m_ram.mid(address, count);
    const int control = mapOf(m_generation).cpuControl - address;
    if (control >= 0 && control < count)
        bytes[control] = static_cast<char>(m_held ? CpuHeld : 0);
    return bytes;
}

void EzUsbDevice::write(int address, QByteArrayView data)
{
    for (const char byte : data) {
        if (address == mapOf(m_generation).cpuControl) {
            setHeld((static_cast<quint8>(byte) & CpuHeld) != 0);
        } else {
            m_ram[address] = byte;
            m_loaded = m_loaded || m_held;
        }
        ++address;
    }
}

void EzUsbDevice::setHeld(bool held)
{
    m_held = held;
    if (held || !m_loaded)
        return;
    m_loaded = false;
    m_hasFirmware = true;
    reconnect(withFirmware(m_generation));
}

std::unique_ptr<VirtualDevice> makeFx2()
{
    return std::make_unique<EzUsbDevice>(Generation::Fx2);
}

std::unique_ptr<VirtualDevice> makeEzUsb()
{
    return std::make_unique<EzUsbDevice>(Generation::EzUsb);
}

} // namespace vantrel::simulator
