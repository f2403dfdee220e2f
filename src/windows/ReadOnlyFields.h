// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QObject>

class QLineEdit;
class QWidget;

namespace vantrel {

/// Lets the entry fields of a window show whether they take an entry: a field has the window's
/// colour while it is read-only, the palette's while it is not. The text of a stale field is grey,
/// see Control::setStale(). Follows both, the field and the palette, for as long as it lives; it
/// belongs to the window.
class ReadOnlyFields : public QObject
{
    Q_OBJECT

public:
    explicit ReadOnlyFields(QWidget &window);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void colour(QLineEdit &field) const;

    QWidget &m_window;
    QList<QLineEdit *> m_fields;
};

} // namespace vantrel
