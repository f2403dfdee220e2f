// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/NetworkBench.h"
#include "app/ToolWindows.h"
#include "console/Main.h"
#include "simulator/PtyEnd.h"

#include <QList>

#include <functional>
#include <memory>

namespace vantrel::test {

/// A console with its tools and a tester on a real socket, connected, in which a test lets things
/// go wrong. Its windows are real ones if that is asked for; they show themselves to nobody.
///
/// Time is the bench's: it lets events happen, and gives a tick when nothing happens any more.
class FaultBench : public NetworkBench
{
public:
    enum class Windows { None, Real };
    enum class Link { Network, Serial };

    // Where the tester's devices are
    static constexpr quint8 Keyboard = 0x02;
    static constexpr quint8 Phone = 0x03;
    static constexpr quint8 Ftdi = 0x07;
    static constexpr quint8 EzUsb = 0x09;

    explicit FaultBench(Windows windows, Link link = Link::Network);
    ~FaultBench();
    FaultBench(const FaultBench &) = delete;
    FaultBench &operator=(const FaultBench &) = delete;

    /// Lets events happen until the condition holds; false when it still does not after the ticks.
    bool turn(const std::function<bool()> &holds, int ticks);
    void ticks(int count);
    /// Lets events happen until there are none.
    void rest();

    /// Connects and waits until the tester has been set up.
    bool connectNow();
    /// Presses Connect or Disconnect; false when there is nobody at the far end.
    bool pressConnect();
    void pullAdapter() { m_line->unplug(); }
    /// The serial adapter is back, if it has been pulled.
    void plugIn();

    // Tool windows, by name. Without real ones, only their behaviours are notified.
    void open(const char *window);
    void close(const char *window);
    bool isOpen(const char *window) const;
    void closeAll();
    /// The program ends: no tick comes any more.
    void closeMain();
    bool isMainClosed() const { return m_mainClosed; }

    void startWalk();
    /// How the last walk ended; empty while it goes on.
    QString walkEnd();

    /// Many reports, of each kind that a tester sends by itself.
    void flood();

    /// The values that say that an exchange is under way, as far as they are set.
    QString standing();
    /// What else an operation that has ended may not leave behind; empty when all is well.
    QString leftBehind();
    /// Texts of the boxes since the last call.
    QString takeBoxes();

    /// Ends the connection if there is one, connects and has a device request answered. A program
    /// that has ended is started anew. Empty, or what failed.
    QString connectsAgain();

    QString fileOf(const char *name, const QByteArray &content) const;

    Tools tools{console, directory.path()};

private:
    struct Tool
    {
        const char *window;
        const char *menuItem;
        std::function<void()> opened;
        std::function<void()> closed;
        bool isOpen = false;
    };

    void useSerialLine();
    bool press(Bench &bench);
    const Tool &tool(const char *window) const;
    Tool &tool(const char *window);
    QWidget *widgetOf(const Tool &tool) const;
    void tick();
    void closeConfirmed(QWidget &widget);

    std::unique_ptr<simulator::PtyEnd> m_line;
    QList<Tool> m_tools;
    std::unique_ptr<Main> m_main;
    std::unique_ptr<Bench> m_second; // the program that is started once this one has ended
    bool m_mainClosed = false;
};

} // namespace vantrel::test
