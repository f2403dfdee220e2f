// SPDX-License-Identifier: GPL-3.0-or-later
#include "tools/DescriptorReport.h"

#include "link/Utils.h"
#include "tools/DescriptorBytes.h"
#include "tools/UsbDescriptors.h"

#include <array>
#include <span>
#include <string_view>

namespace vantrel {

namespace {

constexpr QLatin1String LineEnd("\r\n");

/// Appends the text of the field at a position. Hexadecimal has two digits a byte, decimal its
/// leading blank.
using Rendering = void (*)(QString &text, const DescriptorBytes &, int position);

void appendHex(QString &text, quint8 value)
{
    constexpr std::string_view Digits = "0123456789ABCDEF";
    text += QLatin1Char(Digits[value >> 4U]);
    text += QLatin1Char(Digits[value & 0x0FU]);
}

void hexByte(QString &text, const DescriptorBytes &bytes, int position)
{
    appendHex(text, bytes.at(position));
}

void hexWord(QString &text, const DescriptorBytes &bytes, int position)
{
    text += Hex4(bytes.word(position));
}

/// Binary-coded decimal: a release number is no word and does not overflow.
void release(QString &text, const DescriptorBytes &bytes, int position)
{
    appendHex(text, bytes.at(position + 1));
    text += QLatin1Char('.');
    appendHex(text, bytes.at(position));
}

void decimalByte(QString &text, const DescriptorBytes &bytes, int position)
{
    text += numberText(bytes.at(position));
}

void decimalWord(QString &text, const DescriptorBytes &bytes, int position)
{
    text += numberText(bytes.word(position));
}

/// bMaxPower counts in units of 2 mA.
void milliamperes(QString &text, const DescriptorBytes &bytes, int position)
{
    text += numberText(2 * bytes.at(position));
}

constexpr quint8 SelfPowered = 0x40;
constexpr quint8 RemoteWakeup = 0x20;

void powerSource(QString &text, const DescriptorBytes &bytes, int position)
{
    const bool self = (bytes.at(position) & SelfPowered) != 0;
    text += self ? QLatin1String("     Self Powered") : QLatin1String("     Bus Powered");
}

/// Headings count endpoints up to 7 only, unlike the line below them.
void endpointInHeading(QString &text, const DescriptorBytes &bytes, int position)
{
    text += numberText(bytes.at(position) & 0x07U);
}

void endpointAndDirection(QString &text, const DescriptorBytes &bytes, int position)
{
    const quint8 address = bytes.at(position);
    const bool in = (address & 0x80U) != 0;
    text += numberText(address & 0x0FU);
    text += in ? QLatin1String(" IN") : QLatin1String(" OUT");
}

void transferType(QString &text, const DescriptorBytes &bytes, int position)
{
    constexpr std::array Types{"     Control Endpoint", "     Isochronous Endpoint",
                               "     Bulk Endpoint", "     Interrupt Endpoint"};
    text += QLatin1String(Types.at(bytes.at(position) & 0x03U));
}

/// One line of a report: the label, the field if there is one, what follows it.
struct Row
{
    const char *label;
    int position = 0;
    Rendering value = nullptr;
    const char *ending = "";
    quint8 onlyWith = 0; ///< bits of the field without which there is no such line; 0 for none
};

constexpr std::array DeviceRows{
    Row{"===== Device Descriptor ====="},
    Row{" bLength = 0x", usb::bLength, hexByte},
    Row{" bDescriptorType = 0x", usb::bDescriptorType, hexByte, "(0x01 = DEVICE)"},
    Row{" bcdUSB = ", usb::bcdUSB, release},
    Row{" bDeviceClass = 0x", usb::bDeviceClass, hexByte},
    Row{" bDeviceSubClass = 0x", usb::bDeviceSubClass, hexByte},
    Row{" bDeviceProtocol = 0x", usb::bDeviceProtocol, hexByte},
    Row{" bMaxPacketSize = 0x", usb::bMaxPacketSize, hexByte},
    Row{" idVendor = 0x", usb::idVendor, hexWord},
    Row{" idProduct = 0x", usb::idProduct, hexWord},
    Row{" bcdDevice = ", usb::bcdDevice, release},
    Row{"iManufacturer = 0x", usb::iManufacturer, hexByte, " (String Index)"},
    Row{"iProduct = 0x", usb::iProduct, hexByte, " (String Index)"},
    Row{"iSerialNumber = 0x", usb::iSerialNumber, hexByte, " (String Index)"},
    Row{"bNumConfigurations = 0x", usb::bNumConfigurations, hexByte},
};

constexpr std::array ConfigurationRows{
    Row{" bLength = 0x", usb::bLength, hexByte},
    Row{" bDescriptorType = 0x", usb::bDescriptorType, hexByte, " (2 = CONFIGURATION)"},
    Row{" wTotalLength = ", usb::wTotalLength, decimalWord},
    Row{" bNumInterfaces = 0x", usb::bNumInterfaces, hexByte},
    Row{" bConfigurationValue = 0x", usb::bConfigurationValue, hexByte},
    Row{" iConfiguration = 0x", usb::iConfiguration, hexByte, " (String Index)"},
    Row{" bmAttributes = 0x", usb::configurationAttributes, hexByte},
    Row{"", usb::configurationAttributes, powerSource},
    Row{"     Remote Wakeup Supported", usb::configurationAttributes, nullptr, "", RemoteWakeup},
    Row{" MaxPower", usb::bMaxPower, milliamperes, "mA"},
};

constexpr std::array InterfaceRows{
    Row{"\r\n===== Interface ", usb::bInterfaceNumber, decimalByte, " Descriptor ====="},
    Row{" blength = 0x", usb::bLength, hexByte},
    Row{" bDescriptorType = 0x", usb::bDescriptorType, hexByte, " (4 = INTERFACE)"},
    Row{" bInterfaceNumber = 0x", usb::bInterfaceNumber, hexByte},
    Row{" bAlternateSetting = 0x", usb::bAlternateSetting, hexByte},
    Row{" bNumEndpoints = 0x", usb::bNumEndpoints, hexByte},
    Row{" bInterfaceClass = 0x", usb::bInterfaceClass, hexByte},
    Row{" bInterfaceSubClass = 0x", usb::bInterfaceSubClass, hexByte},
    Row{" bInterfaceProtocol = 0x", usb::bInterfaceProtocol, hexByte},
    Row{" iInterface = 0x", usb::iInterface, hexByte, " (String Index)"},
};

constexpr std::array EndpointRows{
    Row{"\r\n===== Endpoint ", usb::bEndpointAddress, endpointInHeading, " Descriptor ====="},
    Row{" blength = 0x", usb::bLength, hexByte},
    Row{" bDescriptorType = 0x", usb::bDescriptorType, hexByte, " (5 = ENDPOINT)"},
    Row{" bEndpointAddress = 0x", usb::bEndpointAddress, hexByte},
    Row{"     Endpoint ", usb::bEndpointAddress, endpointAndDirection},
    Row{" bmAttributes = 0x", usb::endpointAttributes, hexByte},
    Row{"", usb::endpointAttributes, transferType},
    Row{" wMaxPacketSize = ", usb::wMaxPacketSize, decimalWord},
    Row{" bInterval = ", usb::bInterval, decimalByte, " mS"},
};

constexpr std::array ClassOrVendorRows{
    Row{"\r\n===== Class/Vendor Descriptor ====="},
    Row{" blength = 0x", usb::bLength, hexByte},
    Row{" bDescriptorType = 0x", usb::bDescriptorType, hexByte},
    Row{" --- Descriptor Data (hex) ---"},
};

QString render(std::span<const Row> rows, const DescriptorBytes &descriptor)
{
    QString text;
    text.reserve(512);
    for (const Row &row : rows) {
        if (row.onlyWith != 0 && (descriptor.at(row.position) & row.onlyWith) == 0)
            continue;
        text += QLatin1String(row.label);
        if (row.value)
            row.value(text, descriptor, row.position);
        text += QLatin1String(row.ending);
        text += LineEnd;
    }
    return text;
}

} // namespace

QString deviceReport(const DescriptorBytes &device)
{
    return render(DeviceRows, device);
}

QString stringReport(const QString &label, const QString &text)
{
    return LineEnd + QStringLiteral("  === String Descriptor- ") + label + LineEnd +
           QStringLiteral("   ") + text + LineEnd;
}

QString configurationReport(const DescriptorBytes &configuration, int index)
{
    return LineEnd + QStringLiteral("===== Configuration ") + numberText(index) +
           QStringLiteral(" Descriptor =====") + LineEnd + render(ConfigurationRows, configuration);
}

QString interfaceReport(const DescriptorBytes &interfaceDescriptor)
{
    return render(InterfaceRows, interfaceDescriptor);
}

QString endpointReport(const DescriptorBytes &endpoint)
{
    return render(EndpointRows, endpoint);
}

QString classOrVendorReport(const DescriptorBytes &descriptor)
{
    QString text = render(ClassOrVendorRows, descriptor) + QStringLiteral("     ");
    for (const char byte : descriptor.from(usb::firstDataByte)) {
        appendHex(text, static_cast<quint8>(byte));
        text += QLatin1Char(' ');
    }
    return text + LineEnd;
}

} // namespace vantrel
