// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/frmNewIP.h"

#include "console/Console.h"
#include "ui_frmNewIP.h"

namespace vantrel {

frmNewIP::frmNewIP(Console &console, QWidget *parent)
    : QDialog(parent), m_console(console), m_ui(std::make_unique<Ui::frmNewIP>())
{
    m_ui->setupUi(this);
    connect(m_ui->btOK, &QPushButton::clicked, this, &frmNewIP::okClicked);
    connect(m_ui->btCancel, &QPushButton::clicked, this, &frmNewIP::reject);
    connect(this, &frmNewIP::rejected, this,
            [this] { m_console.act([this] { m_console.names().cancelNew(); }); });
}

frmNewIP::~frmNewIP() = default;

void frmNewIP::ask()
{
    m_ui->tbName->clear();
    m_ui->tbName->setFocus();
    open();
}

void frmNewIP::okClicked()
{
    m_console.errors().run([this]() -> QCoro::Task<> {
        const QString name = m_ui->tbName->text();
        if (!co_await m_console.names().isAccepted(name))
            co_return;
        accept(); // a message about a name that cannot be saved belongs to the main window
        m_console.names().add(name);
    });
}

} // namespace vantrel
