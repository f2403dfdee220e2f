// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Bytes.h"
#include "link/Wire.h"

#include <QByteArray>
#include <QtGlobal>

namespace vantrel::simulator {

namespace RequestStatus = wire::DeviceStatus;

/// bRequest of the standard requests.
namespace StandardRequest {
constexpr quint8 GetStatus = 0x00;
constexpr quint8 ClearFeature = 0x01;
constexpr quint8 SetFeature = 0x03;
constexpr quint8 SetAddress = 0x05;
constexpr quint8 GetDescriptor = 0x06;
constexpr quint8 GetConfiguration = 0x08;
constexpr quint8 SetConfiguration = 0x09;
constexpr quint8 GetInterface = 0x0A;
constexpr quint8 SetInterface = 0x0B;
} // namespace StandardRequest

/// The setup stage of a control transfer.
struct SetupPacket
{
    enum class Type : quint8 { Standard = 0, Class = 1, Vendor = 2, Reserved = 3 };
    enum class Recipient : quint8 { Device = 0, Interface = 1, Endpoint = 2, Other = 3 };

    static constexpr qsizetype Size = 8;

    quint8 requestType = 0;
    quint8 request = 0;
    quint16 value = 0;
    quint16 index = 0;
    quint16 length = 0;

    /// The eight bytes from `position` (counted from 1); what is missing is zero.
    static SetupPacket read(const ByteReader &bytes, qsizetype position)
    {
        return {bytes.at(position).value_or(0), bytes.at(position + 1).value_or(0),
                bytes.wordLowFirst(position + 2).value_or(0),
                bytes.wordLowFirst(position + 4).value_or(0),
                bytes.wordLowFirst(position + 6).value_or(0)};
    }

    bool toHost() const { return (requestType & 0x80U) != 0; }
    Type type() const { return static_cast<Type>(requestType >> 5U & 0x03U); }
    /// Recipients that USB does not define count as Other.
    Recipient recipient() const
    {
        const unsigned code = requestType & 0x1FU;
        return code < 3 ? static_cast<Recipient>(code) : Recipient::Other;
    }
    quint8 valueLow() const { return static_cast<quint8>(value & 0xFFU); }
    quint8 valueHigh() const { return static_cast<quint8>(value >> 8U); }
};

/// How a control transfer ended.
struct DeviceAnswer
{
    quint8 status = RequestStatus::Ok;
    QByteArray data = {}; ///< data stage of a device-to-host request
    bool ended = true;    ///< false: status and data say nothing

    static DeviceAnswer stall() { return {RequestStatus::Stall}; }
    /// The device says NAK for ever. The tester waits with it: the command is never answered, and a
    /// script goes no further than this step. Other commands are carried out meanwhile.
    static DeviceAnswer never() { return {RequestStatus::Ok, {}, false}; }
};

} // namespace vantrel::simulator
