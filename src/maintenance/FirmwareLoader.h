// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/CancelToken.h"
#include "link/CloseGuard.h"
#include "link/Control.h"
#include "link/LinkLease.h"
#include "link/TesterIdentity.h"
#include "maintenance/Crc.h"

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QString>

#include <optional>

namespace vantrel {

struct Session;
class Dialogs;
class ErrorBoundary;
class VornCommands;
class VornComm;

/// The controls of the window `FWLoad`, as values.
struct FirmwareControls
{
    QList<Control *> all; // first: every control below adds itself

    Control Window{all, "FWLoad"};
    Control fileselect{all, "fileselect"};
    Control tbFWFile{all, "tbFWFile"};
    Control lblCRC{all, "lblCRC"};
    Control lblStatus{all, "lblStatus"};
    Control CrcSource{all, "CrcSource"}; ///< what computes the check value
    Control btProgram{all, "btProgram"};
    Control btCancel{all, "btCancel"};
    Control BlockProgress{all, "BlockProgress"}; ///< blocks sent, while a download runs
};

/// What the window `FWLoad` does: sends a firmware image to the tester, has it programmed and
/// connects to the tester again. Each handler runs inside the error boundary and returns at once.
///
/// A block of n bytes times out when the tick counter stands at n + 50: within the first minutes of
/// the program, that is, and never after. The buttons of the window stay disabled then, and
/// ScriptBusy stays set until the user closes the window.
///
/// An image is sent only to the tester for which it was chosen: see TesterIdentity.
///
/// When the link is lost, the window closed or the program closing while blocks are sent, the
/// download ends at once, shows nothing and clears ScriptBusy; an open window can be used again.
/// Once the tester has been told to program, closing the window only cuts the pause short that
/// comes before the console connects anew.
/// The script controls are idle then, whatever ran before.
class FirmwareLoader : public QObject
{
    Q_OBJECT

public:
    /// `crcDirectory` is where a library that computes check values may lie: see Crc.
    FirmwareLoader(Session &session, VornComm &link, VornCommands &commands, Dialogs &dialogs,
                   ErrorBoundary &errors, QString crcDirectory);
    /// The library lies beside the program.
    FirmwareLoader(Session &session, VornComm &link, VornCommands &commands, Dialogs &dialogs,
                   ErrorBoundary &errors);

    FirmwareControls &controls() { return m_controls; }
    CloseGuard &closeGuard() { return m_closeGuard; }

    void opened();
    void closed();

    void fileSelectClicked();
    void programClicked();
    void cancelClicked();

signals:
    void closeWanted();

private:
    enum class Ending { Sent, TimedOut, Interrupted };

    QCoro::Task<> chooseImage();
    QCoro::Task<> refuseImage();
    void acceptImage();
    QCoro::Task<> program();
    QCoro::Task<bool> imageFitsTester();
    QCoro::Task<Ending> sendBlocks(const CancelToken &token);
    QCoro::Task<> restartTester(const CancelToken &token);
    bool isExchangeActive(const CancelToken &token) const;
    bool reconnect();
    void interrupted(const CancelToken &token);
    void showNoImage();
    void setButtonsEnabled(bool enabled);
    void showProgress(qsizetype sent);

    Session &m_session;
    VornComm &m_link;
    VornCommands &m_commands;
    Dialogs &m_dialogs;
    ErrorBoundary &m_errors;
    CloseGuard m_closeGuard;
    QString m_crcDirectory;
    std::optional<Crc> m_crc; // once the window has been open
    FirmwareControls m_controls;
    QByteArray m_image;
    quint32 m_imageCrc = 0;
    TesterIdentity m_imageTester; // for which the image was chosen
    CancelSource m_opening;       // cancelled when the window opens or closes
    std::optional<LinkLease>
        m_lease; // of a download; kept after a time-out until the window closes
};

} // namespace vantrel
