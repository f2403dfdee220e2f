// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Dialogs.h"
#include "link/OneShot.h"

#include <QList>

#include <functional>

namespace vantrel::test {

/// Records every question. Answers at once, or, with holdAnswers, when the test says so.
class FakeDialogs : public Dialogs
{
public:
    // Answers, used in order; an empty list answers Ok, or the empty path (cancelled).
    QList<Answer> answers;
    QList<QString> paths;
    bool holdAnswers = false;

    QList<Message> messages;
    QList<FileChoice> choices;
    std::function<void()> onMessage; ///< called as a box comes up, before it is answered
    std::function<void()> onChoice;  ///< the same for a file dialog

    QCoro::Task<Answer> messageBox(Message message) override
    {
        messages.append(message);
        if (onMessage)
            onMessage();
        if (holdAnswers) {
            OneShot<Answer> held;
            m_held.append(held);
            co_return co_await held;
        }
        co_return answers.isEmpty() ? Answer::Ok : answers.takeFirst();
    }

    QCoro::Task<QString> fileDialog(FileChoice choice) override
    {
        choices.append(choice);
        if (onChoice)
            onChoice();
        co_return paths.isEmpty() ? QString() : paths.takeFirst();
    }

    /// Presses a button of the box that is held open, of the topmost if there are several.
    void answerHeld(Answer answer) { m_held.takeLast().resolve(answer); }
    qsizetype heldCount() const { return m_held.size(); }

private:
    QList<OneShot<Answer>> m_held;
};

} // namespace vantrel::test
