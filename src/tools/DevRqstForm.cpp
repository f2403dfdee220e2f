// SPDX-License-Identifier: GPL-3.0-or-later
#include "tools/DevRqstForm.h"

#include "tools/RequestBuilder.h"
#include "ui_DevRqstForm.h"
#include "windows/Binder.h"
#include "windows/FieldFocus.h"

#include <QFontDatabase>
#include <QShortcut>

#include <functional>

namespace vantrel {

DevRqstForm::DevRqstForm(RequestBuilder &builder, QWidget *parent)
    : ToolWindow(parent), m_builder(builder), m_ui(std::make_unique<Ui::DevRqstForm>()),
      m_focus(std::make_unique<FieldFocus>(*this))
{
    m_ui->setupUi(this);
    arrange();
    m_binder = std::make_unique<Binder>(builder.controls().all, *this);
    connectSetupFields();
    connectDataFields();
    connectManualMode();
    connectButtons();
}

DevRqstForm::~DevRqstForm() = default;

void DevRqstForm::activated()
{
    m_builder.activated();
}

void DevRqstForm::changeEvent(QEvent *event)
{
    ToolWindow::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        colourDisabledFields();
}

void DevRqstForm::connectSetupFields()
{
    connectField(m_ui->Address, &RequestBuilder::addressLeft);
    connectField(m_ui->bmReqType, &RequestBuilder::bmReqTypeLeft);
    connectField(m_ui->bReq, &RequestBuilder::bReqLeft);
    connectField(m_ui->wValue, &RequestBuilder::wValueLeft);
    connectField(m_ui->windex, &RequestBuilder::windexLeft);
    connectField(m_ui->wLength, &RequestBuilder::wLengthLeft);
}

void DevRqstForm::connectField(QLineEdit *field, bool (RequestBuilder::*left)())
{
    m_focus->onLeft(*field, std::bind_front(left, &m_builder));
    connect(field, &QLineEdit::textEdited, this, [this] { m_builder.fieldEdited(); });
}

void DevRqstForm::connectDataFields()
{
    for (int index = 0; index < RequestControls::DataFieldCount; ++index) {
        QLineEdit &field = dataField(index);
        m_focus->onEntered(field, [this, index] { m_builder.dataEntered(index); });
        m_focus->onLeft(field, [this, index] { return m_builder.dataLeft(index); });
    }
}

QLineEdit &DevRqstForm::dataField(int index) const
{
    return *findChild<QLineEdit *>(QStringLiteral("Data0_%1").arg(index));
}

void DevRqstForm::connectManualMode()
{
    qint16 code = 0;
    for (QRadioButton *option : {m_ui->mp8, m_ui->mp16, m_ui->mp32, m_ui->mp64}) {
        connect(option, &QRadioButton::clicked, this,
                [this, code] { m_builder.maxPacketClicked(code); });
        ++code;
    }
    connect(m_ui->FullSpeed, &QCheckBox::clicked, this, [this] { m_builder.fullSpeedClicked(); });
}

void DevRqstForm::connectButtons()
{
    m_focus->onClicked(*m_ui->Send, [this] { m_builder.sendClicked(); });
    m_focus->onClicked(*m_ui->Save, [this] { m_builder.saveClicked(); });
    m_focus->onClicked(*m_ui->Open, [this] { openClicked(); });
    const auto shortcut = [this](const QKeySequence &keys, QPushButton *button) {
        connect(new QShortcut(keys, this), &QShortcut::activated, button, &QPushButton::click);
    };
    shortcut(Qt::CTRL | Qt::Key_Return, m_ui->Send);
    shortcut(Qt::CTRL | Qt::Key_Enter, m_ui->Send);
    shortcut(QKeySequence::Open, m_ui->Open);
    shortcut(QKeySequence::Save, m_ui->Save);
}

void DevRqstForm::openClicked()
{
    // The user is in no field while all of them are filled: leaving one then would count its byte.
    m_ui->Open->setFocus();
    m_builder.openClicked();
}

/// What the form cannot say: sizes that follow from fonts.
void DevRqstForm::arrange()
{
    const QFont fixedWidth = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    const auto setUp = [&fixedWidth](QLineEdit &field, const QString &widest) {
        field.setFont(fixedWidth);
        field.setMinimumWidth(field.minimumSizeHint().width() +
                              field.fontMetrics().horizontalAdvance(widest));
    };
    for (QLineEdit *field :
         {m_ui->Address, m_ui->bmReqType, m_ui->bReq, m_ui->wValue, m_ui->windex, m_ui->wLength})
        setUp(*field, QStringLiteral("0x0000"));
    for (int index = 0; index < RequestControls::DataFieldCount; ++index)
        setUp(dataField(index), QStringLiteral("0x00"));
    m_ui->dsize->setFont(fixedWidth);
    colourDisabledFields();
}

/// Where the next byte goes must be seen in every palette; some give all fields the same colour.
void DevRqstForm::colourDisabledFields()
{
    QPalette colours;
    colours.setBrush(QPalette::Disabled, QPalette::Base, palette().window());
    for (int index = 0; index < RequestControls::DataFieldCount; ++index)
        dataField(index).setPalette(colours);
}

} // namespace vantrel
