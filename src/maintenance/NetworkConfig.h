// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/CancelToken.h"
#include "link/Control.h"
#include "link/NumberEntry.h"
#include "link/TesterIdentity.h"
#include "maintenance/NetworkRecord.h"

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QObject>

#include <array>
#include <functional>

namespace vantrel {

struct Session;
class Dialogs;
class ErrorBoundary;
class VornCommands;

/// The controls of the window `frmNWCfg`, as values.
struct NetworkControls
{
    QList<Control *> all; // first: every control below adds itself

    std::array<Control, 4> tbIP{
        {{all, "tbIP_0"}, {all, "tbIP_1"}, {all, "tbIP_2"}, {all, "tbIP_3"}}};
    std::array<Control, 4> tbGWIP{
        {{all, "tbGWIP_0"}, {all, "tbGWIP_1"}, {all, "tbGWIP_2"}, {all, "tbGWIP_3"}}};
    std::array<Control, 4> tbMask{
        {{all, "tbMask_0"}, {all, "tbMask_1"}, {all, "tbMask_2"}, {all, "tbMask_3"}}};
    std::array<Control, 6> tbMAC{{{all, "tbMAC_0"},
                                  {all, "tbMAC_1"},
                                  {all, "tbMAC_2"},
                                  {all, "tbMAC_3"},
                                  {all, "tbMAC_4"},
                                  {all, "tbMAC_5"}}};
    Control cbMACEnbl{all, "cbMACEnbl"};
    Control lblHint{all, "lblHint"}; ///< why the settings cannot work
    Control btUpdate{all, "btUpdate"};

    /// The box of a byte of the record.
    Control &box(int index) { return *all[index]; }
};

/// What the window `frmNWCfg` does: shows the tester's network settings and writes them back. Each
/// handler runs inside the error boundary and returns at once.
///
/// A byte that the tester's reply does not hold leaves its field empty; an empty field is written
/// as 0. Nothing can be written before the read has ended, nor to another tester than the one that
/// was read.
class NetworkConfig : public QObject
{
    Q_OBJECT

public:
    NetworkConfig(Session &session, VornCommands &commands, Dialogs &dialogs,
                  ErrorBoundary &errors);

    NetworkControls &controls() { return m_controls; }

    void opened();
    void closed();

    void macEnableClicked();
    void updateClicked();
    void cancelClicked();

    /// The user has changed a box: the hint follows.
    void edited();
    /// Part `index` of the tester's address, or of the gateway's: limited to 0 to 255.
    /// False when the text was rejected, as for the others.
    bool ipLeft(int index);
    bool gatewayLeft(int index);
    /// Part `index` of the net mask: converted when the record is written, only noted here.
    void maskLeft(int index);
    /// A byte of the MAC address: limited to FF.
    bool macLeft(int index);

signals:
    void closeWanted();

private:
    QCoro::Task<> read();
    QCoro::Task<> update();
    QCoro::Task<> confirmMac();
    NetworkRecord enteredRecord();
    void showRecord(const QByteArray &bytes);
    void showHint();
    void setMacEnabled(bool enabled);
    bool leave(Control &box, const NumberFormat &format);

    Session &m_session;
    VornCommands &m_commands;
    Dialogs &m_dialogs;
    ErrorBoundary &m_errors;
    NetworkControls m_controls;
    QByteArray m_readBuffer; // filled by a read that may end after its window has closed
    CancelSource m_opening;  // cancelled when the window opens or closes
    TesterIdentity m_source; // the tester that was asked for the settings
    bool m_open = false;
};

} // namespace vantrel
