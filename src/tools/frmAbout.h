// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "windows/ToolWindow.h"

#include <memory>

namespace vantrel {

namespace Ui {
class frmAbout;
}

/// The about box: icon, title, version. Made once; present() opens it.
class frmAbout : public ToolWindow
{
    Q_OBJECT

public:
    explicit frmAbout(QWidget *parent);
    ~frmAbout() override;

private:
    std::unique_ptr<Ui::frmAbout> m_ui;
};

} // namespace vantrel
