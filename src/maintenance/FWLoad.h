// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "windows/ToolWindow.h"

#include <memory>

namespace vantrel {

class Binder;
class FirmwareLoader;

namespace Ui {
class FWLoad;
}

/// The window that replaces the tester's firmware. Made once; present() opens it.
class FWLoad : public ToolWindow
{
    Q_OBJECT

public:
    FWLoad(FirmwareLoader &loader, QWidget *parent);
    ~FWLoad() override;

protected:
    void opened() override;
    void closed() override;

private:
    FirmwareLoader &m_loader;
    std::unique_ptr<Ui::FWLoad> m_ui;
    std::unique_ptr<Binder> m_binder;
};

} // namespace vantrel
