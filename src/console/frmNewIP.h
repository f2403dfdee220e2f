// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

#include <memory>

namespace vantrel {

class Console;

namespace Ui {
class frmNewIP;
}

/// Asks for one more network name. Made once; ask() opens it modal over its parent.
class frmNewIP : public QDialog
{
    Q_OBJECT

public:
    frmNewIP(Console &console, QWidget *parent);
    ~frmNewIP() override;

    /// Opens the dialog with an empty field.
    void ask();

private:
    void okClicked();

    Console &m_console;
    std::unique_ptr<Ui::frmNewIP> m_ui;
};

} // namespace vantrel
