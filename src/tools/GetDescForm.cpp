// SPDX-License-Identifier: GPL-3.0-or-later
#include "tools/GetDescForm.h"

#include "tools/DescriptorViewer.h"
#include "ui_GetDescForm.h"
#include "windows/Binder.h"
#include "windows/FieldFocus.h"
#include "windows/FindBar.h"

#include <QClipboard>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QScreen>
#include <QShortcut>

namespace vantrel {

namespace {

// What the window shows at first, in characters and lines of the report
constexpr int Columns = 72;
constexpr int Lines = 42;

/// As QPlainTextEdit::toPlainText() returns it: each line break is a line feed, no-break spaces are
/// spaces.
QString asShown(QString report)
{
    report.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    report.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return report.replace(QChar(QChar::Nbsp), QLatin1Char(' '));
}

} // namespace

GetDescForm::GetDescForm(DescriptorViewer &viewer, QWidget *parent)
    : ToolWindow(parent), m_viewer(viewer), m_ui(std::make_unique<Ui::GetDescForm>()),
      m_focus(new FieldFocus(*this))
{
    m_ui->setupUi(this);
    m_binder = std::make_unique<Binder>(viewer.controls().all, *this);
    m_ui->rows->insertWidget(m_ui->rows->indexOf(m_ui->StatusLine),
                             new FindBar(*m_ui->DescInfo, m_ui->content));
    arrange();

    m_focus->onLeft(*m_ui->DevAddr, [this] { return m_viewer.devAddrLeft(); });
    m_focus->onClicked(*m_ui->GetDesc, [this] { m_viewer.getDescClicked(); });
    m_focus->onClicked(*m_ui->Save, [this] { m_viewer.saveClicked(); });

    auto *copy = new QShortcut(QKeySequence::Copy, this);
    connect(copy, &QShortcut::activated, this, &GetDescForm::copyReport);
    m_ui->DescInfo->installEventFilter(this);
    for (QLineEdit *field : findChildren<QLineEdit *>())
        field->installEventFilter(this);
}

GetDescForm::~GetDescForm() = default;

void GetDescForm::arrange()
{
    m_ui->DescInfo->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_ui->DevAddr->setFixedWidth(
        m_ui->DevAddr->minimumSizeHint().width() +
        m_ui->DevAddr->fontMetrics().horizontalAdvance(QStringLiteral("0xFFFF")));
    const QFontMetrics metrics(m_ui->DescInfo->font());
    const QSize wanted(metrics.averageCharWidth() * Columns, metrics.lineSpacing() * Lines);
    resize(wanted.boundedTo(screen()->availableSize() * 0.9));
}

/// A field with nothing selected, and the report always, leave Ctrl+C to the window.
bool GetDescForm::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent *>(event)->matches(QKeySequence::Copy)) {
        const auto *field = qobject_cast<QLineEdit *>(watched);
        if (!field || !field->hasSelectedText()) {
            event->ignore();
            return true;
        }
    }
    return ToolWindow::eventFilter(watched, event);
}

/// The pane may not show all of a long report yet.
void GetDescForm::copyReport()
{
    if (m_ui->DescInfo->textCursor().hasSelection())
        m_ui->DescInfo->copy();
    else if (const QString &report = m_viewer.controls().DescInfo.text(); !report.isEmpty())
        QGuiApplication::clipboard()->setText(asShown(report));
}

} // namespace vantrel
