// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// Codes, masks and constants of the tester's protocol, as they travel on the wire.
namespace vantrel::wire {

constexpr quint8 Esc = 0x1B;
constexpr quint8 Start = 'S'; ///< after Esc: a packet starts
constexpr quint8 End = 'E';   ///< after Esc: the packet is complete

/// First byte of a command. The reply carries the command's code with ReplyFlag set.
namespace Command {
constexpr quint8 DeviceRequest = 0x01;
constexpr quint8 VbusEnable = 0x02;
constexpr quint8 Suspend = 0x03;
constexpr quint8 Resume = 0x04;
constexpr quint8 VbusVoltage = 0x05;
constexpr quint8 ConfigureTester = 0x07;
constexpr quint8 UsbReset = 0x08;
constexpr quint8 DataPort = 0x0A;
constexpr quint8 PortStatusQuery = 0x0B;
constexpr quint8 ScriptDownloadStart = 0x0C;
constexpr quint8 RunScript = 0x0D;
constexpr quint8 CurrentQuery = 0x0E;
constexpr quint8 VersionQuery = 0x0F;
constexpr quint8 ScriptDownloadEnd = 0x21;
constexpr quint8 ScriptOption = 0x22;
constexpr quint8 FlashScript = 0x31;
constexpr quint8 FirmwareStart = 0x32;
constexpr quint8 FirmwareBlock = 0x33;
constexpr quint8 FirmwareProgram = 0x34;
constexpr quint8 ConfigMemoryWrite = 0x35;
constexpr quint8 ConfigMemoryRead = 0x36;
} // namespace Command

constexpr quint8 ReplyFlag = 0x80;

/// First byte of what the tester sends by itself.
namespace Report {
constexpr quint8 DeviceTransfer = 0x89;
constexpr quint8 Connect = 0x90;
constexpr quint8 Status = 0x91;
constexpr quint8 Data = 0x92;
constexpr quint8 DeviceError = 0x93;
constexpr quint8 TesterFail = 0x94;
constexpr quint8 CommandError = 0x95;
constexpr quint8 TriggerInput = 0x96;
constexpr quint8 ScriptLoadError = 0x97;
constexpr quint8 Script = 0xA0;
constexpr quint8 ScriptStopped = 0xA1; ///< only inside a script report
constexpr quint8 Message = 0xA8;
constexpr quint8 BlockTransferStatus = 0xB8;
constexpr quint8 BlockTransfer = 0xB9;
constexpr quint8 StopBlockTransfer = 0xBA;
} // namespace Report

/// Selector of the configure command.
namespace Option {
constexpr quint8 AutoMode = 0x00;
constexpr quint8 ConfigValue = 0x01;
constexpr quint8 VbusAutoRecovery = 0x02;
constexpr quint8 HighSpeedInhibit = 0x06;
} // namespace Option

/// Operation of the flash script command.
namespace FlashOperation {
constexpr quint8 Disable = 0x00;
constexpr quint8 Enable = 0x01;
constexpr quint8 Program = 0x02;
constexpr quint8 InfoQuery = 0x03;
} // namespace FlashOperation

/// Bits of the port status byte.
namespace PortStatus {
constexpr quint8 SpeedMask = 0x43;
constexpr quint8 NoDevice = 0x00;
constexpr quint8 LowSpeed = 0x01;
constexpr quint8 FullSpeed = 0x02;
constexpr quint8 HighSpeed = 0x40;
constexpr quint8 UnknownSpeed = 0x43;
constexpr quint8 PowerOn = 0x04;
constexpr quint8 Suspended = 0x08;
} // namespace PortStatus

/// How a device request ended; all but Ok are the codes of device error reports as well.
namespace DeviceStatus {
constexpr quint8 Ok = 0x00;
constexpr quint8 Stall = 0x0E;
constexpr quint8 NoAnswer = 0x80;
constexpr quint8 DataCrc = 0x81;
constexpr quint8 DataToggle = 0x82;
constexpr quint8 Sync = 0x83;
constexpr quint8 Babble = 0x84;
constexpr quint8 PacketId = 0x85;
constexpr quint8 ShortPacket = 0x86;
constexpr quint8 Configuration = 0x87;
constexpr quint8 Scheduling = 0x88;
constexpr quint8 TransmitFail = 0x89;
} // namespace DeviceStatus

/// Kind byte of the version reply.
namespace VersionKind {
constexpr quint8 Vorn1Revision = 0;
constexpr quint8 Vorn1Special = 1;
constexpr quint8 Vorn2Revision = 2;
constexpr quint8 Vorn2Special = 3;
constexpr quint8 Vorn2Bootstrap = 0x82;
} // namespace VersionKind

/// Vbus voltage code: hundredths of a volt above VoltageBase.
constexpr float VoltageBase = 4.0F;
constexpr float VoltageLowest = 4.25F;
constexpr float VoltageHighest = 5.5F;

constexpr int FirmwareBlockLimit = 4096; ///< bytes
constexpr int FlashNameLength = 8;

} // namespace vantrel::wire
