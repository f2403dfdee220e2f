// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <type_traits>
#include <utility>

class QAbstractButton;
class QLineEdit;
class QWidget;

namespace vantrel {

/// Calls handlers when the user enters and leaves the entry fields of a window, and keeps buttons
/// from acting on a field that was rejected.
///
/// A field is left when the focus goes to another widget of its window or to another window of the
/// program, and by Enter, which stays in the field. A message box, a file dialog, a context menu or
/// another program leaves nothing. A field that keeps the focus in its window is entered anew.
///
/// When leaving a field disables the widget that was clicked, the focus returns to the field.
class FieldFocus : public QObject
{
    Q_OBJECT

public:
    explicit FieldFocus(QWidget &window);

    void onEntered(QLineEdit &field, std::function<void()> handler);
    /// A handler that returns false rejects what the field holds.
    template <typename Handler>
    void onLeft(QLineEdit &field, Handler handler)
    {
        if constexpr (std::is_same_v<std::invoke_result_t<Handler>, bool>) {
            handlersOf(field).left = std::move(handler);
        } else {
            handlersOf(field).left = [handler = std::move(handler)] {
                handler();
                return true;
            };
        }
    }

    /// The handler runs when the button is clicked and commit() succeeds.
    void onClicked(QAbstractButton &button, std::function<void()> handler);

    /// Leaves the field that has the focus, since a mnemonic does not move the focus, and each
    /// field that still holds a rejected text. False when one is rejected.
    bool commit();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Handlers
    {
        std::function<void()> entered;
        std::function<bool()> left;
    };

    Handlers &handlersOf(QLineEdit &field);
    bool leave(QLineEdit &field);
    void focusLost(QLineEdit &field, Qt::FocusReason reason);
    void focusWindowChanged();

    QWidget &m_window;
    QHash<QObject *, Handlers> m_handlers;
    QHash<QLineEdit *, QString> m_rejected; // the texts that were rejected
    QPointer<QWidget> m_pressed;            // whose press made the user leave a rejected field
    QPointer<QLineEdit> m_entered;          // has received the focus, not only been chosen for it
    QPointer<QLineEdit> m_suspended;        // had the focus when the window became inactive
};

} // namespace vantrel
