// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/EZUSBForm.h"

#include "maintenance/EzUsbConverter.h"
#include "ui_EZUSBForm.h"
#include "windows/Binder.h"
#include "windows/ReadOnlyFields.h"

namespace vantrel {

EZUSBForm::EZUSBForm(EzUsbConverter &converter, QWidget *parent)
    : ToolWindow(parent), m_converter(converter), m_ui(std::make_unique<Ui::EZUSBForm>())
{
    m_ui->setupUi(this);
    new ReadOnlyFields(*this);
    keepRoomForHiddenRows();
    setCloseGuard(converter.closeGuard());
    m_binder = std::make_unique<Binder>(converter.controls().all, *this);
    m_focus.onLeft(*m_ui->Address, [this] { return m_converter.addressLeft(); });
    m_focus.onClicked(*m_ui->LoadFW, [this] { m_converter.loadClicked(); });
    connect(&converter, &EzUsbConverter::closeWanted, this, &QWidget::close);
}

EZUSBForm::~EZUSBForm() = default;

void EZUSBForm::opened()
{
    m_converter.opened();
}

void EZUSBForm::closed()
{
    m_converter.closed();
}

/// The window must not grow under the mouse when a file has been chosen.
void EZUSBForm::keepRoomForHiddenRows()
{
    for (QWidget *widget :
         std::initializer_list<QWidget *>{m_ui->FNLabel, m_ui->filename, m_ui->LinesLabel,
                                          m_ui->Loaded, m_ui->busy, m_ui->ConvertProgress}) {
        QSizePolicy policy = widget->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        widget->setSizePolicy(policy);
    }
}

} // namespace vantrel
