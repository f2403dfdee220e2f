// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Utils.h"
#include "link/Wire.h"
#include "link/publicvars.h"
#include "protocol/RecvDecode.h"
#include "protocol/ReportText.h"

#include <algorithm>
#include <array>

namespace vantrel {

namespace DeviceStatus = wire::DeviceStatus;

namespace {

constexpr std::array ConnectFields{
    ReportField{"*** Connect \r\n     Address: 0x", 3},
    ReportField{"   DevClass: 0x", 4},
    ReportField{"   Vendor ID: 0x", 6, 5},
    ReportField{"   Product ID: 0x", 8, 7},
};

constexpr std::array StatusFields{
    ReportField{"*** Status -- Hub Address: 0x", 2},
    ReportField{"   Port #: 0x", 3},
    ReportField{"   Status = 0x", 5, 4},
};

constexpr std::array DeviceErrorFields{
    ReportField{"*** Device Error \r\n     Address: 0x", 2},
    ReportField{"   EndPoint: 0x", 3},
    ReportField{"   Error = 0x", 4},
};

struct DeviceErrorText
{
    quint8 code;
    std::string_view text;
};

constexpr std::array DeviceErrors{
    DeviceErrorText{DeviceStatus::Stall, "STALL"},
    DeviceErrorText{DeviceStatus::NoAnswer, "IGNORE"},
    DeviceErrorText{DeviceStatus::DataCrc, "Data CRC Error"},
    DeviceErrorText{DeviceStatus::DataToggle, "Data Toggle Error"},
    DeviceErrorText{DeviceStatus::Sync, "Sync Error"},
    DeviceErrorText{DeviceStatus::Babble, "Babble"},
    DeviceErrorText{DeviceStatus::PacketId, "PID Error"},
    DeviceErrorText{DeviceStatus::ShortPacket, "Short Packet Error"},
    DeviceErrorText{DeviceStatus::Configuration, "Configuration Error"},
    DeviceErrorText{DeviceStatus::Scheduling, "Scheduling Error"},
    DeviceErrorText{DeviceStatus::TransmitFail, "Transmit Fail"},
};

std::string_view deviceErrorText(quint8 code)
{
    const auto *const row = std::ranges::find(DeviceErrors, code, &DeviceErrorText::code);
    return row != DeviceErrors.end() ? row->text : "## Unknown Error ##";
}

constexpr qint16 HoldoffTicks = 5;

} // namespace

void RecvDecode::DecodeConnectEvent(const ByteReader &packet)
{
    constexpr quint8 Connected = 0;
    const auto kind = packet.at(2);
    const auto address = packet.at(3);
    if (!kind || !address)
        return;

    ReportText text;
    if (*kind != Connected)
        showText(text.text("*** Disconnect\r\n     Address: 0x").hex(*address));
    else if (text.fields(ConnectFields, packet))
        showText(text);
}

void RecvDecode::DecodeStatusEvent(const ByteReader &packet)
{
    ReportText text;
    if (text.fields(StatusFields, packet))
        showText(text);
}

void RecvDecode::DecodeDataEvent(const ByteReader &packet)
{
    const int stampWidth = m_session.DataTimeStamps ? 2 : 0;
    const auto address = packet.at(2 + stampWidth);
    const auto endpoint = packet.at(3 + stampWidth);
    if (!address || !endpoint)
        return;

    ReportText text;
    text.text("*** Data -- ");
    if (m_session.DataTimeStamps)
        text.text("TimeStamp:").hex4(*packet.word(2));
    text.text(" Address: 0x").hex2(*address).text("   EndPoint: 0x").hex2(*endpoint);
    showDump(text, packet.from(4 + stampWidth));
}

void RecvDecode::DecodeDeviceError(const ByteReader &packet)
{
    ReportText text;
    if (text.fields(DeviceErrorFields, packet))
        showText(text.text(": ").text(deviceErrorText(*packet.at(4))));
}

void RecvDecode::DecodeTesterFail(const ByteReader & /*packet*/)
{
    ShowResponseLine(m_session, "*** Vorn Fail ");
}

// Firmware of 2.8 and older refuses the version query. The connect routine leaves -1 and -2 in the
// version numbers; the first refusal then tells the version, the second goes unseen, and from the
// third on refusals are what they are otherwise.
void RecvDecode::DecodeCommandError(const ByteReader & /*packet*/)
{
    if (m_session.FirmwareMajor != -1 || m_session.FirmwareMinor >= 0) {
        ShowResponseLine(m_session, "*** Command Error ");
        return;
    }
    if (m_session.FirmwareMinor == -2)
        ShowStatusLine(m_session,
                       QStringLiteral("** Vorn-1 Firmware Version: 2.8 or Lower **\r\n"));
    ++m_session.FirmwareMinor;
}

void RecvDecode::DecodeTriggerInput(const ByteReader &packet)
{
    const auto channel = packet.at(2);
    if (!channel || m_session.TriggerHoldoff > 0)
        return;
    showText(ReportText().text("*** Trigger Input Channel ").decimal(*channel));
    m_session.TriggerHoldoff = HoldoffTicks;
}

void RecvDecode::DecodeScriptLoadError(const ByteReader & /*packet*/)
{
    m_session.ScriptError = true;
}

void RecvDecode::DecodeMessage(const ByteReader &packet)
{
    showDump(ReportText().text("*** Message -- "), packet.from(2));
}

void RecvDecode::DecodeBlockTransferStatus(const ByteReader &packet)
{
    constexpr quint8 Running = 0;
    const auto state = packet.at(2);
    const auto status = packet.at(3);
    if (!state || (*state != Running && !status))
        return;

    ReportText text;
    text.text("-- Block Transfer Status Response: ");
    if (*state == Running)
        showText(text.text("Running\r\n"));
    else
        showDump(text.text("Complete - Status = ").hex2(*status), packet.from(4));
}

void RecvDecode::DecodeBlockTransferResponse(const ByteReader & /*packet*/)
{
    ShowResponseLine(m_session, "-- Block Transfer Response\r\n");
}

void RecvDecode::DecodeStopBlockTransfer(const ByteReader & /*packet*/)
{
    ShowResponseLine(m_session, "-- Stop Block Transfer\r\n");
}

} // namespace vantrel
