// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/FaultBench.h"

#include "support/Hex.h"
#include "windows/ToolWindow.h"

#include <QAction>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

#include <cstring>

namespace vantrel::test {

namespace {

constexpr int TickMilliseconds = 100;
constexpr int ConnectTicks = 80; // the tester may be starting with new firmware
constexpr int LineRate = 19200;  // the first that is tried
constexpr int AnswerTicks = 5;

} // namespace

FaultBench::FaultBench(Windows windows, Link link)
{
    if (link == Link::Serial)
        useSerialLine();
    attachBuiltInDevices(*tester, {QStringLiteral("ftdi"), QStringLiteral("ezusb")});
    m_tools = {
        {"GetDescForm", "UtilDV", [] {}, [] {}},
        {"EZUSBForm", "EZUSB", [this] { tools.converter.opened(); },
         [this] { tools.converter.closed(); }},
        {"FWLoad", "mnuUtilFW", [this] { tools.loader.opened(); },
         [this] { tools.loader.closed(); }},
        {"frmFTDI", "mnuUtilFTDI", [this] { tools.ftdi.opened(); },
         [this] { tools.ftdi.closed(); }},
        {"frmNWCfg", "mnuConfigureNetwork", [this] { tools.network.opened(); },
         [this] { tools.network.closed(); }},
        {"FlashForm", "UtilFM", [this] { console.flash().opened(); },
         [this] { console.flash().closed(); }},
    };
    if (windows == Windows::Real) {
        m_main = std::make_unique<Main>(console);
        addToolWindows(tools, console, *m_main);
        m_main->findChild<QTimer *>(QStringLiteral("Timer1"))->stop();
        m_main->show();
        return;
    }
    QObject::connect(&tools.converter, &EzUsbConverter::closeWanted, &tools.converter,
                     [this] { close("EZUSBForm"); });
    QObject::connect(&tools.loader, &FirmwareLoader::closeWanted, &tools.loader,
                     [this] { close("FWLoad"); });
    QObject::connect(&tools.network, &NetworkConfig::closeWanted, &tools.network,
                     [this] { close("frmNWCfg"); });
}

void FaultBench::useSerialLine()
{
    m_line = std::make_unique<simulator::PtyEnd>(*tester, LineRate);
    const QString device = directory.filePath(QStringLiteral("tty"));
    if (!m_line->open(device))
        qFatal("no pseudo-terminal");
    console.link().setSerialDevice(1, device);
    main().CommE.setChecked(false);
    main().Comm1.setChecked(true);
}

FaultBench::~FaultBench()
{
    m_main.reset();
    console.shutDown(); // before the tools go
}

void FaultBench::tick()
{
    tester->clock().advance(TickMilliseconds);
    if (m_second)
        m_second->console.Timer1();
    else if (!m_mainClosed)
        console.Timer1();
}

void FaultBench::ticks(int count)
{
    turn([] { return false; }, count);
}

bool FaultBench::turn(const std::function<bool()> &holds, int ticks)
{
    while (!holds()) {
        rest();
        if (holds())
            return true;
        if (ticks-- == 0)
            return false;
        tick();
    }
    return true;
}

/// What one end of a socket has written may take a moment to arrive at the other.
void FaultBench::rest()
{
    QEventLoop loop;
    QTimer moment;
    moment.setSingleShot(true);
    moment.setTimerType(Qt::PreciseTimer);
    do {
        while (loop.processEvents()) {
        }
        moment.start(1);
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    } while (moment.isActive());
}

void FaultBench::plugIn()
{
    if (m_line && !m_line->isPlugged() && !m_line->plug())
        qFatal("no pseudo-terminal");
}

/// The far end of a serial line looks for a console from time to time only.
bool FaultBench::press(Bench &bench)
{
    bench.console.connectClicked();
    const bool serial =
        !bench.session().NetworkMode && bench.session().LinkState != LinkStates::Closed;
    return !serial || QTest::qWaitFor([this] { return m_line->isConsoleConnected(); });
}

bool FaultBench::pressConnect()
{
    return press(*this);
}

bool FaultBench::connectNow()
{
    const bool connected =
        pressConnect() &&
        turn([this] { return session().LinkState >= LinkStates::Running; }, ConnectTicks);
    rest();
    return connected;
}

const FaultBench::Tool &FaultBench::tool(const char *window) const
{
    for (const Tool &tool : m_tools) {
        if (std::strcmp(tool.window, window) == 0)
            return tool;
    }
    qFatal("no window %s", window);
}

FaultBench::Tool &FaultBench::tool(const char *window)
{
    return const_cast<Tool &>(std::as_const(*this).tool(window));
}

QWidget *FaultBench::widgetOf(const Tool &tool) const
{
    return m_main->findChild<QWidget *>(QString::fromLatin1(tool.window));
}

void FaultBench::open(const char *window)
{
    Tool &opening = tool(window);
    if (m_main) {
        m_main->findChild<QAction *>(QString::fromLatin1(opening.menuItem))->trigger();
    } else if (!opening.isOpen) {
        opening.isOpen = true;
        opening.opened();
    }
    if (!isOpen(window))
        qFatal("%s does not open", window);
}

void FaultBench::close(const char *window)
{
    Tool &closing = tool(window);
    if (m_main) {
        if (isOpen(window))
            closeConfirmed(*widgetOf(closing));
    } else if (std::exchange(closing.isOpen, false)) {
        closing.closed();
    }
}

bool FaultBench::isOpen(const char *window) const
{
    const Tool &asked = tool(window);
    if (!m_main)
        return asked.isOpen;
    const QWidget *widget = widgetOf(asked);
    return widget != nullptr && widget->isVisible();
}

void FaultBench::closeAll()
{
    for (const Tool &each : std::as_const(m_tools))
        close(each.window);
}

void FaultBench::closeMain()
{
    closeConfirmed(*m_main);
    m_mainClosed = true;
}

/// Answers Yes to the question whether what is being written may be interrupted.
void FaultBench::closeConfirmed(QWidget &widget)
{
    const auto answers = std::exchange(dialogs.answers, {Answer::Yes});
    const qsizetype boxes = dialogs.messages.size();
    widget.close();
    dialogs.answers = answers;
    if (dialogs.messages.size() > boxes && dialogs.messages[boxes].noIsDefault)
        dialogs.messages.removeAt(boxes);
}

void FaultBench::startWalk()
{
    tools.viewer.controls().DevAddr.setText(QStringLiteral("0x03"));
    tools.viewer.getDescClicked();
}

QString FaultBench::walkEnd()
{
    static const QString Mark = QStringLiteral("\r\n      --- ");
    const QString report = tools.viewer.controls().DescInfo.text();
    return report.contains(Mark) ? report.section(Mark, -1).trimmed() : QString();
}

void FaultBench::flood()
{
    constexpr int Rounds = 200;
    const QByteArray data(64, '\x1B');
    for (int round = 0; round < Rounds; ++round) {
        tester->reportData(Phone, 1, data);
        tester->reportConnect(Phone);
        tester->reportDisconnect(Phone);
        tester->reportStatus(1, 2, 0x0103);
        tester->reportDeviceTransfer(0, data);
        tester->reportDeviceError(Keyboard, 1, 0x80);
        tester->reportFail();
        tester->reportTrigger(1);
        tester->reportMessage(data);
        tester->reportBlockTransferStatus(1, 0, data);
        tester->reportBlockTransfer();
        tester->reportStopBlockTransfer();
        tester->sendPacket("86 00"_hex);
        tester->sendPacket({});
    }
}

QString FaultBench::standing()
{
    QStringList set;
    if (session().ScriptBusy)
        set.append(QStringLiteral("ScriptBusy"));
    if (session().DescActive)
        set.append(QStringLiteral("DescActive"));
    if (session().FtdiActive)
        set.append(QStringLiteral("FtdiActive"));
    return set.join(QLatin1Char(' '));
}

QString FaultBench::leftBehind()
{
    if (session().waits.pendingCount() > 0)
        return QStringLiteral("something waits");
    if (session().mainWindowLocks != 0 || !main().Window.isEnabled())
        return QStringLiteral("the main window cannot be used");
    if (session().DownloadSize >= 0 || main().DownloadProgress.isVisible())
        return QStringLiteral("a download shows progress");
    if (session().RestartExpected)
        return QStringLiteral("the tester's restart is expected");
    return {};
}

QString FaultBench::takeBoxes()
{
    QStringList texts;
    for (const Message &message : std::exchange(dialogs.messages, {}))
        texts.append(message.text);
    return texts.join(QLatin1Char('|'));
}

QString FaultBench::connectsAgain()
{
    if (m_mainClosed) {
        m_second = std::make_unique<Bench>();
        m_second->selectNetwork(QString::fromLatin1(Loopback), end.port());
    }
    Bench &bench = m_second ? *m_second : *this;
    Session &session = bench.session();
    if (session.Main.Connect.text() == QLatin1String("Disconnect"))
        press(bench);
    if (session.ScriptBusy || session.FtdiActive)
        return QStringLiteral("an exchange outlives its connection");

    session.Main.CmdWin.setText({});
    if (!press(bench))
        return QStringLiteral("nobody hears the console");
    const QString version = QStringLiteral("** Vorn 2 Firmware Revision  3 .");
    if (!turn([&] { return session.Main.CmdWin.text().contains(version); }, ConnectTicks))
        return QStringLiteral("no version");

    session.RespText.clear();
    QByteArray request = "02 80 06 0001 0000 1200"_hex;
    bench.console.commands().SendDeviceRequest(request);
    const QByteArray answer = "-- Device Request Response: Status = 00\r\n 12 01 ";
    if (!turn([&] { return bench.responses().contains(answer); }, AnswerTicks))
        return QStringLiteral("no answer to a device request");
    return {};
}

QString FaultBench::fileOf(const char *name, const QByteArray &content) const
{
    QFile file(directory.filePath(QString::fromLatin1(name)));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("no file %s", name);
    return file.fileName();
}

} // namespace vantrel::test
