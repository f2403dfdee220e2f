// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/CancelToken.h"

#include <QByteArray>
#include <QCoroTask>
#include <QtGlobal>

#include <functional>

namespace vantrel {

struct Session;
class ByteWriter;
class VornComm;

/// Builds and sends every command the tester knows. Fire and forget: answers come through
/// RecvDecode. Each command leaves its framed packet in the session's TxPacket.
///
/// Arguments that do not fit their field raise RuntimeError "Overflow" unless a limit is stated.
class VornCommands
{
public:
    VornCommands(Session &session, VornComm &link) : m_session(session), m_link(link) {}

    /// `block`: USB address, the 8 setup bytes (words low byte first), data stage if any. Comes
    /// back with its ESC bytes doubled, not to be used as raw bytes again. False when nothing was
    /// sent, which the command pane has told.
    bool SendDeviceRequest(QByteArray &block);

    void SendVbusEnable(bool on);
    void SendSuspend();
    void SendResume();

    /// Sends VbusVolts, limited to 4.25 to 5.5 V, and shows what was sent in VoltWin.
    void SendVbusVoltage();

    void SendAutoMode(bool on);
    /// `value` is limited to 0 to 3.
    void SendConfigValue(int value);
    void SendVbusAutoRecovery(bool on);
    void SendHighSpeedInhibit(bool inhibit);

    void SendUsbReset();
    void SendDataPort(int value);
    void SendPortStatusQuery();
    void SendCurrentQuery();
    void SendVersionQuery();

    void SendScriptDownloadStart();
    void SendScriptDownloadEnd();
    void SendScriptOption(bool flag);
    /// Sets ScriptBusy until the run is reported to have stopped.
    void SendRunScript();
    /// After a run: automatic mode on again if its box is ticked; clears ScriptBusy.
    void RestoreAutoMode();

    void SendFlashScriptEnable(int slot, bool enable);
    /// Sends FlashScriptName cut or filled with blanks to 8 characters. An ESC in the name is not
    /// doubled: the tester takes the name as it stands.
    void SendFlashScriptProgram(int slot);
    void SendFlashScriptInfoQuery(int slot);
    /// Waits up to 20 ticks for the reply to a flash command; true when it reported success. Ends
    /// at once, with false, when `token` is cancelled.
    QCoro::Task<bool> WaitFlashResponse(CancelToken token);
    QCoro::Task<bool> WaitFlashResponse() { return WaitFlashResponse(CancelToken(m_session)); }

    /// `length` in bytes.
    void SendFirmwareStart(qint32 length);
    /// `data`: at most 4096 bytes.
    void SendFirmwareBlock(const QByteArray &data);
    void SendFirmwareProgram(quint32 checkValue);

    void SendConfigMemoryWrite(int address, const QByteArray &data);
    /// Reads `count` bytes and waits up to 20 ticks. 0: the reply's bytes lie at the start of
    /// `buffer`; 1: no reply, `buffer` is untouched. `buffer` must outlive the task. Ends at once,
    /// with 1, when `token` is cancelled.
    QCoro::Task<int> SendConfigMemoryRead(int address, QByteArray &buffer, int count,
                                          CancelToken token);
    QCoro::Task<int> SendConfigMemoryRead(int address, QByteArray &buffer, int count)
    {
        return SendConfigMemoryRead(address, buffer, count, CancelToken(m_session));
    }

private:
    /// Waits up to 20 ticks; true when the reply came and the token is active.
    QCoro::Task<bool> awaitReply(std::function<bool()> hasReply, CancelToken token);
    bool sendFramed(const QByteArray &body);
    void sendStuffed(ByteWriter &&body);
    void sendOption(quint8 selector, quint8 value);
    void sendFlash(int slot, quint8 operation, const QByteArray &data = {});

    Session &m_session;
    VornComm &m_link;
};

} // namespace vantrel
