// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/CommandTable.h"

#include "link/Bytes.h"
#include "link/Wire.h"
#include "simulator/CurrentReading.h"
#include "simulator/TesterState.h"

#include <algorithm>
#include <array>

namespace vantrel::simulator {

namespace Command = wire::Command;

namespace {

using Reply = std::optional<QByteArray>;

constexpr std::nullopt_t CommandError = std::nullopt;
constexpr quint8 HighestConfigValue = 3;

quint8 byteAt(const ByteReader &command, qsizetype position)
{
    return command.at(position).value_or(0);
}

/// The command's code with the reply flag, then the data.
Reply reply(const ByteReader &command, QByteArrayView data = {})
{
    const auto code = static_cast<quint8>(byteAt(command, 1) | wire::ReplyFlag);
    return ByteWriter{code}.bytes(data).take();
}

/// The report that a step has been stored (or, outside a download, that the script has ended).
QByteArray stepReport(quint16 index, quint8 code)
{
    return ByteWriter{wire::Report::Script}.word(index).byte(code).take();
}

/// An address with bit 7 set marks the form of the manual mode: one more byte, of the packet size
/// and the speed to use, stands before the setup packet.
Reply deviceRequest(TesterState &state, const ByteReader &command)
{
    constexpr quint8 ManualMode = 0x80;
    const quint8 address = byteAt(command, 2);
    const bool manual = (address & ManualMode) != 0 && state.settings.knowsManualRequests();
    const qsizetype setupPosition = manual ? 4 : 3;
    const qsizetype dataPosition = setupPosition + SetupPacket::Size;
    if (!command.at(dataPosition - 1))
        return CommandError;
    const SetupPacket setup = SetupPacket::read(command, setupPosition);
    const DeviceAnswer answer =
        state.port.request(static_cast<quint8>(manual ? address & ~ManualMode : address), setup,
                           command.from(dataPosition));
    if (!answer.ended)
        return QByteArray();
    return reply(command, ByteWriter{answer.status}.bytes(answer.data).take());
}

Reply vbusEnable(TesterState &state, const ByteReader &command)
{
    state.port.setVbus(byteAt(command, 2) != 0);
    return reply(command);
}

Reply suspend(TesterState &state, const ByteReader &command)
{
    state.port.suspend();
    return reply(command);
}

Reply resume(TesterState &state, const ByteReader &command)
{
    state.port.resume();
    return reply(command);
}

Reply vbusVoltage(TesterState &state, const ByteReader &command)
{
    state.port.setVoltageCode(byteAt(command, 2));
    return reply(command);
}

Reply configureTester(TesterState &state, const ByteReader &command)
{
    const quint8 value = byteAt(command, 3);
    switch (byteAt(command, 2)) {
    case wire::Option::AutoMode:
        state.automaticMode.setOn(value != 0);
        break;
    case wire::Option::ConfigValue:
        if (value > HighestConfigValue)
            return CommandError;
        state.configValue = value;
        break;
    case wire::Option::VbusAutoRecovery:
        state.port.setAutoRecovery(value != 0);
        break;
    case wire::Option::HighSpeedInhibit:
        state.port.setHighSpeedInhibit(value != 0);
        break;
    default:
        return CommandError;
    }
    return reply(command);
}

Reply usbReset(TesterState &state, const ByteReader &command)
{
    state.port.reset();
    if (state.automaticMode.isOn() && state.port.vbus())
        state.port.configureDevices();
    return reply(command);
}

Reply dataPort(TesterState &state, const ByteReader &command)
{
    state.dataPort = byteAt(command, 2);
    return reply(command);
}

Reply portStatusQuery(TesterState &state, const ByteReader &command)
{
    return reply(command, ByteWriter{state.port.status()}.take());
}

Reply scriptDownloadStart(TesterState &state, const ByteReader &command)
{
    state.script.startDownload();
    return reply(command);
}

Reply runScript(TesterState & /*state*/, const ByteReader &command)
{
    return reply(command);
}

Reply currentQuery(TesterState &state, const ByteReader &command)
{
    return reply(command, currentReading(state.settings.model, state.port.current()));
}

Reply versionQuery(TesterState &state, const ByteReader &command)
{
    const Settings &settings = state.settings;
    if (!settings.knowsVersionQuery())
        return CommandError;
    state.automaticMode.announceAnew(); // asked by a console that connects, on any kind of link
    ByteWriter version{settings.versionKind(), settings.major, settings.minor};
    return reply(command, version.word(settings.ramK).take());
}

Reply scriptDownloadEnd(TesterState &state, const ByteReader &command)
{
    const qsizetype index = std::min(state.script.steps().size(), ScriptMemory::LastIndex);
    return stepReport(static_cast<quint16>(index), byteAt(command, 1));
}

Reply scriptOption(TesterState &state, const ByteReader &command)
{
    state.script.setOption(byteAt(command, 2) != 0);
    return QByteArray();
}

Reply flashScript(TesterState &state, const ByteReader &command)
{
    const quint8 slot = byteAt(command, 2);
    switch (byteAt(command, 3)) {
    case wire::FlashOperation::Disable:
        state.flash.setEnabled(slot, false);
        break;
    case wire::FlashOperation::Enable:
        state.flash.setEnabled(slot, true);
        break;
    case wire::FlashOperation::Program: {
        const QByteArray name = command.from(4).toByteArray();
        if (name.size() != wire::FlashNameLength ||
            !state.flash.program(slot, name, state.script.steps()))
            return CommandError;
        break;
    }
    case wire::FlashOperation::InfoQuery: {
        const FlashMemory::Slot &info = state.flash.slot(slot);
        return reply(command, ByteWriter{info.state}.bytes(info.name).take());
    }
    default:
        return CommandError;
    }
    return reply(command);
}

Reply firmwareStart(TesterState &state, const ByteReader &command)
{
    if (!state.firmware.start(state.settings.model, command.doubleWord(2).value_or(0)))
        return CommandError;
    return reply(command);
}

Reply firmwareBlock(TesterState &state, const ByteReader &command)
{
    const QByteArrayView block = command.from(2);
    if (block.size() > wire::FirmwareBlockLimit)
        return CommandError;
    const std::optional<quint32> count = state.firmware.append(block);
    return count ? reply(command, ByteWriter().doubleWord(*count).take()) : CommandError;
}

Reply firmwareProgram(TesterState &state, const ByteReader &command)
{
    if (!state.firmware.accept(state.settings.model, command.doubleWord(2).value_or(0)))
        return CommandError;
    return reply(command);
}

Reply configMemoryWrite(TesterState &state, const ByteReader &command)
{
    if (!state.configMemory.write(command.word(2).value_or(0), command.from(4)))
        return CommandError;
    return reply(command);
}

Reply configMemoryRead(TesterState &state, const ByteReader &command)
{
    const std::optional<QByteArray> data =
        state.configMemory.read(command.word(2).value_or(0), command.word(4).value_or(0));
    return data ? reply(command, *data) : CommandError;
}

struct Entry
{
    quint8 code;
    qsizetype shortestBody; // code included
    bool inBootstrap;       // known to the bootstrap loader
    Reply (*handler)(TesterState &, const ByteReader &);
};

constexpr std::array<Entry, 21> Commands = {{
    {Command::DeviceRequest, 2 + SetupPacket::Size, false, &deviceRequest},
    {Command::VbusEnable, 2, false, &vbusEnable},
    {Command::Suspend, 1, false, &suspend},
    {Command::Resume, 1, false, &resume},
    {Command::VbusVoltage, 2, false, &vbusVoltage},
    {Command::ConfigureTester, 3, false, &configureTester},
    {Command::UsbReset, 1, false, &usbReset},
    {Command::DataPort, 2, false, &dataPort},
    {Command::PortStatusQuery, 1, true, &portStatusQuery},
    {Command::ScriptDownloadStart, 1, false, &scriptDownloadStart},
    {Command::RunScript, 1, false, &runScript},
    {Command::CurrentQuery, 1, false, &currentQuery},
    {Command::VersionQuery, 1, true, &versionQuery},
    {Command::ScriptDownloadEnd, 1, false, &scriptDownloadEnd},
    {Command::ScriptOption, 2, false, &scriptOption},
    {Command::FlashScript, 3, false, &flashScript},
    {Command::FirmwareStart, 5, true, &firmwareStart},
    {Command::FirmwareBlock, 2, true, &firmwareBlock},
    {Command::FirmwareProgram, 5, true, &firmwareProgram},
    {Command::ConfigMemoryWrite, 4, false, &configMemoryWrite},
    {Command::ConfigMemoryRead, 5, false, &configMemoryRead},
}};

constexpr bool codeBelow(const Entry &entry, quint8 code)
{
    return entry.code < code;
}

static_assert(std::adjacent_find(Commands.begin(), Commands.end(),
                                 [](const Entry &a, const Entry &b) { return a.code >= b.code; }) ==
                  Commands.end(),
              "looked up by halving: ascending, each code once");

} // namespace

std::optional<QByteArray> execute(TesterState &state, const QByteArray &command)
{
    const ByteReader reader(command);
    const quint8 code = byteAt(reader, 1);
    if (state.script.isDownloading() && code != Command::ScriptDownloadStart)
        return stepReport(state.script.store(command), code);

    const auto *const entry = std::lower_bound(Commands.begin(), Commands.end(), code, codeBelow);
    if (entry == Commands.end() || entry->code != code || command.size() < entry->shortestBody ||
        (state.settings.inBootstrap() && !entry->inBootstrap))
        return CommandError;
    return entry->handler(state, reader);
}

} // namespace vantrel::simulator
