// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/BoundedText.h"
#include "link/CancelToken.h"
#include "link/Control.h"
#include "link/LinkLease.h"
#include "link/LogFile.h"
#include "link/OwnedValue.h"
#include "link/PendingWrites.h"
#include "link/Waits.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <functional>

namespace vantrel {

/// The connection state, as LinkState holds it.
enum class LinkStates : qint16 {
    Closed = 0,
    Opened = 1,    ///< link opened, tester not yet probed
    Probing = 2,   ///< version query sent, no answer yet
    Running = 3,   ///< tester answered in normal operation
    Bootstrap = 4, ///< tester answered from its bootstrap loader
};

/// Whether a script runs as far as is known: the button `ScriptRun` stops it then.
enum class ScriptState : quint8 { Idle, Running };

/// What the step reports of the tester belong to.
enum class StepReports : quint8 {
    Stored,   ///< a download: each counts as one step that the tester has stored
    Executed, ///< a run, also of a script that still runs after a new connection
};

class DeviceRequests;

/// The controls of the main window, as values. Each has the object name of its widget or action.
struct MainControls
{
    QList<Control *> all; // first: every control below adds itself

    // Comm Select
    Control Comm1{all, "Comm1"}, Comm2{all, "Comm2"}, Comm3{all, "Comm3"}, Comm4{all, "Comm4"};
    Control CommE{all, "CommE"};
    Control cbNWName{all, "cbNWName"};
    Control Connect{all, "Connect"};

    // Vorn Port Status
    Control conxsts{all, "conxsts"}, power{all, "power"}, vornstate{all, "vornstate"};
    Control cbHSInhibit{all, "cbHSInhibit"};
    Control Automode{all, "Automode"};

    // USB Controls
    Control USBReset{all, "USBReset"}, USBResume{all, "USBResume"}, Suspend{all, "Suspend"};
    Control ClrResp{all, "ClrResp"};

    // USB Vcc Control
    Control VoltWin{all, "VoltWin"};
    Control VoltSet{all, "VoltSet"};
    Control VoltEnable{all, "VoltEnable"}, VoltDisable{all, "VoltDisable"};
    Control Vcc_AR{all, "Vcc_AR"};
    Control CurrWin{all, "CurrWin"};

    // VornScript
    Control ScriptLoad{all, "ScriptLoad"};
    Control ScriptName{all, "ScriptName"};
    Control ScriptIdx{all, "ScriptIdx"};
    Control ScriptRun{all, "ScriptRun"};

    // Log
    Control LogFrame{all, "LogFrame"};
    Control LogInfo{all, "LogInfo"};
    Control LogSizeInfo{all, "LogSizeInfo", Control::Pace::Coalesced};

    // Panes
    static constexpr int CommandLines = 5000; ///< the last ones are kept
    Control CmdWin{all, "CmdWin", Control::Pace::Coalesced, CommandLines};
    Control RespWin{all, "RespWin"};

    // Status area
    Control DownloadProgress{all, "DownloadProgress"}; ///< of a script download, while one runs

    // Menu items
    Control FileNew{all, "FileNew"}, FileClose{all, "FileClose"};
    Control UtilDR{all, "UtilDR"}, UtilDV{all, "UtilDV"}, UtilFM{all, "UtilFM"};
    Control EZUSB{all, "EZUSB"};
    Control mnuUtilFW{all, "mnuUtilFW"}, mnuUtilFTDI{all, "mnuUtilFTDI"};
    Control mnuConfigureNetwork{all, "mnuConfigureNetwork"};

    /// All of the window's controls together: see MainWindowLock. No face of its own in the form.
    QList<Control *> whole;
    Control Window{whole, "Main"};
};

/// Everything that the parts of the console share, under its own name. There is one, made by the
/// console and handed to whoever needs it. Nobody keeps a copy of a value across a wait.
struct Session
{
    Session() = default;
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    // Link
    LinkStates LinkState = LinkStates::Closed;
    bool NetworkMode = false;          ///< TCP, not serial; fixed for the life of one connection
    QString RemoteHost;                ///< network name last chosen
    std::array<qint32, 7> BaudTable{}; ///< baud; the search uses the first four
    bool NamesLoading = false;         ///< `cbNWName` is not filled yet and stays disabled
    CancelSource connection;           ///< cancelled when the connection ends or opens anew
    bool LossBoxOpen = false;          ///< the box that reports a network error is open
    qint16 BaudIndex = 0;
    qint16 RxState = 0; ///< de-framer state
    QByteArray EscChar, PacketStart, PacketEnd, EscPair;
    QByteArray TxPacket;     ///< last framed command
    QByteArray RxPacket;     ///< body being received; kept until the next packet starts
    bool StatusSeen = false; ///< a version or port-status answer arrived since the last poll

    // Tester
    qint16 FirmwareMajor = -1;
    qint16 FirmwareMinor = -2;
    qint16 TesterRamK = -1; ///< KiB
    qint16 TesterModel = 0; ///< 1 or 2; 0 until a tester has answered

    /// The wall clock.
    std::function<QTime()> timeOfDay = [] { return QTime::currentTime(); };

    // Time, in ticks of 100 ms
    qint32 TickCount = 0;
    qint16 TriggerHoldoff = 0; ///< counts down; trigger reports are ignored above 0
    qint16 DescTimeout = 0;    ///< counts down for the descriptor viewer

    // Vbus
    float VbusVolts = 0; ///< last requested, in volts
    QString VbusText;    ///< last sent, as shown

    // Panes and log
    BoundedText RespText;
    bool RespDirty = false; ///< RespText changed since the pane was redrawn
    bool Logging = false;
    qint32 LogBytes = 0; ///< header and body, without the footer

    // Exchanges
    qint32 DownloadSize = -1; ///< bytes of the script that is being downloaded; -1 while none is
    qint32 DownloadSent = 0;  ///< of these, bytes sent
    qint32 ScriptSteps = 0;   ///< step reports seen since the download began
    /// A long exchange owns the link: no probing, no polling.
    OwnedValue<bool, LinkLeases> ScriptBusy;
    LinkLeases leases{*this};
    PendingWrites writes{*this};
    ScriptState Script = ScriptState::Idle; ///< set by setScriptState()
    StepReports Steps = StepReports::Stored;
    bool ScriptDone = false;
    bool ScriptError = false;
    OwnedValue<bool, DeviceRequests> DescActive; ///< a descriptor retrieval is under way
    OwnedValue<bool, DeviceRequests> FtdiActive; ///< a reply to the FTDI utility is expected
    bool FwBlockAck = false;
    bool ConfigReadDone = false;
    QByteArray ConfigReadData;
    qint16 FlashStatus = 0;    ///< 0 none yet, 1 success, else failure
    qint16 FlashSlotState = 0; ///< 0 disabled, 1 enabled, 255 undefined
    int mainWindowLocks = 0;   ///< how many ask for a disabled main window
    QString FlashScriptName;
    bool DataTimeStamps = false; ///< data reports carry a time stamp; nothing sets it yet
    qint16 MaxPacketCode = 0;    ///< 0 = 8, 1 = 16, 2 = 32, 3 = 64 bytes
    bool FullSpeedMode = false;

    /// Words of devices and files are unsigned numbers: see deviceWord().
    bool UnsignedWords = false;
    /// The tester is about to restart: a connection that it drops is no failure, and nobody is
    /// told.
    bool RestartExpected = false;

    /// Called when writing the log failed: tells the user once and closes the log. Must not throw.
    std::function<void(const QString &reason)> logFailed;

    MainControls Main;
    LogFile log; ///< open while Logging
    Waits waits{TickCount};
};

} // namespace vantrel
