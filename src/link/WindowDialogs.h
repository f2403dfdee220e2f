// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Dialogs.h"
#include "link/ErrorBoundary.h"

namespace vantrel {

/// The message boxes and file dialogs of one window. Passes each to other Dialogs, with the window
/// that it belongs to. Before setWindow() is called, the others decide on the window.
class WindowDialogs : public Dialogs
{
public:
    /// `dialogs` must outlive the object.
    explicit WindowDialogs(Dialogs &dialogs) : m_dialogs(dialogs) {}

    /// The window may be destroyed before this object.
    void setWindow(QObject *window) { m_window = window; }

    QCoro::Task<Answer> messageBox(Message message) override;
    QCoro::Task<QString> fileDialog(FileChoice choice) override;

private:
    Dialogs &m_dialogs;
    QPointer<QObject> m_window;
};

/// The dialogs of one window, and the error boundary whose boxes belong to it.
struct WindowBoundary
{
    explicit WindowBoundary(Dialogs &owner) : dialogs(owner), errors(dialogs) {}

    WindowDialogs dialogs;
    ErrorBoundary errors;
};

} // namespace vantrel
