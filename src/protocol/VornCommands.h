// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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
    /// Sets ScriptBusy: the run owns the link until it is reported to have stopped.
    void SendRunScript();
    /// After a run: automatic mode on again if its box is ticked; clears ScriptBusy.
    void RestoreAutoMode();

    void SendFlashScriptEnable(int slot, bool enable);
    /// Sends FlashScriptName cut or filled with blanks to 8 characters. An ESC in the name is not
    /// doubled: the tester takes the name as it stands.
    void SendFlashScriptProgram(int slot);
    void SendFlashScriptInfoQuery(int slot);
    /// Waits up to 20 ticks for the answer to a flash command; true when it reported success. Ends
    /// at once, with false, when the link is lost or `abandoned` becomes true.
    QCoro::Task<bool> WaitFlashResponse(std::function<bool()> abandoned = {});

    /// `length` in bytes.
    void SendFirmwareStart(qint32 length);
    /// `data`: at most 4096 bytes.
    void SendFirmwareBlock(const QByteArray &data);
    void SendFirmwareProgram(quint32 checkValue);

    void SendConfigMemoryWrite(int address, const QByteArray &data);
    /// Reads `count` bytes and waits up to 20 ticks. 0: the answer's bytes lie at the start of
    /// `buffer`; 1: no answer, `buffer` is untouched. `buffer` must outlive the task. Without an
    /// answer it ends early when the link is lost or `abandoned` says that nobody waits any more.
    QCoro::Task<int> SendConfigMemoryRead(int address, QByteArray &buffer, int count,
                                          std::function<bool()> abandoned = {});

private:
    /// Waits up to 20 ticks; true when the answer came, the link was kept and nobody gave up.
    QCoro::Task<bool> awaitAnswer(std::function<bool()> answered, std::function<bool()> abandoned);
    bool sendFramed(const QByteArray &body);
    void sendStuffed(ByteWriter &&body);
    void sendOption(quint8 selector, quint8 value);
    void sendFlash(int slot, quint8 operation, const QByteArray &data = {});

    Session &m_session;
    VornComm &m_link;
};

} // namespace vantrel
