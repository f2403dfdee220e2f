// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMainWindow>
#include <QSessionManager>
#include <QTimer>

#include <memory>

class QAbstractButton;

namespace vantrel {

class Binder;
class Console;
class FieldFocus;
class FlashForm;
class PortControls;
class frmNewIP;

namespace Ui {
class Main;
}

/// The main window. It shows the console's control values and hands each action of the user to the
/// console's handler. From its making on, its timer (the child "Timer1") ticks the console.
///
/// Closing it while something is being written asks first: see CloseGuard.
///
/// Closing it closes every other window of the program and shuts the console down. It leaves an
/// open log without its footer, unless it is closed through the menu item `Exit`.
class Main : public QMainWindow
{
    Q_OBJECT

public:
    /// The console outlives the window.
    explicit Main(Console &console);
    ~Main() override;

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void connectConnection();
    void connectPortControls();
    void connectMenus();
    void connectScripts();
    void onClick(QAbstractButton *button, void (PortControls::*handler)());
    void openFlashForm();
    void arrange();
    void exit();
    void endSession(QSessionManager &manager);
    void shutDown();
    void closeOtherWindows();

    Console &m_console;
    std::unique_ptr<Ui::Main> m_ui;
    std::unique_ptr<Binder> m_binder;
    FieldFocus *m_fields;
    FlashForm *m_FlashForm = nullptr; // made when it is first wanted
    frmNewIP *m_frmNewIP;
    QTimer *m_Timer1;
};

} // namespace vantrel
