// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FirmwareLoader.h"

#include "link/Dialogs.h"
#include "link/ErrorBoundary.h"
#include "link/Files.h"
#include "link/Utils.h"
#include "link/VornComm.h"
#include "link/Wire.h"
#include "link/publicvars.h"
#include "maintenance/Exchange.h"
#include "maintenance/FirmwareImage.h"
#include "protocol/VornCommands.h"
#include "protocol/VornScript.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <utility>

namespace vantrel {

namespace {
constexpr qint32 BlockTicks = 50; // to the size of a block, not to the tick counter
constexpr qint32 RestartTicks = 50;
} // namespace

FirmwareLoader::FirmwareLoader(Session &session, VornComm &link, VornCommands &commands,
                               Dialogs &dialogs, ErrorBoundary &errors, QString crcDirectory)
    : m_session(session), m_link(link), m_commands(commands), m_dialogs(dialogs), m_errors(errors),
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
    ++m_openings;
    m_crc.emplace(m_crcDirectory);
    m_image.clear();
    m_imageCrc = 0;
    showNoImage();
    m_controls.lblCRC.setText({});
    m_controls.lblCRC.setToolTip(m_crc->origin());
    m_controls.btProgram.setEnabled(false);
    m_controls.btCancel.setEnabled(true);
    m_controls.BlockProgress.setVisible(false);
    m_controls.Window.setText(m_session.TesterModel == 2
                                  ? QStringLiteral("Download Firmware to Vorn 2")
                                  : QStringLiteral("Download Firmware to Vorn 1"));
}

void FirmwareLoader::closed()
{
    ++m_openings;
    if (std::exchange(m_stuck, false))
        m_session.ScriptBusy = false;
    m_session.waits.check();
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
    const Exchange exchange(m_session, m_openings);
    const FileChoice choice{FileChoice::Kind::OpenExisting, QStringLiteral("Open Firmware File"),
                            QStringLiteral("Firmware Files|*.bin"), QStringLiteral("bin"),
                            QStringLiteral("*.bin")};
    const QString path = co_await m_dialogs.fileDialog(choice);
    if (path.isEmpty() || !exchange.windowIsThere())
        co_return;

    if (QFileInfo(path).size() > longestFirmwareImage(m_session.TesterModel)) {
        co_await refuseImage();
        co_return;
    }
    m_image = readWholeFile(path);
    m_controls.tbFWFile.setText(path);
    m_controls.lblStatus.setText(QStringLiteral("Reading Image File"));
    if (hasFirmwareMarker(m_image, m_session.TesterModel)) {
        acceptImage();
    } else {
        co_await refuseImage();
    }
}

QCoro::Task<> FirmwareLoader::refuseImage()
{
    const Exchange exchange(m_session, m_openings);
    const Message refusal{QStringLiteral("Selected File is Not a Firmware Image"),
                          QStringLiteral("Vantrel")};
    co_await m_dialogs.messageBox(refusal);
    if (exchange.windowIsThere())
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
    const Exchange exchange(m_session, m_openings);
    setButtonsEnabled(false);
    m_session.ScriptBusy = true;
    showProgress(0);
    m_controls.BlockProgress.setVisible(true);

    m_commands.SendFirmwareStart(static_cast<qint32>(m_image.size()));
    const Ending ending = co_await sendBlocks(exchange);
    switch (ending) {
    case Ending::Sent:
        co_await restartTester(exchange);
        break;
    case Ending::TimedOut:
        ShowResponseLine(m_session, "*** Download Failed - Communications Timeout");
        m_stuck = true;
        break;
    case Ending::Interrupted:
        interrupted(exchange);
        break;
    }
}

QCoro::Task<FirmwareLoader::Ending> FirmwareLoader::sendBlocks(const Exchange &exchange)
{
    const auto ended = [this, &exchange] { return m_session.FwBlockAck || !goesOn(exchange); };
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
        if (end == WaitEnd::Closed || !goesOn(exchange))
            co_return Ending::Interrupted;
    }
    co_return Ending::Sent;
}

bool FirmwareLoader::goesOn(const Exchange &exchange) const
{
    return exchange.goesOn() && m_link.isConnected();
}

/// The tester drops a TCP connection when it restarts; that is no failure of the link.
QCoro::Task<> FirmwareLoader::restartTester(const Exchange &exchange)
{
    m_session.RestartExpected = true;
    m_commands.SendFirmwareProgram(m_imageCrc);
    const auto over = [&exchange] { return !exchange.goesOn(); };
    const WaitEnd end = co_await m_session.waits.until(over, deadlineIn(m_session, RestartTicks));

    const bool kept = end != WaitEnd::Closed && exchange.linkIsKept();
    const bool reopened = !kept || reconnect();
    m_session.RestartExpected = false;
    m_session.ScriptBusy = false;
    if (kept) {
        endUnreportedRun(m_session); // the restart has ended whatever ran
        ShowResponseLine(m_session, "Reinitializing Communications...");
    }
    if (exchange.windowIsThere())
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

void FirmwareLoader::interrupted(const Exchange &exchange)
{
    m_session.ScriptBusy = false;
    if (!exchange.windowIsThere())
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
    const auto blocks = [](qsizetype bytes) {
        return static_cast<int>((bytes + wire::FirmwareBlockLimit - 1) / wire::FirmwareBlockLimit);
    };
    m_controls.BlockProgress.setProgress({blocks(sent), blocks(m_image.size())});
    m_controls.BlockProgress.setText(
        QStringLiteral("%1 of %2 blocks sent").arg(blocks(sent)).arg(blocks(m_image.size())));
}

} // namespace vantrel
