// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "windows/ToolWindow.h"

#include <memory>

class QLineEdit;

namespace vantrel {

class Binder;
class FieldFocus;
class RequestBuilder;

namespace Ui {
class DevRqstForm;
}

/// The window that composes one device request. Made once; present() opens it. It keeps its fields
/// while it is closed.
class DevRqstForm : public ToolWindow
{
    Q_OBJECT

public:
    DevRqstForm(RequestBuilder &builder, QWidget *parent);
    ~DevRqstForm() override;

protected:
    void activated() override;
    void changeEvent(QEvent *event) override;

private:
    void connectSetupFields();
    void connectDataFields();
    void connectManualMode();
    void connectButtons();
    void connectField(QLineEdit *field, bool (RequestBuilder::*left)());
    void openClicked();
    void arrange();
    void colourDisabledFields();
    QLineEdit &dataField(int index) const;

    RequestBuilder &m_builder;
    std::unique_ptr<Ui::DevRqstForm> m_ui;
    std::unique_ptr<Binder> m_binder;
    std::unique_ptr<FieldFocus> m_focus; // last, to go first: closing a window leaves no field
};

} // namespace vantrel
