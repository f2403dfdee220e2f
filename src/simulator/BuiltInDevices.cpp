// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/BuiltInDevices.h"

#include "simulator/EzUsbDevice.h"
#include "simulator/FtdiDevice.h"
#include "simulator/OddDevices.h"
#include "simulator/TextValues.h"
#include "simulator/UsualDevices.h"
#include "simulator/VirtualDevice.h"

#include <algorithm>

namespace vantrel::simulator {

namespace {

constexpr bool AtStart = true;

template <typename Include>
QStringList namesOfThose(Include include)
{
    QStringList names;
    for (const BuiltInDevice &device : builtInDevices()) {
        if (include(device))
            names.append(device.name);
    }
    return names;
}

} // namespace

const QList<BuiltInDevice> &builtInDevices()
{
    static const QList<BuiltInDevice> devices = {
        {QStringLiteral("keyboard"), QStringLiteral("composite keyboard and mouse, 64 mA"), 0x02,
         &makeKeyboard, AtStart},
        {QStringLiteral("phone"), QStringLiteral("high-speed phone with strings, 500 mA"), 0x03,
         &makePhone, AtStart},
        {QStringLiteral("mouse"), QStringLiteral("low-speed mouse without strings, 100 mA"), 0x04,
         &makeMouse},
        {QStringLiteral("disk"),
         QStringLiteral("high-speed disk: two configurations, an alternate setting"), 0x05,
         &makeDisk},
        {QStringLiteral("gateway"), QStringLiteral("healthy, with the vendor ID 0x8087"), 0x06,
         &makeGateway},
        {QStringLiteral("ftdi"), QStringLiteral("serial converter with an EEPROM, 100 mA"), 0x07,
         &makeFtdi},
        {QStringLiteral("fx2"), QStringLiteral("EZ-USB/FX2 that waits for firmware, 100 mA"), 0x08,
         &makeFx2},
        {QStringLiteral("ezusb"), QStringLiteral("EZ-USB that waits for firmware, 100 mA"), 0x09,
         &makeEzUsb},
        {QStringLiteral("ftdi-plain"),
         QStringLiteral("serial converter, strings from byte 20 of its EEPROM"), 0x0A,
         &makePlainFtdi},
        {QStringLiteral("string-stall"), QStringLiteral("names strings and stalls when asked"),
         0x20, &makeStringStall},
        {QStringLiteral("string-short"), QStringLiteral("strings shorter than their bLength"), 0x21,
         &makeStringShort},
        {QStringLiteral("string-empty"), QStringLiteral("strings with a bLength of 0"), 0x22,
         &makeStringEmpty},
        {QStringLiteral("length-zero"), QStringLiteral("a bLength of 0 inside a configuration"),
         0x23, &makeLengthZero},
        {QStringLiteral("length-beyond"),
         QStringLiteral("a bLength that reaches past the end of a configuration"), 0x24,
         &makeLengthBeyond},
        {QStringLiteral("total-beyond"), QStringLiteral("wTotalLength larger than what comes"),
         0x25, &makeTotalBeyond},
        {QStringLiteral("total-huge"), QStringLiteral("wTotalLength 0x8019"), 0x26, &makeTotalHuge},
        {QStringLiteral("packet-huge"), QStringLiteral("wMaxPacketSize 0x8008"), 0x27,
         &makePacketHuge},
        {QStringLiteral("no-configuration"), QStringLiteral("neither configurations nor strings"),
         0x28, &makeNoConfiguration},
        {QStringLiteral("strings-only"), QStringLiteral("strings, but no configurations"), 0x29,
         &makeStringsOnly},
        {QStringLiteral("many-strings"), QStringLiteral("12 interfaces, each with a string"), 0x2A,
         &makeManyStrings},
        {QStringLiteral("device-short"), QStringLiteral("device descriptor cut to 8 bytes"), 0x2B,
         &makeDeviceShort},
        {QStringLiteral("silent"), QStringLiteral("connects, then never answers"), 0x2C,
         &makeSilent},
        {QStringLiteral("odd-lengths"),
         QStringLiteral("endpoint 0x88, other descriptors of 2 and 3 bytes"), 0x2D,
         &makeOddLengths},
        {QStringLiteral("endpoint-short"), QStringLiteral("endpoint descriptor of 4 bytes"), 0x2E,
         &makeEndpointShort},
        {QStringLiteral("eeprom-blank"), QStringLiteral("serial converter with an erased EEPROM"),
         0x2F, &makeEepromBlank},
        {QStringLiteral("eeprom-checksum"),
         QStringLiteral("serial converter whose EEPROM has a wrong checksum"), 0x30,
         &makeEepromChecksum},
    };
    return devices;
}

const BuiltInDevice *findBuiltInDevice(const QString &nameOrAddress)
{
    const auto address = parseNumber(nameOrAddress);
    const QList<BuiltInDevice> &devices = builtInDevices();
    const auto found =
        std::find_if(devices.begin(), devices.end(), [&](const BuiltInDevice &device) {
            return device.name == nameOrAddress || (address && device.address == *address);
        });
    return found == devices.end() ? nullptr : &*found;
}

QStringList devicesAtStart()
{
    return namesOfThose([](const BuiltInDevice &device) { return device.atStart; });
}

std::optional<QStringList> readDeviceList(const QString &text)
{
    if (text == QLatin1String("none"))
        return QStringList();
    if (text == QLatin1String("all"))
        return namesOfThose([](const BuiltInDevice &) { return true; });
    QStringList names;
    for (const QString &part : text.split(QLatin1Char(','))) {
        const BuiltInDevice *device = findBuiltInDevice(part);
        if (!device)
            return std::nullopt;
        names.append(device->name);
    }
    names.removeDuplicates();
    return names;
}

QStringList describeBuiltInDevices()
{
    constexpr int NameWidth = 17;
    constexpr int CallWidth = 32; // as wide as the rest of the operator's help
    QStringList lines;
    for (const BuiltInDevice &device : builtInDevices()) {
        const QString address = QString::number(device.address, 16).toUpper();
        const QString call = device.name.leftJustified(NameWidth) + QStringLiteral(" 0x") +
                             address.rightJustified(2, QLatin1Char('0'));
        lines.append(call.leftJustified(CallWidth) + QLatin1Char(' ') + device.description);
    }
    return lines;
}

} // namespace vantrel::simulator
