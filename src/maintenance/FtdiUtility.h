// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/CloseGuard.h"
#include "link/Control.h"
#include "link/LinkLease.h"
#include "link/NumberEntry.h"
#include "link/TesterIdentity.h"
#include "maintenance/FtdiEeprom.h"
#include "maintenance/FtdiExchange.h"
#include "maintenance/FtdiSteps.h"

#include <QCoroTask>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

namespace vantrel {

struct Session;
class Dialogs;
class ErrorBoundary;

/// The controls of the window `frmFTDI`, as values.
struct FtdiControls
{
    QList<Control *> all; // first: every control below adds itself

    Control DevAddr{all, "DevAddr"};
    Control btRead{all, "btRead"}, btProgram{all, "btProgram"}, btVerify{all, "btVerify"};
    Control tbVID{all, "tbVID"}, tbPID{all, "tbPID"};
    Control tbMajRev{all, "tbMajRev"}, tbMinRev{all, "tbMinRev"};
    Control tbMaxPower{all, "tbMaxPower"};
    Control cbRemoteWake{all, "cbRemoteWake"}, cbSelfPower{all, "cbSelfPower"};
    Control tbMfr{all, "tbMfr"}, tbProduct{all, "tbProduct"};
    Control cbSerial{all, "cbSerial"};
    Control lblSerial{all, "lblSerial"};
    Control tbSerial{all, "tbSerial"};
    Control cbKeepLayout{all, "cbKeepLayout"};
    Control ImageNote{all, "ImageNote"};
    Control WordProgress{all, "WordProgress"};
};

/// What the window `frmFTDI` does: reads, edits and programs the configuration EEPROM of the FTDI
/// device on the tester's USB port. Each handler runs inside the error boundary and returns at
/// once.
///
/// The vendor and product numbers of a device are plain unsigned words here, whatever the session
/// says of other words. While words are read or written nothing can be edited; a run that its
/// window or its link does not outlive ends at once and shows nothing.
///
/// The note below the fields reports what the fields cannot: that the device has not been read, a
/// wrong checksum, strings that reach beyond the image. An image that keeps its strings elsewhere
/// than this utility writes them is written in its own layout when that is ticked; otherwise only
/// after a question.
class FtdiUtility
{
public:
    /// `backupFolder`: where images are saved before a device is programmed; made when needed.
    FtdiUtility(
        Session &session, DeviceRequests &requests, Dialogs &dialogs, ErrorBoundary &errors,
        QString backupFolder,
        std::function<QDateTime()> now = [] { return QDateTime::currentDateTime(); });

    FtdiControls &controls() { return m_controls; }
    CloseGuard &closeGuard() { return m_closeGuard; }
    const FtdiEeprom &image() const { return m_image; }

    void opened();
    void closed();

    void readClicked();
    /// Saves the image as it was read, if all of it was, before anything is sent. When that fails,
    /// asks whether to program without a backup.
    void programClicked();
    /// Compares the device with what Program would write. Neither changes.
    void verifyClicked();

    void remoteWakeClicked();
    void selfPowerClicked();
    void serialClicked();

    // False when the text was rejected.
    bool devAddrLeft();
    bool vidLeft() { return leave(m_controls.tbVID, NumberFormats::Word); }
    bool pidLeft() { return leave(m_controls.tbPID, NumberFormats::Word); }
    bool majRevLeft();
    bool minRevLeft();
    bool maxPowerLeft();
    // A string with a character that cannot be stored goes back to what it was.
    bool mfrLeft() { return textLeft(m_controls.tbMfr); }
    bool productLeft() { return textLeft(m_controls.tbProduct); }
    bool serialLeft() { return textLeft(m_controls.tbSerial); }

private:
    /// The device that was read.
    struct Source
    {
        TesterIdentity tester;
        quint8 address = 0; ///< on the USB

        bool operator==(const Source &) const = default;
    };

    using TakeWord = std::function<void(int word, const QByteArray &data)>;

    /// How a run of steps ended.
    struct RunEnd
    {
        bool completed = false;
        QString failure; ///< the message to the user, if there is one
    };

    QCoro::Task<> read();
    QCoro::Task<> program();
    QCoro::Task<> verify();
    /// `progress` is what the bar says, `take` gets each word's data; it may be empty.
    QCoro::Task<std::optional<LinkLease>> acquire(LongExchange exchange);
    QCoro::Task<RunEnd> run(quint8 address, QList<FtdiStep> steps, QString progress, TakeWord take,
                            PendingWrite *write = nullptr);
    QCoro::Task<> tell(QString text);

    void setRunning(bool running);
    void setRemoteWake(bool on);
    void setSelfPower(bool on);
    void setSerial(bool on);
    void setSerialEnabled(bool enabled);
    void showImage();
    void showOptions();
    void showText(Control &box, int field);
    void showNote();
    void setOtherLayout(bool other);
    bool keepsLayout() const { return m_otherLayout && m_controls.cbKeepLayout.isChecked(); }
    quint8 deviceAddress() const;
    /// What Program would write; nothing when that is not possible, after a box with the reason.
    QCoro::Task<std::optional<FtdiEeprom>> imageToWrite();
    QCoro::Task<bool> mayChangeLayout(FtdiEeprom image);
    QCoro::Task<bool> mayProgramAnotherDevice();
    FtdiEeprom editedFields() const;
    std::optional<QString> saveBackup();
    QCoro::Task<bool> mayProgramWithoutBackup(QString failure);
    /// Why the text cannot be stored; empty when it can.
    static QString textRefusal(const QString &text);

    bool textLeft(Control &box);
    bool leave(const std::function<void()> &check);
    bool leave(Control &box, const NumberFormat &format);

    Session &m_session;
    Dialogs &m_dialogs;
    ErrorBoundary &m_errors;
    CloseGuard m_closeGuard;
    FtdiExchange m_exchange;
    QString m_backupFolder;
    std::function<QDateTime()> m_now;
    FtdiControls m_controls;
    FtdiEeprom m_image;
    std::optional<FtdiEeprom> m_asRead;         // the device's, once all words have been read
    Source m_source;                            // of m_asRead
    QHash<const Control *, QString> m_accepted; // texts of the string boxes, as last taken
    CancelSource m_opening;                     // cancelled when the window opens or closes
    bool m_open = false;
    bool m_running = false;
    bool m_otherLayout = false; // of m_asRead, which is then present
};

} // namespace vantrel
