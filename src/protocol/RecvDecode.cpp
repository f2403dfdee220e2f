// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/RecvDecode.h"

#include "link/ResponseEntry.h"
#include "link/Utils.h"
#include "link/Wire.h"
#include "link/publicvars.h"
#include "protocol/DeviceRequests.h"
#include "protocol/ReportText.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vantrel {

using namespace wire;

namespace {

constexpr quint8 reply(quint8 command)
{
    return command | ReplyFlag;
}

} // namespace

/// What a first byte selects. A row with an acknowledgement shows it in the command pane; a row
/// with neither is ignored on purpose.
struct DispatchRow
{
    using Decoder = void (RecvDecode::*)(const ByteReader &);

    quint8 code;
    Decoder decoder;
    const char *acknowledgement;
};

namespace {

constexpr DispatchRow decoded(quint8 code, DispatchRow::Decoder decoder)
{
    return {code, decoder, nullptr};
}

constexpr DispatchRow acknowledged(quint8 command, const char *text)
{
    return {reply(command), nullptr, text};
}

} // namespace

/// The rows in order of their codes.
struct DispatchTable
{
    static constexpr std::array Rows{
        decoded(reply(Command::DeviceRequest), &RecvDecode::DecodeDeviceRequestResponse),
        decoded(reply(Command::VbusEnable), nullptr),
        acknowledged(Command::Suspend, "Suspending"),
        acknowledged(Command::Resume, "Resuming"),
        acknowledged(Command::VbusVoltage, "Setting Vbus Voltage"),
        acknowledged(Command::ConfigureTester, "Configuring Tester"),
        acknowledged(Command::UsbReset, "Executing USB Reset"),
        decoded(Report::DeviceTransfer, &RecvDecode::DecodeDeviceTransferResponse),
        acknowledged(Command::DataPort, "Programming Data Port"),
        decoded(reply(Command::PortStatusQuery), &RecvDecode::DecodePortStatus),
        acknowledged(Command::ScriptDownloadStart, "VornScript Download"),
        acknowledged(Command::RunScript, "Running Script"),
        decoded(reply(Command::CurrentQuery), &RecvDecode::DecodeCurrent),
        decoded(reply(Command::VersionQuery), &RecvDecode::DecodeVersion),
        decoded(Report::Connect, &RecvDecode::DecodeConnectEvent),
        decoded(Report::Status, &RecvDecode::DecodeStatusEvent),
        decoded(Report::Data, &RecvDecode::DecodeDataEvent),
        decoded(Report::DeviceError, &RecvDecode::DecodeDeviceError),
        decoded(Report::TesterFail, &RecvDecode::DecodeTesterFail),
        decoded(Report::CommandError, &RecvDecode::DecodeCommandError),
        decoded(Report::TriggerInput, &RecvDecode::DecodeTriggerInput),
        decoded(Report::ScriptLoadError, &RecvDecode::DecodeScriptLoadError),
        decoded(Report::Script, &RecvDecode::DecodeScriptMessage),
        decoded(Report::Message, &RecvDecode::DecodeMessage),
        decoded(reply(Command::FlashScript), &RecvDecode::DecodeFlashScriptResponse),
        acknowledged(Command::FirmwareStart, "Starting Firmware Download"),
        decoded(reply(Command::FirmwareBlock), &RecvDecode::DecodeFirmwareBlockAcknowledgement),
        acknowledged(Command::FirmwareProgram, "Programming Firmware"),
        acknowledged(Command::ConfigMemoryWrite, "Writing Tester Configuration Memory"),
        decoded(reply(Command::ConfigMemoryRead), &RecvDecode::DecodeConfigReadResponse),
        decoded(Report::BlockTransferStatus, &RecvDecode::DecodeBlockTransferStatus),
        decoded(Report::BlockTransfer, &RecvDecode::DecodeBlockTransferResponse),
        decoded(Report::StopBlockTransfer, &RecvDecode::DecodeStopBlockTransfer),
    };
};

static_assert(std::ranges::adjacent_find(DispatchTable::Rows, std::ranges::greater_equal{},
                                         &DispatchRow::code) == DispatchTable::Rows.end(),
              "every code once, in order");

namespace {

const DispatchRow *findRow(quint8 code)
{
    constexpr auto &Rows = DispatchTable::Rows;
    const auto *const row = std::ranges::lower_bound(Rows, code, {}, &DispatchRow::code);
    return row != Rows.end() && row->code == code ? row : nullptr;
}

} // namespace

void RecvDecode::DispatchResponse()
{
    // A script report may hold another packet, that one another, and so on: a loop, not a
    // recursion, so that no packet can exhaust the stack.
    m_stripped = 0;
    int packets = 0;
    do {
        m_again = false;
        dispatch(ByteReader(QByteArrayView(m_session.RxPacket).sliced(m_stripped)));
    } while (m_again && ++packets < MostNested);
    if (m_again) {
        const auto left = static_cast<qint32>(m_session.RxPacket.size() - m_stripped);
        showText(ReportText().text("*** Bytes of nested reports not shown: ").decimal(left));
    }
    m_session.RxPacket.remove(0, m_stripped);
}

void RecvDecode::dispatch(const ByteReader &packet)
{
    const auto code = packet.at(1);
    const DispatchRow *row = code ? findRow(*code) : nullptr;
    if (!row)
        ShowResponseLine(m_session, "### Unrecognized Response From Tester ### ");
    else if (row->decoder)
        (this->*row->decoder)(packet);
    else if (row->acknowledgement)
        ShowStatusLine(m_session, QString::fromLatin1(row->acknowledgement));
}

void RecvDecode::showText(const ReportText &text)
{
    ShowResponseLine(m_session, text.view());
}

/// Of a dump of megabytes, no more than needed is rendered, and no more than one piece at a time is
/// held in memory.
void RecvDecode::showDump(ReportText &heading, QByteArrayView bytes)
{
    constexpr qsizetype PieceSize = 1024 * ReportText::DumpWidth;
    static_assert(PieceSize > BoundedText::Limit);
    const qsizetype wholePieces = bytes.size() / PieceSize;
    if (wholePieces < 2) {
        showText(heading.dump(bytes));
        return;
    }
    ResponseEntry entry(m_session);
    entry.append(heading.dump({}).view());
    if (!entry.needsAll())
        bytes = bytes.sliced((wholePieces - 1) * PieceSize);
    while (!bytes.isEmpty()) {
        const QByteArrayView piece = bytes.first(std::min(PieceSize, bytes.size()));
        entry.append(ReportText().dumpPiece(piece).view());
        bytes = bytes.sliced(piece.size());
    }
    entry.end();
}

void RecvDecode::showStatusAndData(std::string_view heading, const ByteReader &packet)
{
    if (const auto status = packet.at(2))
        showText(ReportText().text(heading).hex2(*status).dumpReply(packet.from(3)));
}

void RecvDecode::DecodeDeviceRequestResponse(const ByteReader &packet)
{
    if (m_requests.receive(packet.payload()) == DeviceRequests::Route::ResponsePane)
        showStatusAndData("-- Device Request Response: Status = ", packet);
}

void RecvDecode::DecodeDeviceTransferResponse(const ByteReader &packet)
{
    showStatusAndData("-- Device Transfer Response: Status = ", packet);
}

namespace {

/// The text of the speed field; null when the field is to stay as it is.
const char *speedText(quint8 status)
{
    switch (status & PortStatus::SpeedMask) {
    case PortStatus::NoDevice:
        return "No Device";
    case PortStatus::LowSpeed:
        return "Low Speed";
    case PortStatus::FullSpeed:
        return "Full Speed";
    case PortStatus::HighSpeed:
        return "High Speed";
    case PortStatus::UnknownSpeed:
        return "<Unknown>";
    default:
        return nullptr;
    }
}

constexpr Colour SuspendedColour = Colour::fromBlueGreenRed(255);
constexpr Colour ActiveColour = Colour::fromBlueGreenRed(0xFFFF80);

} // namespace

namespace {

/// Shows a value that the tester has just sent.
void showStatus(const Session &session, Control &field, const QString &text)
{
    field.setText(text);
    field.setFresh(session.timeOfDay());
}

} // namespace

void RecvDecode::DecodePortStatus(const ByteReader &packet)
{
    m_session.StatusSeen = true;
    const auto status = packet.at(2);
    if (!status)
        return;

    MainControls &main = m_session.Main;
    if (const char *speed = speedText(*status))
        showStatus(m_session, main.conxsts, QString::fromLatin1(speed));

    const bool powered = (*status & PortStatus::PowerOn) != 0;
    showStatus(m_session, main.power, powered ? QStringLiteral("On") : QStringLiteral("Off"));
    main.VoltEnable.setEnabled(!powered);
    main.VoltDisable.setEnabled(powered);

    const bool suspended = (*status & PortStatus::Suspended) != 0;
    showStatus(m_session, main.vornstate,
               suspended ? QStringLiteral("Suspended") : QStringLiteral("Active"));
    main.vornstate.setColour(suspended ? SuspendedColour : ActiveColour);
    main.USBResume.setEnabled(suspended);
    main.Suspend.setEnabled(!suspended);
}

namespace {

// Vorn 1: two bytes in units of 64 mA and 0.25 mA, with a fixed offset of the measuring circuit.
QString currentOfVorn1(quint16 measured)
{
    constexpr double Offset = 2.0; // mA
    const double milliamperes = (measured >> 8U) * 64 + (measured & 0xFFU) * 0.25;
    const double load = milliamperes > Offset ? milliamperes - Offset : 0;
    return numberText(load) + QStringLiteral(" mA");
}

QString currentOfVorn2(quint32 count)
{
    constexpr double AmperesPerCount = 2.9593e-6;
    constexpr double HalfRange = 2147483648.0;
    const double signedCount = count > HalfRange ? count - 2 * HalfRange : count;
    const double amperes = signedCount * AmperesPerCount;
    const double magnitude = std::abs(amperes);
    if (magnitude < 0.001)
        return fixedText(std::floor(amperes * 1'000'000), 0) + QStringLiteral(" uA");
    if (magnitude < 1.0)
        return fixedText(amperes * 1000, 2) + QStringLiteral(" mA");
    return fixedText(amperes, 3) + QStringLiteral(" A");
}

} // namespace

void RecvDecode::DecodeCurrent(const ByteReader &packet)
{
    if (m_session.TesterModel == 1) {
        if (const auto measured = packet.word(2))
            showStatus(m_session, m_session.Main.CurrWin, currentOfVorn1(*measured));
    } else if (const auto count = packet.doubleWord(2)) {
        showStatus(m_session, m_session.Main.CurrWin, currentOfVorn2(*count));
    }
}

void RecvDecode::DecodeFlashScriptResponse(const ByteReader &packet)
{
    m_session.FlashStatus = 1;
    if (packet.size() <= 2)
        return;
    m_session.FlashSlotState = *packet.at(2);
    m_session.FlashScriptName = QString::fromLatin1(packet.from(3));
}

void RecvDecode::DecodeFirmwareBlockAcknowledgement(const ByteReader &packet)
{
    const auto count = packet.doubleWord(2);
    if (!count)
        return;
    ShowStatusLine(m_session,
                   QStringLiteral("Loading Firmware ") + Hex8(static_cast<qint32>(*count)));
    m_session.FwBlockAck = true;
}

void RecvDecode::DecodeConfigReadResponse(const ByteReader &packet)
{
    m_session.ConfigReadData = packet.from(2).toByteArray();
    m_session.ConfigReadDone = true;
}

} // namespace vantrel
