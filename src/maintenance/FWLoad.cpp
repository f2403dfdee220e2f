// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FWLoad.h"

#include "maintenance/FirmwareLoader.h"
#include "ui_FWLoad.h"
#include "windows/Binder.h"
#include "windows/ReadOnlyFields.h"

#include <QStyle>

namespace vantrel {

FWLoad::FWLoad(FirmwareLoader &loader, QWidget *parent)
    : ToolWindow(parent), m_loader(loader), m_ui(std::make_unique<Ui::FWLoad>())
{
    m_ui->setupUi(this);
    new ReadOnlyFields(*this);
    m_ui->fileselect->setIcon(style()->standardIcon(QStyle::SP_DirOpenIcon));
    // A path of some length, and its place kept free for the bar.
    m_ui->tbFWFile->setMinimumWidth(m_ui->tbFWFile->fontMetrics().averageCharWidth() * 56);
    QSizePolicy bar = m_ui->BlockProgress->sizePolicy();
    bar.setRetainSizeWhenHidden(true);
    m_ui->BlockProgress->setSizePolicy(bar);

    setCloseGuard(loader.closeGuard());
    m_binder = std::make_unique<Binder>(loader.controls().all, *this);
    connect(m_ui->fileselect, &QPushButton::clicked, this,
            [this] { m_loader.fileSelectClicked(); });
    connect(m_ui->btProgram, &QPushButton::clicked, this, [this] { m_loader.programClicked(); });
    connect(m_ui->btCancel, &QPushButton::clicked, this, [this] { m_loader.cancelClicked(); });
    connect(&loader, &FirmwareLoader::closeWanted, this, &QWidget::close);
}

FWLoad::~FWLoad() = default;

void FWLoad::opened()
{
    m_loader.opened();
}

void FWLoad::closed()
{
    m_loader.closed();
}

} // namespace vantrel
