// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FirmwareLoader.h"

#include "link/Dialogs.h"
#include "link/ErrorBoundary.h"
#include "link/FilePath.h"
#include "link/FileStatus.h"
#include "link/Files.h"
#include "link/Utils.h"
#include "link/VornComm.h"
#include "link/Wire.h"
#include "link/publicvars.h"
#include "maintenance/FirmwareImage.h"
#include "protocol/VornCommands.h"
#include "protocol/VornScript.h"

#include <QCoreApplication>

#include <utility>

namespace vantrel {

namespace {
constexpr qint32 BlockTicks = 50; // to the size of a block, not to the tick counter
constexpr qint32 RestartTicks = 50;

int blocksOf(qsizetype bytes)
{
    return static_cast<int>((bytes + wire::FirmwareBlockLimit - 1) / wire::FirmwareBlockLimit);
}

} // namespace

FirmwareLoader::FirmwareLoader(Session &session, VornComm &link, VornCommands &commands,
                               Dialogs &dialogs, ErrorBoundary &errors, QString crcDirectory)
    : m_session(session), m_link(link), m_commands(commands), m_dialogs(dialogs), m_errors(errors),
      m_closeGuard(session, dialogs, {WriteKind::FirmwareDownload, WriteKind::FirmwareProgram}),
      m_crcDirectory(std::move(crcDirectory))
{
}

FirmwareLoader::FirmwareLoader(Session &session, VornComm &link, VornCommands &commands,
                               Dialogs &dialogs, ErrorBoundary &errors)
    : FirmwareLoader(session, link, commands, dialogs, errors,
                     QCoreApplication::applicationDirPath())
{
}

void FirmwareLoader::opened()
{
    m_opening.cancel();
    m_crc.emplace(m_crcDirectory);
    m_image.clear();
    m_imageCrc = 0;
    showNoImage();
    m_controls.lblCRC.setText({});
    m_controls.lblCRC.setToolTip(m_crc->origin());
    m_controls.CrcSource.setText(m_crc->origin());
    m_controls.CrcSource.setToolTip(m_crc->origin());
    m_controls.btProgram.setEnabled(false);
    m_controls.btCancel.setEnabled(true);
    m_controls.BlockProgress.setVisible(false);
    m_controls.Window.setText(m_session.TesterModel == 2
                                  ? QStringLiteral("Download Firmware to Vorn 2")
                                  : QStringLiteral("Download Firmware to Vorn 1"));
}

void FirmwareLoader::closed()
{
    m_opening.cancel();
    m_session.waits.check();
    m_lease.reset(); // of a download that has timed out; any other has ended
}

void FirmwareLoader::fileSelectClicked()
{
    m_errors.run([this] { return chooseImage(); });
}

void FirmwareLoader::programClicked()
{
    m_errors.run([this] { return program(); });
}

void FirmwareLoader::cancelClicked()
{
    emit closeWanted();
}

QCoro::Task<> FirmwareLoader::chooseImage()
{
    const CancelToken token(m_session, m_opening);
    const FileChoice choice{FileChoice::Kind::OpenExisting, QStringLiteral("Open Firmware File"),
                            QStringLiteral("Firmware Files|*.bin"), QStringLiteral("bin"),
                            QStringLiteral("*.bin")};
    const QString path = co_await m_dialogs.fileDialog(choice);
    if (path.isEmpty() || !token.isWindowOpen())
        co_return;

    const qint64 longest = longestFirmwareImage(m_session.TesterModel);
    if (fileStatus(path).size > longest) {
        co_await refuseImage();
        co_return;
    }
    m_image = readWholeFile(path, longest);
    m_imageTester = currentTester(m_session);
    m_controls.tbFWFile.setText(shownPath(path));
    m_controls.lblStatus.setText(QStringLiteral("Reading Image File"));
    if (hasFirmwareMarker(m_image, m_session.TesterModel)) {
        acceptImage();
    } else {
        co_await refuseImage();
    }
}

QCoro::Task<> FirmwareLoader::refuseImage()
{
    const CancelToken token(m_session, m_opening);
    const Message refusal{QStringLiteral("Selected File is Not a Firmware Image"),
                          QStringLiteral("Vantrel")};
    co_await m_dialogs.messageBox(refusal);
    if (token.isWindowOpen())
        showNoImage();
}

void FirmwareLoader::showNoImage()
{
    m_controls.fileselect.setEnabled(true);
    m_controls.tbFWFile.setText(QStringLiteral("<Select Firmware File>"));
    m_controls.lblStatus.setText({});
}

void FirmwareLoader::acceptImage()
{
    m_imageCrc = m_crc->update(0, m_image);
    m_controls.lblCRC.setText(QStringLiteral("Image CRC = ") +
                              Hex8(static_cast<qint32>(m_imageCrc)));
    m_controls.lblStatus.setText(QStringLiteral("Ready to Download"));
    m_controls.btProgram.setEnabled(true);
}

QCoro::Task<> FirmwareLoader::program()
{
    const CancelToken token(m_session, m_opening);
    const bool fits = co_await imageFitsTester();
    if (!fits)
        co_return;
    m_lease = m_session.leases.acquire(LongExchange::FirmwareDownload);
    if (!m_lease) {
        const Message refusal = refusalBox(*m_session.leases.current());
        co_await m_dialogs.messageBox(refusal);
        co_return;
    }
    setButtonsEnabled(false);
    m_lease->setBusy();
    showProgress(0);
    m_controls.BlockProgress.setVisible(true);

    m_commands.SendFirmwareStart(static_cast<qint32>(m_image.size()));
    const Ending ending = co_await sendBlocks(token);
    switch (ending) {
    case Ending::Sent:
        co_await restartTester(token);
        break;
    case Ending::TimedOut:
        ShowResponseLine(m_session, "*** Download Failed - Communications Timeout");
        break;
    case Ending::Interrupted:
        interrupted(token);
        break;
    }
}

/// The tester may be another one by now, and a rejected file may have replaced the image.
QCoro::Task<bool> FirmwareLoader::imageFitsTester()
{
    if (m_imageTester != currentTester(m_session)) {
        const Message refusal{
            QStringLiteral("The firmware file was chosen for the tester of an earlier connection. "
                           "Nothing was sent: select the file again."),
            QStringLiteral("Vantrel - Illegal Operation")};
        co_await m_dialogs.messageBox(refusal);
        co_return false;
    }
    const bool fits = m_image.size() <= longestFirmwareImage(m_session.TesterModel) &&
                      hasFirmwareMarker(m_image, m_session.TesterModel);
    if (!fits) {
        co_await refuseImage();
    }
    co_return fits;
}

QCoro::Task<FirmwareLoader::Ending> FirmwareLoader::sendBlocks(const CancelToken &token)
{
    const auto ended = [this, &token] { return m_session.FwBlockAck || !isExchangeActive(token); };
    PendingWrite write(m_session, WriteKind::FirmwareDownload, blocksOf(m_image.size()));
    for (qsizetype offset = 0; offset < m_image.size();) {
        const QByteArray block = m_image.mid(offset, wire::FirmwareBlockLimit);
        m_session.FwBlockAck = false;
        m_commands.SendFirmwareBlock(block);
        offset += block.size();
        showProgress(offset);

        const qint32 deadline = static_cast<qint32>(block.size()) + BlockTicks;
        const WaitEnd end = co_await m_session.waits.until(ended, deadline);
        if (end == WaitEnd::TimedOut)
            co_return Ending::TimedOut;
        if (end == WaitEnd::Closed || !isExchangeActive(token))
            co_return Ending::Interrupted;
        write.setDone(blocksOf(offset));
    }
    co_return Ending::Sent;
}

bool FirmwareLoader::isExchangeActive(const CancelToken &token) const
{
    return token.isActive() && m_link.isConnected();
}

/// The tester drops a TCP connection when it restarts; that is no failure of the link.
QCoro::Task<> FirmwareLoader::restartTester(const CancelToken &token)
{
    m_session.RestartExpected = true;
    std::optional<PendingWrite> write(std::in_place, m_session, WriteKind::FirmwareProgram);
    m_commands.SendFirmwareProgram(m_imageCrc);
    const auto over = [&token] { return !token.isActive(); };
    const WaitEnd end = co_await m_session.waits.until(over, deadlineIn(m_session, RestartTicks));

    write.reset();
    const bool kept = end != WaitEnd::Closed && token.isLinkKept();
    const bool reopened = !kept || reconnect();
    m_session.RestartExpected = false;
    m_lease.reset();
    if (kept) {
        markScriptStopped(m_session); // the restart has ended whatever ran
        ShowResponseLine(m_session, "Reinitializing Communications...");
    }
    if (token.isWindowOpen())
        emit closeWanted();
    if (!reopened) {
        const Message error{QStringLiteral("Error Opening Communications Port"),
                            QStringLiteral("Vantrel - Error")};
        co_await m_dialogs.messageBox(error);
    }
}

/// Has the connection look for the tester again. False: the socket cannot be opened.
bool FirmwareLoader::reconnect()
{
    m_session.LinkState = LinkStates::Opened;
    if (!m_session.NetworkMode)
        return true;
    m_link.CloseLink();
    return !m_link.OpenLink();
}

void FirmwareLoader::interrupted(const CancelToken &token)
{
    m_lease.reset();
    if (!token.isWindowOpen())
        return;
    setButtonsEnabled(true);
    m_controls.BlockProgress.setVisible(false);
}

void FirmwareLoader::setButtonsEnabled(bool enabled)
{
    for (Control *button : {&m_controls.fileselect, &m_controls.btProgram, &m_controls.btCancel})
        button->setEnabled(enabled);
}

/// `sent` in bytes; shown in blocks.
void FirmwareLoader::showProgress(qsizetype sent)
{
    const int blocks = blocksOf(m_image.size());
    m_controls.BlockProgress.setProgress({blocksOf(sent), blocks});
    m_controls.BlockProgress.setText(
        QStringLiteral("%1 of %2 blocks sent").arg(blocksOf(sent)).arg(blocks));
}

} // namespace vantrel
