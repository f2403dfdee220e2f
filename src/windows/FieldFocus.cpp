// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/FieldFocus.h"

#include <QFocusEvent>
#include <QLineEdit>

namespace vantrel {

namespace {

bool staysInWindow(const QEvent &event)
{
    const Qt::FocusReason reason = static_cast<const QFocusEvent &>(event).reason();
    return reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason;
}

} // namespace

FieldFocus::FieldFocus(QWidget &window) : QObject(&window), m_window(window) {}

FieldFocus::Handlers &FieldFocus::handlersOf(QLineEdit &field)
{
    if (!m_handlers.contains(&field)) {
        field.installEventFilter(this);
        connect(&field, &QLineEdit::returnPressed, this, [this, &field] { leave(&field); });
    }
    return m_handlers[&field];
}

void FieldFocus::onEntered(QLineEdit &field, std::function<void()> handler)
{
    handlersOf(field).entered = std::move(handler);
}

bool FieldFocus::commit()
{
    return leave(m_window.focusWidget());
}

bool FieldFocus::eventFilter(QObject *watched, QEvent *event)
{
    const bool handled = QObject::eventFilter(watched, event);
    if (event->type() == QEvent::FocusOut && staysInWindow(*event)) {
        leave(watched);
    } else if (event->type() == QEvent::FocusIn && staysInWindow(*event)) {
        if (const auto entered = m_handlers.value(watched).entered)
            entered();
    }
    return handled;
}

bool FieldFocus::leave(QObject *field)
{
    const auto left = m_handlers.value(field).left;
    return !left || left();
}

} // namespace vantrel
