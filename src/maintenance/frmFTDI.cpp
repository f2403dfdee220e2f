// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/frmFTDI.h"

#include "maintenance/FtdiUtility.h"
#include "ui_frmFTDI.h"
#include "windows/Binder.h"

namespace vantrel {

namespace {

constexpr int LinesOfNote = 2;

/// Nothing moves when the widget appears.
void retainSize(QWidget &widget)
{
    QSizePolicy policy = widget.sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    widget.setSizePolicy(policy);
}

} // namespace

template <auto Handler>
void frmFTDI::onPressed(QAbstractButton &button)
{
    m_fields.onClicked(button, [this] { (m_ftdi.*Handler)(); });
}

template <auto Handler>
void frmFTDI::onTicked(QAbstractButton &box)
{
    connect(&box, &QAbstractButton::clicked, this, [this] { (m_ftdi.*Handler)(); });
}

template <auto Handler>
void frmFTDI::onLeft(QLineEdit &field)
{
    m_fields.onLeft(field, [this] { return (m_ftdi.*Handler)(); });
}

frmFTDI::frmFTDI(FtdiUtility &ftdi, QWidget *parent)
    : ToolWindow(parent), m_ftdi(ftdi), m_ui(std::make_unique<Ui::frmFTDI>())
{
    m_ui->setupUi(this);
    retainSize(*m_ui->WordProgress);
    retainSize(*m_ui->cbKeepLayout);
    m_ui->ImageNote->setMinimumHeight(LinesOfNote * m_ui->ImageNote->fontMetrics().lineSpacing());

    setCloseGuard(ftdi.closeGuard());
    m_binder = std::make_unique<Binder>(ftdi.controls().all, *this);
    onPressed<&FtdiUtility::readClicked>(*m_ui->btRead);
    onPressed<&FtdiUtility::programClicked>(*m_ui->btProgram);
    onPressed<&FtdiUtility::verifyClicked>(*m_ui->btVerify);
    onTicked<&FtdiUtility::remoteWakeClicked>(*m_ui->cbRemoteWake);
    onTicked<&FtdiUtility::selfPowerClicked>(*m_ui->cbSelfPower);
    onTicked<&FtdiUtility::serialClicked>(*m_ui->cbSerial);
    onLeft<&FtdiUtility::devAddrLeft>(*m_ui->DevAddr);
    onLeft<&FtdiUtility::vidLeft>(*m_ui->tbVID);
    onLeft<&FtdiUtility::pidLeft>(*m_ui->tbPID);
    onLeft<&FtdiUtility::majRevLeft>(*m_ui->tbMajRev);
    onLeft<&FtdiUtility::minRevLeft>(*m_ui->tbMinRev);
    onLeft<&FtdiUtility::maxPowerLeft>(*m_ui->tbMaxPower);
    onLeft<&FtdiUtility::mfrLeft>(*m_ui->tbMfr);
    onLeft<&FtdiUtility::productLeft>(*m_ui->tbProduct);
    onLeft<&FtdiUtility::serialLeft>(*m_ui->tbSerial);
}

frmFTDI::~frmFTDI() = default;

void frmFTDI::opened()
{
    m_ui->DevAddr->setFocus();
    m_ftdi.opened();
}

void frmFTDI::closed()
{
    m_ftdi.closed();
}

} // namespace vantrel
