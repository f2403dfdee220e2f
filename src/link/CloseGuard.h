// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/PendingWrites.h"

#include <QCoroTask>
#include <QObject>

#include <functional>
#include <memory>

namespace vantrel {

class Dialogs;

/// Prevents a window from being closed unasked while one of its writes is under way.
class CloseGuard : public QObject
{
    Q_OBJECT

public:
    /// `kinds`: the writes that end with the window. AllWrites: the program ends with it. The
    /// question belongs to the window of `dialogs`.
    CloseGuard(Session &session, Dialogs &dialogs, WriteKinds kinds);

    /// True when the window may be closed at once. Otherwise a question has been opened, or is open
    /// already; after Yes, `close` is called. The question is closed when the last of the writes
    /// ends.
    bool mayClose(std::function<void()> close);

    /// Interrupts the writes without a question.
    void interruptWrites();

signals:
    /// A line that has been shown in the command pane: what was left undone.
    void interrupted(const QString &line);

private:
    QCoro::Task<> ask(std::function<void()> close);
    QString question() const;
    void withdrawQuestion();

    Session &m_session;
    Dialogs &m_dialogs;
    WriteKinds m_kinds;
    std::unique_ptr<QObject> m_question; // while the question is open; closes it when destroyed
    bool m_inMayClose = false;
    bool m_confirmed = false; // during mayClose()
};

} // namespace vantrel
