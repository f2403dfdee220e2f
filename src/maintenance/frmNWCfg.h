// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "windows/FieldFocus.h"
#include "windows/ToolWindow.h"

#include <functional>
#include <memory>

class QLineEdit;

namespace vantrel {

class Binder;
class NetworkConfig;

namespace Ui {
class frmNWCfg;
}

/// The window for the tester's network settings. Made once; present() opens it.
class frmNWCfg : public ToolWindow
{
    Q_OBJECT

public:
    frmNWCfg(NetworkConfig &config, QWidget *parent);
    ~frmNWCfg() override;

protected:
    void opened() override;
    void closed() override;

private:
    void connectBoxes();
    QLineEdit &box(const char *array, int index);

    NetworkConfig &m_config;
    std::unique_ptr<Ui::frmNWCfg> m_ui;
    std::unique_ptr<Binder> m_binder;
    FieldFocus m_fields{*this};
};

} // namespace vantrel
