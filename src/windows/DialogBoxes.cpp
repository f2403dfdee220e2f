// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/DialogBoxes.h"

#include "link/DurableFile.h"
#include "link/FilePath.h"
#include "link/OneShot.h"
#include "windows/FileDialog.h"
#include "windows/MessageBox.h"

#include <QDialog>
#include <QDir>
#include <QFileInfo>

namespace vantrel {

namespace {

/// The dialog that was opened last over the window, or the window itself.
QWidget *topmost(QWidget *window)
{
    QWidget *last = nullptr;
    for (QDialog *dialog : window->findChildren<QDialog *>(QString(), Qt::FindDirectChildrenOnly)) {
        if (dialog->isVisible() && dialog->isModal())
            last = dialog;
    }
    return last ? topmost(last) : window;
}

/// The parent of a dialog that belongs to the window. Null when nothing of the program is open.
QWidget *parentFor(QObject *window)
{
    auto *parent = qobject_cast<QWidget *>(window);
    while (parent && !parent->isVisible())
        parent = parent->parentWidget();
    return parent ? topmost(parent) : nullptr;
}

/// A window manager that has not yet moved the focus away from a dialog just closed may leave it
/// with the parent, or with none. A dialog that is blocked by another one over it stays below that.
void activate(QDialog &dialog)
{
    dialog.raise();
    QWidget *const top = topmost(&dialog);
    if (top != &dialog)
        top->raise();
    top->activateWindow();
}

} // namespace

QCoro::Task<Answer> DialogBoxes::messageBox(Message message)
{
    MessageBox *const box = boxFor(message);
    if (!box)
        co_return MessageBox::closedAnswer(message.buttons);
    co_return co_await box->add(message);
}

MessageBox *DialogBoxes::boxFor(const Message &message)
{
    m_boxes.removeIf(
        [](const QPointer<MessageBox> &box) { return box.isNull() || !box->isVisible(); });
    for (const QPointer<MessageBox> &box : std::as_const(m_boxes)) {
        if (box->isOpenFor(message))
            return box;
    }
    QWidget *const parent = parentFor(message.window);
    if (!parent)
        return nullptr;
    auto *const box = new MessageBox(message, parent);
    m_boxes.append(box);
    QObject::connect(box, &MessageBox::repeated, box, [box] { activate(*box); });
    box->open();
    activate(*box);
    return box;
}

QCoro::Task<QString> DialogBoxes::fileDialog(FileChoice choice)
{
    QWidget *parent = parentFor(choice.window);
    if (!parent)
        co_return QString();

    auto *dialog = new FileDialog(choice, directoryFor(choice), parent);
    const OneShot<QString> answer;
    QObject::connect(dialog, &QFileDialog::finished, dialog, [dialog, answer](int result) {
        answer.resolve(result == QDialog::Accepted ? dialog->chosenFile() : QString());
    });
    QObject::connect(dialog, &QObject::destroyed, [answer] { answer.resolve({}); });
    dialog->open();
    activate(*dialog);
    const QString path = co_await answer;
    if (!path.isEmpty() && isDecoded(path))
        m_lastDirectory = QFileInfo(path).path();
    co_return path;
}

/// Empty for Qt's choice.
QString DialogBoxes::directoryFor(const FileChoice &choice) const
{
    if (m_start.general.isEmpty())
        return {};
    if (!m_lastDirectory.isEmpty() && QDir(m_lastDirectory).exists())
        return m_lastDirectory;
    if (choice.inDataDirectory && !makePrivateDirectory(m_start.data))
        return m_start.data;
    return m_start.general;
}

} // namespace vantrel
