// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Dialogs.h"
#include "link/OneShot.h"

#include <QList>

#include <algorithm>
#include <functional>

namespace vantrel::test {

/// Records every question. Answers at once or, with holdAnswers and holdChoices, when the test says
/// so. A held box is closed with the object that Message::closedWith names, as a real one is.
class FakeDialogs : public Dialogs
{
public:
    // Answers, used in order; an empty list answers Ok, or the empty path (cancelled).
    QList<Answer> answers;
    QList<QString> paths;
    bool holdAnswers = false;
    bool holdChoices = false; ///< the same for file dialogs

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
            const HeldBox box{{}, message.window, ++m_lastNumber};
            m_held.append(box);
            closeWith(message.closedWith, box.number);
            co_return co_await box.answer;
        }
        co_return answers.isEmpty() ? Answer::Ok : answers.takeFirst();
    }

    QCoro::Task<QString> fileDialog(FileChoice choice) override
    {
        choices.append(choice);
        if (onChoice)
            onChoice();
        if (holdChoices) {
            const HeldChoice dialog{{}, choice.window};
            m_heldChoices.append(dialog);
            co_return co_await dialog.path;
        }
        co_return paths.isEmpty() ? QString() : paths.takeFirst();
    }

    /// Presses a button of the box that is held open, of the topmost if there are several.
    void answerHeld(Answer answer) { m_held.takeLast().answer.resolve(answer); }
    qsizetype heldCount() const { return m_held.size(); }
    /// Ends the file dialog that is held open, the topmost if there are several.
    void chooseHeld(const QString &path) { m_heldChoices.takeLast().path.resolve(path); }
    qsizetype heldChoiceCount() const { return m_heldChoices.size(); }
    /// True while a box or a file dialog of this window is held open.
    bool isBlocked(const QObject *window) const
    {
        const auto isOf = [window](const auto &held) { return held.window == window; };
        return std::ranges::any_of(m_held, isOf) || std::ranges::any_of(m_heldChoices, isOf);
    }

private:
    struct HeldBox
    {
        OneShot<Answer> answer;
        QPointer<QObject> window;
        int number = 0;
    };
    struct HeldChoice
    {
        OneShot<QString> path;
        QPointer<QObject> window;
    };

    void closeWith(QObject *object, int number)
    {
        if (!object)
            return;
        QObject::connect(object, &QObject::destroyed, &m_context, [this, number] {
            const auto hasNumber = [number](const HeldBox &box) { return box.number == number; };
            const auto found = std::ranges::find_if(m_held, hasNumber);
            if (found == m_held.end())
                return;
            const HeldBox box = *found;
            m_held.erase(found);
            box.answer.resolve(Answer::No);
        });
    }

    QList<HeldBox> m_held;
    QList<HeldChoice> m_heldChoices;
    int m_lastNumber = 0;
    QObject m_context;
};

} // namespace vantrel::test
