// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Control.h"
#include "windows/EntryNotes.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QWidget>

namespace vantrel {

/// Ties control values to the widgets and actions of a window that bear their names.
///
/// A value shows at once wherever core has set it, a text at the control's pace; what core has not
/// set yet is loaded from the form. A pane shows at most AtOnceLimit characters at once; what
/// exceeds that is inserted in slices, for about SliceTime in each turn of the event loop, with the
/// caret at the end. Saving must use the value, which is always complete. A stale value is greyed,
/// and its tool tip is "as of hh:mm:ss"; the grey of a read-only field is set by ReadOnlyFields.
/// What the user ticks, types or chooses is in the value before any handler that is connected to
/// the same widget later than the binder. Values that core sets never look like user actions:
/// handlers belong on clicked(), textEdited(), activated() and triggered().
///
/// The window's EntryNotes show the entry notes of its fields.
///
/// A focused widget that core disables for a while has the focus back once it is enabled again,
/// unless the user went elsewhere.
class Binder : public QObject
{
    Q_OBJECT

public:
    /// Most characters that the panes of a window show in one turn of the event loop without regard
    /// to time.
    static constexpr qsizetype AtOnceLimit = 65536;
    static constexpr int SliceTime = 20; ///< ms

    /// Every control must have its widget or action. Both outlive the binder.
    Binder(const QList<Control *> &controls, QWidget &window);

    /// Names among `controls` that nothing in the window bears.
    static QStringList unbound(const QList<Control *> &controls, QWidget &window);

private:
    /// A text that is shown in the next turns of the event loop.
    struct WaitingText
    {
        QObject *face = nullptr;
        bool whole = false;
        qsizetype appended = 0; ///< characters at the end that do not show yet, if not `whole`
    };

    bool eventFilter(QObject *watched, QEvent *event) override;
    void bind(Control &control, QObject &face);
    void show(const Control &control, QObject &face, Control::Aspect aspect);
    void showText(const Control &control, QObject &face);
    void appendText(const Control &control, QObject &face, const QString &text);
    WaitingText &waitingText(const Control &control, QObject &face);
    bool mayShowAtOnce(qsizetype characters);
    void showWaitingTexts();
    void showStale(const Control &control, QObject &face);
    void setEnabled(QObject &face, bool enabled);
    void showEntryNote(const Control &control, QObject &face);

    QWidget &m_window;
    EntryNotes m_notes;
    QPointer<QWidget> m_displaced; // had the focus when it was disabled
    QPointer<QWidget> m_standIn;   // has had the focus since
    QTimer m_turn;
    qsizetype m_shownAtOnce = 0; // characters, in this turn
    QHash<const Control *, WaitingText> m_waiting;
    QHash<const Control *, QWidget *> m_stale; // greyed in the colours of the window
};

} // namespace vantrel
