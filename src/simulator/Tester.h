// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/Clock.h"
#include "simulator/Faults.h"
#include "simulator/FirmwareUpdate.h"
#include "simulator/Outlet.h"
#include "simulator/ScriptRun.h"
#include "simulator/TesterState.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QObject>
#include <QStringList>

#include <memory>
#include <optional>

namespace vantrel::simulator {

/// A whole tester behind a byte stream. It speaks when spoken to, and when something happens to it.
///
/// Powers up with Vbus on at 5.00 V and automatic mode off. Devices that are attached are there at
/// once, but are configured and reported only when the console switches automatic mode on, as its
/// set-up does.
///
/// Single-threaded. Its time stands still until clock() is moved.
class Tester : public QObject
{
    Q_OBJECT

public:
    /// How long Vbus stays off after an overload, when automatic recovery is on; milliseconds.
    static constexpr int RecoveryTime = 500;
    /// A script download that has been silent for so long is over; milliseconds.
    static constexpr int DownloadTimeout = 4000;

    explicit Tester(const Settings &settings);

    /// The longest command, in bytes: twice what any console sends.
    static constexpr qsizetype CommandLimit = 0x20000;

    /// Takes bytes from the console and carries out each command they complete. May be called from
    /// a slot of bytesReady(). A command that has grown beyond CommandLimit is dropped.
    void receive(QByteArrayView bytes);

    /// A console has connected: half a packet of the one before, replies that it still waited for,
    /// downloads that it left open and a script that it left running are forgotten. The state of
    /// the tester stays.
    void startConversation();

    /// False, and the device is gone, when the address is taken or above 127.
    bool attach(std::unique_ptr<VirtualDevice> device, quint8 address);
    /// nullptr when there is no device at the address.
    std::unique_ptr<VirtualDevice> detach(quint8 address);
    /// Too much current: Vbus goes off, and comes back after RecoveryTime with automatic recovery.
    void overloadVbus();

    // Reports on demand, whether or not what they tell has happened.
    /// False, and nothing reported, when there is no device at the address.
    bool reportConnect(quint8 address);
    void reportDisconnect(quint8 address);
    void reportStatus(quint8 hubAddress, quint8 port, quint16 status);
    void reportData(quint8 address, quint8 endpoint, QByteArrayView data);
    void reportDeviceTransfer(quint8 status, QByteArrayView data);
    void reportDeviceError(quint8 address, quint8 endpoint, quint8 code);
    void reportFail();
    void reportCommandError();
    void reportTrigger(quint8 channel);
    void reportScriptLoadError();
    /// `inner`: the response that the step produced, its code first.
    void reportScript(quint16 index, QByteArrayView inner);
    void reportMessage(QByteArrayView data);
    /// `state` 0: running, status and data say nothing yet.
    void reportBlockTransferStatus(quint8 state, quint8 status = 0, QByteArrayView data = {});
    void reportBlockTransfer();
    void reportStopBlockTransfer();

    /// A packet of any body.
    void sendPacket(const QByteArray &body);
    /// The bytes as they stand, without framing; silence and garbage do not touch them.
    void sendRaw(const QByteArray &bytes) { m_outlet.sendRaw(bytes); }
    /// What was written before still arrives; what is delayed is lost.
    void dropConnection();

    /// During bytesReady(): the bytes are the first of a packet, not a later fragment.
    bool isAtPacketStart() const { return m_outlet.isAtPacketStart(); }

    Faults &faults() { return m_faults; }
    Clock &clock() { return m_clock; }
    TesterState &state() { return m_state; }
    const TesterState &state() const { return m_state; }

    /// Bodies of the commands received, in order. Recording is on unless switched off.
    const QList<QByteArray> &commandsSeen() const { return m_commandsSeen; }
    void clearCommandsSeen() { m_commandsSeen.clear(); }
    void setRecording(bool on) { m_recording = on; }

signals:
    /// One emission is one write; isAtPacketStart() holds for the first of a packet.
    void bytesReady(const QByteArray &bytes);
    /// The connection to the console is to be cut.
    void connectionDropped();
    /// The tester starts up again: a network connection ends with that, a serial line does not.
    void restarted();
    void commandReceived(const QByteArray &body);
    void packetSent(const QByteArray &body);
    /// More is delayed than is kept; emitted once a conversation.
    void packetsDropped();

private:
    void dropEndlessCommand();
    void handle(const QByteArray &command);
    bool answer(const QByteArray &command);
    void sendAnswer(const QByteArray &body);
    std::optional<QByteArray> carryOut(const QByteArray &command);
    std::optional<QByteArray> carryOutOnFlash(const QByteArray &command);
    void endStaleDownload();
    bool refusesStep(const QByteArray &command) const;
    bool belongsToRefusedScript(const QByteArray &command);
    void followScript(const QByteArray &command);
    void followBus();
    void followFirmware();

    TesterState m_state;
    Faults m_faults;
    Clock m_clock;
    Outlet m_outlet{m_clock, m_faults};
    ScriptRun m_run;
    FirmwareUpdate m_update;
    Alarm m_recovery;         // of Vbus after an overload
    qint64 m_lastCommand = 0; // time of the clock
    QByteArray m_input;       // not yet de-framed
    bool m_receiving = false;
    qint16 m_rxState = 0;
    QByteArray m_rxBody;
    QList<QByteArray> m_commandsSeen;
    bool m_recording = true;
};

/// A tester with the usual built-in devices attached: the keyboard at 0x02, the phone at 0x03.
std::unique_ptr<Tester> makeDefaultTester(const Settings &settings);

/// Attaches built-in devices, each at its usual address. False when one of them is unknown or its
/// address is taken; the others are attached all the same.
bool attachBuiltInDevices(Tester &tester, const QStringList &names);

} // namespace vantrel::simulator
