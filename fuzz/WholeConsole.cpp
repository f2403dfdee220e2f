// SPDX-License-Identifier: GPL-3.0-or-later
#include "WholeConsole.h"

#include "Input.h"
#include "link/Bytes.h"
#include "link/Deframer.h"
#include "link/Utils.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <utility>

/// One application for all runs of a target: timers and queued calls need it.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static QCoreApplication application(*argc, *argv);
    return 0;
}

namespace vantrel::fuzz {

namespace {

constexpr qsizetype MostInField = 65'536 + 256; // characters, of any control that is no pane
constexpr qsizetype MostInReport = (8 << 20) + (1 << 16);
constexpr qsizetype MostInBox = 4096;
constexpr int BoxesPerCause = 3;
constexpr int Enough = 1000;   // of whatever must end by itself
constexpr int RestTicks = 100; // after which no reply can come

/// Removed with its contents when the program ends.
class RunDirectory
{
public:
    RunDirectory()
        : m_directory(QDir(QStringLiteral("/dev/shm")).exists()
                          ? QStringLiteral("/dev/shm/vantrel-fuzz-XXXXXX")
                          : QDir::tempPath() + QStringLiteral("/vantrel-fuzz-XXXXXX")),
          m_dir(m_directory.path())
    {
    }
    const QDir &dir() const { return m_dir; }

private:
    QTemporaryDir m_directory;
    QDir m_dir;
};

/// The controls that show a text of many lines, and the most characters of each.
qsizetype mostIn(const Control &control)
{
    if (control.name() == QLatin1String("DescInfo"))
        return MostInReport;
    if (control.name() == QLatin1String("RespWin"))
        return BoundedText::Limit + 14;
    if (control.name() == QLatin1String("CmdWin"))
        return qsizetype{MainControls::CommandLines} * 256;
    return MostInField;
}

} // namespace

const QDir &WholeConsole::directory()
{
    static const RunDirectory made;
    return made.dir();
}

void WholeConsole::clearDirectory()
{
    const auto filter = QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot;
    for (const QString &name : directory().entryList(filter)) {
        const QString path = directory().filePath(name);
        if (!QFile::remove(path))
            QDir(path).removeRecursively();
    }
}

void WholeConsole::writeFile(const QString &path, QByteArrayView bytes)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) &&
                file.write(bytes.data(), bytes.size()) == bytes.size(),
            "the directory of the run can be written");
}

WholeConsole::WholeConsole()
{
    clearDirectory();
    console.setWindow(&m_windows[0]);
    console.setFlashWindow(&m_windows[1]);
    const std::array boundaries{&tools.viewerBoundary,    &tools.builderBoundary,
                                &tools.converterBoundary, &tools.loaderBoundary,
                                &tools.networkBoundary,   &tools.ftdiBoundary};
    for (std::size_t i = 0; i < boundaries.size(); ++i)
        boundaries[i]->dialogs.setWindow(&m_windows[i + 2]);
    m_open[0] = true;
    QObject::connect(&tools.converter, &EzUsbConverter::closeWanted,
                     [this] { close(Window::Converter); });
    QObject::connect(&tools.loader, &FirmwareLoader::closeWanted,
                     [this] { close(Window::Loader); });
    QObject::connect(&tools.network, &NetworkConfig::closeWanted,
                     [this] { close(Window::Network); });
    QObject::connect(&console, &Console::descriptorViewerWanted, [this] { open(Window::Viewer); });
    session().timeOfDay = [] { return QTime(12, 0); };
    for (int port = 1; port <= VornComm::SerialPortCount; ++port)
        console.link().setSerialDevice(port, QStringLiteral("/dev/serial%1").arg(port));
    const QString names = file("VLnetNames.dat");
    writeFile(names, "one\r\ntwo\r\n");
    console.load(names);
    session().Main.CommE.adoptChecked(false);
}

WholeConsole::~WholeConsole()
{
    answerBoxes(Answer::No);
    console.shutDown();
    answerBoxes(Answer::No);
    turn();
}

void WholeConsole::begin(quint8 switches)
{
    Session &state = session();
    const auto has = [switches](quint8 one) { return (switches & one) != 0; };
    if (has(Switch::LateTicks))
        state.TickCount = TickWrap(-1 + qint64{2'000'000'000} - 40);
    state.UnsignedWords = has(Switch::UnsignedWords);
    state.DataTimeStamps = has(Switch::TimeStamps);
    startLog(file("session.log"));
    if (!has(Switch::Disconnected))
        run(has(Switch::Network));
    state.Main.Automode.adoptChecked(has(Switch::Automatic));
    for (test::MemoryTransport *port : {serial, tcp})
        port->holdsWrites = has(Switch::HoldsWrites);
    dialogs.holdAnswers = dialogs.holdChoices = has(Switch::HoldsBoxes);
}

void WholeConsole::startLog(const QString &path)
{
    logPath = path;
    dialogs.paths = {path};
    const bool held = std::exchange(dialogs.holdChoices, false);
    console.fileNewClicked();
    dialogs.holdChoices = held;
    dialogs.paths.clear();
    ++causes;
}

void WholeConsole::run(bool network)
{
    MainControls &main = session().Main;
    for (Control *option : {&main.Comm1, &main.Comm2, &main.Comm3, &main.Comm4, &main.CommE})
        option->adoptChecked(option == (network ? &main.CommE : &main.Comm1));
    console.connectClicked();
    tick(10);
    receive(QByteArrayView("\0", 1)); // an ESC may be left of the connection before
    receivePacket(QByteArray::fromHex("8f02030c0040"));
}

void WholeConsole::tick(int count)
{
    for (int i = 0; i < count; ++i)
        console.Timer1();
}

void WholeConsole::turn()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void WholeConsole::receive(QByteArrayView bytes)
{
    test::MemoryTransport &port = transport();
    if (!port.isConnected())
        return;
    port.receive(bytes.toByteArray());
    for (int i = 0; i < Enough && port.waiting() > 0; ++i) {
        turn();
        if (port.waiting() > 0)
            port.notifyWaiting();
    }
    require(port.waiting() == 0, "what has arrived is read");
}

void WholeConsole::receivePacket(const QByteArray &body)
{
    QByteArray plain = body;
    receive(session().PacketStart + StuffEscapes(plain) + session().PacketEnd);
}

void WholeConsole::open(Window window)
{
    bool &open = m_open.at(static_cast<std::size_t>(window));
    if (std::exchange(open, true))
        return;
    switch (window) {
    case Window::Flash:
        console.flash().opened();
        break;
    case Window::Builder:
        tools.builder.activated();
        break;
    case Window::Converter:
        tools.converter.opened();
        break;
    case Window::Loader:
        tools.loader.opened();
        break;
    case Window::Network:
        tools.network.opened();
        break;
    case Window::Ftdi:
        tools.ftdi.opened();
        break;
    default:
        break;
    }
}

void WholeConsole::close(Window window)
{
    const auto again = [this, window] { close(window); };
    if (!isOpen(window))
        return;
    const bool may = window == Window::Flash       ? console.flash().closeGuard().mayClose(again)
                     : window == Window::Converter ? tools.converter.closeGuard().mayClose(again)
                     : window == Window::Loader    ? tools.loader.closeGuard().mayClose(again)
                     : window == Window::Ftdi      ? tools.ftdi.closeGuard().mayClose(again)
                                                   : true;
    if (!may || !isOpen(window))
        return;
    m_open.at(static_cast<std::size_t>(window)) = false;
    switch (window) {
    case Window::Flash:
        console.flash().closed();
        break;
    case Window::Converter:
        tools.converter.closed();
        break;
    case Window::Loader:
        tools.loader.closed();
        break;
    case Window::Network:
        tools.network.closed();
        break;
    case Window::Ftdi:
        tools.ftdi.closed();
        break;
    default:
        break;
    }
}

bool WholeConsole::isReachable(Window window)
{
    const bool locked = window == Window::Main && !session().Main.Window.isEnabled();
    return isOpen(window) && !locked &&
           !dialogs.isBlocked(&m_windows.at(static_cast<std::size_t>(window)));
}

void WholeConsole::answerBoxes(Answer answer)
{
    dialogs.holdAnswers = dialogs.holdChoices = false;
    for (int i = 0; i < Enough && dialogs.heldCount() + dialogs.heldChoiceCount() > 0; ++i) {
        if (dialogs.heldChoiceCount() > 0)
            dialogs.chooseHeld({});
        else
            dialogs.answerHeld(answer);
    }
    require(dialogs.heldCount() + dialogs.heldChoiceCount() == 0, "boxes do not follow for ever");
}

QList<QList<Control *>> WholeConsole::controlSets()
{
    return {
        session().Main.all,           console.flash().controls().all, tools.viewer.controls().all,
        tools.builder.controls().all, tools.converter.controls().all, tools.loader.controls().all,
        tools.network.controls().all, tools.ftdi.controls().all};
}

void WholeConsole::requireSmall(const QList<Control *> &controls)
{
    for (const Control *control : controls) {
        if (control->text().size() > mostIn(*control))
            qWarning("%s has %lld characters", qUtf8Printable(control->name()),
                     static_cast<long long>(control->text().size()));
        require(control->text().size() <= mostIn(*control), "the text of a control is bounded");
        require(control->toolTip().size() <= MostInField, "the tool tip of a control is bounded");
        require(control->entryNote().size() <= MostInField, "an entry note is bounded");
        const Progress progress = control->progress();
        require(progress.done >= 0 && progress.done <= progress.total, "a bar ends at its total");
    }
}

void WholeConsole::requireSound()
{
    for (const QList<Control *> &controls : controlSets())
        requireSmall(controls);
    Session &state = session();
    require(state.RespText.size() <= BoundedText::Limit + 14, "the response text is bounded");
    require(state.RespText.size() == state.RespText.text().size(),
            "the response text has the length that it reports");
    require(state.Main.CmdWin.text().count(QLatin1Char('\n')) <= MainControls::CommandLines,
            "the command pane has a bounded number of lines");
    require(state.RxPacket.size() <= VornComm::BodyLimit + (1 << 16),
            "a packet that does not end is bounded");
    require(state.RxState >= RxStates::Hunting && state.RxState <= RxStates::EscInBody,
            "the de-framer is in one of its states");
    require(state.TriggerHoldoff >= 0 && state.TriggerHoldoff <= 5,
            "the trigger hold-off is in its range");
    require(state.DescActive == (state.DescTimeout > 0), "a retrieval has its time-out before it");
    require(state.BaudIndex >= 0 && state.BaudIndex <= 3, "the rate is one of the searched ones");
    require((state.Main.Connect.text() == QLatin1String("Connect")) ==
                (state.LinkState == LinkStates::Closed),
            "the button Connect states what it does");
    require(state.Logging == state.Main.FileClose.isEnabled(),
            "a log can be closed if one is open");
    require(state.mainWindowLocks >= 0, "no lock is released twice");
    require(serial->unsent() + tcp->unsent() < 2 * VornComm::UnsentLimit, "what waits is bounded");
    require(dialogs.messages.size() <= BoxesPerCause * causes, "the number of boxes is bounded");
    for (const Message &message : dialogs.messages) {
        require(!message.text.isEmpty() && message.text.size() <= MostInBox,
                "the text of a box is bounded");
        require(!message.title.isEmpty() && message.title.size() <= 256, "a box has a short title");
    }
}

void WholeConsole::requireLog()
{
    Session &state = session();
    if (!state.Logging)
        return;
    console.log().flush();
    QFile file(logPath);
    require(file.open(QIODevice::ReadOnly), "the log is on the disk");
    const QByteArray logged = file.readAll();
    require(logged.size() == state.LogBytes, "the log has the size that is shown");
    const qsizetype header = logged.indexOf("%%%%%", 5) + 7; // behind the second rule
    require(logged.startsWith("%%%%%\r\n%% Log File Started: ") && header > 7,
            "the log starts with its header");
    QByteArray pane = state.RespText.text();
    if (pane.startsWith(QByteArrayView(BoundedText::Marker.data(),
                                       static_cast<qsizetype>(BoundedText::Marker.size()))))
        pane.remove(0, static_cast<qsizetype>(BoundedText::Marker.size()));
    const QByteArrayView body = QByteArrayView(logged).sliced(header);
    const qsizetype common = std::min(body.size(), pane.size());
    require(body.last(common) == QByteArrayView(pane).last(common),
            "the log holds what the response pane shows");
}

void WholeConsole::requireRests()
{
    answerBoxes(Answer::No);
    dialogs.paths.clear();
    if (session().LinkState != LinkStates::Closed)
        console.connectClicked();
    for (std::size_t i = 1; i < WindowCount; ++i)
        close(static_cast<Window>(i));
    for (int i = 0; i < RestTicks; ++i)
        tick();
    turn();
    answerBoxes(Answer::No);
    turn();

    Session &state = session();
    require(state.LinkState == LinkStates::Closed, "the connection has ended");
    require(state.waits.pendingCount() == 0, "nothing waits");
    require(!state.ScriptBusy && !state.leases.current(), "no exchange is under way");
    require(!state.writes.areUnderWay(AllWrites), "nothing is being written");
    require(!state.DescActive && !state.FtdiActive, "no reply is expected");
    require(state.mainWindowLocks == 0 && state.Main.Window.isEnabled(),
            "the main window can be used");
    require(state.Script == ScriptState::Idle, "no script runs");
    require(state.Main.Connect.isEnabled(), "a connection can be opened");
    require(tools.viewer.controls().GetDesc.isEnabled(), "a retrieval can be started");

    for (test::MemoryTransport *port : {serial, tcp}) {
        port->openError.reset();
        port->connectsAtOnce = true;
        port->drain();
        port->holdsWrites = false;
    }
    run(false);
    require(state.LinkState == LinkStates::Running, "a tester that answers is connected");
    serial->takeWritten();
    receivePacket(QByteArray(1, '\x83'));
    require(state.Main.CmdWin.text().endsWith(QLatin1String("\r\nSuspending")),
            "the next packet arrives");
    tick(10);
    require(!serial->takeWritten().isEmpty(), "the tester is polled");
    require(state.Main.ScriptLoad.isEnabled(), "a script can be loaded");
    requireSound();
}

} // namespace vantrel::fuzz
