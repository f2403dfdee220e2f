// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QObject>

#include <functional>
#include <type_traits>
#include <utility>

class QLineEdit;
class QWidget;

namespace vantrel {

/// Tells when the user enters and leaves the entry fields of a window. Enter leaves a field as
/// well, and stays in it. Going to another window or a context menu leaves nothing: the field keeps
/// its place.
class FieldFocus : public QObject
{
    Q_OBJECT

public:
    explicit FieldFocus(QWidget &window);

    void onEntered(QLineEdit &field, std::function<void()> handler);
    /// A handler that tells returns false when it does not take what the field holds.
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

    /// The field that the user is in counts as left. For the handlers of buttons, which a mnemonic
    /// presses without moving the focus. False when the field was not taken: the user has been told
    /// so, and the button should do nothing.
    bool commit();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Handlers
    {
        std::function<void()> entered;
        std::function<bool()> left;
    };

    Handlers &handlersOf(QLineEdit &field);
    bool leave(QObject *field);

    QWidget &m_window;
    QHash<QObject *, Handlers> m_handlers;
};

} // namespace vantrel
