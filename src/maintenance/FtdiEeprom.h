// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <array>
#include <optional>

namespace vantrel {

/// Where the fields of the image stand. Numbers of two bytes are low byte first.
namespace FtdiByte {
constexpr int VendorId = 2;
constexpr int ProductId = 4;
constexpr int MinorRevision = 6;
constexpr int MajorRevision = 7;
constexpr int Attributes = 8; ///< see FtdiBit
constexpr int MaxPower = 9;   ///< in units of 2 mA
constexpr int Options = 10;   ///< see FtdiBit
constexpr int UsbVersion = 12;
// A string: its offset in bytes plus 0x80, then the length of its descriptor.
constexpr int Manufacturer = 14;
constexpr int Product = 16;
constexpr int Serial = 18;
constexpr int Strings = 20; ///< the descriptors, back to back
constexpr int Checksum = 126;
} // namespace FtdiByte

namespace FtdiBit {
constexpr quint8 RemoteWakeup = 0x20; ///< of the attributes
constexpr quint8 SelfPowered = 0x40;  ///< of the attributes
constexpr quint8 SerialEnable = 0x08; ///< of the options
} // namespace FtdiBit

/// The image of the configuration EEPROM of an FTDI device: 64 words, low byte first.
///
/// Whatever has no field here (bytes 0, 1, 11 and what follows the last string) keeps its value
/// through every change. A position outside the image throws RuntimeError "Subscript out of range".
class FtdiEeprom
{
public:
    static constexpr int Size = 128;
    static constexpr int WordCount = Size / 2;
    static constexpr int LongestStrings = 50; ///< characters of all three strings together

    /// The image of a device that has not been read: remote wakeup, 90 mA, serial number enabled,
    /// USB 2.0, no strings.
    FtdiEeprom();

    quint8 byte(int position) const;
    void setByte(int position, quint8 value);

    /// Two bytes, the low one at `position`.
    quint16 number(int position) const;
    void setNumber(int position, quint16 value);
    quint16 word(int index) const { return number(2 * index); }

    bool bit(int position, quint8 mask) const;
    void setBit(int position, quint8 mask, bool on);

    /// The string whose offset stands at `field`; nothing when there is none. One that reaches
    /// beyond the image throws RuntimeError "Subscript out of range".
    std::optional<QString> text(int field) const;
    /// False when text() would throw.
    bool isTextInside(int field) const;
    /// Where that string begins; nothing when there is none. It may lie anywhere, 1 to 127.
    std::optional<int> textOffset(int field) const;
    /// Sets where that string begins and the length of its descriptor.
    void setTextEntry(int field, int offset, int length);

    /// Writes the three descriptors from FtdiByte::Strings on, with their offsets and lengths.
    /// Characters are stored as one byte each (see isStorable()). More than LongestStrings of them
    /// throw RuntimeError "Subscript out of range", and nothing is written.
    void setTexts(const QString &manufacturer, const QString &product, const QString &serial);

    /// Takes over the string table and all bytes between it and the checksum.
    void setStrings(const FtdiEeprom &other);

    static bool isStorable(QChar character) { return character.unicode() <= 0xFF; }

    /// The checksum of words 0 to 62.
    quint16 checksum() const;
    bool hasValidChecksum() const { return number(FtdiByte::Checksum) == checksum(); }
    /// Writes it where the device looks for it.
    void sign() { setNumber(FtdiByte::Checksum, checksum()); }

    QByteArray bytes() const;

    bool operator==(const FtdiEeprom &) const = default;

private:
    int setText(int field, int position, const QString &text);
    int textLength(int field) const;

    std::array<quint8, Size> m_bytes{};
};

} // namespace vantrel
