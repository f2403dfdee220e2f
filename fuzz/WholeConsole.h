// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/Tools.h"
#include "console/Console.h"
#include "support/FakeDialogs.h"
#include "support/MemoryTransport.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QDir>
#include <QObject>
#include <QString>

#include <array>
#include <functional>

namespace vantrel::fuzz {

/// The windows of the program: those of the tools, and the main window.
enum class Window : quint8 { Main, Flash, Viewer, Builder, Converter, Loader, Network, Ftdi };
constexpr std::size_t WindowCount = 8;

/// What the first choice of an input switches on: see WholeConsole::begin().
namespace Switch {
constexpr quint8 Network = 0x01;
constexpr quint8 HoldsWrites = 0x02; ///< bytes leave in pieces, as the input chooses
constexpr quint8 HoldsBoxes = 0x04;  ///< boxes stay open until the input answers them
constexpr quint8 Automatic = 0x08;
constexpr quint8 LateTicks = 0x10; ///< the tick counter is about to wrap
constexpr quint8 UnsignedWords = 0x20;
constexpr quint8 Disconnected = 0x40;
constexpr quint8 TimeStamps = 0x80;
} // namespace Switch

/// The whole program without its widgets: the console and all tools, over transports in memory,
/// with the session log on. Windows are opened and closed as ToolWindow does it. Message boxes and
/// file dialogs are recorded.
///
/// Everything that a function named require...() states must hold after whatever has happened; the
/// program is ended as a finding if it does not.
class WholeConsole
{
public:
    WholeConsole();
    ~WholeConsole();
    WholeConsole(const WholeConsole &) = delete;
    WholeConsole &operator=(const WholeConsole &) = delete;

    Session &session() { return console.session(); }
    test::MemoryTransport &transport() { return console.session().NetworkMode ? *tcp : *serial; }
    /// A directory for the files of one run, in memory where the system has one. Empty at first.
    static const QDir &directory();
    static QString file(const char *name) { return directory().filePath(QLatin1String(name)); }
    static void clearDirectory();
    static void writeFile(const QString &path, QByteArrayView bytes);

    // What happens
    /// Starts a log and connects, both unless the switches say otherwise.
    void begin(quint8 switches);
    /// Starts a log on the file, as the user does through the menu.
    void startLog(const QString &path);
    /// Connects over COM1 or the network; the tester answers as a Vorn 2.
    void run(bool network);
    void tick(int count = 1);
    /// Lets the event loop handle what is due at once.
    void turn();
    /// The bytes arrive in one notification, and the console reads all of them.
    void receive(QByteArrayView bytes);
    /// A packet with this body arrives.
    void receivePacket(const QByteArray &body);
    void open(Window window);
    void close(Window window);
    bool isOpen(Window window) const { return m_open.at(static_cast<std::size_t>(window)); }
    /// True when the user can reach the controls of the window: it is open, and no box of it is.
    bool isReachable(Window window);
    void answerBoxes(Answer answer);

    // What must hold
    /// Sizes and states, whatever is under way.
    void requireSound();
    /// The log on the disk holds what the response pane shows. Not after the file was changed by
    /// others.
    void requireLog();
    /// Boxes are answered, windows closed and the connection is ended: nothing is left under way,
    /// and a new connection works.
    void requireRests();

    test::FakeDialogs dialogs;
    test::MemoryTransport *const serial = new test::MemoryTransport;
    test::MemoryTransport *const tcp = new test::MemoryTransport;
    Console console{dialogs, std::unique_ptr<Transport>(serial), std::unique_ptr<Transport>(tcp)};
    Tools tools{console, directory().path()};
    QString logPath; ///< of the log that was started last
    /// What may open a box: actions of the user, failures of the link, answers to boxes.
    int causes = 1;

    /// The controls of every window.
    QList<QList<Control *>> controlSets();

private:
    void requireSmall(const QList<Control *> &controls);

    std::array<QObject, WindowCount> m_windows;
    std::array<bool, WindowCount> m_open{};
};

} // namespace vantrel::fuzz
