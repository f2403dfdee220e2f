// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/FlashForm.h"

#include "protocol/FlashScripts.h"
#include "ui_FlashForm.h"
#include "windows/Binder.h"
#include "windows/ReadOnlyFields.h"

#include <QKeyEvent>

namespace vantrel {

FlashForm::FlashForm(FlashScripts &flash, QWidget *parent)
    : QMainWindow(parent, Qt::Dialog), m_flash(flash), m_ui(std::make_unique<Ui::FlashForm>())
{
    m_ui->setupUi(this);
    m_ui->Label1->setMinimumWidth(m_ui->Label1->sizeHint().width()); // of its longer caption
    new ReadOnlyFields(*this);
    m_binder = std::make_unique<Binder>(flash.controls().all, *this);
    connect(m_ui->ScriptEnable, &QPushButton::clicked, this,
            [this] { m_flash.scriptEnableClicked(); });
    connect(m_ui->BtnProgram, &QPushButton::clicked, this, [this] { m_flash.programClicked(); });
    connect(m_ui->Burn, &QAction::triggered, this, [this] { m_flash.burnClicked(); });
}

FlashForm::~FlashForm() = default;

void FlashForm::present()
{
    if (isVisible()) {
        raise();
        activateWindow();
        return;
    }
    show();
    m_flash.opened();
}

void FlashForm::closeEvent(QCloseEvent *event)
{
    m_flash.closed();
    QMainWindow::closeEvent(event);
}

void FlashForm::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QMainWindow::keyPressEvent(event);
}

} // namespace vantrel
