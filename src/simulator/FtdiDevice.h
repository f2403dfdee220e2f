// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/VirtualDevice.h"

#include <QByteArray>
#include <QByteArrayView>

#include <memory>

namespace vantrel::simulator {

/// A USB serial converter that keeps its configuration in an EEPROM of 64 words.
///
/// Vendor requests read a word (0xC0 0x90, wIndex the word; low byte first), erase the EEPROM
/// (0x40 0x92), set the latency timer (0x40 0x09, wValue low byte) and write a word (0x40 0x91,
/// wIndex the word, wValue what to write). A word is written only after the EEPROM has been erased,
/// only where it still reads 0xFFFF, and only while the latency timer is 0x77, which gives the
/// EEPROM its time. Erasing and reading do not ask for that. What cannot be done stalls.
///
/// Descriptors follow the EEPROM as it is at power-up and at each reset: vendor, product, release,
/// USB version, attributes, power and strings. With a wrong checksum they are the chip's own.
/// Power-up and reset also bring the latency timer back and ask for another erase before the next
/// write.
///
/// Goes wrong as Faults says of EEPROMs.
class FtdiDevice : public VirtualDevice
{
public:
    static constexpr quint16 WordCount = 64;
    static constexpr quint16 Erased = 0xFFFF;
    static constexpr quint8 WritingLatency = 0x77;
    static constexpr quint8 UsualLatency = 0x10;

    /// `image`: 128 bytes, each word low byte first.
    explicit FtdiDevice(const QByteArray &image = shippedImage());

    void reset() override;

    const QByteArray &eeprom() const { return m_eeprom; }
    quint8 latency() const { return m_latency; }

    /// The EEPROM as the device comes. Its strings begin at byte 24; bytes 20 to 22 configure the
    /// CBUS pins.
    static QByteArray shippedImage();
    /// An EEPROM whose strings begin at byte 20.
    static QByteArray plainImage();
    /// An erased EEPROM.
    static QByteArray blankImage();
    /// What the last word of the image ought to be.
    static quint16 checksum(QByteArrayView image);

protected:
    DeviceAnswer vendorRequest(const SetupPacket &setup, QByteArrayView data) override;

private:
    DeviceAnswer readWord(const SetupPacket &setup);
    DeviceAnswer erase(const SetupPacket &setup);
    DeviceAnswer setLatency(const SetupPacket &setup);
    DeviceAnswer writeWord(const SetupPacket &setup);

    QByteArray m_eeprom;
    quint8 m_latency = UsualLatency;
    bool m_hasBeenErased = false;
};

std::unique_ptr<VirtualDevice> makeFtdi();
/// Strings from byte 20 of the EEPROM on.
std::unique_ptr<VirtualDevice> makePlainFtdi();
/// The EEPROM is erased.
std::unique_ptr<VirtualDevice> makeEepromBlank();
/// As makePlainFtdi(), with a wrong checksum in the EEPROM.
std::unique_ptr<VirtualDevice> makeEepromChecksum();

} // namespace vantrel::simulator
