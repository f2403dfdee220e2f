// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "console/Connection.h"
#include "console/NetworkNames.h"
#include "console/PortControls.h"
#include "console/ScriptControls.h"
#include "console/SessionLog.h"
#include "link/CloseGuard.h"
#include "link/VornComm.h"
#include "link/WindowDialogs.h"
#include "link/publicvars.h"
#include "protocol/DeviceRequests.h"
#include "protocol/FlashScripts.h"
#include "protocol/RecvDecode.h"
#include "protocol/VornCommands.h"
#include "protocol/VornScript.h"

#include <QCoroTask>
#include <QObject>

#include <memory>

namespace vantrel {

/// Everything behind the main window: the session, the link, the protocol and the handlers of its
/// controls. Runs without a window as well as with one.
///
/// The owner calls Timer1() every 100 ms, and the handlers as the user acts; each handler runs
/// inside the error boundary and returns at once, its waits going on by themselves.
class Console : public QObject
{
    Q_OBJECT

public:
    /// Where the console's socket points until a network name is chosen.
    static constexpr const char *DefaultHost = "192.168.1.10";

    /// `dialogs` must outlive the console.
    Console(Dialogs &dialogs, std::unique_ptr<Transport> serial, std::unique_ptr<Transport> tcp);
    ~Console() override;

    /// The start-up sequence. The network names come from `namesFile` or, when it does not exist,
    /// from one of `sharedNames`: see NetworkNames::load(). Returns while a message box about the
    /// names is still open; the console can be used meanwhile.
    void load(const QString &namesFile, const QStringList &sharedNames = {});

    /// One tick of the main timer, 100 ms.
    void Timer1();

    /// Interrupts what is being written and ends every wait; nothing that is waiting goes on
    /// working afterwards.
    void shutDown();

    // Handlers, by control
    void connectClicked();
    void automodeClicked();
    void networkNameClicked();
    void clearClicked();
    void fileNewClicked();
    void fileCloseClicked();
    void descriptorViewerClicked();
    void scriptLoadClicked();
    void scriptRunClicked();
    /// Closes an open log with its footer. The window closes itself after it.
    void exitClicked();

    /// Runs a handler without waits inside the error boundary.
    template <typename Handler>
    void act(Handler &&handler)
    {
        m_errors.runNow(std::forward<Handler>(handler));
    }

    Session &session() { return m_session; }
    VornComm &link() { return m_link; }
    VornCommands &commands() { return m_commands; }
    DeviceRequests &requests() { return m_requests; }
    PortControls &ports() { return m_ports; }
    NetworkNames &names() { return m_names; }
    SessionLog &log() { return m_log; }
    FlashScripts &flash() { return m_flash; }
    ErrorBoundary &errors() { return m_errors; }

    /// The main window: the console's message boxes and file dialogs belong to it, and those of
    /// tool windows that are closed.
    void setWindow(QObject *window) { m_dialogs.setWindow(window); }
    /// The same for the flash window.
    void setFlashWindow(QObject *window) { m_flashBoundary.dialogs.setWindow(window); }
    WindowDialogs &dialogs() { return m_dialogs; }
    /// Asks before the main window is closed, and reports what was left undone when the program
    /// ends.
    CloseGuard &closeGuard() { return m_closeGuard; }

signals:
    /// "<New>" was chosen: the dialog `frmNewIP` is to be shown.
    void newNetworkNameWanted();
    /// The descriptor viewer may be shown.
    void descriptorViewerWanted();

private:
    void setUpControls();
    QCoro::Task<> loadNames(QString namesFile, QStringList sharedNames);
    QCoro::Task<> refuseDescriptorViewer();
    void redrawResponses();
    void showStaleStatus();
    void countDown();

    WindowDialogs m_dialogs;
    Session m_session;
    CloseGuard m_closeGuard{m_session, m_dialogs, AllWrites};
    ErrorBoundary m_errors;
    WindowBoundary m_flashBoundary{m_dialogs};
    VornComm m_link;
    VornCommands m_commands;
    DeviceRequests m_requests;
    RecvDecode m_decoder;
    VornScript m_script;
    FlashScripts m_flash;
    Connection m_connection;
    PortControls m_ports;
    ScriptControls m_scripts;
    SessionLog m_log;
    NetworkNames m_names;
};

} // namespace vantrel
