// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/Console.h"

#include "link/RuntimeError.h"
#include "link/Utils.h"

#include <optional>

namespace vantrel {

Console::Console(Dialogs &dialogs, std::unique_ptr<Transport> serial,
                 std::unique_ptr<Transport> tcp)
    : m_dialogs(dialogs), m_errors(m_dialogs), m_link(m_session, std::move(serial), std::move(tcp)),
      m_commands(m_session, m_link), m_requests(m_session, m_link, m_commands),
      m_decoder(m_session, m_commands, m_requests), m_script(m_session, m_link, m_commands),
      m_flash(m_session, m_commands, m_script, m_flashBoundary.dialogs, m_flashBoundary.errors),
      m_connection(m_session, m_link, m_commands, m_requests, m_dialogs),
      m_ports(m_session, m_commands), m_scripts(m_session, m_commands, m_script, m_dialogs),
      m_log(m_session, m_dialogs, m_errors), m_names(m_session, m_link, m_dialogs)
{
    m_link.setDispatcher([this] { m_decoder.DispatchResponse(); });
    connect(&m_link, &VornComm::socketError, this, [this](const QString &description) {
        m_errors.run([this, description] { return m_connection.socketError(description); });
    });
    setUpControls();
}

Console::~Console()
{
    shutDown();
}

void Console::setUpControls()
{
    MainControls &main = m_session.Main;
    main.Connect.setText(QStringLiteral("Connect"));
    main.Connect.setToolTip(QStringLiteral("Connect to Vorn Tester"));
    setScriptState(m_session, ScriptState::Idle);
    main.FileClose.setEnabled(false);
    main.LogFrame.setVisible(false);
    main.DownloadProgress.setVisible(false);
    main.Window.setEnabled(true);
}

void Console::load(const QString &namesFile, const QStringList &sharedNames)
{
    m_session.RespText.clear();
    m_session.TickCount = 0;
    InitLink(m_session);

    MainControls &main = m_session.Main;
    main.Comm1.setChecked(true);
    m_link.setSerialPortNumber(1);
    m_link.setRemoteHost(QString::fromLatin1(DefaultHost));
    m_link.setRemotePort(VornComm::TesterPort);
    m_session.NetworkMode = false;

    for (Control *control : {&main.VoltDisable,
                             &main.VoltEnable,
                             &main.VoltSet,
                             &main.Suspend,
                             &main.USBResume,
                             &main.USBReset,
                             &main.VoltWin,
                             &main.ScriptLoad,
                             &main.ScriptRun,
                             &main.UtilFM,
                             &main.UtilDV,
                             &main.UtilDR,
                             &main.EZUSB,
                             &main.Automode,
                             &main.Vcc_AR,
                             &main.mnuUtilFW,
                             &main.mnuUtilFTDI,
                             &main.cbHSInhibit,
                             &main.mnuConfigureNetwork,
                             &main.cbNWName})
        control->setEnabled(false);
    m_session.RespDirty = false;

    m_errors.run([this, namesFile, sharedNames] { return loadNames(namesFile, sharedNames); });
}

QCoro::Task<> Console::loadNames(QString namesFile, QStringList sharedNames)
{
    std::optional<RuntimeError> failure;
    try {
        co_await m_names.load(namesFile, sharedNames);
    } catch (const RuntimeError &error) {
        failure = error;
    }
    m_session.DescTimeout = 0;
    if (failure)
        throw RuntimeError(*failure);
}

void Console::Timer1()
{
    act([this] {
        // The thread may have been suspended: what has arrived since then is no silence.
        m_link.receiveArrived();
        m_session.TickCount = TickWrap(qint64{m_session.TickCount} + 1);
        m_connection.pollTick();
        showStaleStatus();
        redrawResponses();
        countDown();
        m_log.flush();
        m_session.waits.check();
    });
}

void Console::redrawResponses()
{
    if (!m_session.RespDirty)
        return;
    m_session.Main.RespWin.redrawText(QString::fromLatin1(m_session.RespText.text()));
    m_session.RespDirty = false;
}

/// Without a connection to a tester that answers, the status fields cannot be updated.
void Console::showStaleStatus()
{
    const bool answered =
        m_session.LinkState == LinkStates::Running || m_session.LinkState == LinkStates::Bootstrap;
    if (answered && m_link.isConnected())
        return;
    MainControls &main = m_session.Main;
    for (Control *field : {&main.conxsts, &main.power, &main.vornstate, &main.CurrWin})
        field->setStale();
}

void Console::countDown()
{
    m_requests.tick();
    if (m_session.TriggerHoldoff > 0)
        --m_session.TriggerHoldoff;
}

void Console::shutDown()
{
    m_closeGuard.interruptWrites();
    m_flash.closed();
    m_session.waits.closeAll();
    m_link.CloseLink();
    m_log.flush();
}

void Console::connectClicked()
{
    m_errors.run([this] { return m_connection.connectClicked(); });
}

void Console::automodeClicked()
{
    m_errors.run([this] { return m_connection.automodeClicked(); });
}

void Console::networkNameClicked()
{
    if (m_names.nameClicked())
        emit newNetworkNameWanted();
}

void Console::clearClicked()
{
    m_session.RespText.clear();
    m_session.RespDirty = true;
    m_session.Main.CmdWin.setText({});
}

void Console::fileNewClicked()
{
    m_errors.run([this] { return m_log.fileNew(); });
}

void Console::fileCloseClicked()
{
    act([this] { m_log.fileClose(); });
}

void Console::descriptorViewerClicked()
{
    if (m_session.Main.Automode.isChecked())
        emit descriptorViewerWanted();
    else
        m_errors.run([this] { return refuseDescriptorViewer(); });
}

void Console::scriptLoadClicked()
{
    m_errors.run([this] { return m_scripts.scriptLoadClicked(); });
}

void Console::scriptRunClicked()
{
    m_errors.run([this] { return m_scripts.scriptRunClicked(); });
}

QCoro::Task<> Console::refuseDescriptorViewer()
{
    const Message refusal{QStringLiteral("Descriptor Viewer Only works in Automatic Mode"),
                          QStringLiteral("Vantrel - Illegal Operation")};
    co_await m_dialogs.messageBox(refusal);
}

void Console::exitClicked()
{
    if (m_session.Logging)
        fileCloseClicked();
}

} // namespace vantrel
