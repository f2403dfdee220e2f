// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/CancelToken.h"
#include "link/CloseGuard.h"
#include "link/Control.h"
#include "link/LinkLease.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QString>

namespace vantrel {

struct Session;
class Dialogs;
class ErrorBoundary;
class TextLines;
class VornCommands;
class PacketHold;
class VornComm;

/// The controls of the window `EZUSBForm`, as values.
struct EzUsbControls
{
    QList<Control *> all; // first: every control below adds itself

    Control optEZUSB{all, "optEZUSB"}, optFX2{all, "optFX2"};
    Control Address{all, "Address"};
    Control LoadFW{all, "LoadFW"};
    Control FNLabel{all, "FNLabel"}, filename{all, "filename"};
    Control LinesLabel{all, "LinesLabel"}, Loaded{all, "Loaded"};
    Control busy{all, "busy"};
    Control ConvertProgress{all, "ConvertProgress"}; ///< bytes of the file, while it is converted
};

/// The device request that writes into the RAM of an EZ-USB device (vendor request 0xA0), as
/// VornCommands::SendDeviceRequest() takes it. At most 255 bytes of data. A device address that is
/// no byte throws RuntimeError "Overflow".
QByteArray ezUsbWriteRequest(qint32 device, quint16 address, QByteArrayView data);

/// What the window `EZUSBForm` does: streams an Intel HEX file into the tester's script memory as
/// device requests. Run, the script holds the device's CPU, writes its RAM and lets the CPU go.
///
/// Each handler runs inside the error boundary and returns at once. Every conversion closes the
/// window in the end. One that succeeded leaves ScriptBusy set, so that the connection stays quiet
/// until the script has run; any other end clears it. A conversion that is refused because another
/// exchange has the link leaves the window open.
///
/// When the link is lost, the window closed or the program closing, a conversion ends at once and
/// shows nothing; the end of the download is sent to a tester that can still be reached.
///
/// Records are read as HexRecord says: a line that begins with ":" and ends too early is no error.
/// More than 32767 lines are a run-time error "Overflow".
class EzUsbConverter : public QObject
{
    Q_OBJECT

public:
    EzUsbConverter(Session &session, VornComm &link, VornCommands &commands, Dialogs &dialogs,
                   ErrorBoundary &errors);

    EzUsbControls &controls() { return m_controls; }
    CloseGuard &closeGuard() { return m_closeGuard; }

    void opened();
    void closed();

    /// Rewrites `Address`: "0x" and two digits, 0x7F at most. A negative number stays negative
    /// (four digits), and no device has such an address. False when the text was rejected.
    bool addressLeft();
    void loadClicked();

signals:
    void closeWanted();

private:
    enum class Ending { Complete, Stopped, NoRecord, NoLastRecord };

    QCoro::Task<> load();
    QCoro::Task<> convert(QString path, LinkLease lease);
    QCoro::Task<bool> download(TextLines &lines, LinkLease &lease, const CancelToken &token);
    QCoro::Task<Ending> sendFirmware(TextLines &lines, PacketHold &others, PendingWrite &write,
                                     const CancelToken &token);
    QCoro::Task<Ending> sendRecords(TextLines &lines, PacketHold &others, PendingWrite &write,
                                    const CancelToken &token);
    QCoro::Task<bool> awaitEnd(const CancelToken &token);
    QCoro::Task<> showComplete(QString path);
    QCoro::Task<> showMessage(QString text, QString title);
    void showFile(const QString &path);
    void beginDownload(PacketHold &others);
    bool isExchangeActive(const CancelToken &token) const;
    QCoro::Task<> endDownload(PacketHold &others, const CancelToken &token);
    void send(PacketHold &others, quint16 address, QByteArrayView data);
    void holdCpu(PacketHold &others, bool hold);
    void showProgress(const TextLines &lines, PendingWrite &write);

    Session &m_session;
    VornComm &m_link;
    VornCommands &m_commands;
    Dialogs &m_dialogs;
    ErrorBoundary &m_errors;
    CloseGuard m_closeGuard;
    EzUsbControls m_controls;
    CancelSource m_opening; // cancelled when the window opens or closes
    qint16 m_line = 0;      // last line read, counted from 1
};

} // namespace vantrel
