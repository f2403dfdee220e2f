// SPDX-License-Identifier: GPL-3.0-or-later
#include "tools/frmAbout.h"

#include "tools/HelpTexts.h"
#include "ui_frmAbout.h"
#include "windows/ProgramIcon.h"

namespace vantrel {

frmAbout::frmAbout(QWidget *parent) : ToolWindow(parent), m_ui(std::make_unique<Ui::frmAbout>())
{
    m_ui->setupUi(this);
    setWindowTitle(QStringLiteral("About ") + programTitle());
    m_ui->lblVersion->setText(versionText());
    m_ui->lblTitle->setText(programTitle());

    QFont large = m_ui->lblTitle->font();
    large.setPointSizeF(large.pointSizeF() * 1.5);
    large.setBold(true);
    m_ui->lblTitle->setFont(large);
    constexpr QSize iconSize(64, 64);
    m_ui->picIcon->setPixmap(programIcon().pixmap(iconSize, devicePixelRatioF()));
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmAbout::close);
}

frmAbout::~frmAbout() = default;

} // namespace vantrel
