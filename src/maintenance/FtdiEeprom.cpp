// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiEeprom.h"

#include "link/RuntimeError.h"
#include "link/Utils.h"

#include <bit>

namespace vantrel {

namespace {

constexpr quint8 OffsetFlag = 0x80;
constexpr quint8 StringDescriptor = 0x03;
constexpr int DescriptorHead = 2; // its length and its type
constexpr quint16 ChecksumStart = 0xAAAA;

std::size_t index(int position)
{
    if (position < 0 || position >= FtdiEeprom::Size)
        throw RuntimeError::subscript();
    return static_cast<std::size_t>(position);
}

} // namespace

FtdiEeprom::FtdiEeprom()
{
    setByte(FtdiByte::Attributes, 0xA0);
    setByte(FtdiByte::MaxPower, 45);
    setByte(FtdiByte::Options, 0x18);
    setNumber(FtdiByte::UsbVersion, 0x0200);
}

quint8 FtdiEeprom::byte(int position) const
{
    return m_bytes[index(position)];
}

void FtdiEeprom::setByte(int position, quint8 value)
{
    m_bytes[index(position)] = value;
}

quint16 FtdiEeprom::number(int position) const
{
    return static_cast<quint16>(byte(position) | byte(position + 1) << 8U);
}

void FtdiEeprom::setNumber(int position, quint16 value)
{
    setByte(position, static_cast<quint8>(value & 0xFFU));
    setByte(position + 1, static_cast<quint8>(value >> 8U));
}

bool FtdiEeprom::bit(int position, quint8 mask) const
{
    return (byte(position) & mask) != 0;
}

void FtdiEeprom::setBit(int position, quint8 mask, bool on)
{
    const auto others = static_cast<quint8>(byte(position) & ~mask);
    setByte(position, on ? others | mask : others);
}

std::optional<int> FtdiEeprom::textOffset(int field) const
{
    const quint8 flagged = byte(field);
    if (flagged <= OffsetFlag)
        return std::nullopt;
    return flagged - OffsetFlag;
}

/// In characters; negative when the descriptor is shorter than its head.
int FtdiEeprom::textLength(int field) const
{
    return roundToLong((byte(field + 1) - DescriptorHead) / 2.0);
}

std::optional<QString> FtdiEeprom::text(int field) const
{
    const std::optional<int> offset = textOffset(field);
    if (!offset)
        return std::nullopt;
    QString text;
    for (int i = 0; i < textLength(field); ++i)
        text += QLatin1Char(static_cast<char>(byte(*offset + DescriptorHead + 2 * i)));
    return text;
}

bool FtdiEeprom::isTextInside(int field) const
{
    const std::optional<int> offset = textOffset(field);
    const int characters = textLength(field);
    return !offset || characters <= 0 || *offset + DescriptorHead + 2 * (characters - 1) < Size;
}

void FtdiEeprom::setTextEntry(int field, int offset, int length)
{
    setByte(field, static_cast<quint8>(offset + OffsetFlag));
    setByte(field + 1, static_cast<quint8>(length));
}

void FtdiEeprom::setTexts(const QString &manufacturer, const QString &product,
                          const QString &serial)
{
    if (manufacturer.size() + product.size() + serial.size() > LongestStrings)
        throw RuntimeError::subscript();
    int position = FtdiByte::Strings;
    position = setText(FtdiByte::Manufacturer, position, manufacturer);
    position = setText(FtdiByte::Product, position, product);
    setText(FtdiByte::Serial, position, serial);
}

/// Returns where the next descriptor begins.
int FtdiEeprom::setText(int field, int position, const QString &text)
{
    const int length = DescriptorHead + 2 * static_cast<int>(text.size());
    setTextEntry(field, position, length);
    setByte(position, static_cast<quint8>(length));
    setByte(position + 1, StringDescriptor);
    int unit = position + DescriptorHead;
    for (const QChar character : text) {
        setNumber(unit, static_cast<quint8>(character.toLatin1()));
        unit += 2;
    }
    return unit;
}

void FtdiEeprom::setStrings(const FtdiEeprom &other)
{
    for (int position = FtdiByte::Manufacturer; position < FtdiByte::Checksum; ++position)
        setByte(position, other.byte(position));
}

quint16 FtdiEeprom::checksum() const
{
    quint16 sum = ChecksumStart;
    for (int i = 0; i < WordCount - 1; ++i)
        sum = std::rotl(static_cast<quint16>(sum ^ word(i)), 1);
    return sum;
}

QByteArray FtdiEeprom::bytes() const
{
    return {reinterpret_cast<const char *>(m_bytes.data()), Size};
}

} // namespace vantrel
