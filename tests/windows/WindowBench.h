// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "console/Main.h"
#include "support/ConsoleBench.h"

#include <QAction>
#include <QApplication>
#include <QTest>
#include <QTimer>
#include <QWidget>

namespace vantrel::test {

/// The widget, action or other child that bears the name. It must be there.
template <typename Type>
Type &child(const QObject &window, const char *name)
{
    auto *found = window.findChild<Type *>(QString::fromLatin1(name));
    if (!found)
        qFatal("%s has no %s", qPrintable(window.objectName()), name);
    return *found;
}

/// isActiveWindow(), and with it qWaitForWindowActive(), is true of a tool window already while its
/// main window is the active one.
inline void waitUntilActive(const QWidget &window)
{
    if (!QTest::qWaitFor([&window] { return QApplication::activeWindow() == &window; }))
        qFatal("%s does not become active", qPrintable(window.objectName()));
}

/// Stops a window's timer, so that its ticks are the test's.
inline void stopTicks(const Main &window)
{
    child<QTimer>(window, "Timer1").stop();
}

/// The main window over a console whose transports, dialogs and ticks are the test's. The window is
/// shown and active.
struct WindowBench : ConsoleBench
{
    explicit WindowBench(Start start = Start::Loaded) : ConsoleBench(start)
    {
        stopTicks(window);
        window.show();
        waitUntilActive(window);
    }

    template <typename Type>
    Type &find(const char *name)
    {
        return child<Type>(window, name);
    }
    QWidget &widget(const char *name) { return find<QWidget>(name); }

    void press(const char *name)
    {
        QTest::mouseClick(&widget(name), Qt::LeftButton, {}, spot(name));
    }

    /// Types over what the field holds, as the user would.
    void type(const char *field, const QString &text)
    {
        QWidget &target = widget(field);
        QTest::mouseClick(&target, Qt::LeftButton);
        QTest::keyClick(&target, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(&target, text);
    }

    /// What the console has sent since the last call, as one line of hexadecimal digits.
    QByteArray sent() { return transport().takeWritten().toHex(); }

    Main window{console};

private:
    /// Within the box or the caption of every kind of button.
    QPoint spot(const char *name) { return {8, widget(name).height() / 2}; }
};

} // namespace vantrel::test
