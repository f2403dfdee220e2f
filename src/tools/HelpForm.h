// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "windows/ToolWindow.h"

#include <memory>

class QListWidgetItem;

namespace vantrel {

namespace Ui {
class HelpForm;
}

/// The list of help topics and the text of the one chosen. Made once; present() opens it.
class HelpForm : public ToolWindow
{
    Q_OBJECT

public:
    explicit HelpForm(QWidget *parent);
    ~HelpForm() override;

private:
    void showTopic(const QListWidgetItem &topic);

    std::unique_ptr<Ui::HelpForm> m_ui;
};

} // namespace vantrel
