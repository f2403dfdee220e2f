// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMainWindow>

namespace vantrel {

class CloseGuard;

/// A window beside the main one. Made once; present() opens it, Escape closes it. With a
/// CloseGuard, closing it while something is being written asks first.
class ToolWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit ToolWindow(QWidget *parent);

    /// Opens the window, or brings it to the front when it is open.
    void present();

    /// From now on the guard decides whether the window closes. It must outlive the window.
    void setCloseGuard(CloseGuard &guard) { m_guard = &guard; }

protected:
    /// The window has come up.
    virtual void opened() {}
    /// The window is about to go.
    virtual void closed() {}
    /// The window has come up, or has become the active one. Comes twice when it is both.
    virtual void activated() {}

    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    CloseGuard *m_guard = nullptr; // null: nothing to ask
};

} // namespace vantrel
