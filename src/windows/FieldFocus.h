// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QObject>

#include <functional>

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
    void onLeft(QLineEdit &field, std::function<void()> handler);

    /// The field that the user is in counts as left. For the handlers of buttons, which a mnemonic
    /// presses without moving the focus.
    void commit();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Handlers
    {
        std::function<void()> entered;
        std::function<void()> left;
    };

    Handlers &handlersOf(QLineEdit &field);
    void leave(QObject *field);

    QWidget &m_window;
    QHash<QObject *, Handlers> m_handlers;
};

} // namespace vantrel
