// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Program.h"

#include "app/Tour.h"
#include "app/TourFiles.h"
#include "link/Files.h"
#include "link/SerialTransport.h"
#include "link/TcpTransport.h"
#include "simulator/BuiltInDevices.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTextStream>

namespace vantrel {

namespace {

void printError(const QString &line)
{
    QTextStream(stderr) << "vantrel: " << line << Qt::endl;
}

} // namespace

Program::Program(Options options)
    : m_options(std::move(options)), m_dialogs(startDirectories()),
      m_console(m_dialogs, std::make_unique<SerialTransport>(), std::make_unique<TcpTransport>()),
      m_tools(m_console, dataFolder()), m_main(m_console), m_atExit([this] { finishAtExit(); })
{
    addToolWindows(m_tools, m_console, m_main);
    for (int number = 1; number <= VornComm::SerialPortCount; ++number) {
        m_console.link().setSerialDevice(
            number, m_options.serialDevices.at(static_cast<std::size_t>(number - 1)));
    }
    m_console.session().UnsignedWords = m_options.unsignedWords;
    m_tourStart.setSingleShot(true);
    m_tourStart.callOnTimeout([this] { takeTour(); });
    QObject::connect(&m_console.closeGuard(), &CloseGuard::interrupted, &printError);
    QObject::connect(&m_stopSignals, &StopSignals::stopRequested, &m_main,
                     [this](int signal) { stop(signal); });
}

void Program::stop(int signal)
{
    m_signal = signal;
    finishLog();
    m_stopSignals.restoreDefaults();
    m_console.shutDown();
    m_main.close();
    QApplication::exit(1);
}

/// There is nobody to read a message box any more.
void Program::finishLog()
{
    if (const auto failure = m_console.log().finish())
        printError(*failure);
}

void Program::finishAtExit()
{
    finishLog();
    m_console.closeGuard().interruptWrites();
}

ProgramEnd Program::endAfter(int loopResult) const
{
    const bool tour = !m_options.tourDirectory.isEmpty();
    return {tour ? m_tourStatus : loopResult, m_signal};
}

std::optional<QString> Program::start()
{
    if (m_options.simulatedModel) {
        if (auto failure = startSimulator())
            return failure;
    }
    const bool tour = !m_options.tourDirectory.isEmpty();
    if (tour) {
        if (auto failure = prepareTourDirectory(m_options.tourDirectory))
            return failure;
    }

    m_main.show();
    loadConsole();
    applyOptions();
    // By the event loop, which a tour that fails at once is to end.
    if (tour)
        m_tourStart.start();
    return std::nullopt;
}

std::optional<QString> Program::startSimulator()
{
    const auto settings = *m_options.simulatedModel == 1 ? simulator::Settings::vorn1()
                                                         : simulator::Settings::vorn2();
    m_tester = std::make_unique<simulator::Tester>(settings);
    attachBuiltInDevices(*m_tester, m_options.devices.value_or(simulator::devicesAtStart()));
    m_tester->setRecording(false); // it may run for days
    m_testerEnd = std::make_unique<simulator::TcpEnd>(*m_tester);
    m_testerEnd->acceptOnly([this] { return consolePort(); });
    if (!m_testerEnd->listen())
        return QStringLiteral("the simulated tester found no free port");
    return std::nullopt;
}

/// The local port of the console's socket; 0 while it has none, nothing while it is connecting.
std::optional<quint16> Program::consolePort()
{
    const VornComm &link = m_console.link();
    const Session &session = m_console.session();
    if (session.NetworkMode && session.LinkState != LinkStates::Closed && !link.isConnected())
        return std::nullopt;
    return link.localPort();
}

/// Where the program keeps files of its own accord. A tour leaves the user's files alone.
QString Program::dataFolder() const
{
    return m_options.tourDirectory.isEmpty()
               ? QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
               : m_options.tourDirectory;
}

/// A program that is not installed leaves them to Qt: the current directory at first.
StartDirectories Program::startDirectories() const
{
    if (!isInstalled(QCoreApplication::applicationDirPath()))
        return {};
    return {QDir::homePath(), dataFolder()};
}

/// A tour has a names file of its own, so that each begins with a first start.
void Program::loadConsole()
{
    if (m_options.tourDirectory.isEmpty()) {
        const QString directory = QCoreApplication::applicationDirPath();
        m_console.load(NetworkNames::filePath(directory, dataFolder()),
                       NetworkNames::sharedFiles(directory));
        return;
    }
    m_console.load(NetworkNames::filePath(m_options.tourDirectory, m_options.tourDirectory));
}

void Program::applyOptions()
{
    if (m_testerEnd)
        selectNetwork(QStringLiteral("127.0.0.1"), m_testerEnd->port());
    else if (!m_options.host.isEmpty())
        selectNetwork(m_options.host, m_options.port);
    else
        m_console.link().setRemotePort(m_options.port);
    if (m_options.connect)
        m_console.connectClicked();
}

void Program::selectNetwork(const QString &host, quint16 port)
{
    MainControls &main = m_console.session().Main;
    for (Control *option : {&main.Comm1, &main.Comm2, &main.Comm3, &main.Comm4})
        option->setChecked(false);
    main.CommE.setChecked(true);
    m_console.names().offer(host);
    m_console.link().setRemotePort(port);
}

QCoro::Task<> Program::takeTour()
{
    Tour tour(m_console, m_main, *m_tester, m_options.tourDirectory);
    m_tourStatus = co_await tour.run();
    m_console.shutDown(); // nothing asks before it is closed
    m_main.close();
    QApplication::exit(m_tourStatus);
}

} // namespace vantrel
