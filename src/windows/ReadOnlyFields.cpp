// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/ReadOnlyFields.h"

#include "windows/Shades.h"

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
    } else if (watched != &m_window && (event->type() == QEvent::ReadOnlyChange ||
                                        event->type() == QEvent::DynamicPropertyChange)) {
        colour(*qobject_cast<QLineEdit *>(watched));
    }
    return false;
}

void ReadOnlyFields::colour(QLineEdit &field) const
{
    const QPalette window = m_window.palette();
    QPalette colours;
    if (field.isReadOnly())
        colours.setBrush(QPalette::Base, window.window());
    if (field.property(shades::StaleProperty).toBool())
        colours.setColor(QPalette::Text, shades::grey(window.color(QPalette::WindowText),
                                                      window.color(QPalette::Window)));
    field.setPalette(colours);
}

} // namespace vantrel
