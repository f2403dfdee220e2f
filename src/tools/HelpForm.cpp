// SPDX-License-Identifier: GPL-3.0-or-later
#include "tools/HelpForm.h"

#include "tools/HelpTexts.h"
#include "ui_HelpForm.h"

namespace vantrel {

HelpForm::HelpForm(QWidget *parent) : ToolWindow(parent), m_ui(std::make_unique<Ui::HelpForm>())
{
    m_ui->setupUi(this);
    for (const QString &title : helpTopics()) {
        auto *const topic = new QListWidgetItem(title, m_ui->Helplist);
        topic->setData(Qt::UserRole, m_ui->Helplist->row(topic));
    }
    m_ui->Helplist->setCurrentRow(0);
    // A double click, or Enter.
    connect(m_ui->Helplist, &QListWidget::itemActivated, this,
            [this](const QListWidgetItem *topic) { showTopic(*topic); });
    connect(m_ui->OKButton, &QPushButton::clicked, this, &HelpForm::close);
}

HelpForm::~HelpForm() = default;

void HelpForm::showTopic(const QListWidgetItem &topic)
{
    m_ui->helptext->setPlainText(helpText(topic.data(Qt::UserRole).toInt()));
}

} // namespace vantrel
