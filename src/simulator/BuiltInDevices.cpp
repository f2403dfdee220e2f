// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/BuiltInDevices.h"

#include "simulator/EzUsbDevice.h"
#include "simulator/FtdiDevice.h"
#include "simulator/TextValues.h"
#include "simulator/VirtualDevice.h"

#include <algorithm>

namespace vantrel::simulator {

namespace {

constexpr bool AtStart = true;

QByteArray hex(const char *digits)
{
    return QByteArray::fromHex(digits);
}

std::unique_ptr<VirtualDevice> makeKeyboard()
{
    return std::make_unique<VirtualDevice>(DeviceDescriptors{hex("1201100100000008F305070020030000"
                                                                 "0001"),
                                                             {hex("09023B00020100A020"
                                                                  "090400000103010100"
                                                                  "092100012101223F00"
                                                                  "07058103080008"
                                                                  "090401000103000000"
                                                                  "092100010001226400"
                                                                  "07058203040008")},
                                                             {}});
}

std::unique_ptr<VirtualDevice> makePhone()
{
    return std::make_unique<VirtualDevice>(
        DeviceDescriptors{hex("1201000200000040CE0F660126020203"
                              "0401"),
                          {hex("09022700010100C0FA"
                               "0904000003FFFF0005"
                               "07058102000200"
                               "07050202000200"
                               "070582031C0006")},
                          {{2, QStringLiteral("Northwind Mobile")},
                           {3, QStringLiteral("Handset 600")},
                           {4, QStringLiteral("3510040127716208")}}});
}

} // namespace

const QList<BuiltInDevice> &builtInDevices()
{
    static const QList<BuiltInDevice> devices = {
        {QStringLiteral("keyboard"), QStringLiteral("composite keyboard and mouse, 64 mA"), 0x02,
         &makeKeyboard, AtStart},
        {QStringLiteral("phone"), QStringLiteral("high-speed phone with strings, 500 mA"), 0x03,
         &makePhone, AtStart},
        {QStringLiteral("ftdi"), QStringLiteral("serial converter with an EEPROM, 100 mA"), 0x07,
         &makeFtdi},
        {QStringLiteral("fx2"), QStringLiteral("EZ-USB/FX2 that waits for firmware, 100 mA"), 0x08,
         &makeFx2},
        {QStringLiteral("ezusb"), QStringLiteral("EZ-USB that waits for firmware, 100 mA"), 0x09,
         &makeEzUsb},
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

} // namespace vantrel::simulator
