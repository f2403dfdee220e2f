// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/ToolWindow.h"

#include "link/CloseGuard.h"

#include <QKeyEvent>

namespace vantrel {

ToolWindow::ToolWindow(QWidget *parent) : QMainWindow(parent, Qt::Dialog) {}

void ToolWindow::present()
{
    if (isVisible()) {
        raise();
        activateWindow();
        return;
    }
    show();
    opened();
    activated(); // some systems open a window without making it the active one
}

void ToolWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        activated();
}

void ToolWindow::closeEvent(QCloseEvent *event)
{
    if (m_guard != nullptr && !m_guard->mayClose([this] { close(); })) {
        event->ignore();
        return;
    }
    closed();
    QMainWindow::closeEvent(event);
}

void ToolWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QMainWindow::keyPressEvent(event);
}

} // namespace vantrel
