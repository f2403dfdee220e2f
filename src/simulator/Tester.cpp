// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Tester.h"

#include "link/Bytes.h"
#include "link/Deframer.h"
#include "link/Wire.h"
#include "simulator/BuiltInDevices.h"
#include "simulator/CommandTable.h"

#include <QScopedValueRollback>

#include <utility>

namespace vantrel::simulator {

namespace Report = wire::Report;

namespace {

constexpr quint8 DeviceRequestReply = wire::Command::DeviceRequest | wire::ReplyFlag;

bool isAutoModeOn(const ByteReader &command)
{
    return command.at(1) == wire::Command::ConfigureTester &&
           command.at(2) == wire::Option::AutoMode && command.at(3).value_or(0) != 0;
}

} // namespace

Tester::Tester(const Settings &settings)
    : m_state{settings},
      m_run(
          m_clock, m_state.script, [this](const QByteArray &step) { return carryOut(step); },
          [this](const QByteArray &report) {
              sendPacket(report);
              followBus();
              followFirmware();
          }),
      m_update(m_clock, m_state, m_faults,
               [this] {
                   startConversation();
                   emit restarted();
               }),
      m_recovery(m_clock, [this] {
          m_state.port.recover();
          followBus();
      })
{
    connect(&m_outlet, &Outlet::bytesReady, this, &Tester::bytesReady);
    connect(&m_outlet, &Outlet::connectionDropped, this, &Tester::connectionDropped);
    connect(&m_outlet, &Outlet::packetsDropped, this, &Tester::packetsDropped);
}

void Tester::receive(QByteArrayView bytes)
{
    if (m_update.isAway())
        return;
    m_input.append(bytes);
    if (m_receiving)
        return; // the console answered from inside an answer; the outer call goes on with it
    const QScopedValueRollback busy(m_receiving, true);
    while (!m_input.isEmpty()) {
        const QByteArray chunk = std::exchange(m_input, {});
        deframe(m_rxState, m_rxBody, chunk, [this] { handle(m_rxBody); });
        dropEndlessCommand();
    }
}

void Tester::dropEndlessCommand()
{
    if (m_rxBody.size() <= CommandLimit)
        return;
    m_rxBody = QByteArray();
    m_rxState = RxStates::Hunting;
}

void Tester::startConversation()
{
    m_input.clear();
    m_rxState = RxStates::Hunting;
    m_outlet.discard();
    m_state.script.endDownload();
    m_state.firmware.forgetDownload();
    m_run.abandon();
    m_state.automaticMode.announceAnew();
}

void Tester::handle(const QByteArray &command)
{
    if (m_update.isAway())
        return; // came in one read with the order to program
    if (m_recording)
        m_commandsSeen.append(command);
    emit commandReceived(command);
    endStaleDownload();
    if (belongsToRefusedScript(command))
        return;
    if (refusesStep(command)) {
        m_state.script.refuseDownload();
        reportScriptLoadError();
        return;
    }
    const bool stored = m_state.script.isDownloading();
    const bool done = answer(command);
    if (done && !stored)
        followScript(command);
    followBus();
    followFirmware();
}

/// A console that has given up on a download does not say so: what it sends next is meant for the
/// tester, not for the script.
void Tester::endStaleDownload()
{
    const qint64 silence = m_clock.now() - std::exchange(m_lastCommand, m_clock.now());
    if (silence >= DownloadTimeout)
        m_state.script.endDownload();
}

/// Too many bytes for the memory, too many steps to number, or a step that is chosen to be refused.
bool Tester::refusesStep(const QByteArray &command) const
{
    const ScriptMemory &script = m_state.script;
    const auto code = ByteReader(command).at(1);
    if (!script.isDownloading() || code == wire::Command::ScriptDownloadStart)
        return false;
    const bool unnumbered = script.steps().size() == ScriptMemory::LastIndex &&
                            code != wire::Command::ScriptDownloadEnd;
    const qsizetype memory = qsizetype{m_state.settings.ramK} * 1024;
    return unnumbered || script.steps().size() == m_faults.refusedStep ||
           script.size() + command.size() > memory;
}

/// The console learns of a refusal while the rest of the script is on its way. That must not be
/// taken for commands: it is dropped up to its end, to the next download, or to a silence of
/// DownloadTimeout. No other command ends the dropping, because any may be a step; the console
/// stays silent longer than that before it gives up and switches automatic mode back on.
bool Tester::belongsToRefusedScript(const QByteArray &command)
{
    if (!m_state.script.isRefused())
        return false;
    const ByteReader reader(command);
    const bool ends = reader.at(1) == wire::Command::ScriptDownloadEnd;
    if (ends || reader.at(1) == wire::Command::ScriptDownloadStart)
        m_state.script.endDownload();
    return ends || m_state.script.isRefused();
}

/// The run command starts the stored script; automatic mode, switched on meanwhile, stops it. A
/// download takes the script away from under a run: nothing is left to stop at, and a stop report
/// would look like the end of the download.
void Tester::followScript(const QByteArray &command)
{
    const ByteReader reader(command);
    if (reader.at(1) == wire::Command::RunScript)
        m_run.start();
    else if (reader.at(1) == wire::Command::ScriptDownloadStart)
        m_run.abandon();
    else if (isAutoModeOn(reader))
        m_run.stop();
}

/// False when the command was refused.
bool Tester::answer(const QByteArray &command)
{
    const auto reply = carryOut(command);
    if (m_faults.silence.contains(ByteReader(command).at(1).value_or(0)))
        return reply.has_value();
    if (!reply)
        sendAnswer(ByteWriter{Report::CommandError}.take());
    else if (!reply->isEmpty())
        sendAnswer(*reply);
    return reply.has_value();
}

void Tester::sendAnswer(const QByteArray &body)
{
    const QByteArray sent = body.left(m_faults.shortReply.value_or(body.size()));
    sendPacket(sent);
    if (m_faults.doubleReply)
        sendPacket(sent);
}

/// What goes wrong with a command goes wrong with a step of a running script as well.
std::optional<QByteArray> Tester::carryOut(const QByteArray &command)
{
    const quint8 code = ByteReader(command).at(1).value_or(0);
    if (m_faults.refusal.contains(code))
        return std::nullopt;
    if (code == wire::Command::DeviceRequest && m_faults.deviceStatus &&
        !m_state.script.isDownloading())
        return ByteWriter{DeviceRequestReply, *m_faults.deviceStatus}.take();
    if (code == wire::Command::FlashScript && !m_state.script.isDownloading())
        return carryOutOnFlash(command);
    return execute(m_state, command);
}

std::optional<QByteArray> Tester::carryOutOnFlash(const QByteArray &command)
{
    const ByteReader reader(command);
    const auto operation = reader.at(3);
    if (operation && m_faults.flashFailure.contains(*operation)) {
        if (operation == wire::FlashOperation::Program)
            m_state.flash.erase(reader.at(2).value_or(0));
        return std::nullopt;
    }
    auto reply = execute(m_state, command);
    if (reply && operation == wire::FlashOperation::InfoQuery && m_faults.flashState)
        (*reply)[1] = static_cast<char>(*m_faults.flashState);
    return reply;
}

void Tester::followBus()
{
    const QList<QByteArray> reports = m_state.automaticMode.follow(m_state.port);
    for (const QByteArray &report : reports)
        sendPacket(report);
}

void Tester::followFirmware()
{
    if (m_update.begin())
        m_run.abandon();
}

bool Tester::attach(std::unique_ptr<VirtualDevice> device, quint8 address)
{
    device->setFaults(&m_faults);
    if (!m_state.port.attach(std::move(device), address))
        return false;
    followBus();
    return true;
}

std::unique_ptr<VirtualDevice> Tester::detach(quint8 address)
{
    std::unique_ptr<VirtualDevice> device = m_state.port.detach(address);
    if (device)
        device->setFaults(nullptr);
    followBus();
    return device;
}

void Tester::overloadVbus()
{
    m_state.port.overload();
    followBus();
    m_recovery.set(RecoveryTime);
}

void Tester::dropConnection()
{
    m_outlet.discard();
    emit connectionDropped();
}

void Tester::sendPacket(const QByteArray &body)
{
    if (m_faults.silence.all || m_update.isAway())
        return;
    emit packetSent(body);
    m_outlet.sendPacket(body);
}

bool Tester::reportConnect(quint8 address)
{
    const VirtualDevice *device = m_state.port.deviceAt(address);
    if (device)
        sendPacket(connectReport(*device));
    return device != nullptr;
}

void Tester::reportDisconnect(quint8 address)
{
    sendPacket(disconnectReport(address));
}

void Tester::reportStatus(quint8 hubAddress, quint8 port, quint16 status)
{
    sendPacket(ByteWriter{Report::Status, hubAddress, port}.wordLowFirst(status).take());
}

void Tester::reportData(quint8 address, quint8 endpoint, QByteArrayView data)
{
    sendPacket(ByteWriter{Report::Data, address, endpoint}.bytes(data).take());
}

void Tester::reportDeviceTransfer(quint8 status, QByteArrayView data)
{
    sendPacket(ByteWriter{Report::DeviceTransfer, status}.bytes(data).take());
}

void Tester::reportDeviceError(quint8 address, quint8 endpoint, quint8 code)
{
    sendPacket(ByteWriter{Report::DeviceError, address, endpoint, code}.take());
}

void Tester::reportFail()
{
    sendPacket(ByteWriter{Report::TesterFail}.take());
}

void Tester::reportCommandError()
{
    sendPacket(ByteWriter{Report::CommandError}.take());
}

void Tester::reportTrigger(quint8 channel)
{
    sendPacket(ByteWriter{Report::TriggerInput, channel}.take());
}

void Tester::reportScriptLoadError()
{
    sendPacket(ByteWriter{Report::ScriptLoadError}.take());
}

void Tester::reportScript(quint16 index, QByteArrayView inner)
{
    sendPacket(ByteWriter{Report::Script}.word(index).bytes(inner).take());
}

void Tester::reportMessage(QByteArrayView data)
{
    sendPacket(ByteWriter{Report::Message}.bytes(data).take());
}

void Tester::reportBlockTransferStatus(quint8 state, quint8 status, QByteArrayView data)
{
    sendPacket(ByteWriter{Report::BlockTransferStatus, state, status}.bytes(data).take());
}

void Tester::reportBlockTransfer()
{
    sendPacket(ByteWriter{Report::BlockTransfer}.take());
}

void Tester::reportStopBlockTransfer()
{
    sendPacket(ByteWriter{Report::StopBlockTransfer}.take());
}

std::unique_ptr<Tester> makeDefaultTester(const Settings &settings)
{
    auto tester = std::make_unique<Tester>(settings);
    attachBuiltInDevices(*tester, devicesAtStart());
    return tester;
}

bool attachBuiltInDevices(Tester &tester, const QStringList &names)
{
    bool all = true;
    for (const QString &name : names) {
        const BuiltInDevice *device = findBuiltInDevice(name);
        if (device == nullptr || !tester.attach(device->make(), device->address))
            all = false;
    }
    return all;
}

} // namespace vantrel::simulator
