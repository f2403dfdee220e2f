// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/FlashForm.h"

#include "protocol/FlashScripts.h"
#include "ui_FlashForm.h"
#include "windows/Binder.h"
#include "windows/ReadOnlyFields.h"

namespace vantrel {

FlashForm::FlashForm(FlashScripts &flash, QWidget *parent)
    : ToolWindow(parent), m_flash(flash), m_ui(std::make_unique<Ui::FlashForm>())
{
    m_ui->setupUi(this);
    m_ui->Label1->setMinimumWidth(m_ui->Label1->sizeHint().width()); // of its longer caption
    new ReadOnlyFields(*this);
    setCloseGuard(flash.closeGuard());
    m_binder = std::make_unique<Binder>(flash.controls().all, *this);
    connect(m_ui->ScriptEnable, &QPushButton::clicked, this,
            [this] { m_flash.scriptEnableClicked(); });
    connect(m_ui->BtnProgram, &QPushButton::clicked, this, [this] { m_flash.programClicked(); });
    connect(m_ui->Burn, &QAction::triggered, this, [this] { m_flash.burnClicked(); });
}

FlashForm::~FlashForm() = default;

void FlashForm::opened()
{
    m_flash.opened();
}

void FlashForm::closed()
{
    m_flash.closed();
}

} // namespace vantrel
