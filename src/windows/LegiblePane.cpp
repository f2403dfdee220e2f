// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/LegiblePane.h"

#include <QEvent>
#include <QPlainTextEdit>

namespace vantrel {

LegiblePane::LegiblePane(QPlainTextEdit &pane) : QObject(&pane), m_pane(pane)
{
    pane.window()->installEventFilter(this);
    colour();
}

bool LegiblePane::eventFilter(QObject * /*watched*/, QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        colour();
    return false;
}

void LegiblePane::colour() const
{
    const QPalette window = m_pane.window()->palette();
    QPalette colours;
    for (const QPalette::ColorRole role : {QPalette::Text, QPalette::Base})
        colours.setBrush(QPalette::Disabled, role, window.brush(QPalette::Active, role));
    m_pane.setPalette(colours);
}

} // namespace vantrel
