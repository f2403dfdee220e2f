// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/CloseGuard.h"

#include "link/Dialogs.h"
#include "link/publicvars.h"

#include <utility>

namespace vantrel {

CloseGuard::CloseGuard(Session &session, Dialogs &dialogs, WriteKinds kinds)
    : m_session(session), m_dialogs(dialogs), m_kinds(kinds)
{
    // Queued: another write of the same exchange may begin at once.
    connect(
        &session.writes, &PendingWrites::ended, this,
        [this] {
            if (!m_session.writes.areUnderWay(m_kinds))
                withdrawQuestion();
        },
        Qt::QueuedConnection);
}

bool CloseGuard::mayClose(std::function<void()> close)
{
    if (!m_session.writes.areUnderWay(m_kinds)) {
        withdrawQuestion();
        return true;
    }
    if (m_question)
        return false;
    m_confirmed = false;
    m_inMayClose = true;
    ask(std::move(close));
    m_inMayClose = false;
    return m_confirmed;
}

/// A window cannot be closed from within its own closing: an answer that comes at once is returned
/// by mayClose().
QCoro::Task<> CloseGuard::ask(std::function<void()> close)
{
    m_question = std::make_unique<QObject>();
    const Message message{
        question(),      QStringLiteral("Vantrel - Warning"), Message::Buttons::YesNo, true, {},
        m_question.get()};
    const Answer answer = co_await m_dialogs.messageBox(message);
    m_question.reset();
    if (answer != Answer::Yes)
        co_return;
    interruptWrites();
    if (m_inMayClose)
        m_confirmed = true;
    else
        close();
}

QString CloseGuard::question() const
{
    return m_session.writes.description(m_kinds) + QStringLiteral("\r\n\r\n") +
           (m_kinds == AllWrites ? QStringLiteral("End the program nevertheless?")
                                 : QStringLiteral("Close the window nevertheless?"));
}

void CloseGuard::interruptWrites()
{
    const QStringList lines = m_session.writes.interrupt(m_kinds);
    for (const QString &line : lines)
        emit interrupted(line);
}

/// The box is answered by its closing, as No.
void CloseGuard::withdrawQuestion()
{
    const std::unique_ptr<QObject> question = std::move(m_question);
}

} // namespace vantrel
