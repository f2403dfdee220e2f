// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/FieldFocus.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFocusEvent>
#include <QLineEdit>
#include <QWindow>

namespace vantrel {

namespace {

Qt::FocusReason reasonOf(const QEvent &event)
{
    return static_cast<const QFocusEvent &>(event).reason();
}

bool staysInWindow(Qt::FocusReason reason)
{
    return reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason;
}

} // namespace

FieldFocus::FieldFocus(QWidget &window) : QObject(&window), m_window(window)
{
    window.installEventFilter(this);
    connect(qApp, &QGuiApplication::focusWindowChanged, this, &FieldFocus::focusWindowChanged);
}

FieldFocus::Handlers &FieldFocus::handlersOf(QLineEdit &field)
{
    if (!m_handlers.contains(&field)) {
        field.installEventFilter(this);
        connect(&field, &QLineEdit::returnPressed, this, [this, &field] { leave(field); });
    }
    return m_handlers[&field];
}

void FieldFocus::onEntered(QLineEdit &field, std::function<void()> handler)
{
    handlersOf(field).entered = std::move(handler);
}

void FieldFocus::onClicked(QAbstractButton &button, std::function<void()> handler)
{
    connect(&button, &QAbstractButton::clicked, this,
            [this, &button, handler = std::move(handler)] {
                // The press has moved the focus already, and its rejection was reported.
                const bool rejected = std::exchange(m_pressed, nullptr) == &button;
                if (!rejected && commit())
                    handler();
            });
}

bool FieldFocus::commit()
{
    auto *current = qobject_cast<QLineEdit *>(m_window.focusWidget());
    if (current && !leave(*current))
        return false;
    const QList<QLineEdit *> rejected = m_rejected.keys();
    for (QLineEdit *field : rejected) {
        const bool corrected = field->text() != m_rejected.value(field);
        if (corrected)
            m_rejected.remove(field);
        else if (!leave(*field))
            return false;
    }
    return true;
}

bool FieldFocus::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == &m_window) {
        if (event->type() == QEvent::WindowActivate)
            m_pressed.clear(); // the box about the rejection is closed
        return false;
    }
    auto *field = static_cast<QLineEdit *>(watched);
    if (event->type() == QEvent::FocusOut) {
        // First the field: a handler may give the focus back to it.
        field->event(event);
        focusLost(*field, reasonOf(*event));
        return true;
    }
    if (event->type() == QEvent::FocusIn) {
        m_entered = field;
        const auto entered = m_handlers.value(field).entered;
        if (entered && staysInWindow(reasonOf(*event)))
            entered();
    }
    return false;
}

void FieldFocus::focusLost(QLineEdit &field, Qt::FocusReason reason)
{
    if (reason == Qt::ActiveWindowFocusReason)
        m_suspended = &field;
    if (!staysInWindow(reason) || m_entered != &field)
        return;
    const QPointer<QWidget> target = m_window.focusWidget();
    const bool accepted = leave(field);
    if (reason != Qt::MouseFocusReason || !target)
        return;
    if (!accepted)
        m_pressed = target;
    if (!target->isEnabled() && field.isEnabled())
        field.setFocus(Qt::OtherFocusReason);
}

void FieldFocus::focusWindowChanged()
{
    const QWidget *active = QApplication::activeWindow();
    if (!m_suspended || !active)
        return; // another program
    const bool elsewhere = active != &m_window;
    if (elsewhere && active->isModal())
        return; // a box: the user comes back
    QLineEdit &field = *std::exchange(m_suspended, nullptr);
    if (elsewhere && m_window.isVisible())
        leave(field);
}

bool FieldFocus::leave(QLineEdit &field)
{
    const Handlers handlers = m_handlers.value(&field);
    const bool accepted = !handlers.left || handlers.left();
    if (accepted)
        m_rejected.remove(&field);
    else
        m_rejected[&field] = field.text();
    if (m_window.focusWidget() == &field && handlers.entered)
        handlers.entered();
    return accepted;
}

} // namespace vantrel
