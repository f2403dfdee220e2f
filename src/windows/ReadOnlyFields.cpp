// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/ReadOnlyFields.h"

#include <QComboBox>
#include <QEvent>
#include <QLineEdit>

namespace vantrel {

ReadOnlyFields::ReadOnlyFields(QWidget &window) : QObject(&window), m_window(window)
{
    window.installEventFilter(this);
    for (QLineEdit *field : window.findChildren<QLineEdit *>()) {
        if (field->window() != &window || qobject_cast<QComboBox *>(field->parentWidget()))
            continue; // the line of a list is the list's own
        m_fields.append(field);
        field->installEventFilter(this);
        colour(*field);
    }
}

bool ReadOnlyFields::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::PaletteChange && watched == &m_window) {
        for (QLineEdit *field : m_fields)
            colour(*field);
    } else if (event->type() == QEvent::ReadOnlyChange && watched != &m_window) {
        colour(*qobject_cast<QLineEdit *>(watched));
    }
    return false;
}

void ReadOnlyFields::colour(QLineEdit &field) const
{
    QPalette colours;
    if (field.isReadOnly())
        colours.setBrush(QPalette::Base, m_window.palette().window());
    field.setPalette(colours);
}

} // namespace vantrel
