// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Dialogs.h"
#include "link/OneShot.h"

#include <QMessageBox>
#include <QTimer>

#include <memory>
#include <vector>

namespace vantrel {

/// A box for one message or for several that are the same. Its answer is the answer to each. It is
/// deleted when it is closed; if it is deleted while open, each message is answered as if the user
/// had closed it.
class MessageBox : public QMessageBox
{
    Q_OBJECT

public:
    MessageBox(const Message &message, QWidget *parent);

    /// How a message with these buttons is answered when its box is closed.
    static Answer closedAnswer(Message::Buttons buttons);

    /// True while the box is open and `message` is the same as its own: title, text and buttons;
    /// of a question the window and the default button as well.
    bool isOpenFor(const Message &message) const;

    /// Adds a message for which isOpenFor() is true, the first one included. From the second on,
    /// "(n times)" is shown as informative text. When the object that the message is closed with is
    /// destroyed, the message is answered as if the box was closed; with the last one the box is
    /// closed.
    OneShot<Answer> add(const Message &message);

signals:
    /// A message was added to an open box. Emitted once a turn of the event loop, as the
    /// informative text is changed: thousands of messages may be added in one turn.
    void repeated();

private:
    struct Waiting
    {
        int number; // of the message in this box
        OneShot<Answer> answer;
    };
    using AllWaiting = std::vector<Waiting>;

    static void resolveAll(AllWaiting &waiting, Answer answer);
    void withdraw(int number);
    void showCount();

    Message m_message;
    int m_added = 0;
    QTimer m_turn;
    std::shared_ptr<AllWaiting> m_waiting = std::make_shared<AllWaiting>(); // outlives the box
};

} // namespace vantrel
