// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

class QFileDialog;
class QMessageBox;
class QWidget;

namespace vantrel::soak {

/// Uses windows as a person can, by the object names of windows and controls: only what is open,
/// shown and enabled. Each function returns whether it could be done.
namespace hands {

/// The open window of that name, or nullptr.
QWidget *window(const QString &name);
/// Names of the open windows; while a dialog stands in front of them, of that alone.
QStringList reachableWindows();

bool press(const QString &window, const QString &button);
bool choose(const QString &window, const QString &menuItem);
/// Types over what the field holds, and presses Enter.
bool enter(const QString &window, const QString &field, const QString &text);
bool pick(const QString &window, const QString &list, const QString &entry);
/// Presses Escape in the window.
bool escape(const QString &window);

/// The message box, or file dialog, that waits for an answer; nullptr when there is none.
QMessageBox *messageBox();
QFileDialog *fileDialog();
/// Chooses the path, and presses Open or Save. What comes of it may be another box.
void answer(QFileDialog &dialog, const QString &path);

} // namespace hands

} // namespace vantrel::soak
