// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "windows/ToolWindow.h"

#include <memory>

namespace vantrel {

class Binder;
class DescriptorViewer;
class FieldFocus;

namespace Ui {
class GetDescForm;
}

/// The descriptor viewer's window. Made once; present() opens it. Ctrl+C copies what is selected in
/// the report, the whole report when nothing is; Ctrl+F finds.
class GetDescForm : public ToolWindow
{
    Q_OBJECT

public:
    GetDescForm(DescriptorViewer &viewer, QWidget *parent);
    ~GetDescForm() override;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void arrange();
    void copyReport();

    DescriptorViewer &m_viewer;
    std::unique_ptr<Ui::GetDescForm> m_ui;
    std::unique_ptr<Binder> m_binder;
    FieldFocus *m_focus;
};

} // namespace vantrel
