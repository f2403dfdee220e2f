// SPDX-License-Identifier: GPL-3.0-or-later
#include "tools/RequestReading.h"

#include "link/Utils.h"

#include <QStringList>

#include <algorithm>
#include <array>

namespace vantrel {

namespace {

constexpr quint8 TypeMask = 0x60;
constexpr quint8 RecipientMask = 0x1F;
constexpr quint8 DeviceRecipient = 0;
constexpr quint16 EndpointNumber = 0x0F;
constexpr quint16 EndpointIn = 0x80;
constexpr quint16 TestMode = 2;

struct Name
{
    quint8 code;
    const char *name;
};

constexpr auto Features = std::to_array<Name>({
    {0, "ENDPOINT_HALT"},
    {1, "DEVICE_REMOTE_WAKEUP"},
    {TestMode, "TEST_MODE"},
});

constexpr auto TestSelectors = std::to_array<Name>({
    {1, "Test_J"},
    {2, "Test_K"},
    {3, "Test_SE0_NAK"},
    {4, "Test_Packet"},
    {5, "Test_Force_Enable"},
});

struct DescriptorType
{
    quint8 code;
    bool several; ///< a device may have more than one, told apart by the index
    const char *name;
};

constexpr quint8 StringType = 3;

constexpr auto DescriptorTypes = std::to_array<DescriptorType>({
    {1, false, "DEVICE"},
    {2, true, "CONFIGURATION"},
    {StringType, true, "STRING"},
    {4, false, "INTERFACE"},
    {5, false, "ENDPOINT"},
    {6, false, "DEVICE_QUALIFIER"},
    {7, true, "OTHER_SPEED_CONFIGURATION"},
    {8, false, "INTERFACE_POWER"},
    {9, false, "OTG"},
    {10, false, "DEBUG"},
    {11, false, "INTERFACE_ASSOCIATION"},
    {15, false, "BOS"},
    {16, false, "DEVICE_CAPABILITY"},
});

quint8 lowByte(quint16 word)
{
    return static_cast<quint8>(word & 0xFFU);
}

quint8 highByte(quint16 word)
{
    return static_cast<quint8>(word >> 8U);
}

QString hexByte(quint8 value)
{
    return QStringLiteral("0x") + HexByte(value);
}

QString hexWord(quint16 value)
{
    return QStringLiteral("0x") + Hex4(value);
}

template <typename Table>
auto row(const Table &table, unsigned code)
{
    const auto found = std::find_if(table.begin(), table.end(),
                                    [code](const auto &each) { return each.code == code; });
    return found == table.end() ? nullptr : &*found;
}

QStringList noDetail(const SetupPacket & /*setup*/)
{
    return {};
}

QStringList value(const SetupPacket &setup)
{
    return {QString::number(setup.wValue)};
}

QStringList alternateSetting(const SetupPacket &setup)
{
    return {QStringLiteral("alternate setting ") + QString::number(setup.wValue)};
}

QStringList feature(const SetupPacket &setup)
{
    if (const Name *known = row(Features, setup.wValue))
        return {QLatin1String(known->name)};
    return {QStringLiteral("feature ") + QString::number(setup.wValue)};
}

QStringList featureToSet(const SetupPacket &setup)
{
    QStringList details = feature(setup);
    if (setup.wValue == TestMode) {
        const quint8 selector = highByte(setup.wIndex);
        const Name *known = row(TestSelectors, selector);
        details += known ? QString(QLatin1String(known->name))
                         : QStringLiteral("selector ") + hexByte(selector);
    }
    return details;
}

QStringList descriptor(const SetupPacket &setup)
{
    const quint8 type = highByte(setup.wValue);
    const quint8 index = lowByte(setup.wValue);
    const DescriptorType *known = row(DescriptorTypes, type);
    QStringList details{known ? QString(QLatin1String(known->name))
                              : QStringLiteral("type ") + hexByte(type)};
    if (!known || known->several || index != 0)
        details += QStringLiteral("index ") + QString::number(index);
    if (type == StringType && setup.wIndex != 0)
        details += QStringLiteral("language ") + hexWord(setup.wIndex);
    return details;
}

struct StandardRequest
{
    quint8 code;
    bool ofDevice; ///< speaks of the whole device; anything else it is sent to is worth a word
    const char *name;
    QStringList (*details)(const SetupPacket &);
};

constexpr auto StandardRequests = std::to_array<StandardRequest>({
    {0, false, "GET_STATUS", noDetail},
    {1, false, "CLEAR_FEATURE", feature},
    {3, false, "SET_FEATURE", featureToSet},
    {5, true, "SET_ADDRESS", value},
    {6, true, "GET_DESCRIPTOR", descriptor},
    {7, true, "SET_DESCRIPTOR", descriptor},
    {8, true, "GET_CONFIGURATION", noDetail},
    {9, true, "SET_CONFIGURATION", value},
    {10, false, "GET_INTERFACE", noDetail},
    {11, false, "SET_INTERFACE", alternateSetting},
    {12, false, "SYNCH_FRAME", noDetail},
});

QString interfaceName(quint16 wIndex)
{
    const QString number = highByte(wIndex) == 0 ? QString::number(wIndex) : hexWord(wIndex);
    return QStringLiteral("interface ") + number;
}

QString endpointName(quint16 wIndex)
{
    const QString name = QStringLiteral("endpoint ");
    if ((wIndex & ~(EndpointNumber | EndpointIn)) != 0)
        return name + hexWord(wIndex);
    if (wIndex == 0)
        return name + QLatin1Char('0');
    return name + QString::number(wIndex & EndpointNumber) +
           ((wIndex & EndpointIn) != 0 ? QStringLiteral(" IN") : QStringLiteral(" OUT"));
}

QString recipientName(const SetupPacket &setup)
{
    const auto recipient = static_cast<quint8>(setup.bmRequestType & RecipientMask);
    switch (recipient) {
    case DeviceRecipient:
        return QStringLiteral("device");
    case 1:
        return interfaceName(setup.wIndex);
    case 2:
        return endpointName(setup.wIndex);
    case 3:
        return QStringLiteral("other recipient");
    default:
        return QStringLiteral("reserved recipient ") + QString::number(recipient);
    }
}

bool toDeviceItself(const SetupPacket &setup)
{
    return (setup.bmRequestType & RecipientMask) == DeviceRecipient;
}

/// "vendor request 0xA0 to the device"
QString namelessRequest(const QString &type, const SetupPacket &setup)
{
    const QString article = toDeviceItself(setup) ? QStringLiteral("the ") : QString();
    return type + QStringLiteral(" request ") + hexByte(setup.bRequest) + QStringLiteral(" to ") +
           article + recipientName(setup);
}

QString standardRequest(const SetupPacket &setup)
{
    const StandardRequest *known = row(StandardRequests, setup.bRequest);
    if (!known)
        return namelessRequest(QStringLiteral("standard"), setup);
    QStringList details = known->details(setup);
    if (!known->ofDevice || !toDeviceItself(setup))
        details += recipientName(setup);
    const QString name = QLatin1String(known->name);
    return details.isEmpty() ? name
                             : name + QStringLiteral(" (") + details.join(QStringLiteral(", ")) +
                                   QLatin1Char(')');
}

QString request(const SetupPacket &setup)
{
    switch (setup.bmRequestType & TypeMask) {
    case 0x00:
        return standardRequest(setup);
    case 0x20:
        return namelessRequest(QStringLiteral("class"), setup);
    case 0x40:
        return namelessRequest(QStringLiteral("vendor"), setup);
    default:
        return namelessRequest(QStringLiteral("reserved"), setup);
    }
}

QString bytes(int count, const QString &kind)
{
    return QString::number(count) + kind +
           (count == 1 ? QStringLiteral(" byte") : QStringLiteral(" bytes"));
}

} // namespace

QString describeRequest(const SetupPacket &setup, int dataBytes)
{
    const bool toHost = (setup.bmRequestType & DeviceToHost) != 0;
    QStringList parts{request(setup)};
    parts += toHost ? QStringLiteral("device to host") : QStringLiteral("host to device");
    parts += setup.wLength == 0 ? QStringLiteral("no data") : bytes(setup.wLength, {});
    if (!toHost && dataBytes != setup.wLength)
        parts += bytes(dataBytes, QStringLiteral(" data")) + QStringLiteral(" entered");
    return parts.join(QStringLiteral(", "));
}

} // namespace vantrel
