// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Bytes.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QMap>
#include <QString>

namespace vantrel::simulator {

enum class Speed { Low, Full, High };

namespace DescriptorType {
constexpr quint8 Device = 1;
constexpr quint8 Configuration = 2;
constexpr quint8 String = 3;
constexpr quint8 Interface = 4;
constexpr quint8 Endpoint = 5;
constexpr quint8 DeviceQualifier = 6;
constexpr quint8 OtherSpeedConfiguration = 7;
} // namespace DescriptorType

/// Positions inside a descriptor, counted from 1.
namespace DescriptorField {
constexpr qsizetype Type = 2;
constexpr qsizetype InterfaceNumber = 3;
constexpr qsizetype AlternateSetting = 4;
constexpr qsizetype EndpointAddress = 3;
constexpr qsizetype EndpointAttributes = 4;
constexpr qsizetype MaxPacketSize = 5;
constexpr qsizetype ConfigurationValue = 6;
constexpr qsizetype ConfigurationAttributes = 8;
constexpr qsizetype MaxPower = 9;
constexpr qsizetype UsbVersion = 3;
constexpr qsizetype DeviceClass = 5;
constexpr qsizetype MaxPacketSize0 = 8;
constexpr qsizetype VendorId = 9;
constexpr qsizetype ProductId = 11;
constexpr qsizetype ConfigurationCount = 18;
} // namespace DescriptorField

/// Language of all strings: US English.
constexpr quint16 LanguageId = 0x0409;

/// The raw descriptors of a device. They may be invalid.
struct DeviceDescriptors
{
    QByteArray device;                ///< 18 bytes
    QList<QByteArray> configurations; ///< each whole, as at the device's fastest speed
    QMap<quint8, QString> strings;    ///< by string index, from 1
};

/// Descriptors typed as hexadecimal digits; blanks do not count.
inline QByteArray hexBytes(const char *digits)
{
    return QByteArray::fromHex(digits);
}

/// The byte at a position, 0 when the descriptor ends before it.
inline quint8 descriptorField(QByteArrayView descriptor, qsizetype position)
{
    return ByteReader(descriptor).at(position).value_or(0);
}

/// The fastest speed the descriptors are fit for: high with a bulk endpoint of 512 bytes, low when
/// nothing moves but interrupt packets of at most 8 bytes, full otherwise.
Speed fastestSpeed(const DeviceDescriptors &descriptors);

/// The configuration as a high-speed device shows it at full speed: no packet above 64 bytes.
QByteArray atFullSpeed(QByteArray configuration);

/// The descriptors of a high-speed device at the other speed.
QByteArray deviceQualifier(const DeviceDescriptors &descriptors);

/// At most 126 UTF-16 units fit; the rest of the text is cut.
QByteArray stringDescriptor(const QString &text);
QByteArray languageTable();

/// Calls visit(offset, descriptor) for each descriptor of a configuration, up to the first that is
/// shorter than its own header or reaches past the end.
template <typename Visit>
void forEachDescriptor(QByteArrayView configuration, Visit &&visit)
{
    qsizetype at = 0;
    while (at + 2 <= configuration.size()) {
        const qsizetype length = static_cast<quint8>(configuration[at]);
        if (length < 2 || at + length > configuration.size())
            return;
        visit(at, ByteReader(configuration.sliced(at, length)));
        at += length;
    }
}

} // namespace vantrel::simulator
