// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/NetworkRecord.h"

#include "link/Utils.h"
#include "link/Words.h"

namespace vantrel {

namespace {

constexpr quint32 Everybody = 0xFFFF'FFFF;
constexpr quint8 GroupBit = 0x01;

/// All ones stand before all zeros.
bool isContiguous(quint32 mask)
{
    const quint32 hosts = ~mask;
    return (hosts & (hosts + 1)) == 0;
}

QString addressHint(quint32 ip, quint32 mask)
{
    const quint32 hosts = ~mask;
    const bool endsReserved = hosts > 1;
    if (ip == 0)
        return QStringLiteral("The tester cannot have the address 0.0.0.0");
    if (!isContiguous(mask))
        return QStringLiteral("The net mask has holes: all its ones must come before its zeros");
    if (ip == Everybody || (endsReserved && (ip & hosts) == hosts))
        return QStringLiteral("The tester's address is the broadcast address of its subnet");
    if (endsReserved && (ip & hosts) == 0)
        return QStringLiteral("The tester's address is the network address of its subnet");
    return {};
}

} // namespace

QByteArray NetworkRecord::toBytes() const
{
    return {reinterpret_cast<const char *>(bytes.data()), Size};
}

quint32 NetworkRecord::address(int first) const
{
    quint32 value = 0;
    for (int i = first; i < first + 4; ++i)
        value = value << 8U | bytes.at(static_cast<std::size_t>(i));
    return value;
}

QString networkBoxText(int index, quint8 byte)
{
    return index < NetworkRecord::Mac ? QString::number(byte) : HexByte(byte);
}

quint8 networkBoxByte(int index, const QString &text)
{
    return checked<quint8>(index < NetworkRecord::Mac ? roundToLong(numericValue(text))
                                                      : HexToLong(text));
}

QString networkHint(const NetworkRecord &record)
{
    const quint32 ip = record.address(NetworkRecord::Ip);
    const quint32 gateway = record.address(NetworkRecord::Gateway);
    const quint32 mask = record.address(NetworkRecord::Mask);
    if (QString hint = addressHint(ip, mask); !hint.isEmpty())
        return hint;
    if (gateway != 0 && (gateway & mask) != (ip & mask))
        return QStringLiteral("The gateway is outside the tester's subnet");
    if ((record.bytes[NetworkRecord::Mac] & GroupBit) != 0)
        return QStringLiteral("The MAC address is that of a group: its first byte must be even");
    return {};
}

} // namespace vantrel
