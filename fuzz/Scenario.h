// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Input.h"
#include "WholeConsole.h"

#include <QByteArray>
#include <QList>

#include <functional>
#include <initializer_list>

namespace vantrel::fuzz {

/// Something that a user can do: with a control that is enabled, in a window that can be reached.
struct Action
{
    Window window;
    const Control *control; ///< null: always possible in the window
    std::function<void(Input &)> act;
};

/// A sequence of operations that the input chooses: actions of the user in the windows of interest,
/// ticks, received bytes and packets, bytes that leave in pieces, failures of the link, answers to
/// boxes. Each operation takes at least one byte. After each, WholeConsole::requireSound() holds.
class Scenario
{
public:
    /// The actions are those of the main window and of `windows`.
    Scenario(WholeConsole &subject, std::initializer_list<Window> windows);

    /// False: only scripts that consist of packets are chosen, so that all that is sent does.
    bool anyScripts = true;

    /// One more action.
    void add(Window window, const Control *control, std::function<void(Input &)> act);
    /// Called after each operation.
    void check(std::function<void()> invariant) { m_invariant = std::move(invariant); }
    /// Runs until the input is used up.
    void run(Input &input);

private:
    void addMain();
    void addFlash();
    void addViewer();
    void addBuilder();
    void addConverter();
    void addLoader();
    void addNetwork();
    void addFtdi();
    void addField(Window window, Control &field, std::function<void()> left);
    void addFiles(Window window, const Control &control, std::function<void()> act);
    void addScripts(Window window, const Control &control, std::function<void()> act);

    void operate(Input &input);
    void act(Input &input);
    void receiveExpected(quint8 which);
    void disturb(Input &input);
    void answer(quint8 choice);

    WholeConsole &m_subject;
    QList<Action> m_actions;
    std::function<void()> m_invariant = [] {};
};

/// Text of up to 15 characters from the input.
QString takeText(Input &input);
/// A path from the input: none, one that does not exist, a directory, or a file with bytes of the
/// input or with a valid content of each kind.
QString takePath(Input &input);
/// The path of a script that consists of packets.
QString takeScript(Input &input);

} // namespace vantrel::fuzz
