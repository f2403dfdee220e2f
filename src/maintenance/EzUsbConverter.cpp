// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/EzUsbConverter.h"

#include "link/Dialogs.h"
#include "link/ErrorBoundary.h"
#include "link/FilePath.h"
#include "link/NumberEntry.h"
#include "link/RuntimeError.h"
#include "link/Utils.h"
#include "link/VornComm.h"
#include "link/WholeFile.h"
#include "link/Words.h"
#include "maintenance/IntelHex.h"
#include "protocol/SetupPacket.h"
#include "protocol/VornCommands.h"
#include "protocol/VornScript.h"

#include <optional>
#include <utility>

namespace vantrel {

namespace {

/// A negative number stays negative, and no device has such an address.
constexpr NumberFormat AddressFormat{Notation::Prefixed, NumberFormat::NoLimit, 0x7F,
                                     prefixedByteText};
constexpr qint32 EndTicks = 50;

constexpr quint8 VendorOut = 0x40;
constexpr quint8 FirmwareLoad = 0xA0;

/// Register of the device's CPU: 1 holds it in reset, 0 lets it run.
namespace CpuControl {
constexpr quint16 EzUsb = 0x7F92;
constexpr quint16 Fx2 = 0xE600;
} // namespace CpuControl

/// "my.fw.hex" gives "my.vn".
QString scriptName(const QString &path)
{
    const QString name = path.section(QLatin1Char('/'), -1);
    return shownPath(name.section(QLatin1Char('.'), 0, 0)) + QStringLiteral(".vn");
}

} // namespace

QByteArray ezUsbWriteRequest(qint32 device, quint16 address, QByteArrayView data)
{
    const SetupPacket setup{VendorOut, FirmwareLoad, address, 0, checked<quint8>(data.size())};
    return deviceRequest(device, setup, data);
}

EzUsbConverter::EzUsbConverter(Session &session, VornComm &link, VornCommands &commands,
                               Dialogs &dialogs, ErrorBoundary &errors)
    : m_session(session), m_link(link), m_commands(commands), m_dialogs(dialogs), m_errors(errors),
      m_closeGuard(session, dialogs, WriteKind::EzUsbLoad)
{
}

void EzUsbConverter::opened()
{
    m_opening.cancel();
    for (Control *control : {&m_controls.filename, &m_controls.FNLabel, &m_controls.Loaded,
                             &m_controls.LinesLabel, &m_controls.busy, &m_controls.ConvertProgress})
        control->setVisible(false);
    m_controls.Address.setText(QStringLiteral("0x02"));
    m_controls.LoadFW.setEnabled(true);
    m_controls.optFX2.setChecked(false);
    m_controls.optEZUSB.setChecked(true);
}

void EzUsbConverter::closed()
{
    m_opening.cancel();
    m_session.waits.check();
}

bool EzUsbConverter::addressLeft()
{
    return m_errors.runNow([this] { commitNumber(m_controls.Address, AddressFormat); });
}

void EzUsbConverter::loadClicked()
{
    m_errors.run([this] { return load(); });
}

QCoro::Task<> EzUsbConverter::load()
{
    if (const auto underWay = m_session.leases.conflict(LongExchange::EzUsbLoad)) {
        const Message refusal = refusalBox(*underWay);
        co_await m_dialogs.messageBox(refusal);
        co_return;
    }
    const CancelToken token(m_session, m_opening);
    m_controls.LoadFW.setEnabled(false);
    const FileChoice choice{FileChoice::Kind::OpenExisting,
                            QStringLiteral("Open EZ-USB Firmware File"),
                            QStringLiteral("EZ USB Firmware Files|*.hex"), QStringLiteral("hex"),
                            QStringLiteral("*.hex")};
    const QString path = co_await m_dialogs.fileDialog(choice);

    std::optional<RuntimeError> failure;
    if (!path.isEmpty() && !token.isLinkKept()) {
        ShowStatusLine(m_session, QStringLiteral("The connection has ended: no firmware was sent"));
    } else if (!path.isEmpty() && token.isWindowOpen()) {
        std::optional<LinkLease> lease = m_session.leases.acquire(LongExchange::EzUsbLoad);
        if (!lease) {
            const Message refusal = refusalBox(*m_session.leases.current());
            m_controls.LoadFW.setEnabled(true);
            co_await m_dialogs.messageBox(refusal);
            co_return;
        }
        try {
            co_await convert(path, std::move(*lease));
        } catch (const RuntimeError &error) {
            failure = error;
        }
    }

    if (m_session.Main.Automode.isChecked() && m_link.isConnected())
        m_commands.SendAutoMode(true);
    if (token.isWindowOpen())
        emit closeWanted();
    if (failure)
        throw RuntimeError(*failure);
}

QCoro::Task<> EzUsbConverter::convert(QString path, LinkLease lease)
{
    const CancelToken token(m_session, m_opening);
    WholeFile file(path, FileLimits::IntelHex);
    const auto onlyRead = [](QByteArrayView /*slice*/) {};
    const bool read = co_await readInTurns(m_session.waits, file, onlyRead);
    if (!read || !token.isWindowOpen())
        co_return;
    if (!token.isLinkKept()) {
        ShowStatusLine(m_session, QStringLiteral("The connection has ended: no firmware was sent"));
        co_return;
    }
    TextLines lines(file.take());
    showFile(path);
    const bool complete = co_await download(lines, lease, token);
    if (!complete)
        co_return;
    lease.releaseForRun();
    co_await showComplete(path);
}

/// What others send waits until the download has ended in the tester too. True when the tester has
/// reported the end of a complete script.
QCoro::Task<bool> EzUsbConverter::download(TextLines &lines, LinkLease &lease,
                                           const CancelToken &token)
{
    PacketHold others(m_link);
    lease.setBusy();
    beginDownload(others);
    std::optional<PendingWrite> write(std::in_place, m_session, WriteKind::EzUsbLoad, lines.size());
    showProgress(lines, *write);

    Ending ending = Ending::Stopped;
    std::optional<RuntimeError> failure;
    try {
        ending = co_await sendFirmware(lines, others, *write, token);
    } catch (const RuntimeError &error) {
        failure = error;
    }

    if (ending == Ending::Complete) {
        const bool reported = co_await awaitEnd(token);
        co_return reported;
    }
    write.reset();
    if (ending != Ending::Stopped) {
        const QString text = ending == Ending::NoRecord
                                 ? QStringLiteral("Error in Firmware File")
                                 : QStringLiteral("Premature End of Firmware File");
        co_await showMessage(text, QStringLiteral("Line ") + numberText(m_line));
    }
    co_await endDownload(others, token);
    if (failure)
        throw RuntimeError(*failure);
    co_return false;
}

void EzUsbConverter::showFile(const QString &path)
{
    m_controls.filename.setText(shownPath(path));
    m_line = 0;
    m_controls.Loaded.setText(QStringLiteral("0"));
    for (Control *control :
         {&m_controls.filename, &m_controls.FNLabel, &m_controls.Loaded, &m_controls.LinesLabel})
        control->setVisible(true);
}

void EzUsbConverter::beginDownload(PacketHold &others)
{
    beginStoredSteps(m_session);
    m_session.ScriptDone = false;
    m_session.ScriptError = false;
    others.own([this] {
        m_commands.SendAutoMode(false);
        m_commands.SendScriptDownloadStart();
        m_commands.SendScriptOption(true);
    });
    m_controls.busy.setVisible(true);
    m_controls.ConvertProgress.setVisible(true);
}

bool EzUsbConverter::isExchangeActive(const CancelToken &token) const
{
    return token.isActive() && m_link.isConnected();
}

/// The tester keeps what it has as a script that ends here.
QCoro::Task<> EzUsbConverter::endDownload(PacketHold &others, const CancelToken &token)
{
    if (!token.isLinkKept() || !m_link.isConnected())
        co_return;
    others.own([this] { m_commands.SendScriptDownloadEnd(); });
    // Probing would change the baud rate while the line transmits.
    const auto reported = [this] { return m_session.ScriptDone; };
    co_await m_link.bytesSent(reported);
}

void EzUsbConverter::send(PacketHold &others, quint16 address, QByteArrayView data)
{
    QString device = m_controls.Address.text();
    QByteArray request = ezUsbWriteRequest(ParseNumber(device), address, data);
    others.own([this, &request] { m_commands.SendDeviceRequest(request); });
}

void EzUsbConverter::holdCpu(PacketHold &others, bool hold)
{
    const bool fx2 = m_controls.optFX2.isChecked();
    const char data = hold ? 0x01 : 0x00;
    send(others, fx2 ? CpuControl::Fx2 : CpuControl::EzUsb, QByteArrayView(&data, 1));
}

QCoro::Task<EzUsbConverter::Ending> EzUsbConverter::sendFirmware(TextLines &lines,
                                                                 PacketHold &others,
                                                                 PendingWrite &write,
                                                                 const CancelToken &token)
{
    holdCpu(others, true);
    const Ending ending = co_await sendRecords(lines, others, write, token);
    if (ending == Ending::Complete) {
        holdCpu(others, false);
        others.own([this] { m_commands.SendScriptDownloadEnd(); });
    }
    co_return ending;
}

QCoro::Task<EzUsbConverter::Ending> EzUsbConverter::sendRecords(TextLines &lines,
                                                                PacketHold &others,
                                                                PendingWrite &write,
                                                                const CancelToken &token)
{
    for (;;) {
        if (lines.atEnd())
            co_return Ending::NoLastRecord;
        const HexRecord record(lines.next());
        m_line = checked<qint16>(qint64{m_line} + 1);
        if (!record.hasMark())
            co_return Ending::NoRecord;
        if (record.length() == 0)
            co_return Ending::Complete;
        send(others, record.address(), record.data());

        const WaitEnd turn = co_await m_session.waits.oneTurn();
        const bool accepted = co_await m_link.bytesAccepted();
        if (!accepted || m_session.ScriptError || turn == WaitEnd::Closed ||
            !isExchangeActive(token))
            co_return Ending::Stopped;
        m_controls.Loaded.setText(numberText(m_line));
        showProgress(lines, write);
    }
}

void EzUsbConverter::showProgress(const TextLines &lines, PendingWrite &write)
{
    write.setDone(lines.position());
    m_controls.ConvertProgress.setProgress(
        {static_cast<int>(lines.position()), static_cast<int>(lines.size())});
    m_controls.ConvertProgress.setText(
        QStringLiteral("%1 of %2 bytes").arg(lines.position()).arg(lines.size()));
}

QCoro::Task<bool> EzUsbConverter::awaitEnd(const CancelToken &token)
{
    const auto ended = [this, &token] { return m_session.ScriptDone || !isExchangeActive(token); };
    const bool sent = co_await m_link.bytesSent(ended);
    WaitEnd end = WaitEnd::TimedOut;
    if (sent) {
        end = co_await m_session.waits.until(ended, deadlineIn(m_session, EndTicks));
    }
    const bool reported = end == WaitEnd::Answered && isExchangeActive(token);
    m_session.ScriptDone = true;
    co_return reported;
}

QCoro::Task<> EzUsbConverter::showComplete(QString path)
{
    m_session.Main.ScriptName.setText(scriptName(path));
    m_session.Main.ScriptRun.setEnabled(true);
    co_await showMessage(QStringLiteral("Click RUN in VornScript Window to Load Device Firmware"),
                         QStringLiteral("** Firmware Conversion Complete **"));
}

QCoro::Task<> EzUsbConverter::showMessage(QString text, QString title)
{
    const Message message{text, title};
    co_await m_dialogs.messageBox(message);
}

} // namespace vantrel
