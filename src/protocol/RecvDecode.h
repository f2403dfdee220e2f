// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Bytes.h"

#include <QByteArray>

#include <optional>

namespace vantrel {

struct Session;
class DeviceRequests;
class ReportText;
class VornCommands;

/// Turns each received packet into session values, control values and lines of the two panes.
///
/// Nothing here throws. A packet shorter than its decoder needs changes and shows nothing; bytes
/// beyond the last field are ignored.
class RecvDecode
{
public:
    RecvDecode(Session &session, VornCommands &commands, DeviceRequests &requests)
        : m_session(session), m_commands(commands), m_requests(requests)
    {
    }

    /// Most script reports within each other that are decoded. A tester sends one; a packet of
    /// 16 MiB has room for millions.
    static constexpr int MostNested = 100'000;

    /// Decodes the packet in the session's RxPacket. Its first byte selects the decoder.
    void DispatchResponse();

private:
    friend struct DispatchTable;

    void dispatch(const ByteReader &packet);
    void showText(const ReportText &text);
    /// The heading and a dump of any length.
    void showDump(ReportText &heading, QByteArrayView bytes);

    // Replies
    void DecodeDeviceRequestResponse(const ByteReader &packet);
    void DecodeDeviceTransferResponse(const ByteReader &packet);
    void DecodePortStatus(const ByteReader &packet);
    void DecodeCurrent(const ByteReader &packet);
    void DecodeVersion(const ByteReader &packet);
    void DecodeFlashScriptResponse(const ByteReader &packet);
    void DecodeFirmwareBlockAcknowledgement(const ByteReader &packet);
    void DecodeConfigReadResponse(const ByteReader &packet);

    // Reports
    void DecodeConnectEvent(const ByteReader &packet);
    void DecodeStatusEvent(const ByteReader &packet);
    void DecodeDataEvent(const ByteReader &packet);
    void DecodeDeviceError(const ByteReader &packet);
    void DecodeTesterFail(const ByteReader &packet);
    void DecodeCommandError(const ByteReader &packet);
    void DecodeTriggerInput(const ByteReader &packet);
    void DecodeScriptLoadError(const ByteReader &packet);
    void DecodeScriptMessage(const ByteReader &packet);
    void DecodeMessage(const ByteReader &packet);
    void DecodeBlockTransferStatus(const ByteReader &packet);
    void DecodeBlockTransferResponse(const ByteReader &packet);
    void DecodeStopBlockTransfer(const ByteReader &packet);

    // Steps of the larger ones
    void showStatusAndData(std::string_view heading, const ByteReader &packet);
    void enableByVersion(std::optional<quint8> major, std::optional<quint8> minor);
    void bringToDefaultState();
    void refreshConnectedControls();
    void scriptStopped(const ByteReader &packet);
    void scriptComplete();
    void scriptMessage(quint16 index, const ByteReader &packet);
    void scriptStep(quint16 index, const ByteReader &packet);

    Session &m_session;
    VornCommands &m_commands;
    DeviceRequests &m_requests;
    qsizetype m_stripped =
        0;                // bytes of RxPacket already decoded as the envelope of an inner packet
    bool m_again = false; // an inner packet stands behind them
};

} // namespace vantrel
