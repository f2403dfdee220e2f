// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/FindBar.h"

#include "ui_FindBar.h"

#include <QEvent>
#include <QPlainTextEdit>
#include <QShortcut>

namespace vantrel {

namespace {

/// The palette's own colour with a touch of red, on a light and on a dark palette.
QColor reddened(const QColor &colour)
{
    return {(2 * colour.red() + 255) / 3, 2 * colour.green() / 3, 2 * colour.blue() / 3};
}

} // namespace

FindBar::FindBar(QPlainTextEdit &pane, QWidget *parent)
    : QWidget(parent), m_pane(pane), m_ui(std::make_unique<Ui::FindBar>())
{
    m_ui->setupUi(this);
    hide();
    connect(m_ui->FindText, &QLineEdit::textEdited, this, &FindBar::textEdited);
    connect(m_ui->FindNext, &QToolButton::clicked, this, &FindBar::findNext);
    connect(m_ui->FindPrevious, &QToolButton::clicked, this, &FindBar::findPrevious);
    connect(m_ui->FindClose, &QToolButton::clicked, this, &FindBar::dismiss);

    onKey(QKeySequence::Find, pane, &FindBar::open);
    onKey(Qt::Key_F3, pane, &FindBar::findNext);
    onKey(Qt::SHIFT | Qt::Key_F3, pane, &FindBar::findPrevious);
    onKey(Qt::Key_Return, *m_ui->FindText, &FindBar::findNext);
    onKey(Qt::Key_Enter, *m_ui->FindText, &FindBar::findNext);
    onKey(Qt::SHIFT | Qt::Key_Return, *m_ui->FindText, &FindBar::findPrevious);
    onKey(Qt::SHIFT | Qt::Key_Enter, *m_ui->FindText, &FindBar::findPrevious);
    onKey(Qt::Key_Escape, *this, &FindBar::dismiss); // a hidden bar hears nothing
}

FindBar::~FindBar() = default;

/// Keys of an entry field are for it alone, all others for the whole window.
void FindBar::onKey(const QKeySequence &key, QWidget &where, void (FindBar::*handler)())
{
    auto *shortcut = new QShortcut(key, &where);
    shortcut->setContext(&where == m_ui->FindText ? Qt::WidgetShortcut : Qt::WindowShortcut);
    connect(shortcut, &QShortcut::activated, this, handler);
}

void FindBar::open()
{
    const QString selected = m_pane.textCursor().selectedText();
    if (!selected.isEmpty() && !selected.contains(QChar::ParagraphSeparator))
        m_ui->FindText->setText(selected);
    showOutcome(true);
    show();
    m_ui->FindText->setFocus(Qt::ShortcutFocusReason);
    m_ui->FindText->selectAll();
}

void FindBar::dismiss()
{
    hide();
    m_pane.setFocus(Qt::OtherFocusReason);
}

void FindBar::findNext()
{
    go({});
}

void FindBar::findPrevious()
{
    go(QTextDocument::FindBackward);
}

void FindBar::go(QTextDocument::FindFlags direction)
{
    if (isHidden())
        open();
    search(m_pane.textCursor(), direction);
}

/// A match that goes on matching as more is typed stays where it is.
void FindBar::textEdited()
{
    QTextCursor from = m_pane.textCursor();
    from.setPosition(from.selectionStart());
    search(from, {});
}

void FindBar::search(const QTextCursor &from, QTextDocument::FindFlags direction)
{
    const QString text = m_ui->FindText->text();
    if (text.isEmpty()) {
        showOutcome(true);
        return;
    }
    const QTextDocument &document = *m_pane.document();
    QTextCursor match = document.find(text, from, direction);
    if (match.isNull()) {
        QTextCursor edge(m_pane.document());
        if (direction.testFlag(QTextDocument::FindBackward))
            edge.movePosition(QTextCursor::End);
        match = document.find(text, edge, direction);
    }
    if (!match.isNull())
        m_pane.setTextCursor(match);
    showOutcome(!match.isNull());
}

void FindBar::showOutcome(bool found)
{
    m_found = found;
    m_ui->FindOutcome->setText(found ? QString() : tr("Not found"));
    QPalette colours;
    if (!found)
        colours.setColor(QPalette::Base, reddened(palette().color(QPalette::Base)));
    m_ui->FindText->setPalette(colours);
}

void FindBar::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        showOutcome(m_found);
}

} // namespace vantrel
