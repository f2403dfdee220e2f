// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// Standard descriptors of USB devices (USB 2.0, 9.5 and 9.6). Positions of fields count from 1.
namespace vantrel::usb {

constexpr quint8 StandardDeviceToHost = 0x80; ///< bmRequestType
constexpr quint8 GetDescriptor = 0x06;        ///< bRequest
constexpr quint16 EnglishUnitedStates = 0x0409;

/// bDescriptorType.
namespace DescriptorType {
constexpr quint8 Device = 1;
constexpr quint8 Configuration = 2;
constexpr quint8 String = 3;
constexpr quint8 Interface = 4;
constexpr quint8 Endpoint = 5;
} // namespace DescriptorType

constexpr int DeviceDescriptorLength = 18; ///< bytes
/// Bytes of a configuration, or of a string, that tell how long the whole is.
constexpr int ConfigurationProbeLength = 8;
constexpr int StringProbeLength = 3;

// Of every descriptor
constexpr int bLength = 1;
constexpr int bDescriptorType = 2;

// Device
constexpr int bcdUSB = 3;
constexpr int bDeviceClass = 5;
constexpr int bDeviceSubClass = 6;
constexpr int bDeviceProtocol = 7;
constexpr int bMaxPacketSize = 8;
constexpr int idVendor = 9;
constexpr int idProduct = 11;
constexpr int bcdDevice = 13;
constexpr int iManufacturer = 15;
constexpr int iProduct = 16;
constexpr int iSerialNumber = 17;
constexpr int bNumConfigurations = 18;

// Configuration
constexpr int wTotalLength = 3;
constexpr int bNumInterfaces = 5;
constexpr int bConfigurationValue = 6;
constexpr int iConfiguration = 7;
constexpr int configurationAttributes = 8;
constexpr int bMaxPower = 9;

// String
constexpr int firstCodeUnit = 3;

// Interface
constexpr int bInterfaceNumber = 3;
constexpr int bAlternateSetting = 4;
constexpr int bNumEndpoints = 5;
constexpr int bInterfaceClass = 6;
constexpr int bInterfaceSubClass = 7;
constexpr int bInterfaceProtocol = 8;
constexpr int iInterface = 9;

// Endpoint
constexpr int bEndpointAddress = 3;
constexpr int endpointAttributes = 4;
constexpr int wMaxPacketSize = 5;
constexpr int bInterval = 7;

// Class or vendor specific
constexpr int firstDataByte = 3;

} // namespace vantrel::usb
