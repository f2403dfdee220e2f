// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTextDocument>
#include <QWidget>

#include <memory>

class QKeySequence;
class QPlainTextEdit;

namespace vantrel {

namespace Ui {
class FindBar;
}

/// Looks for a text in a pane, in any case of its letters, and continues at the other end of the
/// pane.
///
/// Hidden until Ctrl+F opens it anywhere in the pane's window. Enter and F3 go to the next match,
/// Shift+Enter and Shift+F3 to the one before; Escape closes the bar, and nothing else while it is
/// open.
class FindBar : public QWidget
{
    Q_OBJECT

public:
    /// The pane outlives the bar.
    FindBar(QPlainTextEdit &pane, QWidget *parent);
    ~FindBar() override;

    /// Comes up with the pane's selection, if that lies in one line, as the text to find.
    void open();
    void findNext();
    void findPrevious();

protected:
    void changeEvent(QEvent *event) override;

private:
    void onKey(const QKeySequence &key, QWidget &where, void (FindBar::*handler)());
    void dismiss();
    void textEdited();
    void go(QTextDocument::FindFlags direction);
    void search(const QTextCursor &from, QTextDocument::FindFlags direction);
    void showOutcome(bool found);

    QPlainTextEdit &m_pane;
    std::unique_ptr<Ui::FindBar> m_ui;
    bool m_found = true;
};

} // namespace vantrel
