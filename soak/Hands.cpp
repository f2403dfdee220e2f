// SPDX-License-Identifier: GPL-3.0-or-later
#include "Hands.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>

namespace vantrel::soak::hands {

namespace {

void strike(QWidget &widget, int key, const QString &text = {})
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, text);
    QApplication::sendEvent(&widget, &press);
    QApplication::sendEvent(&widget, &release);
}

/// A control that a person can use now, or nullptr.
template <typename Face>
Face *control(const QString &windowName, const QString &name)
{
    const QWidget *in = window(windowName);
    if (!in)
        return nullptr;
    for (Face *face : in->findChildren<Face *>(name)) {
        if (face->window() == in && face->isVisible() && face->isEnabled())
            return face;
    }
    return nullptr;
}

} // namespace

QWidget *window(const QString &name)
{
    for (QWidget *candidate : QApplication::topLevelWidgets()) {
        if (candidate->objectName() == name && candidate->isVisible())
            return candidate;
    }
    return nullptr;
}

QStringList reachableWindows()
{
    if (const QWidget *modal = QApplication::activeModalWidget())
        return {modal->objectName()};
    QStringList names;
    for (const QWidget *candidate : QApplication::topLevelWidgets()) {
        if (candidate->isVisible() && !candidate->objectName().isEmpty())
            names.append(candidate->objectName());
    }
    return names;
}

bool press(const QString &window, const QString &button)
{
    auto *const face = control<QAbstractButton>(window, button);
    if (!face)
        return false;
    face->setFocus(Qt::MouseFocusReason);
    if (face->isEnabled()) // leaving a field may have disabled it
        face->click();
    return true;
}

bool choose(const QString &window, const QString &menuItem)
{
    const auto *const in = qobject_cast<QMainWindow *>(hands::window(window));
    auto *const action = in ? in->findChild<QAction *>(menuItem) : nullptr;
    if (!action || !action->isEnabled() || !in->menuWidget()->isEnabled())
        return false;
    action->trigger();
    return true;
}

bool enter(const QString &window, const QString &field, const QString &text)
{
    auto *const face = control<QLineEdit>(window, field);
    if (!face || face->isReadOnly())
        return false;
    face->setFocus(Qt::MouseFocusReason);
    face->selectAll();
    if (text.isEmpty())
        strike(*face, Qt::Key_Delete);
    for (const QChar character : text)
        strike(*face, 0, character);
    strike(*face, Qt::Key_Return, QStringLiteral("\r"));
    return true;
}

bool pick(const QString &window, const QString &list, const QString &entry)
{
    auto *const face = control<QComboBox>(window, list);
    const int index = face ? face->findText(entry) : -1;
    if (index < 0)
        return false;
    face->setCurrentIndex(index);
    emit face->activated(index);
    return true;
}

bool escape(const QString &window)
{
    QWidget *const face = hands::window(window);
    if (face)
        strike(*face, Qt::Key_Escape);
    return face != nullptr;
}

QMessageBox *messageBox()
{
    return qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
}

QFileDialog *fileDialog()
{
    return qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
}

void answer(QFileDialog &dialog, const QString &path)
{
    // Not selectFile(): that does nothing while the field has the focus.
    dialog.findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
    const auto *const buttons = dialog.findChild<QDialogButtonBox *>();
    const bool saving = dialog.acceptMode() == QFileDialog::AcceptSave;
    buttons->button(saving ? QDialogButtonBox::Save : QDialogButtonBox::Open)->click();
}

} // namespace vantrel::soak::hands
