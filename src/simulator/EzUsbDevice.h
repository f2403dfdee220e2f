// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/VirtualDevice.h"

#include <memory>

namespace vantrel::simulator {

/// A USB controller without firmware of its own: the host loads it into RAM.
///
/// The vendor request 0xA0 writes wLength bytes from address wValue on (0x40), or reads them back
/// (0xC0). One byte that is neither RAM nor the CPU control register stalls the request, which then
/// changes nothing. Bit 0 of the register holds the CPU.
///
/// The CPU runs only what was loaded while it was held. When it is released after that, the device
/// leaves the bus and comes back as what its firmware makes of it: another product, with a product
/// string. Nothing happens when it is released without a load. What is written while the CPU runs
/// is in memory and changes nothing else. Without Vbus the firmware is lost; a bus reset leaves it
/// alone.
class EzUsbDevice : public VirtualDevice
{
public:
    enum class Generation {
        EzUsb, ///< register 0x7F92; RAM 0x0000 to 0x1B3F and 0x7B40 to 0x7FFF; full speed
        Fx2    ///< register 0xE600; RAM 0x0000 to 0x3FFF and 0xE000 to 0xE1FF; high speed
    };

    explicit EzUsbDevice(Generation generation);

    void powerUp() override;

    /// The whole address space of 64 KiB, zero where there is no RAM.
    const QByteArray &ram() const { return m_ram; }
    bool isHeld() const { return m_held; }
    /// Firmware has been loaded, and the CPU is not held.
    bool isRunning() const { return m_hasFirmware && !m_held; }

protected:
    DeviceAnswer vendorRequest(const SetupPacket &setup, QByteArrayView data) override;

private:
    bool isAddressable(int first, int count) const;
    QByteArray read(int address, int count) const;
    void write(int address, QByteArrayView data);
    void setHeld(bool held);

    Generation m_generation;
    bool m_held = false;
    bool m_loaded = false; // since the CPU is held
    bool m_hasFirmware = false;
    QByteArray m_ram;
};

std::unique_ptr<VirtualDevice> makeFx2();
std::unique_ptr<VirtualDevice> makeEzUsb();

} // namespace vantrel::simulator
