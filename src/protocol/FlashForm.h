// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "windows/ToolWindow.h"

#include <memory>

namespace vantrel {

class Binder;
class FlashScripts;

namespace Ui {
class FlashForm;
}

/// The window for the script in the tester's flash. Made once; show() opens it.
class FlashForm : public ToolWindow
{
    Q_OBJECT

public:
    FlashForm(FlashScripts &flash, QWidget *parent);
    ~FlashForm() override;

protected:
    void opened() override;
    void closed() override;

private:
    FlashScripts &m_flash;
    std::unique_ptr<Ui::FlashForm> m_ui;
    std::unique_ptr<Binder> m_binder;
};

} // namespace vantrel
