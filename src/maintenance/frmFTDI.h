// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "windows/FieldFocus.h"
#include "windows/ToolWindow.h"

#include <memory>

class QAbstractButton;
class QLineEdit;

namespace vantrel {

class Binder;
class FtdiUtility;

namespace Ui {
class frmFTDI;
}

/// The window for the EEPROM of an FTDI device. Made once; present() opens it.
class frmFTDI : public ToolWindow
{
    Q_OBJECT

public:
    frmFTDI(FtdiUtility &ftdi, QWidget *parent);
    ~frmFTDI() override;

protected:
    void opened() override;
    void closed() override;

private:
    // Handlers are members of FtdiUtility.
    template <auto Handler>
    void onPressed(QAbstractButton &button);
    template <auto Handler>
    void onTicked(QAbstractButton &box);
    template <auto Handler>
    void onLeft(QLineEdit &field);

    FtdiUtility &m_ftdi;
    std::unique_ptr<Ui::frmFTDI> m_ui;
    std::unique_ptr<Binder> m_binder;
    FieldFocus m_fields{*this};
};

} // namespace vantrel
