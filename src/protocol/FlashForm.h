// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMainWindow>

#include <memory>

namespace vantrel {

class Binder;
class FlashScripts;

namespace Ui {
class FlashForm;
}

/// The window for the script in the tester's flash. Made once; show() opens it.
class FlashForm : public QMainWindow
{
    Q_OBJECT

public:
    FlashForm(FlashScripts &flash, QWidget *parent);
    ~FlashForm() override;

    /// Opens the window, or brings it to the front when it is open.
    void present();

protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    FlashScripts &m_flash;
    std::unique_ptr<Ui::FlashForm> m_ui;
    std::unique_ptr<Binder> m_binder;
};

} // namespace vantrel
