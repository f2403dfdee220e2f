// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/VornCommands.h"

#include "link/Bytes.h"
#include "link/RuntimeError.h"
#include "link/Utils.h"
#include "link/VornComm.h"
#include "link/Wire.h"
#include "link/Words.h"
#include "link/publicvars.h"

#include <algorithm>
#include <cmath>

namespace vantrel {

using namespace wire;

namespace {

constexpr qint32 ReplyTicks = 20;
constexpr int HighestConfigValue = 3;

quint8 flag(bool on)
{
    return on ? 0x01 : 0x00;
}

quint8 voltageCode(double volts)
{
    return static_cast<quint8>(std::floor((volts - VoltageBase) * 100 + 0.5));
}

} // namespace

bool VornCommands::sendFramed(const QByteArray &body)
{
    m_session.TxPacket = m_session.PacketStart + body + m_session.PacketEnd;
    return m_link.SendPacket(m_session.TxPacket);
}

void VornCommands::sendStuffed(ByteWriter &&body)
{
    QByteArray bytes = body.take();
    sendFramed(StuffEscapes(bytes));
}

void VornCommands::sendOption(quint8 selector, quint8 value)
{
    sendFramed(ByteWriter{Command::ConfigureTester, selector, value}.take());
}

void VornCommands::sendFlash(int slot, quint8 operation, const QByteArray &data)
{
    const auto slotByte = checked<quint8>(slot);
    m_session.FlashStatus = 0;
    sendFramed(ByteWriter{Command::FlashScript, slotByte, operation}.bytes(data).take());
}

bool VornCommands::SendDeviceRequest(QByteArray &block)
{
    block = StuffEscapes(block);
    return sendFramed(ByteWriter{Command::DeviceRequest}.bytes(block).take());
}

void VornCommands::SendVbusEnable(bool on)
{
    sendFramed(ByteWriter{Command::VbusEnable, flag(on)}.take());
}

void VornCommands::SendSuspend()
{
    sendFramed(ByteWriter{Command::Suspend}.take());
}

void VornCommands::SendResume()
{
    sendFramed(ByteWriter{Command::Resume}.take());
}

void VornCommands::SendVbusVoltage()
{
    m_session.VbusVolts = std::clamp(m_session.VbusVolts, VoltageLowest, VoltageHighest);
    sendStuffed(ByteWriter{Command::VbusVoltage, voltageCode(m_session.VbusVolts)});

    m_session.VbusText = fixedText(m_session.VbusVolts, 2);
    m_session.Main.VoltWin.setText(m_session.VbusText);
    m_session.Main.VoltWin.setEnabled(true);
    m_session.Main.VoltSet.setEnabled(false);
}

void VornCommands::SendAutoMode(bool on)
{
    sendOption(Option::AutoMode, flag(on));
}

void VornCommands::SendConfigValue(int value)
{
    sendOption(Option::ConfigValue, static_cast<quint8>(std::clamp(value, 0, HighestConfigValue)));
}

void VornCommands::SendVbusAutoRecovery(bool on)
{
    sendOption(Option::VbusAutoRecovery, flag(on));
}

void VornCommands::SendHighSpeedInhibit(bool inhibit)
{
    sendOption(Option::HighSpeedInhibit, flag(inhibit));
}

void VornCommands::SendUsbReset()
{
    sendFramed(ByteWriter{Command::UsbReset}.take());
}

void VornCommands::SendDataPort(int value)
{
    sendStuffed(ByteWriter{Command::DataPort, checked<quint8>(value)});
}

void VornCommands::SendPortStatusQuery()
{
    sendFramed(ByteWriter{Command::PortStatusQuery}.take());
}

void VornCommands::SendCurrentQuery()
{
    sendFramed(ByteWriter{Command::CurrentQuery}.take());
}

void VornCommands::SendVersionQuery()
{
    sendFramed(ByteWriter{Command::VersionQuery}.take());
}

void VornCommands::SendScriptDownloadStart()
{
    sendFramed(ByteWriter{Command::ScriptDownloadStart}.take());
}

void VornCommands::SendScriptDownloadEnd()
{
    sendFramed(ByteWriter{Command::ScriptDownloadEnd}.take());
}

void VornCommands::SendScriptOption(bool on)
{
    sendFramed(ByteWriter{Command::ScriptOption, flag(on)}.take());
}

void VornCommands::SendRunScript()
{
    m_session.leases.beginRun();
    sendFramed(ByteWriter{Command::RunScript}.take());
}

void VornCommands::RestoreAutoMode()
{
    if (m_session.Main.Automode.isChecked())
        SendAutoMode(true);
    m_session.leases.endRun();
}

void VornCommands::SendFlashScriptEnable(int slot, bool enable)
{
    sendFlash(slot, enable ? FlashOperation::Enable : FlashOperation::Disable);
}

void VornCommands::SendFlashScriptProgram(int slot)
{
    QString &name = m_session.FlashScriptName;
    name.truncate(FlashNameLength);
    sendFlash(slot, FlashOperation::Program, name.leftJustified(FlashNameLength).toLatin1());
}

void VornCommands::SendFlashScriptInfoQuery(int slot)
{
    sendFlash(slot, FlashOperation::InfoQuery);
}

QCoro::Task<bool> VornCommands::awaitReply(std::function<bool()> hasReply, CancelToken token)
{
    const auto ended = [hasReply, token] { return hasReply() || !token.isActive(); };
    const WaitEnd end = co_await m_session.waits.until(ended, deadlineIn(m_session, ReplyTicks));
    co_return end == WaitEnd::Answered &&token.isActive();
}

QCoro::Task<bool> VornCommands::WaitFlashResponse(CancelToken token)
{
    const std::function<bool()> hasReply = [this] { return m_session.FlashStatus != 0; };
    const bool replied = co_await awaitReply(hasReply, token);
    co_return replied &&m_session.FlashStatus == 1;
}

void VornCommands::SendFirmwareStart(qint32 length)
{
    if (length < 0)
        throw RuntimeError::overflow();
    ByteWriter body{Command::FirmwareStart};
    sendStuffed(std::move(body.doubleWord(static_cast<quint32>(length))));
}

void VornCommands::SendFirmwareBlock(const QByteArray &data)
{
    if (data.size() > FirmwareBlockLimit)
        throw RuntimeError::overflow();
    ByteWriter body{Command::FirmwareBlock};
    sendStuffed(std::move(body.bytes(data)));
}

void VornCommands::SendFirmwareProgram(quint32 checkValue)
{
    ByteWriter body{Command::FirmwareProgram};
    sendStuffed(std::move(body.doubleWord(checkValue)));
}

void VornCommands::SendConfigMemoryWrite(int address, const QByteArray &data)
{
    ByteWriter body{Command::ConfigMemoryWrite};
    sendStuffed(std::move(body.word(checked<quint16>(address)).bytes(data)));
}

QCoro::Task<int> VornCommands::SendConfigMemoryRead(int address, QByteArray &buffer, int count,
                                                    CancelToken token)
{
    ByteWriter body{Command::ConfigMemoryRead};
    body.word(checked<quint16>(address)).word(checked<quint16>(count));
    m_session.ConfigReadDone = false;
    sendStuffed(std::move(body));

    const std::function<bool()> hasReply = [this] { return m_session.ConfigReadDone; };
    const bool replied = co_await awaitReply(hasReply, token);
    if (!replied)
        co_return 1;
    const QByteArray &data = m_session.ConfigReadData;
    buffer.replace(0, std::min(buffer.size(), data.size()), data);
    co_return 0;
}

} // namespace vantrel
