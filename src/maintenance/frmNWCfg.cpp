// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/frmNWCfg.h"

#include "maintenance/NetworkConfig.h"
#include "ui_frmNWCfg.h"
#include "windows/Binder.h"

namespace vantrel {

namespace {
constexpr const char *WidestOctet = "0000";
}

frmNWCfg::frmNWCfg(NetworkConfig &config, QWidget *parent)
    : ToolWindow(parent), m_config(config), m_ui(std::make_unique<Ui::frmNWCfg>())
{
    m_ui->setupUi(this);
    m_binder = std::make_unique<Binder>(config.controls().all, *this);
    connectBoxes();
    connect(m_ui->cbMACEnbl, &QCheckBox::clicked, this, [this] { m_config.macEnableClicked(); });
    m_fields.onClicked(*m_ui->btUpdate, [this] { m_config.updateClicked(); });
    connect(m_ui->btCancel, &QPushButton::clicked, &config, &NetworkConfig::cancelClicked);
    connect(&config, &NetworkConfig::closeWanted, this, &frmNWCfg::close);
}

frmNWCfg::~frmNWCfg() = default;

void frmNWCfg::connectBoxes()
{
    const NetworkControls &controls = m_config.controls();
    for (int i = 0; i < static_cast<int>(controls.tbIP.size()); ++i) {
        m_fields.onLeft(box("tbIP", i), [this, i] { return m_config.ipLeft(i); });
        m_fields.onLeft(box("tbGWIP", i), [this, i] { return m_config.gatewayLeft(i); });
        m_fields.onLeft(box("tbMask", i), [this, i] { m_config.maskLeft(i); });
    }
    for (int i = 0; i < static_cast<int>(controls.tbMAC.size()); ++i)
        m_fields.onLeft(box("tbMAC", i), [this, i] { return m_config.macLeft(i); });

    for (QLineEdit *field : findChildren<QLineEdit *>()) {
        connect(field, &QLineEdit::textEdited, this, [this] { m_config.edited(); });
        field->setMinimumWidth(field->minimumSizeHint().width() +
                               field->fontMetrics().horizontalAdvance(QLatin1String(WidestOctet)));
    }
}

QLineEdit &frmNWCfg::box(const char *array, int index)
{
    auto *found =
        findChild<QLineEdit *>(QStringLiteral("%1_%2").arg(QLatin1String(array)).arg(index));
    Q_ASSERT(found);
    return *found;
}

void frmNWCfg::opened()
{
    m_ui->tbIP_0->setFocus();
    m_config.opened();
}

void frmNWCfg::closed()
{
    m_config.closed();
}

} // namespace vantrel
