// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QList>
#include <QPair>
#include <QString>
#include <QWidget>

class QLabel;
class QLineEdit;

namespace vantrel {

/// A frame with a filled corner over an entry field whose text was not taken as written. It takes
/// its colour from the background of the field, so that it is visible in light and dark palettes.
class EntryMark : public QWidget
{
    Q_OBJECT

public:
    /// The field owns the mark.
    explicit EntryMark(QLineEdit &field);

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void paintEvent(QPaintEvent *event) override;
};

/// Shows the entry notes of a window's fields: marks the fields, and shows the latest note in the
/// window's status line, the label `StatusLine`, if there is one.
class EntryNotes
{
public:
    explicit EntryNotes(QWidget &window);

    /// An empty note removes the mark.
    void show(QLineEdit &field, const QString &note);

    /// The tool tip of a field: its note, and below it the field's own.
    static QString toolTip(const QString &note, const QString &own);

private:
    QString nameOf(const QLineEdit &field) const;

    QWidget &m_window;
    QLabel *m_statusLine;
    QList<QPair<QLineEdit *, QString>> m_notes; // oldest first
    QHash<QLineEdit *, EntryMark *> m_marks;
};

} // namespace vantrel
