// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/MessageBox.h"

#include <algorithm>
#include <utility>

namespace vantrel {

namespace {

bool isQuestion(const Message &message)
{
    return message.buttons == Message::Buttons::YesNo;
}

} // namespace

MessageBox::MessageBox(const Message &message, QWidget *parent)
    : QMessageBox(isQuestion(message) ? Question : NoIcon, message.title, {}, NoButton, parent),
      m_message(message)
{
    const bool question = isQuestion(message);
    setObjectName(QStringLiteral("MessageBox"));
    setAttribute(Qt::WA_DeleteOnClose);
    setTextFormat(Qt::PlainText);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    setText(message.text);
    setStandardButtons(question ? Yes | No : Ok);
    if (question && message.noIsDefault)
        setDefaultButton(No);
    setEscapeButton(question ? No : Ok);

    m_turn.setSingleShot(true);
    m_turn.callOnTimeout(this, [this] {
        showCount();
        emit repeated();
    });

    const Answer ifClosed = closedAnswer(message.buttons);
    connect(this, &QMessageBox::finished, this, [waiting = m_waiting, ifClosed](int button) {
        resolveAll(*waiting, button == Yes ? Answer::Yes : ifClosed);
    });
    connect(this, &QObject::destroyed,
            [waiting = m_waiting, ifClosed] { resolveAll(*waiting, ifClosed); });
}

void MessageBox::resolveAll(AllWaiting &waiting, Answer answer)
{
    // A caller that is resumed may open another box or delete this one.
    const AllWaiting resumed = std::exchange(waiting, {});
    for (const Waiting &each : resumed)
        each.answer.resolve(answer);
}

Answer MessageBox::closedAnswer(Message::Buttons buttons)
{
    return buttons == Message::Buttons::YesNo ? Answer::No : Answer::Ok;
}

bool MessageBox::isOpenFor(const Message &message) const
{
    const bool same = message.title == m_message.title && message.text == m_message.text &&
                      message.buttons == m_message.buttons;
    const bool sameQuestion =
        message.window == m_message.window && message.noIsDefault == m_message.noIsDefault;
    return isVisible() && same && (!isQuestion(message) || sameQuestion);
}

OneShot<Answer> MessageBox::add(const Message &message)
{
    const Waiting waiting{++m_added, {}};
    m_waiting->push_back(waiting);
    if (message.closedWith) {
        connect(message.closedWith, &QObject::destroyed, this,
                [this, number = waiting.number] { withdraw(number); });
    }
    if (m_waiting->size() > 1 && !m_turn.isActive())
        m_turn.start();
    return waiting.answer;
}

void MessageBox::withdraw(int number)
{
    const auto found = std::ranges::find(*m_waiting, number, &Waiting::number);
    if (found == m_waiting->end())
        return;
    if (m_waiting->size() == 1) {
        reject();
        return;
    }
    const OneShot<Answer> answer = found->answer;
    m_waiting->erase(found);
    showCount();
    answer.resolve(closedAnswer(m_message.buttons));
}

void MessageBox::showCount()
{
    const std::size_t count = m_waiting->size();
    setInformativeText(count > 1 ? tr("(%1 times)").arg(count) : QString());
}

} // namespace vantrel
