// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "windows/FieldFocus.h"
#include "windows/ToolWindow.h"

#include <memory>

namespace vantrel {

class Binder;
class EzUsbConverter;

namespace Ui {
class EZUSBForm;
}

/// The window that turns EZ-USB firmware into a script in the tester. Made once; present() opens
/// it.
class EZUSBForm : public ToolWindow
{
    Q_OBJECT

public:
    EZUSBForm(EzUsbConverter &converter, QWidget *parent);
    ~EZUSBForm() override;

protected:
    void opened() override;
    void closed() override;

private:
    void keepRoomForHiddenRows();

    EzUsbConverter &m_converter;
    std::unique_ptr<Ui::EZUSBForm> m_ui;
    std::unique_ptr<Binder> m_binder;
    FieldFocus m_focus{*this};
};

} // namespace vantrel
